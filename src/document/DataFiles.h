#pragma once

#include <QString>

namespace DataFiles {

// The folder of the data files installed with the program (empty.db3, test.db3,
// Updates/, help/): <program folder>/../share/shelfwise below an installed prefix (or
// wherever the install folders put it) and in the build tree. SHELFWISE_DATA_DIR
// replaces it.
QString InstalledFolder();

// Copies into the settings folder every installed data file that is missing there:
// the template, the sample catalogue and the upgrade scripts. Files already there are
// left alone. Returns false when a file could not be copied.
bool InstallMissing(const QString& installedFolder, const QString& settingsFolder);

} // namespace DataFiles
