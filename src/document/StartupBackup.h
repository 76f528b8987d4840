#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QStringList>

class Settings;
class UserPrompter;

namespace StartupBackup {

// Whole days from the last backup (BackupDate, "DDMMYYYY", UTC) to now, the time of
// day taken as now's. Negative when the clock was set back.
qint64 DaysSinceLastBackup(const QByteArray& backupDate, const QDateTime& nowUtc);

// Whether the backup is due for the settings' frequency and last date.
bool IsDue(const Settings& settings, const QDateTime& nowUtc);

// The start-up backup: when due, copies every existing catalogue of the recent-file
// list into the backup folder (asking for a folder when none is set) and records
// today's date. Returns true when a backup was completed.
bool Run(Settings& settings, const QStringList& recentFiles, UserPrompter& prompter,
         const QDateTime& nowUtc);

} // namespace StartupBackup
