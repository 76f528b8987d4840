// Archives in the window: an archive file and the folders read from inside it in the
// tree, browsing into it and back up in the list, its properties, drops refused onto
// it, and deleting it. The archive is written into a copy of the sample catalogue as an
// addition leaves one: an 'F' unit with an ArchiveInfo row and 'd'/'f' children.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "app/ShelfwiseApp.h"
#include "common/FormatSize.h"
#include "document/ShelfwiseDoc.h"
#include "search/BrowsePath.h"
#include "sqlitewrapper/SqlText.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/DetailsModel.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"
#include "views/PropertiesDlg.h"
#include "views/TreeItems.h"
#include "views/UnitDrag.h"
#include "views/UnitIcons.h"
#include "views/WindowStatus.h"

#include <QCoreApplication>
#include <QDropEvent>
#include <QFile>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace {

// Units of the sample catalogue.
constexpr int kAttic = 2;
constexpr int kHolidayFilms = 1;   // a disc in the living room
constexpr int kScans = 110;        // a folder lying directly in the attic
constexpr int kCertificates = 111; // a folder in Scans, with files and no folders

// The archive and its entries, written with these ids.
constexpr int kArchive = 900;
constexpr int kYears = 901;  // a folder inside it, holding a folder of its own
constexpr int kYear = 902;   // that folder, holding a picture
constexpr int kPhoto = 903;  // the picture inside
constexpr int kCover = 904;  // a picture at the archive's top
constexpr int kReadme = 905; // a text file at the archive's top
constexpr qint64 kArchiveSize = 1000;

class Archives : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini"));
        m_path = CopySampleCatalogue(m_dir.filePath("sample.db3"));
        {
            CSqliteWrapper db;
            db.Open(m_path, false);
            const auto unit = [&](int id, const char* name, char type, int parent, qint64 size,
                                  int category) {
                db.Execute(SqlText::Format(
                    "INSERT INTO Units(UnitID, UnitName, UnitType, StorageID, ParentUnitID, "
                    "UnitSize, DateCreated, DateModified, CategoryID)VALUES(%d, %s, '%s', %d, "
                    "%d, %lld, '2023-05-01 10:00:00', '2023-05-02 11:30:00', %d)",
                    {id, SqlText::QuoteSqlString(QString::fromUtf8(name)),
                     QString(QLatin1Char(type)), kAttic, parent, size, category}));
            };
            unit(kArchive, "certificates.zip", 'F', kCertificates, kArchiveSize, 1);
            unit(kYears, "years", 'd', kArchive, 0, 1);
            unit(kYear, "2019", 'd', kYears, 0, 1);
            unit(kPhoto, "beach.jpg", 'f', kYear, 3000, 4);
            unit(kCover, "cover.png", 'f', kArchive, 1500, 4);
            unit(kReadme, "readme.txt", 'f', kArchive, 500, 1);
            db.Execute(QStringLiteral("INSERT INTO ArchiveInfo(UnitID, Format, EntriesNumber, "
                                      "UncompressedSize)VALUES(900, 'zip', 5, 5000)"));
            // The archive counts once, at its own size, in its folders and storage.
            db.Execute(SqlText::Format("UPDATE Units SET SubfilesNumber = SubfilesNumber + 1, "
                                       "UnitSize = UnitSize + %lld WHERE UnitID IN (%d, %d)",
                                       {kArchiveSize, kScans, kCertificates}));
            db.Execute(SqlText::Format("UPDATE Storages SET FilesNumber = FilesNumber + 1, "
                                       "StorageSize = StorageSize + %lld WHERE StorageID = %d",
                                       {kArchiveSize, kAttic}));
        }
        m_app = std::make_unique<CShelfwiseApp>(&m_prompter);
        ASSERT_TRUE(m_app->InitInstance({QStringLiteral("Shelfwise"), m_path}));
    }

    CNavigationView& Tree() { return m_app->MainFrame()->Navigation(); }
    CDetailsView& List() { return m_app->MainFrame()->Details(); }
    CShelfwiseDoc& Doc() { return *m_app->Document(); }

    // The tree item of the archive, reached by expanding its storage and folders.
    QTreeWidgetItem* ArchiveItem()
    {
        QTreeWidgetItem* scans = ExpandedChild(Tree().FindRootItem(kAttic), kScans);
        QTreeWidgetItem* certificates = scans ? ExpandedChild(scans, kCertificates) : nullptr;
        return certificates ? ExpandedChild(certificates, kArchive) : nullptr;
    }

    // The listed rows' ids, in the list's order.
    std::vector<int> ListedIds()
    {
        std::vector<int> ids;
        for (const UnitListItem& row : List().Model().Rows())
            ids.push_back(row.UnitID);
        return ids;
    }

    // Opens a row of the list as a double-click does.
    void ActivateRow(int unitId)
    {
        const auto& rows = List().Model().Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].UnitID == unitId) {
                auto* view = List().findChild<QListView*>();
                emit view->activated(List().Model().index(static_cast<int>(i), 0));
            }
        }
    }

    QString Cell(int unitId, int column)
    {
        const auto& rows = List().Model().Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].UnitID == unitId)
                return List()
                    .Model()
                    .data(List().Model().index(static_cast<int>(i), column), Qt::DisplayRole)
                    .toString();
        }
        return QString();
    }

    QTemporaryDir m_dir;
    QString m_path;
    FakePrompter m_prompter;
    std::unique_ptr<CShelfwiseApp> m_app;
};

} // namespace

TEST_F(Archives, TheTreeShowsAnArchiveWhereFoldersAreAndTheFoldersInsideIt)
{
    // Certificates holds files only; its archive gives it an expand button.
    QTreeWidgetItem* scans = ExpandedChild(Tree().FindRootItem(kAttic), kScans);
    ASSERT_NE(scans, nullptr);
    scans->setExpanded(true);
    QTreeWidgetItem* certificates = Tree().FindUnitItem(kCertificates);
    ASSERT_NE(certificates, nullptr);
    EXPECT_FALSE(certificates->isExpanded());
    EXPECT_EQ(certificates->childCount(), 1); // the placeholder of an unread item

    QTreeWidgetItem* archive = ArchiveItem();
    ASSERT_NE(archive, nullptr);
    EXPECT_EQ(certificates->childCount(), 1); // the archive; the plain files stay in the list
    EXPECT_EQ(archive->text(0), QStringLiteral("certificates.zip"));
    EXPECT_TRUE(CNavigationView::IsInArchive(archive));
    EXPECT_EQ(archive->icon(0).pixmap(16, 16).toImage(),
              CUnitIcons().Icon(CUnitIcons::Archive).pixmap(16, 16).toImage());
    EXPECT_FALSE(CNavigationView::IsInArchive(certificates));

    // Its folders, and a folder's folder, but none of its files.
    archive->setExpanded(true);
    ASSERT_EQ(archive->childCount(), 1);
    QTreeWidgetItem* years = archive->child(0);
    EXPECT_EQ(CNavigationView::ItemId(years), kYears);
    EXPECT_TRUE(CNavigationView::IsInArchive(years));
    QTreeWidgetItem* year = ExpandedChild(years, kYear);
    ASSERT_NE(year, nullptr);
    year->setExpanded(true);
    EXPECT_EQ(year->childCount(), 0);

    // Selecting the archive lists its entries, folders first; the status bar counts
    // what was read from it.
    Tree().setCurrentItem(archive);
    EXPECT_EQ(ListedIds(), (std::vector<int>{kYears, kCover, kReadme}));
    const CWindowStatus& status = m_app->MainFrame()->Status();
    EXPECT_EQ(status.Summary(), QStringLiteral("5 entries, %1 uncompressed").arg(FormatSize(5000)));
    Tree().setCurrentItem(year);
    EXPECT_EQ(status.Summary(), QStringLiteral("1 file, %1").arg(FormatSize(3000)));
    Tree().setCurrentItem(years);
    EXPECT_EQ(status.Summary(), QStringLiteral("1 folder, %1").arg(FormatSize(0)));
}

TEST_F(Archives, TheListBrowsesIntoAnArchiveAndMoveUpComesBack)
{
    QTreeWidgetItem* archive = ArchiveItem();
    ASSERT_NE(archive, nullptr);
    Tree().setCurrentItem(archive->parent());
    List().SetMode(CDetailsView::Mode::Icons);
    ASSERT_NE(Cell(kArchive, CDetailsModel::Name), QString());
    const QModelIndex archiveRow =
        List().Model().index(static_cast<int>(ListedIds().size()) - 1, 0);
    EXPECT_EQ(List().Model().data(archiveRow, CDetailsModel::kIconIndexRole).toInt(),
              static_cast<int>(CUnitIcons::Archive));
    EXPECT_EQ(Cell(kArchive, CDetailsModel::Size), FormatSize(kArchiveSize));

    // A double-click on the archive opens it as a folder.
    ActivateRow(kArchive);
    EXPECT_EQ(CNavigationView::ItemId(Tree().currentItem()), kArchive);
    EXPECT_EQ(ListedIds(), (std::vector<int>{kYears, kCover, kReadme}));
    EXPECT_EQ(Cell(kYears, CDetailsModel::Type), QStringLiteral("Folder"));
    EXPECT_EQ(Cell(kCover, CDetailsModel::Type), QStringLiteral("File"));
    EXPECT_EQ(Cell(kCover, CDetailsModel::Size), FormatSize(1500));
    EXPECT_EQ(Cell(kCover, CDetailsModel::Category), QStringLiteral("Picture"));
    EXPECT_EQ(Cell(kReadme, CDetailsModel::Modified), QStringLiteral("2023-05-02 11:30:00"));
    const QModelIndex yearsRow = List().Model().index(0, 0);
    EXPECT_EQ(List().Model().data(yearsRow, CDetailsModel::kIconIndexRole).toInt(),
              static_cast<int>(CUnitIcons::Folder));

    // Its folders open too, down to the picture; Move up climbs back out.
    ActivateRow(kYears);
    EXPECT_EQ(CNavigationView::ItemId(Tree().currentItem()), kYears);
    ActivateRow(kYear);
    EXPECT_EQ(ListedIds(), (std::vector<int>{kPhoto}));
    QAction* up = m_app->MainFrame()->Commands().Get(CommandIds::MoveUp);
    up->trigger();
    up->trigger();
    EXPECT_EQ(CNavigationView::ItemId(Tree().currentItem()), kArchive);
    up->trigger();
    EXPECT_EQ(CNavigationView::ItemId(Tree().currentItem()), kCertificates);
    EXPECT_NE(Cell(kArchive, CDetailsModel::Name), QString());
}

TEST_F(Archives, AFoundEntryIsShownInItsFolderInsideTheArchive)
{
    const std::optional<BrowsePath> photo = BrowsePaths::Of(Doc(), kPhoto);
    ASSERT_TRUE(photo.has_value());
    EXPECT_EQ(photo->treePath,
              (std::vector<int>{kAttic, kScans, kCertificates, kArchive, kYears, kYear}));
    EXPECT_EQ(photo->listUnitId, kPhoto);
    Tree().SelectPath(photo->treePath);
    EXPECT_EQ(CNavigationView::ItemId(Tree().currentItem()), kYear);
    List().SelectRowByUnitId(photo->listUnitId);
    EXPECT_EQ(List().SelectedUnitId(), kPhoto);
    // A folder inside is selected in the tree itself.
    const std::optional<BrowsePath> years = BrowsePaths::Of(Doc(), kYears);
    ASSERT_TRUE(years.has_value());
    EXPECT_EQ(years->treePath.back(), kYears);
}

TEST_F(Archives, PropertiesShowTheFormatEntriesAndUncompressedSize)
{
    {
        CPropertiesDlg dialog(kArchive, false, Doc());
        EXPECT_EQ(dialog.TabTitles(), QStringList({"File Info", "Archive Info"}));
        EXPECT_EQ(dialog.FieldText(QStringLiteral("Format:")), QStringLiteral("zip"));
        EXPECT_EQ(dialog.FieldText(QStringLiteral("Entries:")), QStringLiteral("5"));
        EXPECT_EQ(dialog.FieldText(QStringLiteral("Uncompressed Size:")), FormatSize(5000));
        // The size on the first tab is what the archive takes on the medium.
        EXPECT_EQ(dialog.FieldText(QStringLiteral("Size:")), FormatSize(kArchiveSize));
    }
    {
        // A picture inside has a file's tab alone: nothing was read of its pixels.
        CPropertiesDlg dialog(kCover, false, Doc());
        EXPECT_EQ(dialog.TabTitles(), QStringList({"File Info"}));
        EXPECT_EQ(dialog.FieldText(QStringLiteral("Size:")), FormatSize(1500));
        EXPECT_EQ(dialog.FieldText(QStringLiteral("Modified:")),
                  QStringLiteral("2023-05-02 11:30:00"));
    }
    {
        CPropertiesDlg dialog(kYears, false, Doc());
        EXPECT_EQ(dialog.TabTitles(), QStringList({"File Info"}));
        EXPECT_EQ(dialog.NameEdit()->text(), QStringLiteral("years"));
    }
}

TEST_F(Archives, NothingIsDroppedOntoOrIntoAnArchive)
{
    QTreeWidgetItem* archive = ArchiveItem();
    ASSERT_NE(archive, nullptr);
    archive->setExpanded(true);
    // Entries never lie directly in a storage, so they are never dragged.
    EXPECT_FALSE(Tree().CanDrag(archive));
    EXPECT_FALSE(Tree().CanDrag(archive->child(0)));
    Tree().setCurrentItem(archive);
    EXPECT_FALSE(List().Model().flags(List().Model().index(0, 0)) & Qt::ItemIsDragEnabled);

    QMimeData data;
    data.setData(UnitDrag::MimeType(), QByteArray::number(kHolidayFilms));
    const qint64 atticSize = Doc().Database().GetStorage(kAttic).StorageSize;
    for (QTreeWidgetItem* target : {archive, archive->child(0)}) {
        Tree().scrollToItem(target);
        const QPoint over = Tree().visualItemRect(target).center();
        QDragEnterEvent enter(over, Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(Tree().viewport(), &enter);
        QDragMoveEvent move(over, Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(Tree().viewport(), &move);
        EXPECT_FALSE(move.isAccepted());
        EXPECT_EQ(Tree().DropStorageId(), -1);
        QDropEvent drop(QPointF(over), Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(Tree().viewport(), &drop);
        EXPECT_FALSE(drop.isAccepted());
        EXPECT_NE(Doc().Database().GetUnitStorageId(kHolidayFilms), kAttic);
    }
    // Over the folder holding the archive, the attic takes it as before.
    Tree().DropUnit(archive->parent(), kHolidayFilms);
    EXPECT_EQ(Doc().Database().GetUnitStorageId(kHolidayFilms), kAttic);
    EXPECT_GT(Doc().Database().GetStorage(kAttic).StorageSize, atticSize);
}

TEST_F(Archives, DeletingAnArchiveTakesItsEntriesAndOnlyItsOwnShareOfTheCounters)
{
    CSqliteWrapper& db = Doc().Database();
    const StorageRecord before = db.GetStorage(kAttic);
    const FolderDetails scansBefore = db.GetFolderProperties(kScans);
    // Renaming an entry and describing it are edits like any other.
    EXPECT_TRUE(Doc().RenameUnit(kReadme, QStringLiteral("LIESMICH.txt"), nullptr));
    Doc().SetUnitNotes(kCover, QStringLiteral("The front of the box"));
    EXPECT_EQ(db.GetUnit(kReadme).UnitName, QStringLiteral("LIESMICH.txt"));

    Tree().setCurrentItem(ArchiveItem());
    m_prompter.QueueYesNo(true);
    EXPECT_EQ(Tree().DeleteSelected(), QStringLiteral("certificates.zip"));
    for (int id : {kArchive, kYears, kYear, kPhoto, kCover, kReadme})
        EXPECT_FALSE(db.UnitExists(id)) << id;
    const StorageRecord after = db.GetStorage(kAttic);
    EXPECT_EQ(after.FilesNumber, before.FilesNumber - 1);
    EXPECT_EQ(after.FoldersNumber, before.FoldersNumber);
    EXPECT_EQ(after.StorageSize, before.StorageSize - kArchiveSize);
    const FolderDetails scansAfter = db.GetFolderProperties(kScans);
    EXPECT_EQ(scansAfter.SubfilesNumber, scansBefore.SubfilesNumber - 1);
    EXPECT_EQ(scansAfter.SubfoldersNumber, scansBefore.SubfoldersNumber);
    EXPECT_EQ(scansAfter.UnitSize, scansBefore.UnitSize - kArchiveSize);
    // Certificates holds plain files only again: no expand button.
    QTreeWidgetItem* certificates = Tree().FindUnitItem(kCertificates);
    ASSERT_NE(certificates, nullptr);
    certificates->setExpanded(true);
    EXPECT_EQ(certificates->childCount(), 0);
}
