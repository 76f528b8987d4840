// Thumbnails through an addition, a delete and its Undo and Redo, on a copy of the sample
// catalogue: each picture's row belongs to its own unit (across the batches of a large
// folder), KeepThumbnails off stores none, and deleting a unit takes its thumbnail, which
// Undo puts back exactly.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "acquisition/AddLocationJob.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

void JoinColumns(std::vector<QString>& rows, int columns, char** values)
{
    QStringList fields;
    for (int c = 0; c < columns; ++c)
        fields << (values[c] ? QString::fromUtf8(values[c]) : QStringLiteral("<null>"));
    rows.push_back(fields.join(QLatin1Char('|')));
}

class ThumbnailHistory : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_prompter.SetDefaultYesNo(true); // "Delete ...?"
        m_path = CopySampleCatalogue(m_dir.filePath("sample.db3"));
        ASSERT_TRUE(m_doc.OnOpenDocument(m_path));
        // A folder of 600 files, larger than a batch of file rows, with 30 pictures of
        // widths 20 to 49 spread among them and one damaged picture.
        m_root = m_dir.filePath(QStringLiteral("Album"));
        QDir().mkpath(m_root);
        for (int i = 0; i < 600; ++i) {
            if (i % 20 == 7) {
                QImage picture(20 + i / 20, 10, QImage::Format_RGB32);
                picture.fill(Qt::darkCyan);
                ASSERT_TRUE(picture.save(QStringLiteral("%1/p%2.png").arg(m_root).arg(i / 20)));
            } else {
                QFile file(QStringLiteral("%1/f%2.txt").arg(m_root).arg(i));
                ASSERT_TRUE(file.open(QIODevice::WriteOnly));
                file.write("x");
            }
        }
        QFile damaged(m_root + QStringLiteral("/damaged.jpg"));
        ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
        damaged.write(QByteArray(300, '\x01'));
    }

    // Runs an addition of the folder to Anna's drawer (storage 4) to its end.
    bool AddFolder(bool thumbnails)
    {
        CAddLocationJob job(m_doc);
        job.SetThumbnails(thumbnails);
        QEventLoop loop;
        bool succeeded = false;
        QObject::connect(&job, &CAddLocationJob::finished, [&](WorkOutcome o) {
            succeeded = o == WorkOutcome::Succeeded;
            loop.quit();
        });
        CAddLocationJob::Request request;
        request.path = m_root;
        request.name = QStringLiteral("Album");
        request.storageId = 4;
        if (!job.Start(request))
            return false;
        if (job.IsBusy())
            loop.exec();
        return succeeded;
    }

    // Each thumbnail with its unit's name and its image, by UnitID.
    QStringList Thumbnails()
    {
        std::vector<QString> rows;
        m_doc.Database().QueryRows(
            QStringLiteral("SELECT t.UnitID, u.UnitName, t.Width, t.Height, hex(t.Image) FROM "
                           "Thumbnails t LEFT JOIN Units u ON u.UnitID = t.UnitID ORDER BY "
                           "t.UnitID"),
            rows, &JoinColumns);
        return QStringList(rows.begin(), rows.end());
    }

    QTemporaryDir m_dir;
    QString m_path;
    QString m_root;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc;
};

TEST_F(ThumbnailHistory, EachPictureGetsItsOwnThumbnailAndUndoKeepsIt)
{
    ASSERT_TRUE(AddFolder(true));
    const QStringList added = Thumbnails();
    ASSERT_EQ(added.size(), 30);
    for (const QString& row : added) {
        // p<i>.png was made 20 + i wide: the row is its own unit's.
        const QStringList fields = row.split(QLatin1Char('|'));
        const int index = fields.at(1).mid(1, fields.at(1).indexOf('.') - 1).toInt();
        EXPECT_EQ(fields.at(1), QStringLiteral("p%1.png").arg(index));
        EXPECT_EQ(fields.at(2).toInt(), 20 + index) << row.left(40).toStdString();
        EXPECT_EQ(fields.at(3).toInt(), 10);
    }

    // The picture's thumbnail goes with it, and comes back with Undo.
    if (!CSqliteWrapper::CanRecordChanges())
        GTEST_SKIP() << "this SQLite has no session extension";
    const int folderId = m_doc.LastAddedUnitId();
    const int pictureId = added.first().section(QLatin1Char('|'), 0, 0).toInt();
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("p0.png"), pictureId, false));
    EXPECT_EQ(Thumbnails(), added.mid(1));
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Thumbnails(), added);

    // So do those of a whole folder.
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("Album"), folderId, false));
    EXPECT_EQ(Thumbnails(), QStringList());
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Thumbnails(), added);
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(Thumbnails(), QStringList());
}

TEST_F(ThumbnailHistory, NoneAreKeptWhenTheyAreSwitchedOff)
{
    ASSERT_TRUE(AddFolder(false));
    EXPECT_EQ(Thumbnails(), QStringList());

    // The setting is what a job follows unless told otherwise.
    Settings& settings = Settings::Instance();
    const bool kept = settings.KeepThumbnails;
    settings.KeepThumbnails = false;
    {
        CAddLocationJob job(m_doc);
        QEventLoop loop;
        QObject::connect(&job, &CAddLocationJob::finished, [&] { loop.quit(); });
        CAddLocationJob::Request request;
        request.mode = CAddLocationJob::Mode::File;
        request.path = m_root + QStringLiteral("/p3.png");
        request.name = QStringLiteral("p3.png");
        request.storageId = 4;
        ASSERT_TRUE(job.Start(request));
        if (job.IsBusy())
            loop.exec();
    }
    settings.KeepThumbnails = kept;
    EXPECT_EQ(Thumbnails(), QStringList());
}

} // namespace
