#include "document/DataFiles.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // Every test run gets its own settings folder with the built data files in it, so
    // the working copy, the log and the settings file never touch the user's.
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
