// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Facts about the installation that the module runs in, and the settings that they come from.
///
/// Thread: GUI thread. Errors: every reader falls back to the value named with it.

/// Every setting that the module uses of the product settings files. There are two files of the
/// name "Corvina.ini": the group System is read in the host's data directory
/// (`CvGetCorvinaDirectory`), the group Quillon in the configuration directory
/// that the dialog was constructed with (`QuillonInit::GetConfigFileDir`).
///
/// | group   | key            | type      | when missing or empty     | used by                   |
/// |---------|----------------|-----------|---------------------------|---------------------------|
/// | System  | DefInstallLang | string    | "ENG" (only when missing) | `InstallLanguage`         |
/// | Quillon | Email          | string    | empty                     | query values of the check |
/// | Quillon | SetupFile      | path      | no installer is kept      | read by a check, written  |
/// |         |                |           |                           | when the user puts off    |
/// | Quillon | SetupSha256    | hex       | no signed one is kept     | the same, with keys set   |
/// | Quillon | StatisticsHost | host:port | the host of the build     | `gStatisticsHost`         |
/// | Quillon | TrustSerial    | decimal   | 0                         | `TrustRecord`, with keys  |
/// | Quillon | TrustTime      | ISO 8601  | no clock was relied on    | `TrustRecord`, with keys  |
///
/// "With keys" are the public keys of `UpdateTrust`.
namespace ProductSettings
{
inline constexpr char fileName[] = "/Corvina.ini";
inline constexpr char systemGroup[] = "System";
inline constexpr char installLanguageKey[] = "DefInstallLang";
inline constexpr char defaultInstallLanguage[] = "ENG";
inline constexpr char quillonGroup[] = "Quillon";
inline constexpr char emailKey[] = "Email";
inline constexpr char setupFileKey[] = "SetupFile";
inline constexpr char setupSha256Key[] = "SetupSha256";
inline constexpr char statisticsHostKey[] = "StatisticsHost";
inline constexpr char trustSerialKey[] = "TrustSerial";
inline constexpr char trustTimeKey[] = "TrustTime";
} // namespace ProductSettings

/// The product settings file in @p directory.
QString gProductSettingsFile(const QString &directory);

/// The language code of the installation, from the settings file in the host's data directory.
QString InstallLanguage();

/// The host, with an optional ":port", that the statistics records are sent to, from the settings
/// file in @p configDirectory. Otherwise the one that the module was built with, the CMake
/// variable QUILLON_STATISTICS_HOST; its default "statistics.invalid" has no address.
QString gStatisticsHost(const QString &configDirectory);

/// The product identifier of the customised build for @p language; empty when there is none.
QString ProductId(QString language);

/// The customisation value stored under @p key for @p language; empty when there is none.
QString CustomizeValue(QString language, QString key);
