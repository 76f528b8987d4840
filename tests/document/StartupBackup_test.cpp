#include "FakePrompter.h"

#include "document/StartupBackup.h"
#include "settings/Settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QDateTime kNow(QDate(2026, 3, 10), QTime(9, 30, 0), Qt::UTC);

QByteArray DaysAgo(int days)
{
    const QDate d = kNow.date().addDays(-days);
    return QString::asprintf("%02d%02d%04d", d.day(), d.month(), d.year()).toLatin1();
}

QString MakeFile(const QTemporaryDir& dir, const QString& name)
{
    QFile file(dir.filePath(name));
    file.open(QIODevice::WriteOnly);
    file.write(name.toUtf8());
    return file.fileName();
}

} // namespace

TEST(StartupBackup, DueByFrequency)
{
    QTemporaryDir dir;
    Settings s(dir.filePath(QStringLiteral("x.ini")));
    s.BackupFrequency = BackupFrequency::Week;
    s.BackupDate = DaysAgo(6);
    EXPECT_FALSE(StartupBackup::IsDue(s, kNow));
    s.BackupDate = DaysAgo(7);
    EXPECT_TRUE(StartupBackup::IsDue(s, kNow));
    s.BackupFrequency = BackupFrequency::Month; // 30 days, whatever the month
    s.BackupDate = DaysAgo(29);
    EXPECT_FALSE(StartupBackup::IsDue(s, kNow));
    s.BackupDate = DaysAgo(30);
    EXPECT_TRUE(StartupBackup::IsDue(s, kNow));
    s.BackupFrequency = BackupFrequency::Day;
    s.BackupDate = DaysAgo(0);
    EXPECT_FALSE(StartupBackup::IsDue(s, kNow));
    s.BackupDate = DaysAgo(-3); // clock set back
    EXPECT_FALSE(StartupBackup::IsDue(s, kNow));
    s.BackupDate.clear();
    EXPECT_TRUE(StartupBackup::IsDue(s, kNow));
    EXPECT_EQ(StartupBackup::DaysSinceLastBackup(DaysAgo(365), kNow), 365);
}

TEST(StartupBackup, CopiesRecentCataloguesAndRecordsTheDate)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    QTemporaryDir backups;
    Settings s(dir.filePath(QStringLiteral("x.ini")));
    s.BackupEnabled = true;
    s.BackupPath = backups.path() + QStringLiteral("//");
    const QStringList recent = {MakeFile(dir, QStringLiteral("a.db3")), QString(),
                                dir.filePath(QStringLiteral("deleted.db3")),
                                MakeFile(dir, QStringLiteral("b.db3"))};
    EXPECT_TRUE(StartupBackup::Run(s, recent, prompter, kNow));
    EXPECT_EQ(QDir(backups.path()).entryList(QDir::Files),
              (QStringList{QStringLiteral("a.db3"), QStringLiteral("b.db3")}));
    EXPECT_EQ(s.BackupDate, QByteArray("10032026"));
    EXPECT_TRUE(prompter.Questions().empty());

    // Not due again the same day.
    EXPECT_FALSE(StartupBackup::Run(s, recent, prompter, kNow));
    // Disabled: nothing.
    s.BackupDate.clear();
    s.BackupEnabled = false;
    EXPECT_FALSE(StartupBackup::Run(s, recent, prompter, kNow));
}

TEST(StartupBackup, FailedCopiesAskAndNoKeepsTheBackupDue)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    Settings s(dir.filePath(QStringLiteral("x.ini")));
    s.BackupEnabled = true;
    s.BackupPath = MakeFile(dir, QStringLiteral("not-a-folder"));
    const QStringList recent = {MakeFile(dir, QStringLiteral("a.db3")),
                                MakeFile(dir, QStringLiteral("b.db3"))};
    prompter.QueueYesNo(true);
    prompter.QueueYesNo(false);
    EXPECT_FALSE(StartupBackup::Run(s, recent, prompter, kNow));
    EXPECT_EQ(prompter.Questions().size(), 2u);
    EXPECT_TRUE(s.BackupDate.isEmpty());

    // No folder set: the user is asked for one for this backup only; Cancel stops.
    s.BackupPath.clear();
    EXPECT_FALSE(StartupBackup::Run(s, recent, prompter, kNow));
    ASSERT_EQ(prompter.PathRequests().size(), 1u);
    QTemporaryDir chosen;
    prompter.QueuePath(chosen.path());
    EXPECT_TRUE(StartupBackup::Run(s, recent, prompter, kNow));
    EXPECT_TRUE(s.BackupPath.isEmpty());
    EXPECT_TRUE(QFile::exists(chosen.filePath(QStringLiteral("b.db3"))));
}
