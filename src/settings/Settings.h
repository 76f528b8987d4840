#pragma once

#include <QByteArray>
#include <QString>

#include <utility>
#include <vector>

enum class FileIconsStyle : int { Default = 0, Explorer = 1, CategoryBased = 2 };
enum class UnitsOrder : int { Chronological = 0, Alphabetic = 1 };
enum class BackupFrequency : int { Day = 0, Week = 1, Month = 2, Year = 3 };

// The folder of the settings file, the error log, the templates, the working copy and
// the upgrade scripts, with a trailing separator. SHELFWISE_SETTINGS_DIR replaces it.
QString SettingsFolder();

// All user options, kept in "Shelfwise.ini" as "Key = Value" lines. One instance per
// process (Instance()), created with the defaults and loaded on first use; other
// instances can be made on any file, for tests and tools.
class Settings final
{
public:
    static Settings& Instance();

    explicit Settings(QString filePath);

    ::FileIconsStyle FileIconsStyle = ::FileIconsStyle::Default;
    ::UnitsOrder UnitsOrder = ::UnitsOrder::Chronological;
    int AutosaveTimeout = 0;
    bool AutosaveAfterUpdate = false;
    int SplitterPosition = 200;
    bool CheckSerialNumber = true;
    bool CheckSize = true;
    bool CheckLabel = true;
    bool AutoEject = false;
    bool BackupEnabled = false;
    ::BackupFrequency BackupFrequency = ::BackupFrequency::Week;
    QString BackupPath;
    QByteArray BackupDate;
    // While the window runs, a disc or volume that is mounted is looked up in the
    // catalogue and a bar says where it is kept.
    bool RecogniseInsertedDiscs = true;
    // An addition or update catalogues the entries of archives and disc images it finds.
    bool LookInsideArchives = true;
    // An addition or update keeps a small image of each picture in the catalogue.
    bool KeepThumbnails = true;

    const QString& FilePath() const { return m_filePath; }

    // Reads the file; a missing file keeps the defaults. An unknown enum or boolean
    // text raises std::logic_error and the remaining lines are not read.
    void LoadSettings();
    // Writes every key in order. False when the file could not be written.
    bool SaveSettings() const;
    // True when a value differs from what was last loaded or saved.
    bool IsChanged() const;
    // Writes the file only when this process changed a value (or there is no file
    // yet), so that a run never undoes what another process saved meanwhile.
    bool SaveIfChanged() const;

    // Every key with its text, in the file's order (AutosaveTimeout always included).
    std::vector<std::pair<QString, QString>> KeyValues() const;
    // Sets one key from its file text; false for an unknown key. Bad enum or boolean
    // texts raise std::logic_error, as when loading.
    bool SetValue(const QString& key, const QString& value);

    static QString ToText(::FileIconsStyle value);
    static QString ToText(::UnitsOrder value);
    static QString ToText(::BackupFrequency value);
    static QString ToText(bool value);
    static ::FileIconsStyle FileIconsStyleFromText(const QString& text);
    static ::UnitsOrder UnitsOrderFromText(const QString& text);
    static ::BackupFrequency BackupFrequencyFromText(const QString& text);
    static bool BoolFromText(const QString& text);

private:
    QString m_filePath;
    // The values as the file held them when last loaded or saved.
    mutable std::vector<std::pair<QString, QString>> m_stored;
};
