// Pictures' thumbnails in the window, on a copy of the sample catalogue with a folder of
// pictures added: the list shows them in Icons mode only, the Picture tab of the
// properties shows the picture's own, and the find box and search results show them in
// their names' tooltips.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "acquisition/AddLocationJob.h"
#include "document/ShelfwiseDoc.h"
#include "search/ResultsModel.h"
#include "views/DetailsModel.h"
#include "views/FindModel.h"
#include "views/PictureInfoTab.h"
#include "views/PropertiesDlg.h"
#include "views/UnitIcons.h"

#include <QDir>
#include <QEventLoop>
#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class Thumbnails : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_doc.OnOpenDocument(CopySampleCatalogue(m_dir.filePath("sample.db3"))));
        const QString root = m_dir.filePath(QStringLiteral("Holiday"));
        QDir().mkpath(root);
        QImage beach(400, 100, QImage::Format_RGB32);
        beach.fill(Qt::red);
        ASSERT_TRUE(beach.save(root + QStringLiteral("/zebracrossing.png")));
        QFile notes(root + QStringLiteral("/notes.txt"));
        ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
        notes.write("sunny");
        notes.close();

        CAddLocationJob job(m_doc);
        job.SetThumbnails(true);
        QEventLoop loop;
        QObject::connect(&job, &CAddLocationJob::finished, &loop, &QEventLoop::quit);
        CAddLocationJob::Request request;
        request.path = root;
        request.name = QStringLiteral("Holiday");
        request.storageId = 4;
        ASSERT_TRUE(job.Start(request));
        if (job.IsBusy())
            loop.exec();
        m_folderId = m_doc.LastAddedUnitId();
        m_doc.Database().GetSubunits(m_children, m_folderId, false);
        ASSERT_EQ(m_children.size(), 2u);
        for (const UnitListItem& unit : m_children)
            (unit.UnitName == QStringLiteral("zebracrossing.png") ? m_beachId : m_notesId) =
                unit.UnitID;
    }

    static bool IsRed(const QImage& image)
    {
        const QColor centre = image.pixelColor(image.width() / 2, image.height() / 2);
        return centre.red() > 200 && centre.green() < 50 && centre.blue() < 50;
    }

    QTemporaryDir m_dir;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc{true};
    int m_folderId = 0;
    int m_beachId = 0;
    int m_notesId = 0;
    std::vector<UnitListItem> m_children;
};

TEST_F(Thumbnails, IconsModeShowsThemInsteadOfTheFileIcon)
{
    CUnitIcons icons;
    CDetailsModel model(m_doc, icons);
    model.SetRows(m_children, m_folderId, false);
    EXPECT_TRUE(model.HasThumbnails());
    const auto iconOf = [&](int unitId) {
        for (int row = 0; row < model.rowCount(); ++row) {
            const QModelIndex index = model.index(row, CDetailsModel::Name);
            if (model.data(index, CDetailsModel::kUnitIdRole).toInt() == unitId)
                return model.data(index, Qt::DecorationRole).value<QIcon>();
        }
        return QIcon();
    };
    const QIcon fileIcon = iconOf(m_beachId);
    const QSize side(CDetailsModel::kThumbnailIconSide, CDetailsModel::kThumbnailIconSide);
    EXPECT_FALSE(IsRed(fileIcon.pixmap(side).toImage()));

    model.SetShowThumbnails(true);
    const QImage thumbnail = iconOf(m_beachId).pixmap(QSize(160, 160)).toImage();
    EXPECT_EQ(thumbnail.size(), QSize(160, 40)); // never enlarged, the picture's shape
    EXPECT_TRUE(IsRed(thumbnail));
    // A file without one keeps its icon.
    const QIcon notesIcon = iconOf(m_notesId);
    EXPECT_FALSE(notesIcon.isNull());
    EXPECT_FALSE(IsRed(notesIcon.pixmap(side).toImage()));

    model.SetShowThumbnails(false);
    EXPECT_FALSE(IsRed(iconOf(m_beachId).pixmap(side).toImage()));
}

TEST_F(Thumbnails, ThePictureTabAndTheTooltipsShowThem)
{
    CPropertiesDlg dialog(m_beachId, false, m_doc);
    const auto* tab = dialog.findChild<CPictureInfoTab*>();
    ASSERT_NE(tab, nullptr);
    EXPECT_EQ(tab->Thumbnail().size(), QSize(160, 40));
    EXPECT_TRUE(IsRed(tab->Thumbnail().toImage()));
    const auto* label = tab->findChild<QLabel*>(QStringLiteral("thumbnailLabel"));
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->accessibleName(), QStringLiteral("Thumbnail"));

    CUnitIcons icons;
    CFindModel found(m_doc, icons);
    found.SetWords({QStringLiteral("zebracrossing")});
    ASSERT_GE(found.rowCount(), 1);
    const QString tip = found.data(found.index(0, CFindModel::Name), Qt::ToolTipRole).toString();
    EXPECT_TRUE(tip.contains(QStringLiteral("zebracrossing.png")));
    EXPECT_TRUE(tip.contains(QStringLiteral("<img src=\"data:image/jpeg;base64,")));

    CResultsModel results(m_doc);
    results.SetResults(m_children, {});
    for (int row = 0; row < results.rowCount(); ++row) {
        const QModelIndex name = results.index(row, CResultsModel::Name);
        const bool isBeach = results.data(name, CResultsModel::kUnitIdRole).toInt() == m_beachId;
        EXPECT_EQ(results.data(name, Qt::ToolTipRole).toString().contains("data:image"), isBeach);
    }
}

} // namespace
