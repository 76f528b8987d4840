// The shape of the source tree: folders depend on each other one way only, the scanner,
// importer and drives know nothing of the document, and what the tests fake stays out
// of the shipped program.
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>

namespace {

const QString kSources = QStringLiteral(SHELFWISE_SOURCE_DIR "/src");

// For every source file, relative to src/, the project headers it includes.
std::map<QString, QStringList> Includes()
{
    static const QRegularExpression include(QStringLiteral("^#include \"([a-z]+/[^\"]+)\""),
                                            QRegularExpression::MultilineOption);
    std::map<QString, QStringList> result;
    QDirIterator it(kSources, {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        QStringList headers;
        auto matches = include.globalMatch(QString::fromUtf8(file.readAll()));
        while (matches.hasNext())
            headers << matches.next().captured(1);
        result[QDir(kSources).relativeFilePath(path)] = headers;
    }
    return result;
}

QString Folder(const QString& relative)
{
    return relative.section(QLatin1Char('/'), 0, 0);
}

} // namespace

TEST(Layering, FoldersIncludeEachOtherOneWayOnly)
{
    const auto includes = Includes();
    ASSERT_GT(includes.size(), 50u);
    std::map<QString, std::set<QString>> edges;
    for (const auto& [file, headers] : includes) {
        for (const QString& header : headers) {
            if (Folder(header) != Folder(file))
                edges[Folder(file)].insert(Folder(header));
        }
    }
    // A cycle shows as a folder reachable from itself.
    for (const auto& edge : edges) {
        // Not a structured binding: a lambda may capture one only from C++20 on.
        const QString& start = edge.first;
        std::set<QString> seen;
        std::function<bool(const QString&)> reaches = [&](const QString& from) {
            for (const QString& to : edges[from]) {
                if (to == start)
                    return true;
                if (seen.insert(to).second && reaches(to))
                    return true;
            }
            return false;
        };
        EXPECT_FALSE(reaches(start)) << start.toStdString() << " depends on itself";
    }
    EXPECT_EQ(edges["document"].count("acquisition"), 0u);
    EXPECT_EQ(edges["sqlitewrapper"].count("document"), 0u);

    // What an addition is made of, bottom up: the bytes of a volume (volumes), the folders
    // of a file system or an image (listers), the drives (drives), the details of a media
    // file (media). None of them knows the catalogue's document, the addition that uses
    // them or the window; listers and drives build on volumes and on nothing else here.
    const std::map<QString, std::set<QString>> below = {
        {"volumes", {}},
        {"listers", {"volumes"}},
        {"drives", {"volumes"}},
        {"media", {}},
    };
    const std::set<QString> subsystems = {"volumes", "listers", "drives", "media"};
    const std::set<QString> above = {"document", "acquisition", "report",  "cli",
                                     "views",    "search",      "options", "app"};
    for (const auto& [folder, allowed] : below) {
        for (const QString& to : edges[folder]) {
            const bool sibling = subsystems.count(to) != 0 && allowed.count(to) == 0;
            EXPECT_FALSE(sibling || above.count(to) != 0)
                << folder.toStdString() << " includes headers of " << to.toStdString();
        }
    }

    // Inside acquisition only the jobs that write through the document (an addition,
    // the update of a unit from its source), the flow and the dialogs that drive them
    // stand above the document; the scanner, the importer and the rescan never reach
    // up to it or to the jobs.
    for (const auto& [file, headers] : includes) {
        if (Folder(file) != QLatin1String("acquisition") || file.contains("AddLocationJob") ||
            file.contains("UnitUpdate") || file.contains("UpdateFlow") ||
            file.contains(QLatin1String("Dlg.")))
            continue;
        for (const QString& header : headers) {
            EXPECT_FALSE(header.startsWith("document/") || header.contains("AddLocationJob"))
                << file.toStdString() << " includes " << header.toStdString();
        }
    }
}

TEST(Layering, TheShippedCommandLineKnowsNoMadeUpDrives)
{
    QFile program(QStringLiteral(SHELFWISE_CLI));
    ASSERT_TRUE(program.open(QIODevice::ReadOnly));
    const QByteArray bytes = program.readAll();
    EXPECT_FALSE(bytes.contains("SHELFWISE_FAKE_DRIVES"));
    EXPECT_FALSE(bytes.contains("FakeDriveSystem"));

    QFile testBuild(QStringLiteral(SHELFWISE_CLI_FAKE_DRIVES));
    ASSERT_TRUE(testBuild.open(QIODevice::ReadOnly));
    EXPECT_TRUE(testBuild.readAll().contains("SHELFWISE_FAKE_DRIVES"));
}
