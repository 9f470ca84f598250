# SPDX-License-Identifier: MIT
"""Why a goal is missed where it is: printed behind its distance. Whoever changes that takes the reason out."""

REASONS: dict[str, str] = {
    "3b": "Qt's TLS hands on 4 KiB at a time, each with an event between two threads",
    "5b": "the size is asked for on a connection of its own, two round trips before the first byte",
    "7a": "a write waits while a flush allocates blocks of the same file, and the cores are shared with the threads that "
    "fetch, the server and the other process",
    "7b": "a download of a second has about 1,000 beats, so this is the longest gap or the second longest",
}
