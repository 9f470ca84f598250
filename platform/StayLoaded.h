// SPDX-License-Identifier: MIT

#pragma once

/// Keeps the library that this code is in loaded until the process ends, whatever the host does. Call
/// it before code of the library runs on a thread that may outlive the dialog, or before Qt gets the
/// address of a function of it.
///
/// A library cannot wait for its threads when it is unloaded: Windows lets no thread end meanwhile.
/// In a program that has this code in itself, nothing happens.
///
/// Thread: any.
void gStayLoaded();
