// shelfwise-cli stats end to end, on a catalogue the program made from real files.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"
#include "stats/StatisticsCatalogue.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

qint64 Count(const QString& catalogue, const QString& sql)
{
    return QueryText(catalogue, sql).toLongLong();
}

// The lines of one section of the text output, its title left out.
QStringList SectionLines(const QString& out, const QString& title)
{
    const QStringList sections = out.split(QStringLiteral("\n\n"));
    for (const QString& section : sections) {
        QStringList lines = section.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        if (!lines.isEmpty() && lines.takeFirst() == title)
            return lines;
    }
    return {};
}

} // namespace

TEST(StatsCommand, PrintsAlignedSectionsOrJsonForTheCatalogueOrAUnit)
{
    StatisticsCatalogue catalogue;
    ASSERT_TRUE(catalogue.Ready()) << catalogue.Error().toStdString();
    const QString& path = catalogue.Path();
    const QProcessEnvironment env = CliEnvironment(catalogue.SettingsFolder());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();

    const CliResult json = RunCli({"--json", "stats", path}, env);
    ASSERT_EQ(json.status, 0) << json.err.toStdString();
    const QJsonObject all = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_EQ(all[QStringLiteral("files")].toInteger(),
              Count(path, QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = 'F'")));
    EXPECT_EQ(all[QStringLiteral("bytes")].toInteger(),
              Count(path, QStringLiteral("SELECT SUM(UnitSize) FROM Units WHERE UnitType = 'F'")));
    for (const char* key :
         {"categories", "extensions", "years", "largestDiscs", "largestFolders", "discsAdded"})
        EXPECT_TRUE(all[QLatin1String(key)].isArray()) << key;
    const QJsonObject top = all[QStringLiteral("largestFolders")].toArray().at(0).toObject();
    EXPECT_EQ(top[QStringLiteral("folder")].toString(), QStringLiteral("tree"));
    EXPECT_EQ(top[QStringLiteral("location")].toString(), QStringLiteral("Shelf"));

    // A unit by id: only what lies in it.
    const QString photos =
        QueryText(path, QStringLiteral("SELECT UnitID FROM Units WHERE UnitName = 'photos'"));
    const CliResult unit = RunCli({"--json", "stats", path, "--unit", photos}, env);
    ASSERT_EQ(unit.status, 0) << unit.err.toStdString();
    const QJsonObject unitStats = QJsonDocument::fromJson(unit.out.toUtf8()).object();
    EXPECT_EQ(unitStats[QStringLiteral("files")].toInteger(), 3);
    EXPECT_EQ(unitStats[QStringLiteral("bytes")].toInteger(), 9200);

    // Text: each section a title and columns that line up.
    const CliResult text = RunCli({"stats", path, "--unit", photos}, env);
    ASSERT_EQ(text.status, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.startsWith(QStringLiteral("Files: 3 (9200 bytes, 8.98 KB), discs: 0\n")))
        << text.out.toStdString();
    const QStringList folders = SectionLines(text.out, QStringLiteral("Largest folders"));
    ASSERT_EQ(folders.size(), 3) << text.out.toStdString(); // header, photos, old
    const qsizetype location = folders[0].indexOf(QStringLiteral("Location"));
    EXPECT_EQ(folders[2].indexOf(QStringLiteral("Shelf \u203A tree \u203A photos")), location);
    EXPECT_EQ(folders[1].indexOf(QStringLiteral("Shelf \u203A tree")), location);
    const QStringList years = SectionLines(text.out, QStringLiteral("Years modified"));
    ASSERT_EQ(years.size(), 4);
    for (const QString& line : years)
        EXPECT_EQ(line.size(), years[0].size()) << line.toStdString(); // numbers flush right
    EXPECT_TRUE(years[1].startsWith(QStringLiteral("2003"))) << years[1].toStdString();

    // Wrong arguments: usage or a message, and the catalogue as it was.
    EXPECT_EQ(RunCli({"stats", path, "Shelf", "--unit", photos}, env).status, 2);
    EXPECT_EQ(RunCli({"stats", path, "Nowhere"}, env).status, 1);
    EXPECT_EQ(RunCli({"stats", path, "--unit", "999999"}, env).status, 1);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
}
