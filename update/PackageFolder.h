#pragma once

#include <QString>

/// The folder that all programs of this machine share, where packages land and installers are kept
/// for the next incremental update. It is created when it is missing. Empty when it cannot be had or
/// cannot be written.
QString gSharedPackageFolder();

/// The shared folder, or the application's own when there is none.
QString gPackageFolder();
