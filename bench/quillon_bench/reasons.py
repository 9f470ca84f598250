# SPDX-License-Identifier: MIT
"""Why a goal is missed where it is: printed behind its distance. Whoever changes that takes the reason out."""

REASONS: dict[str, str] = {
    "3b": "Qt's TLS hands on 4 KiB at a time, each with an event between two threads",
    "5b": "the size is asked for on a connection of its own, two round trips before the first byte",
    "7a": "the write of a chunk waits for the file system's journal while another process syncs",
    "7b": "a download of a second has fewer than 1,000 beats, so this is the longest gap",
    "8b": "a save takes 10 µs, and with pieces of 16 KiB a chunk is only what 20 ms bring",
}
