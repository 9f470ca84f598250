// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Facts about the installation that the module runs in, and the settings that they come from.
///
/// Thread: GUI thread. Errors: every reader falls back to the value named with it.

/// Every setting of the product settings file "Corvina.ini", in one place.
///
/// | group   | key            | type      | when missing or empty     | read or written by        |
/// |---------|----------------|-----------|---------------------------|---------------------------|
/// | System  | DefInstallLang | string    | "ENG" (only when missing) | `InstallLanguage`         |
/// | Quillon | Email          | string    | empty                     | query values of the check |
/// | Quillon | SetupFile      | path      | empty                     | check, install prompt     |
/// | Quillon | StatisticsHost | host:port | the host of the build     | `StatisticsHost`          |
namespace ProductSettings
{
inline constexpr char fileName[] = "/Corvina.ini";
inline constexpr char systemGroup[] = "System";
inline constexpr char installLanguageKey[] = "DefInstallLang";
inline constexpr char defaultInstallLanguage[] = "ENG";
inline constexpr char quillonGroup[] = "Quillon";
inline constexpr char emailKey[] = "Email";
inline constexpr char setupFileKey[] = "SetupFile";
inline constexpr char statisticsHostKey[] = "StatisticsHost";
} // namespace ProductSettings

/// The language code of the installation, from the settings file in the host's data directory.
QString InstallLanguage();

/// The host, with an optional ":port", that the statistics records are sent to, from the settings
/// file in the configuration directory; or else the one that the module was built with, whose own
/// default cannot be resolved.
QString gStatisticsHost();

/// The product identifier of the customised build for @p language; empty when there is none.
QString ProductId(QString language);

/// The customisation value stored under @p key for @p language; empty when there is none.
QString CustomizeValue(QString language, QString key);
