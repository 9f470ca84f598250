// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// What identifies this machine, as far as it can be read without extra rights.
///
/// Thread: any. Errors: each function below names its result for a missing source.
///
/// | fact          | Windows                              | elsewhere                            |
/// |---------------|--------------------------------------|--------------------------------------|
/// | adapter       | the system's list of IPv4 adapters   | the list of network interfaces       |
/// | volume serial | the volume of the system directory   | identifier of the root file system   |
/// | disk          | serial number that the disk reports  | serial number or world-wide name of  |
/// |               |                                      | the disk below the root file system  |

/// Twelve upper-case hexadecimal digits: the first six bytes of the address of the first network
/// adapter that has at least six. Empty when there is none.
QByteArray AdapterAddressHex();

/// Eight upper-case hexadecimal digits; "00000000" when the volume has no serial number.
QByteArray SystemVolumeSerialHex();

/// A text that identifies the machine's physical system disk, the same in every run; empty when the
/// disk reports none.
QByteArray DiskIdentifier();

/// A new GUID: "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", 38 characters, upper-case.
/// Empty when the system cannot make one.
QString NewGuidString();
