// Two real window processes on one settings folder: a later start hands its catalogue
// to the running window, as a file manager's double-click does, and ends.
#include "TestCatalogue.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>

namespace {

class SecondStart : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_settings.isValid() && m_dir.isValid());
        m_env = QProcessEnvironment::systemEnvironment();
        m_env.insert(QStringLiteral("SHELFWISE_SETTINGS_DIR"), m_settings.path());
        m_env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }

    void TearDown() override
    {
        if (m_first.state() != QProcess::NotRunning) {
            m_first.kill();
            m_first.waitForFinished(5000);
        }
    }

    QString Catalogue(const QString& name) { return CopySampleCatalogue(m_dir.filePath(name)); }

    // The first entry of the recent-file list the windows keep in the settings folder:
    // a window puts a catalogue there once it has opened it.
    QString MostRecent() const
    {
        return QSettings(m_settings.filePath(QStringLiteral("RecentFiles.ini")),
                         QSettings::IniFormat)
            .value(QStringLiteral("RecentFiles"))
            .toStringList()
            .value(0);
    }

    static bool WaitFor(const std::function<bool()>& condition)
    {
        QElapsedTimer timer;
        timer.start();
        while (!condition()) {
            if (timer.elapsed() > 20000)
                return false;
            QThread::msleep(50);
        }
        return true;
    }

    // A later start in the catalogues' folder: its exit status, or -1 when it hung.
    int StartAgain(const QStringList& arguments)
    {
        QProcess later;
        later.setProcessEnvironment(m_env);
        later.setWorkingDirectory(m_dir.path());
        later.start(QStringLiteral(SHELFWISE_APP), arguments);
        if (!later.waitForFinished(20000)) {
            later.kill();
            later.waitForFinished(5000);
            return -1;
        }
        return later.exitStatus() == QProcess::NormalExit ? later.exitCode() : -1;
    }

    QTemporaryDir m_settings;
    QTemporaryDir m_dir;
    QProcessEnvironment m_env;
    QProcess m_first;
};

} // namespace

TEST_F(SecondStart, HandsItsCatalogueToTheRunningWindowAndEnds)
{
    const QString first = Catalogue(QStringLiteral("first.db3"));
    const QString second = Catalogue(QStringLiteral("second.db3"));
    m_first.setProcessEnvironment(m_env);
    m_first.start(QStringLiteral(SHELFWISE_APP), {first});
    ASSERT_TRUE(m_first.waitForStarted(10000));
    ASSERT_TRUE(WaitFor([&] { return MostRecent() == first; })) << MostRecent().toStdString();

    // A name relative to where the later start ran reaches the window whole.
    EXPECT_EQ(StartAgain({QStringLiteral("second.db3")}), 0);
    EXPECT_TRUE(WaitFor([&] { return MostRecent() == second; })) << MostRecent().toStdString();
    EXPECT_EQ(m_first.state(), QProcess::Running);

    // Without a file the window only comes to the front; with the catalogue it has
    // open, nothing happens either.
    EXPECT_EQ(StartAgain({}), 0);
    EXPECT_EQ(StartAgain({second}), 0);
    EXPECT_EQ(MostRecent(), second);
    EXPECT_EQ(m_first.state(), QProcess::Running);

    // Once the window is gone, the next start is a window of its own again.
    m_first.kill();
    m_first.waitForFinished(5000);
    QProcess next;
    next.setProcessEnvironment(m_env);
    next.start(QStringLiteral(SHELFWISE_APP), {first});
    ASSERT_TRUE(next.waitForStarted(10000));
    EXPECT_TRUE(WaitFor([&] { return MostRecent() == first; }));
    EXPECT_EQ(next.state(), QProcess::Running);
    next.kill();
    next.waitForFinished(5000);
}
