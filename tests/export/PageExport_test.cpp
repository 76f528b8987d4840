// The catalogue page end to end: a folder tree added by the real program (odd names, a
// file over 4 GB, one without a date, an archive's entries), exported with
// shelfwise-cli export --format page, read back as data and opened in headless Chromium.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"
#include "export/CatalogueExporter.h"
#include "export/Gunzip.h"
#include "export/PageExportWriter.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

const QString kBig = QStringLiteral("film \"final\" cut.mkv");
const QString kScript = QStringLiteral("<script>alert(1)<x>.txt");
const QString kAmpersand = QStringLiteral("Tom & Jerry's.avi");
const QString kAccents = QStringLiteral("Ärger 日本語.txt");
constexpr qint64 kBigSize = 5LL * 1024 * 1024 * 1024 + 17;

// The decoded bytes of the page's data block with that id.
QByteArray Column(const QString& page, const char* id)
{
    const QRegularExpression block(QStringLiteral("<script type=\"application/octet-stream\" "
                                                  "id=\"%1\">([A-Za-z0-9+/=]*)</script>")
                                       .arg(QLatin1String(id)));
    const QRegularExpressionMatch match = block.match(page);
    return match.hasMatch() ? Gunzip(QByteArray::fromBase64(match.captured(1).toLatin1()))
                            : QByteArray();
}

class PageExport : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_cat = m_dir.filePath(QStringLiteral("Home discs.db3"));
        const QDir dir(m_dir.path());
        ASSERT_TRUE(dir.mkpath(QStringLiteral("tree/Sub & folder")));
        ASSERT_TRUE(dir.mkpath(QStringLiteral("zipped/2012")));
        Write(QStringLiteral("tree/") + kScript, "12345");
        Write(QStringLiteral("tree/") + kAmpersand, "x");
        Write(QStringLiteral("tree/Sub & folder/") + kAccents, "abc");
        Write(QStringLiteral("zipped/2012/IMG_0001.jpg"), "not really a picture");
        QFile big(m_dir.filePath(QStringLiteral("tree/") + kBig));
        ASSERT_TRUE(big.open(QIODevice::WriteOnly));
        ASSERT_TRUE(big.resize(kBigSize)); // sparse: no disc space taken
        big.close();
        m_archive = !QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty();
        if (m_archive) {
            QProcess zip;
            zip.setWorkingDirectory(m_dir.filePath(QStringLiteral("zipped")));
            zip.start(QStringLiteral("zip"),
                      {QStringLiteral("-qr"), m_dir.filePath(QStringLiteral("tree/photos.zip")),
                       QStringLiteral("2012")});
            ASSERT_TRUE(zip.waitForFinished(60000));
            ASSERT_EQ(zip.exitCode(), 0);
        }
        ASSERT_EQ(Run({"new", m_cat}).status, 0);
        ASSERT_EQ(Run({"add-storage", m_cat, "Box <1>"}).status, 0);
        ASSERT_EQ(
            Run({"add-folder", m_cat, "Box <1>", m_dir.filePath(QStringLiteral("tree"))}).status,
            0);
        CSqliteWrapper db;
        db.Open(m_cat, false);
        db.Execute(QStringLiteral(
            "UPDATE Units SET DateModified = NULL WHERE UnitName = 'Tom & Jerry''s.avi'"));
    }

    void Write(const QString& name, const QByteArray& bytes)
    {
        QFile file(m_dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    QString Id(const QString& name) const
    {
        QString quoted = name;
        quoted.replace(QLatin1Char('\''), QStringLiteral("''"));
        return QueryText(m_cat, QStringLiteral("SELECT UnitID FROM Units WHERE UnitName = '") +
                                    quoted + QStringLiteral("'"));
    }

    // The page exported, as text; empty when the export failed.
    QString Export(const QString& out)
    {
        const CliResult result = Run({"export", m_cat, "--format", "page", "--output", out});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        QFile file(out);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    // The document headless Chromium holds after the page at path has run, opened at
    // fragment ("open=12", "search=jerry").
    QString Dom(const QString& path, const QString& fragment)
    {
        QUrl url = QUrl::fromLocalFile(path);
        url.setFragment(fragment);
        QProcess chromium;
        chromium.start(m_chromium,
                       {QStringLiteral("--headless"), QStringLiteral("--no-sandbox"),
                        QStringLiteral("--disable-gpu"),
                        QStringLiteral("--user-data-dir=") + m_profile.path(),
                        QStringLiteral("--virtual-time-budget=10000"), QStringLiteral("--dump-dom"),
                        url.toString(QUrl::FullyEncoded)});
        EXPECT_TRUE(chromium.waitForFinished(120000));
        return QString::fromUtf8(chromium.readAllStandardOutput());
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QTemporaryDir m_profile;
    QString m_cat;
    QString m_chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    bool m_archive = false;
};

// The rows of the list in a dumped document, each as its HTML.
QStringList Rows(const QString& dom)
{
    QStringList rows;
    const QRegularExpression row(QStringLiteral("<div class=\"row grid[^\"]*\"[^>]*>.*?</div>"));
    for (auto it = row.globalMatch(dom); it.hasNext();)
        rows << it.next().captured(0);
    return rows;
}

QString RowNamed(const QStringList& rows, const QString& name)
{
    for (const QString& row : rows) {
        if (row.contains(QStringLiteral("title=\"%1\"").arg(name.toHtmlEscaped())))
            return row;
    }
    return QString();
}

} // namespace

TEST_F(PageExport, HoldsEveryUnitInOneFileThatNeedsNothingOutside)
{
    const QString page = Export(m_dir.filePath(QStringLiteral("page.html")));
    ASSERT_FALSE(page.isEmpty());
    EXPECT_TRUE(page.startsWith(QStringLiteral("<!DOCTYPE html>")));
    EXPECT_TRUE(page.contains(QStringLiteral("<title>Home discs</title>")));
    // Nothing is fetched: no address of another place, no file beside it.
    EXPECT_FALSE(page.contains(QStringLiteral("http://")));
    EXPECT_FALSE(page.contains(QStringLiteral("https://")));
    EXPECT_FALSE(page.contains(QRegularExpression(QStringLiteral("\\s(src|href)="))));
    // A name only ever travels compressed: never as markup the browser would run.
    EXPECT_FALSE(page.contains(QStringLiteral("alert(1)")));

    const QList<QByteArray> names = Column(page, "names").split('\0');
    ASSERT_GT(names.size(), 1);
    EXPECT_EQ(names.back(), QByteArray()); // every name ends with a zero
    const QStringList expected = {
        QStringLiteral("Box <1>"), QStringLiteral("tree"), kScript, kAmpersand, kBig, kAccents};
    for (const QString& name : expected)
        EXPECT_EQ(names.count(name.toUtf8()), 1) << name.toStdString();
    EXPECT_EQ(names.front(), QByteArray("Box <1>"));

    // One kind byte per name; the zero bytes close every storage, disc, folder and
    // archive, so the shape nests properly.
    const QByteArray shape = Column(page, "shape");
    qint64 nodes = 0;
    int depth = 0;
    for (const char byte : shape) {
        if (byte == CPageExportWriter::kEndOfChildren) {
            --depth;
            ASSERT_GE(depth, 0);
        } else {
            ++nodes;
            if (byte != CPageExportWriter::kFile && byte != CPageExportWriter::kArchiveFile)
                ++depth;
        }
    }
    EXPECT_EQ(depth, 0);
    EXPECT_EQ(nodes, names.size() - 1);
    EXPECT_EQ(nodes,
              1 + QueryText(m_cat, QStringLiteral("SELECT COUNT(*) FROM Units")).toLongLong());
    if (m_archive) {
        EXPECT_TRUE(shape.contains(static_cast<char>(CPageExportWriter::kArchive)));
    }

    // The header's totals count the files, not the entries of archives.
    EXPECT_TRUE(page.contains(QStringLiteral("%1 files").arg(m_archive ? 5 : 4)));
    EXPECT_TRUE(page.contains(QStringLiteral("2 folders")));
    EXPECT_TRUE(page.contains(QStringLiteral("0 discs")));
}

TEST_F(PageExport, ReadsStoredDatesAsWallClockSeconds)
{
    EXPECT_EQ(CPageExportWriter::DateSeconds(QStringLiteral("1970-01-02 00:00:00")), 86400);
    EXPECT_EQ(CPageExportWriter::DateSeconds(QStringLiteral("2019-07-14 10:22:05")), 1563099725);
    EXPECT_EQ(CPageExportWriter::DateSeconds(QStringLiteral("1969-12-31 23:59:59")), -1);
    // 0 stands for "no date", so the first second of 1970 is moved by one.
    EXPECT_EQ(CPageExportWriter::DateSeconds(QStringLiteral("1970-01-01 00:00:00")), 1);
    EXPECT_EQ(CPageExportWriter::DateSeconds(QString()), 0);
    EXPECT_EQ(CPageExportWriter::DateSeconds(QStringLiteral("2019-13-14 10:22:05")), 0);
    EXPECT_EQ(CPageExportWriter::DateSeconds(QStringLiteral("not a date at all")), 0);
}

TEST_F(PageExport, ChromiumShowsTheTreeAFoldersListAndSearchResults)
{
    if (m_chromium.isEmpty())
        GTEST_SKIP() << "chromium is not installed";
    const QString path = m_dir.filePath(QStringLiteral("page.html"));
    ASSERT_FALSE(Export(path).isEmpty());

    // Opened at the added folder: the tree down to it, its list with sizes and dates.
    const QString tree = Dom(path, QStringLiteral("open=") + Id(QStringLiteral("tree")));
    ASSERT_TRUE(tree.contains(QStringLiteral("data-state=\"ready\""))) << tree.toStdString();
    const QRegularExpression label(QStringLiteral("<span class=\"label\">([^<]*)</span>"));
    QStringList labels;
    for (auto it = label.globalMatch(tree); it.hasNext();)
        labels << it.next().captured(1);
    EXPECT_TRUE(labels.contains(QStringLiteral("Box &lt;1&gt;"))) << labels.join(',').toStdString();
    EXPECT_TRUE(labels.contains(QStringLiteral("tree")));
    EXPECT_TRUE(labels.contains(QStringLiteral("Sub &amp; folder")));
    // Files are in the list, not in the tree.
    EXPECT_FALSE(labels.contains(kAmpersand.toHtmlEscaped()));

    const QStringList rows = Rows(tree);
    EXPECT_EQ(rows.size(), m_archive ? 5 : 4);
    const QString big = RowNamed(rows, kBig);
    EXPECT_TRUE(big.contains(QStringLiteral("title=\"5368709137 bytes\""))) << big.toStdString();
    EXPECT_TRUE(big.contains(QStringLiteral("5.00 GB")));
    EXPECT_TRUE(big.contains(QRegularExpression(QStringLiteral("class=\"num date\">\\d{4}-\\d\\d-"
                                                               "\\d\\d \\d\\d:\\d\\d</span>"))));
    const QString undated = RowNamed(rows, kAmpersand);
    ASSERT_FALSE(undated.isEmpty());
    EXPECT_TRUE(undated.contains(QStringLiteral("<span class=\"num date\"></span>")));
    EXPECT_FALSE(RowNamed(rows, kScript).isEmpty());
    // The odd name is text on the page, never an element.
    EXPECT_FALSE(tree.contains(QStringLiteral("<script>alert")));
    EXPECT_FALSE(tree.contains(QStringLiteral("<x>")));

    // A search across everything: what matches, and where each lies.
    const QString found = Dom(path, QStringLiteral("search=ärger"));
    const QStringList results = Rows(found);
    ASSERT_EQ(results.size(), 1) << found.toStdString();
    EXPECT_TRUE(results.front().contains(kAccents.toHtmlEscaped()));
    EXPECT_TRUE(results.front().contains(
        QStringLiteral("Box &lt;1&gt; \u203A tree \u203A Sub &amp; folder")));
    // Any letter case: tree, two .txt files, Tom, the film (cut), and photos.zip.
    EXPECT_EQ(Rows(Dom(path, QStringLiteral("search=T"))).size(), m_archive ? 6 : 5);
    EXPECT_TRUE(Rows(Dom(path, QStringLiteral("search=no such name"))).isEmpty());

    if (m_archive) {
        // The archive's entries below it, and a search finding one inside it.
        const QStringList entries = Rows(Dom(path, QStringLiteral("search=img_0001")));
        ASSERT_EQ(entries.size(), 1);
        EXPECT_TRUE(entries.front().contains(
            QStringLiteral("Box &lt;1&gt; \u203A tree \u203A photos.zip \u203A 2012")));
        const QStringList inside =
            Rows(Dom(path, QStringLiteral("open=") + Id(QStringLiteral("2012"))));
        ASSERT_EQ(inside.size(), 1);
        EXPECT_FALSE(RowNamed(inside, QStringLiteral("IMG_0001.jpg")).isEmpty());
    }
}

TEST(PageExportWriter, ACancelledOrFinishedExportLeavesNoTemporaryFilesBehind)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int storage = db.AddStorage(QStringLiteral("Box"), QString());
    const int folder = cat.AddDisc(storage, QStringLiteral("Many"));
    for (int i = 0; i < 2500; ++i)
        cat.AddFile(storage, folder, QStringLiteral("file %1.txt").arg(i), i);

    // The columns wait in temporary files (unnamed where the system allows): here, in a
    // folder of the test's own.
    QTemporaryDir temporary;
    const QByteArray tmpdir = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    const auto leftOver = [&temporary] {
        return QDir(temporary.path()).entryList(QDir::Files | QDir::Hidden).size();
    };
    for (const bool cancel : {true, false}) {
        QBuffer out;
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        bool complete = false;
        {
            CPageExportWriter writer(out, QStringLiteral("Box"));
            CCatalogueExporter exporter(db, writer);
            complete = exporter.Run(
                ExportScope(), [&](qint64 written, qint64) { return !(cancel && written > 0); });
        }
        EXPECT_EQ(complete, !cancel);
        EXPECT_EQ(leftOver(), 0) << (cancel ? "cancelled" : "finished");
        // A cancelled page is never put together; a finished one is.
        EXPECT_EQ(out.data().contains("</html>"), !cancel);
    }
    if (tmpdir.isNull())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", tmpdir);
}
