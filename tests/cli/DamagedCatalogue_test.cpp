// shelfwise-cli on catalogues whose parent links form a loop, as a damaged file or
// another program may leave them: every command ends with a status instead of walking
// the loop until the stack runs out.
#include "cli/CliProcess.h"

#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class DamagedCatalogue : public ::testing::Test
{
protected:
    // Shelf holds the folder Outer, which holds top.txt and the folder Inner, which
    // holds deep.txt; Box is empty.
    DamagedCatalogue() : m_catalogue(m_dir.filePath(QStringLiteral("discs.db3")))
    {
        const QString root = m_dir.filePath(QStringLiteral("Outer"));
        QDir().mkpath(root + QStringLiteral("/Inner"));
        for (const char* name : {"/top.txt", "/Inner/deep.txt"}) {
            QFile file(root + QLatin1String(name));
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write("12345");
        }
        EXPECT_EQ(Run({"new", m_catalogue}).status, 0);
        EXPECT_EQ(Run({"add-storage", m_catalogue, "Shelf"}).status, 0);
        EXPECT_EQ(Run({"add-storage", m_catalogue, "Box"}).status, 0);
        EXPECT_EQ(Run({"add-folder", m_catalogue, "Shelf", root}).status, 0);
    }

    // A run that has not ended after a minute is stopped and reads as a crash.
    CliResult Run(const QStringList& arguments)
    {
        QProcess process;
        StartCli(process, arguments, CliEnvironment(m_settings.path()));
        if (!process.waitForFinished(60000)) {
            process.kill();
            process.waitForFinished(15000);
            return {};
        }
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    QString Id(const char* name)
    {
        CSqliteWrapper db;
        db.Open(m_catalogue, false);
        std::vector<QString> rows;
        db.QueryRows(QStringLiteral("SELECT UnitID FROM Units WHERE UnitName = '%1'")
                         .arg(QLatin1String(name)),
                     rows, &RowMappers::Texts);
        return rows.empty() ? QString() : rows.front();
    }

    // Edits the file behind the program's back.
    void Damage(const QString& sql)
    {
        CSqliteWrapper db;
        db.Open(m_catalogue, false);
        db.Execute(sql);
    }

    // Each command may succeed or refuse, but must end on its own.
    void ExpectEveryCommandEnds(const QString& unit)
    {
        const QString out = m_dir.filePath(QStringLiteral("report.html"));
        for (const QStringList& command :
             {QStringList{"check", m_catalogue}, QStringList{"ls", m_catalogue, "--unit", unit},
              QStringList{"report", m_catalogue, out, "--level", "all"},
              QStringList{"move", m_catalogue, "--unit", unit, "--to-storage", "Box"},
              QStringList{"delete", m_catalogue, "--unit", unit, "--yes"},
              QStringList{"check", m_catalogue}}) {
            const CliResult result = Run(command);
            EXPECT_TRUE(result.status == 0 || result.status == 1)
                << command.join(' ').toStdString() << " ended with " << result.status;
        }
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_catalogue;
};

} // namespace

TEST_F(DamagedCatalogue, AFolderThatIsItsOwnParentEndsEveryCommand)
{
    const QString inner = Id("Inner");
    ASSERT_FALSE(inner.isEmpty());
    Damage("UPDATE Units SET ParentUnitID = UnitID WHERE UnitID = " + inner);
    ExpectEveryCommandEnds(inner);
}

TEST_F(DamagedCatalogue, TwoFoldersThatAreEachOthersParentEndEveryCommand)
{
    const QString outer = Id("Outer");
    const QString inner = Id("Inner");
    ASSERT_FALSE(outer.isEmpty());
    ASSERT_FALSE(inner.isEmpty());
    Damage("UPDATE Units SET ParentUnitID = " + inner + " WHERE UnitID = " + outer);
    ExpectEveryCommandEnds(outer);
    ExpectEveryCommandEnds(inner);
}
