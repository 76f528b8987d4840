#include "settings/Settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace {

const char kDefaultsFile[] = "FileIconsStyle = Default\r\n"
                             "UnitsOrder = Chronological\r\n"
                             "AutosaveAfterUpdate = False\r\n"
                             "SplitterPosition = 200\r\n"
                             "CheckSerialNumber = True\r\n"
                             "CheckSize = True\r\n"
                             "CheckLabel = True\r\n"
                             "AutoEject = False\r\n"
                             "BackupEnabled = False\r\n"
                             "BackupFrequency = Week\r\n"
                             "BackupPath = \r\n"
                             "BackupDate = \r\n"
                             "RecogniseInsertedDiscs = True\r\n"
                             "LookInsideArchives = True\r\n"
                             "KeepThumbnails = True\r\n";

QByteArray ReadBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void WriteBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// The message of the logic error that action raises, or "" when it raises none.
std::string LogicErrorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::logic_error& e) {
        return e.what();
    }
    return {};
}

} // namespace

TEST(Settings, DefaultsAreWrittenByteForByteAndTheTimeoutOnlyWhenPositive)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Shelfwise.ini"));
    Settings settings(path);
    ASSERT_TRUE(settings.SaveSettings());
    EXPECT_EQ(ReadBytes(path), QByteArray(kDefaultsFile));

    settings.AutosaveTimeout = -3;
    ASSERT_TRUE(settings.SaveSettings());
    EXPECT_EQ(ReadBytes(path), QByteArray(kDefaultsFile));

    settings.AutosaveTimeout = 15;
    ASSERT_TRUE(settings.SaveSettings());
    EXPECT_TRUE(
        ReadBytes(path).startsWith("FileIconsStyle = Default\r\nUnitsOrder = Chronological\r\n"
                                   "AutosaveTimeout = 15\r\nAutosaveAfterUpdate = False\r\n"));
    // Nothing but the settings file is left in the folder.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList({"Shelfwise.ini"}));
}

TEST(Settings, EveryKeyRoundTripsThroughTheFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Shelfwise.ini"));
    Settings saved(path);
    saved.FileIconsStyle = FileIconsStyle::CategoryBased;
    saved.UnitsOrder = UnitsOrder::Alphabetic;
    saved.AutosaveTimeout = 7;
    saved.AutosaveAfterUpdate = true;
    saved.SplitterPosition = -12;
    saved.CheckSerialNumber = false;
    saved.CheckSize = false;
    saved.CheckLabel = false;
    saved.AutoEject = true;
    saved.BackupEnabled = true;
    saved.BackupFrequency = BackupFrequency::Year;
    saved.BackupPath = QStringLiteral("/media/záloha = 日本");
    saved.BackupDate = "07032012";
    saved.RecogniseInsertedDiscs = false;
    ASSERT_TRUE(saved.SaveSettings());

    Settings loaded(path);
    loaded.LoadSettings();
    EXPECT_EQ(loaded.KeyValues(), saved.KeyValues());
    EXPECT_EQ(loaded.BackupDate, QByteArray("07032012"));

    EXPECT_FALSE(loaded.RecogniseInsertedDiscs);
    ASSERT_EQ(loaded.KeyValues().size(), 16u);
    EXPECT_EQ(loaded.KeyValues()[2].first, QStringLiteral("AutosaveTimeout"));
}

TEST(Settings, LinesAreReadLenientlyButKeysAreCaseSensitive)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Shelfwise.ini"));
    WriteBytes(path, "autoeject = True\r\n"
                     "CheckLabel=False\r\n"
                     "  CheckSize \t=   False  \r\n"
                     "AutosaveTimeout = 10 minutes\r\n"
                     "SplitterPosition = abc\r\n"
                     "a line without an equals sign\r\n"
                     "\r\n"
                     "Colour = Blue\r\n"
                     "BackupFrequency = Month\n"
                     "BackupFrequency = Day\r\n"
                     "BackupPath = /a=b \r\n"
                     "BackupDate = 01022013");
    Settings settings(path);
    settings.LoadSettings();
    EXPECT_FALSE(settings.AutoEject);
    EXPECT_FALSE(settings.CheckLabel);
    EXPECT_FALSE(settings.CheckSize);
    EXPECT_TRUE(settings.CheckSerialNumber);
    EXPECT_EQ(settings.AutosaveTimeout, 10);
    EXPECT_EQ(settings.SplitterPosition, 0);
    EXPECT_EQ(settings.BackupFrequency, BackupFrequency::Day);
    EXPECT_EQ(settings.BackupPath, QStringLiteral("/a=b"));
    EXPECT_EQ(settings.BackupDate, QByteArray("01022013"));

    // The same conversions one key at a time.
    EXPECT_TRUE(settings.SetValue(QStringLiteral("SplitterPosition"), QStringLiteral(" -45px")));
    EXPECT_EQ(settings.SplitterPosition, -45);
    EXPECT_FALSE(settings.SetValue(QStringLiteral("checklabel"), QStringLiteral("True")));
    EXPECT_FALSE(settings.CheckLabel);
}

TEST(Settings, BadTextsRaiseTheirMessageAndStopTheLoad)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Shelfwise.ini"));
    const std::pair<const char*, const char*> cases[] = {
        {"FileIconsStyle = default", "Unknown file icon style."},
        {"UnitsOrder = Random", "Unknown units order."},
        {"BackupFrequency = 1", "Unknown backup frequency."},
        {"AutoEject = true", "Invalid boolean string."},
    };
    for (const auto& [line, message] : cases) {
        WriteBytes(path, QByteArray("CheckSerialNumber = False\r\n") + line +
                             "\r\nCheckLabel = False\r\n");
        Settings settings(path);
        EXPECT_EQ(LogicErrorOf([&] { settings.LoadSettings(); }), message) << line;
        EXPECT_FALSE(settings.CheckSerialNumber); // read before the bad line
        EXPECT_TRUE(settings.CheckLabel);         // never reached
    }

    EXPECT_EQ(LogicErrorOf([] { Settings::ToText(static_cast<FileIconsStyle>(3)); }),
              "Unknown file icon style.");
    EXPECT_EQ(LogicErrorOf([] { Settings::ToText(static_cast<BackupFrequency>(4)); }),
              "Unknown backup frequency.");

    // A value that cannot be written raises before the previous file is touched.
    WriteBytes(path, kDefaultsFile);
    Settings settings(path);
    settings.BackupFrequency = static_cast<BackupFrequency>(9);
    EXPECT_EQ(LogicErrorOf([&] { settings.SaveSettings(); }), "Unknown backup frequency.");
    EXPECT_EQ(ReadBytes(path), QByteArray(kDefaultsFile));
}

TEST(Settings, AFailedSaveReportsFalseAndKeepsThePreviousFile)
{
    QTemporaryDir dir;
    // The parent of the settings file is a regular file: nothing can be created in it.
    const QString blocker = dir.filePath(QStringLiteral("not-a-folder"));
    WriteBytes(blocker, "x");
    EXPECT_FALSE(Settings(blocker + QStringLiteral("/Shelfwise.ini")).SaveSettings());

    // The temporary file beside a good settings file cannot be written: the good file
    // stays as it was.
    const QString path = dir.filePath(QStringLiteral("Shelfwise.ini"));
    WriteBytes(path, kDefaultsFile);
    Settings settings(path);
    settings.AutoEject = true;
    const QString temporary =
        path + QStringLiteral(".%1.tmp").arg(QCoreApplication::applicationPid());
    ASSERT_TRUE(QDir().mkdir(temporary));
    EXPECT_FALSE(settings.SaveSettings());
    EXPECT_EQ(ReadBytes(path), QByteArray(kDefaultsFile));
    ASSERT_TRUE(QDir().rmdir(temporary));
    EXPECT_TRUE(settings.SaveSettings());
    EXPECT_TRUE(ReadBytes(path).contains("AutoEject = True\r\n"));
}

TEST(Settings, SettingsFolderHonoursTheEnvironmentAndIsCreated)
{
    const QByteArray saved = qgetenv("SHELFWISE_SETTINGS_DIR");
    QTemporaryDir dir;
    const QString wanted = dir.filePath(QStringLiteral("nested/Shelfwise"));
    for (const QString& given : {wanted, wanted + QLatin1Char('/')}) {
        qputenv("SHELFWISE_SETTINGS_DIR", given.toLocal8Bit());
        EXPECT_EQ(SettingsFolder(), QDir::toNativeSeparators(wanted) + QDir::separator());
        EXPECT_TRUE(QFileInfo(wanted).isDir());
    }
    if (saved.isEmpty())
        qunsetenv("SHELFWISE_SETTINGS_DIR");
    else
        qputenv("SHELFWISE_SETTINGS_DIR", saved);
}
