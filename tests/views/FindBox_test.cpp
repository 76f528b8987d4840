// The toolbar's find box on the sample catalogue and on catalogues made here: the units
// found as the user types, best first, with their count; Enter, Escape and an empty
// box; more rows on scrolling; Ctrl+K and "/"; and the name index of an older catalogue
// built in steps, held back by a modal dialog, cancelled and taken up again. With
// SHELFWISE_SCREENSHOT_DIR set, the README's picture of the box is kept there.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"
#include "views/DetailsView.h"
#include "views/FindBox.h"
#include "views/FindModel.h"
#include "views/FindResults.h"
#include "views/MainFrame.h"
#include "views/NameIndexBuilder.h"
#include "views/NavigationView.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace {

class FindBoxTest : public ::testing::Test
{
protected:
    void SetUp() override { QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini")); }

    void Open(const QString& path)
    {
        m_prompter.SetDefaultYesNo(true);
        ASSERT_TRUE(m_app.InitInstance({QStringLiteral("Shelfwise"), path}));
        Frame().showNormal();
        Frame().setGeometry(0, 0, 1100, 650);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&Frame()));
    }
    CMainFrame& Frame() { return *m_app.MainFrame(); }
    CFindBox& Box() { return Frame().FindBox(); }
    CSqliteWrapper& Db() { return m_app.Document()->Database(); }

    // Types text into the box as a user does and waits for the results.
    void Type(const QString& text)
    {
        Box().Edit().setFocus();
        Box().Edit().clear();
        QTest::keyClicks(&Box().Edit(), text);
        ASSERT_TRUE(QTest::qWaitFor([&] {
            return Box().IsFinding() && Box().Model().Words().join(' ') == text.simplified();
        }));
    }
    std::vector<QString> Names()
    {
        std::vector<QString> names;
        for (int row = 0; row < Box().Model().rowCount(); ++row)
            names.push_back(Box().Model().index(row, CFindModel::Name).data().toString());
        return names;
    }

    QTemporaryDir m_dir;
    FakePrompter m_prompter;
    CShelfwiseApp m_app{&m_prompter};
};

// The sample catalogue as a catalogue made before the name index: its index, the index's
// tables and triggers gone, at the version before it.
QString OldSample(const QString& path)
{
    CopySampleCatalogue(path);
    CSqliteWrapper db;
    db.Open(path, false);
    RollBackSchemaTo(db, QStringLiteral("1.2"));
    return path;
}

} // namespace

TEST_F(FindBoxTest, TypingFindsBestFirstAndEnterBrowsesToTheUnit)
{
    Open(CopySampleCatalogue(m_dir.filePath("sample.db3")));
    CDetailsView& list = Frame().Details();
    EXPECT_EQ(Box().Edit().placeholderText(), QStringLiteral("Find"));
    EXPECT_FALSE(Box().Edit().accessibleName().isEmpty());

    // Every word in any order, best first as the catalogue ranks them, all counted.
    Type(QStringLiteral("films HOLIDAY"));
    ASSERT_EQ(Names(), std::vector<QString>{QStringLiteral("Holiday Films 2019")});
    Type(QStringLiteral("mp3"));
    std::vector<QString> expected;
    for (const FoundUnit& unit : Db().FindByName({QStringLiteral("mp3")}, 1000, 0))
        expected.push_back(unit.UnitName);
    EXPECT_GT(expected.size(), 3u);
    EXPECT_EQ(Names(), expected);
    EXPECT_EQ(Box().CountText(),
              QStringLiteral("%1 found").arg(Db().CountByName({QStringLiteral("mp3")})));
    EXPECT_FALSE(Box().Model().index(0, CFindModel::Location).data().toString().isEmpty());
    EXPECT_FALSE(Box().Model().index(0, CFindModel::Name).data(Qt::DecorationRole).isNull());
    EXPECT_TRUE(Box().Results().isVisible());
    EXPECT_FALSE(list.isVisible());

    // Escape gives the list back; so does an emptied box.
    QTest::keyClick(&Box().Edit(), Qt::Key_Escape);
    EXPECT_FALSE(Box().IsFinding());
    EXPECT_TRUE(list.isVisible());
    EXPECT_TRUE(Box().Edit().text().isEmpty());
    EXPECT_TRUE(Box().CountText().isEmpty());
    Type(QStringLiteral("mp3"));
    Box().Edit().clear();
    EXPECT_FALSE(Box().IsFinding());

    // Enter on a file: its folder in the tree, the file selected in the list.
    Type(QStringLiteral("apple pie"));
    ASSERT_EQ(Names(), std::vector<QString>{QStringLiteral("Grandma's apple pie.txt")});
    const int pie = Box().Model().UnitIdAt(0);
    QTest::keyClick(&Box().Edit(), Qt::Key_Return);
    EXPECT_FALSE(Box().IsFinding());
    EXPECT_TRUE(list.isVisible());
    ASSERT_NE(Frame().Navigation().currentItem(), nullptr);
    EXPECT_EQ(Frame().Navigation().currentItem()->text(0), QStringLiteral("Recipes"));
    EXPECT_EQ(list.SelectedUnitId(), pie);

    // A double-click on a disc: the disc in the tree.
    Type(QStringLiteral("blade runner"));
    const QRect row = Box().Results().visualRect(Box().Model().index(0, 0));
    QTest::mouseClick(Box().Results().viewport(), Qt::LeftButton, {}, row.center());
    QTest::mouseDClick(Box().Results().viewport(), Qt::LeftButton, {}, row.center());
    EXPECT_FALSE(Box().IsFinding());
    ASSERT_NE(Frame().Navigation().currentItem(), nullptr);
    EXPECT_EQ(Frame().Navigation().currentItem()->text(0), QStringLiteral("Blade Runner 2049"));

    // The editing keys in the results leave the tree's selection alone.
    Type(QStringLiteral("mp3"));
    Box().Results().setFocus();
    QTest::keyClick(&Box().Results(), Qt::Key_Delete);
    EXPECT_TRUE(m_prompter.Questions().empty());
    EXPECT_TRUE(Db().UnitExists(Box().Model().UnitIdAt(0)));
}

TEST_F(FindBoxTest, CtrlKAndSlashFocusTheBox)
{
    Open(CopySampleCatalogue(m_dir.filePath("sample.db3")));
    Frame().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&Frame()));
    Frame().Navigation().setFocus();
    QTest::keyClick(Frame().Navigation().viewport(), Qt::Key_K, Qt::ControlModifier);
    EXPECT_TRUE(Box().Edit().hasFocus());

    Frame().Navigation().setFocus();
    QTest::keyClick(&Frame().Navigation(), Qt::Key_Slash);
    EXPECT_TRUE(Box().Edit().hasFocus());
    EXPECT_TRUE(Box().Edit().text().isEmpty());

    Frame().Details().ActiveView()->setFocus();
    QTest::keyClick(Frame().Details().ActiveView(), Qt::Key_Slash);
    EXPECT_TRUE(Box().Edit().hasFocus());
}

TEST_F(FindBoxTest, MoreRowsArriveOnScrollingToTheEnd)
{
    Open(CopySampleCatalogue(m_dir.filePath("sample.db3")));
    const int disc = Db().FindByName({QStringLiteral("Holiday Films 2019")}, 1, 0).at(0).UnitID;
    const int storage = Db().GetUnitStorageId(disc);
    const int count = 2 * CFindModel::kPageSize + 50;
    QCoreApplication::processEvents(); // what the opening left to do
    for (int i = 0; i < count; ++i)
        Db().AddUnit(UnitKind::File, QStringLiteral("track %1.ogg").arg(i, 3, 10, QLatin1Char('0')),
                     QString(), 1, storage, disc, {}, 1000, {}, {}, 0, false);

    Type(QStringLiteral("track ogg"));
    EXPECT_EQ(Box().Model().rowCount(), CFindModel::kPageSize);
    EXPECT_EQ(Box().CountText(), QStringLiteral("%1 found").arg(count));
    Box().Results().scrollToBottom();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Box().Model().rowCount() > CFindModel::kPageSize; }));
    Box().Results().scrollToBottom();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Box().Model().rowCount() == count; }));
    EXPECT_FALSE(Box().Model().canFetchMore({}));
    const std::vector<QString> names = Names();
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(names.back(), QStringLiteral("track %1.ogg").arg(count - 1));
}

TEST_F(FindBoxTest, AnOlderCataloguesIndexIsBuiltInStepsAroundModalDialogs)
{
    // No step while a modal dialog is open, though the steps come due.
    QDialog modal;
    modal.setModal(true);
    modal.show();
    Open(OldSample(m_dir.filePath("old.db3")));
    CNameIndexBuilder& builder = Frame().NameIndexBuilder();
    ASSERT_TRUE(Db().HasNameIndex());
    ASSERT_FALSE(Db().IsNameIndexComplete());
    ASSERT_TRUE(builder.IsRunning());
    const qint64 waiting = Db().CountUnindexedNames();

    auto* steps = Frame().findChild<QTimer*>(QStringLiteral("nameIndexSteps"));
    ASSERT_NE(steps, nullptr);
    QSignalSpy due(steps, &QTimer::timeout);
    ASSERT_TRUE(QTest::qWaitFor([&] { return due.count() >= 3; }));
    EXPECT_EQ(Db().CountUnindexedNames(), waiting);

    // Cancelled, the index stays as it was, and finding works, from the names
    // themselves; the next catalogue loaded takes the build up.
    ASSERT_NE(builder.Progress(), nullptr);
    auto* cancel = builder.Progress()->findChild<QPushButton*>();
    ASSERT_NE(cancel, nullptr);
    cancel->click();
    EXPECT_FALSE(builder.IsRunning());
    modal.hide();
    Type(QStringLiteral("holiday films"));
    EXPECT_EQ(Names(), std::vector<QString>{QStringLiteral("Holiday Films 2019")});
    EXPECT_EQ(Db().CountUnindexedNames(), waiting);
    ASSERT_TRUE(Frame().OpenCatalogue(OldSample(m_dir.filePath("older.db3"))));
    // The words are looked up again in the catalogue now open.
    EXPECT_TRUE(Box().IsFinding());
    EXPECT_EQ(Box().Model().rowCount(), 1);
    ASSERT_TRUE(builder.IsRunning());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !builder.IsRunning(); }, 20000));
    EXPECT_TRUE(Db().IsNameIndexComplete());
    EXPECT_NO_THROW(Db().Execute(QStringLiteral(
        "INSERT INTO UnitNameIndex (UnitNameIndex, rank) VALUES ('integrity-check', 1)")));
    Type(QStringLiteral("films holiday"));
    EXPECT_EQ(Names(), std::vector<QString>{QStringLiteral("Holiday Films 2019")});
}

TEST_F(FindBoxTest, ScreenshotOfTheFindBox)
{
    Open(CopySampleCatalogue(m_dir.filePath("Sample catalogue.db3")));
    Type(QStringLiteral("mp3"));
    Box().Results().setCurrentIndex(Box().Model().index(2, 0));
    QApplication::processEvents();
    const QPixmap picture =
        QGuiApplication::platformName() == QLatin1String("xcb")
            ? QGuiApplication::primaryScreen()->grabWindow(
                  0, Frame().frameGeometry().x(), Frame().frameGeometry().y(),
                  Frame().frameGeometry().width(), Frame().frameGeometry().height())
            : Frame().grab();
    ASSERT_FALSE(picture.isNull());
    const QString folder = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    if (!folder.isEmpty()) {
        EXPECT_TRUE(picture.save(QDir(folder).filePath(QStringLiteral("find-box.png"))));
    }
}
