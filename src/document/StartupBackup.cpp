#include "document/StartupBackup.h"

#include "common/FileCopy.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "settings/Settings.h"

#include <QDir>
#include <QFileInfo>

namespace StartupBackup {

namespace {

int DaysFor(BackupFrequency frequency)
{
    switch (frequency) {
    case BackupFrequency::Day:
        return 1;
    case BackupFrequency::Week:
        return 7;
    case BackupFrequency::Month:
        return 30;
    case BackupFrequency::Year:
        return 365;
    }
    return 7;
}

} // namespace

qint64 DaysSinceLastBackup(const QByteArray& backupDate, const QDateTime& nowUtc)
{
    const int day = backupDate.mid(0, 2).toInt();
    const int month = backupDate.mid(2, 2).toInt();
    const int year = backupDate.mid(4, 4).toInt();
    const QDateTime last(QDate(year, month, day), nowUtc.time(), Qt::UTC);
    if (!last.isValid())
        return -1;
    // Whole days, truncated towards zero like the integer division of the elapsed time.
    return last.msecsTo(nowUtc) / (1000LL * 60 * 60 * 24);
}

bool IsDue(const Settings& settings, const QDateTime& nowUtc)
{
    if (settings.BackupDate.isEmpty())
        return true;
    const QDate last(settings.BackupDate.mid(4, 4).toInt(), settings.BackupDate.mid(2, 2).toInt(),
                     settings.BackupDate.mid(0, 2).toInt());
    if (!last.isValid())
        return true; // an unreadable date is treated like no backup yet
    return DaysSinceLastBackup(settings.BackupDate, nowUtc) >= DaysFor(settings.BackupFrequency);
}

bool Run(Settings& settings, const QStringList& recentFiles, UserPrompter& prompter,
         const QDateTime& nowUtc)
{
    if (!settings.BackupEnabled || !IsDue(settings, nowUtc))
        return false;
    QString folder = settings.BackupPath;
    if (folder.isEmpty()) {
        // The folder chosen here serves this backup only.
        folder = prompter.AskBackupPath();
        if (folder.isEmpty())
            return false;
    }
    while (folder.size() > 1 &&
           (folder.endsWith(QLatin1Char('/')) || folder.endsWith(QLatin1Char('\\'))))
        folder.chop(1);

    for (const QString& entry : recentFiles) {
        const QFileInfo file(entry);
        if (entry.isEmpty() || !file.exists())
            continue;
        const QString target = folder + QDir::separator() + file.fileName();
        if (!FileCopy::CopyOver(file.filePath(), target) &&
            !prompter.AskYesNo(Strings::IDS_BACKUP_FAILED_CONTINUE, UserPrompter::Icon::Question))
            return false;
    }
    const QDate today = nowUtc.date();
    settings.BackupDate =
        QString::asprintf("%02d%02d%04d", today.day(), today.month(), today.year()).toLatin1();
    return true;
}

} // namespace StartupBackup
