// SPDX-License-Identifier: MIT

#pragma once

/// How many files and other objects of the system this process has open.
int gOpenHandles();
