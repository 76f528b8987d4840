#include "document/DataFiles.h"
#include "settings/Settings.h"

#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // No display needed, and nothing of the user's touched: the settings folder and
    // the recent-file list (QSettings) live in temporary folders.
    // Offscreen unless a display is asked for (the README's screenshots are taken with
    // QT_QPA_PLATFORM=xcb under Xvfb).
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(config.path()));
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    QApplication app(argc, argv);
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
