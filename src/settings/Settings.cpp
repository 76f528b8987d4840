#include "settings/Settings.h"

#include "settings/CStdioFileEx.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <climits>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <utility>

#ifdef Q_OS_WIN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <shlobj.h>
#include <windows.h>
#endif

namespace {

const char kSettingsFileName[] = "Shelfwise.ini";

const char kFileIconsStyle[] = "FileIconsStyle";
const char kUnitsOrder[] = "UnitsOrder";
const char kAutosaveTimeout[] = "AutosaveTimeout";
const char kAutosaveAfterUpdate[] = "AutosaveAfterUpdate";
const char kSplitterPosition[] = "SplitterPosition";
const char kCheckSerialNumber[] = "CheckSerialNumber";
const char kCheckSize[] = "CheckSize";
const char kCheckLabel[] = "CheckLabel";
const char kAutoEject[] = "AutoEject";
const char kBackupEnabled[] = "BackupEnabled";
const char kBackupFrequency[] = "BackupFrequency";
const char kBackupPath[] = "BackupPath";
const char kBackupDate[] = "BackupDate";
const char kRecogniseInsertedDiscs[] = "RecogniseInsertedDiscs";
const char kLookInsideArchives[] = "LookInsideArchives";
const char kKeepThumbnails[] = "KeepThumbnails";

QString DefaultSettingsFolder()
{
#ifdef Q_OS_WIN
    wchar_t common[MAX_PATH] = {};
    if (SUCCEEDED(
            SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, common)))
        return QString::fromWCharArray(common) + QStringLiteral("\\Korvalt\\Shelfwise\\");
#endif
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        base = QDir::homePath();
    return base + QStringLiteral("/Korvalt/Shelfwise/");
}

// Decimal text to integer the way the C library's atoi reads it: leading blanks, an
// optional sign, then digits up to the first other character; 0 when there are none.
// Values beyond the range of int are clamped.
int ParseInteger(const QString& text)
{
    int pos = 0;
    const int size = static_cast<int>(text.size());
    while (pos < size && text.at(pos).isSpace())
        ++pos;
    bool negative = false;
    if (pos < size && (text.at(pos) == QLatin1Char('-') || text.at(pos) == QLatin1Char('+'))) {
        negative = text.at(pos) == QLatin1Char('-');
        ++pos;
    }
    long long value = 0;
    for (; pos < size; ++pos) {
        const char16_t ch = text.at(pos).unicode();
        if (ch < u'0' || ch > u'9')
            break;
        if (value <= static_cast<long long>(INT_MAX) + 1)
            value = value * 10 + (ch - u'0');
    }
    if (negative)
        value = -value;
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return static_cast<int>(value);
}

// Replaces target by source in one step, so the target is either the old file or the
// complete new one.
bool ReplaceFile(const QString& source, const QString& target)
{
    if (QFile::exists(target))
        QFile::setPermissions(source, QFile::permissions(target));
#ifdef Q_OS_WIN
    const QString from = QDir::toNativeSeparators(source);
    const QString to = QDir::toNativeSeparators(target);
    return MoveFileExW(reinterpret_cast<const wchar_t*>(from.utf16()),
                       reinterpret_cast<const wchar_t*>(to.utf16()),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
#else
    return std::rename(QFile::encodeName(source).constData(),
                       QFile::encodeName(target).constData()) == 0;
#endif
}

} // namespace

QString SettingsFolder()
{
    QString folder = qEnvironmentVariable("SHELFWISE_SETTINGS_DIR");
    if (folder.isEmpty())
        folder = DefaultSettingsFolder();
    folder = QDir::toNativeSeparators(folder);
    if (!folder.endsWith(QDir::separator()))
        folder += QDir::separator();
    // A folder that cannot be made shows up later, when a file in it cannot be opened.
    QDir().mkpath(folder);
    return folder;
}

Settings& Settings::Instance()
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    static Settings instance(SettingsFolder() + QLatin1String(kSettingsFileName));
    static bool loaded = false;
    if (!loaded) {
        // Loaded once even when the file holds a bad value: the error goes to this
        // first caller, later callers get the object with what could be read.
        loaded = true;
        instance.LoadSettings();
    }
    return instance;
}

Settings::Settings(QString filePath) : m_filePath(std::move(filePath)), m_stored(KeyValues())
{
}

void Settings::LoadSettings()
{
    CStdioFileEx file;
    if (!file.Open(m_filePath, CStdioFileEx::ModeRead)) {
        m_stored = KeyValues();
        return;
    }
    QString line;
    try {
        while (file.ReadString(line)) {
            const int equals = static_cast<int>(line.indexOf(QLatin1Char('=')));
            if (equals < 0)
                continue;
            SetValue(line.left(equals), line.mid(equals + 1));
        }
    } catch (const std::logic_error&) {
        // What could be read stands for the file: a bad line alone is no reason to
        // rewrite it.
        m_stored = KeyValues();
        throw;
    }
    m_stored = KeyValues();
}

bool Settings::IsChanged() const
{
    return KeyValues() != m_stored;
}

bool Settings::SaveIfChanged() const
{
    if (!IsChanged() && QFileInfo::exists(m_filePath))
        return true;
    return SaveSettings();
}

bool Settings::SaveSettings() const
{
    // Everything is converted before the file is touched, so a bad enum value raises
    // with the previous file still in place.
    QString text;
    for (const auto& [key, value] : KeyValues()) {
        if (key == QLatin1String(kAutosaveTimeout) && AutosaveTimeout <= 0)
            continue;
        text += key + QStringLiteral(" = ") + value + QStringLiteral("\r\n");
    }

    const QString temporary =
        m_filePath + QStringLiteral(".%1.tmp").arg(QCoreApplication::applicationPid());
    CStdioFileEx file;
    if (!file.Open(temporary, CStdioFileEx::ModeWrite | CStdioFileEx::ModeCreate))
        return false;
    bool written = file.WriteString(text);
    written = file.Flush() && written;
    written = file.Close() && written;
    if (written && ReplaceFile(temporary, m_filePath)) {
        m_stored = KeyValues();
        return true;
    }
    QFile::remove(temporary);
    return false;
}

std::vector<std::pair<QString, QString>> Settings::KeyValues() const
{
    return {
        {QLatin1String(kFileIconsStyle), ToText(FileIconsStyle)},
        {QLatin1String(kUnitsOrder), ToText(UnitsOrder)},
        {QLatin1String(kAutosaveTimeout), QString::number(AutosaveTimeout)},
        {QLatin1String(kAutosaveAfterUpdate), ToText(AutosaveAfterUpdate)},
        {QLatin1String(kSplitterPosition), QString::number(SplitterPosition)},
        {QLatin1String(kCheckSerialNumber), ToText(CheckSerialNumber)},
        {QLatin1String(kCheckSize), ToText(CheckSize)},
        {QLatin1String(kCheckLabel), ToText(CheckLabel)},
        {QLatin1String(kAutoEject), ToText(AutoEject)},
        {QLatin1String(kBackupEnabled), ToText(BackupEnabled)},
        {QLatin1String(kBackupFrequency), ToText(BackupFrequency)},
        {QLatin1String(kBackupPath), BackupPath},
        // BackupDate is narrow text in the system's 8-bit encoding.
        {QLatin1String(kBackupDate), QString::fromLocal8Bit(BackupDate)},
        {QLatin1String(kRecogniseInsertedDiscs), ToText(RecogniseInsertedDiscs)},
        {QLatin1String(kLookInsideArchives), ToText(LookInsideArchives)},
        {QLatin1String(kKeepThumbnails), ToText(KeepThumbnails)},
    };
}

bool Settings::SetValue(const QString& rawKey, const QString& rawValue)
{
    const QString key = rawKey.trimmed();
    const QString value = rawValue.trimmed();
    if (key == QLatin1String(kFileIconsStyle))
        FileIconsStyle = FileIconsStyleFromText(value);
    else if (key == QLatin1String(kUnitsOrder))
        UnitsOrder = UnitsOrderFromText(value);
    else if (key == QLatin1String(kAutosaveTimeout))
        AutosaveTimeout = ParseInteger(value);
    else if (key == QLatin1String(kAutosaveAfterUpdate))
        AutosaveAfterUpdate = BoolFromText(value);
    else if (key == QLatin1String(kSplitterPosition))
        SplitterPosition = ParseInteger(value);
    else if (key == QLatin1String(kCheckSerialNumber))
        CheckSerialNumber = BoolFromText(value);
    else if (key == QLatin1String(kCheckSize))
        CheckSize = BoolFromText(value);
    else if (key == QLatin1String(kCheckLabel))
        CheckLabel = BoolFromText(value);
    else if (key == QLatin1String(kAutoEject))
        AutoEject = BoolFromText(value);
    else if (key == QLatin1String(kBackupEnabled))
        BackupEnabled = BoolFromText(value);
    else if (key == QLatin1String(kBackupFrequency))
        BackupFrequency = BackupFrequencyFromText(value);
    else if (key == QLatin1String(kBackupPath))
        BackupPath = value;
    else if (key == QLatin1String(kBackupDate))
        BackupDate = value.toLocal8Bit();
    else if (key == QLatin1String(kRecogniseInsertedDiscs))
        RecogniseInsertedDiscs = BoolFromText(value);
    else if (key == QLatin1String(kLookInsideArchives))
        LookInsideArchives = BoolFromText(value);
    else if (key == QLatin1String(kKeepThumbnails))
        KeepThumbnails = BoolFromText(value);
    else
        return false;
    return true;
}

QString Settings::ToText(::FileIconsStyle value)
{
    switch (value) {
    case ::FileIconsStyle::Default:
        return QStringLiteral("Default");
    case ::FileIconsStyle::Explorer:
        return QStringLiteral("Explorer");
    case ::FileIconsStyle::CategoryBased:
        return QStringLiteral("CategoryBased");
    }
    throw std::logic_error("Unknown file icon style.");
}

QString Settings::ToText(::UnitsOrder value)
{
    switch (value) {
    case ::UnitsOrder::Chronological:
        return QStringLiteral("Chronological");
    case ::UnitsOrder::Alphabetic:
        return QStringLiteral("Alphabetic");
    }
    throw std::logic_error("Unknown units order.");
}

QString Settings::ToText(::BackupFrequency value)
{
    switch (value) {
    case ::BackupFrequency::Day:
        return QStringLiteral("Day");
    case ::BackupFrequency::Week:
        return QStringLiteral("Week");
    case ::BackupFrequency::Month:
        return QStringLiteral("Month");
    case ::BackupFrequency::Year:
        return QStringLiteral("Year");
    }
    throw std::logic_error("Unknown backup frequency.");
}

QString Settings::ToText(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

::FileIconsStyle Settings::FileIconsStyleFromText(const QString& text)
{
    if (text == QLatin1String("Default"))
        return ::FileIconsStyle::Default;
    if (text == QLatin1String("Explorer"))
        return ::FileIconsStyle::Explorer;
    if (text == QLatin1String("CategoryBased"))
        return ::FileIconsStyle::CategoryBased;
    throw std::logic_error("Unknown file icon style.");
}

::UnitsOrder Settings::UnitsOrderFromText(const QString& text)
{
    if (text == QLatin1String("Chronological"))
        return ::UnitsOrder::Chronological;
    if (text == QLatin1String("Alphabetic"))
        return ::UnitsOrder::Alphabetic;
    throw std::logic_error("Unknown units order.");
}

::BackupFrequency Settings::BackupFrequencyFromText(const QString& text)
{
    if (text == QLatin1String("Day"))
        return ::BackupFrequency::Day;
    if (text == QLatin1String("Week"))
        return ::BackupFrequency::Week;
    if (text == QLatin1String("Month"))
        return ::BackupFrequency::Month;
    if (text == QLatin1String("Year"))
        return ::BackupFrequency::Year;
    throw std::logic_error("Unknown backup frequency.");
}

bool Settings::BoolFromText(const QString& text)
{
    if (text == QLatin1String("True"))
        return true;
    if (text == QLatin1String("False"))
        return false;
    throw std::logic_error("Invalid boolean string.");
}
