// The search dialog on a copy of the sample catalogue: the criteria each control gives,
// hostile and broken search texts, and the results following the document.
#include "search/SearchTestSupport.h"

#include "search/AdvancedSearchTab.h"
#include "search/BasicSearchTab.h"
#include "search/ResultsCtrl.h"
#include "search/ResultsModel.h"
#include "sqlitewrapper/RowMappers.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>

using namespace SampleIds;

TEST_F(SearchDialog, TheBasicPageGathersTextStorageSizeDateAndDescription)
{
    EXPECT_EQ(m_dlg->windowTitle(), QStringLiteral("Search"));
    // Nothing chosen: every unit of every storage.
    ExpectSearch(SearchCriteria{});
    EXPECT_EQ(static_cast<qint64>(m_dlg->Results().RowCount()), UnitCount(m_doc.Database()));

    QTest::keyClicks(Child<QLineEdit>("textEdit"), QStringLiteral("HOLIDAY"));
    Child<QCheckBox>("notesCheck")->setChecked(true);
    SearchCriteria expected;
    expected.Text = QStringLiteral("HOLIDAY");
    expected.SearchNotes = true;
    ExpectSearch(expected);
    EXPECT_FALSE(ResultIds().empty());

    // One storage, chosen by name; its item carries the StorageID.
    auto* storages = Child<QComboBox>("storageCombo");
    EXPECT_FALSE(storages->isEnabled());
    Child<QCheckBox>("storageCheck")->setChecked(true);
    EXPECT_TRUE(storages->isEnabled());
    storages->setCurrentIndex(storages->findText(QStringLiteral("Car")));
    Child<QLineEdit>("textEdit")->clear();
    Child<QCheckBox>("notesCheck")->setChecked(false);
    expected = SearchCriteria{};
    expected.StorageID = kCar;
    ExpectSearch(expected);
    EXPECT_EQ(ResultIds().size(), 10u);
    Child<QCheckBox>("storageCheck")->setChecked(false);

    // 1 GBytes "<": below 1073741824 bytes, computed in 64 bits.
    Child<QCheckBox>("sizeCheck")->setChecked(true);
    Child<QSpinBox>("sizeSpin")->setValue(1);
    Child<QComboBox>("sizeUnitCombo")->setCurrentIndex(3);
    EXPECT_EQ(Child<QComboBox>("sizeUnitCombo")->currentText(), QStringLiteral("GBytes"));
    expected = SearchCriteria{};
    expected.UseSize = true;
    expected.SizeOperator = '<';
    expected.Size = 1073741824;
    ExpectSearch(expected);
    Child<QComboBox>("sizeOperatorCombo")->setCurrentIndex(2);
    Child<QSpinBox>("sizeSpin")->setValue(100);
    Child<QComboBox>("sizeUnitCombo")->setCurrentIndex(2);
    expected.SizeOperator = '>';
    expected.Size = 100LL * 1048576;
    ExpectSearch(expected);
    EXPECT_NE(RowOf(131), -1) << "the 4.5 GB dashcam film";

    // The spin never holds more than 1000000000: a digit that would pass it is refused
    // as it is typed, and a larger value is held at the largest. What it shows is what
    // is searched, in 64 bits even with GBytes.
    auto* spin = Child<QSpinBox>("sizeSpin");
    Child<QComboBox>("sizeUnitCombo")->setCurrentIndex(3);
    spin->selectAll();
    QTest::keyClicks(spin, QStringLiteral("99999999999"));
    EXPECT_EQ(spin->text(), QStringLiteral("999999999"));
    EXPECT_EQ(m_dlg->GatherCriteria().Size, 999999999LL * 1073741824LL);
    spin->setValue(2000000000);
    EXPECT_EQ(spin->value(), 1000000000);
    EXPECT_EQ(m_dlg->GatherCriteria().Size, 1000000000LL * 1073741824LL);
    Child<QCheckBox>("sizeCheck")->setChecked(false);

    // Dates cover whole days: from the first second of the first to the last of the
    // second, "Modified" naming DateModified.
    Child<QCheckBox>("dateCheck")->setChecked(true);
    Child<QComboBox>("dateFieldCombo")->setCurrentIndex(2);
    Child<QDateEdit>("dateFromEdit")->setDate(QDate(2011, 1, 1));
    Child<QDateEdit>("dateToEdit")->setDate(QDate(2011, 12, 31));
    expected = SearchCriteria{};
    expected.UseDate = true;
    expected.DateField = SearchCriteria::DateModified;
    expected.DateFrom = QDateTime(QDate(2011, 1, 1), QTime(0, 0, 0));
    expected.DateTo = QDateTime(QDate(2011, 12, 31), QTime(23, 59, 59));
    ExpectSearch(expected);
    const std::vector<int> in2011 = ResultIds();
    EXPECT_EQ(in2011.size(), 10u);

    // Chosen the wrong way round, the range is the same days: the pickers are put in
    // order when searching, so they show what was searched.
    Child<QDateEdit>("dateFromEdit")->setDate(QDate(2011, 12, 31));
    Child<QDateEdit>("dateToEdit")->setDate(QDate(2011, 1, 1));
    QTest::mouseClick(&m_dlg->SearchButton(), Qt::LeftButton);
    EXPECT_EQ(ResultIds(), in2011);
    EXPECT_EQ(Child<QDateEdit>("dateFromEdit")->date(), QDate(2011, 1, 1));
    EXPECT_EQ(Child<QDateEdit>("dateToEdit")->date(), QDate(2011, 12, 31));
    EXPECT_TRUE(m_prompter.Messages().empty());
}

TEST_F(SearchDialog, EachCategoryModeEnablesExactlyItsOwnControls)
{
    const std::vector<std::vector<const char*>> controls{
        {},
        {"titleCheck", "titleEdit", "artistCheck", "artistEdit", "albumCheck", "albumEdit",
         "yearCheck", "yearSpin", "genreCheck", "genreEdit"},
        {"pictureWidthCheck", "pictureWidthOperator", "pictureWidthSpin", "pictureHeightCheck",
         "pictureHeightOperator", "pictureHeightSpin"},
        {"filmWidthCheck", "filmWidthOperator", "filmWidthSpin", "filmHeightCheck",
         "filmHeightOperator", "filmHeightSpin", "filmDurationCheck", "filmDurationOperator",
         "filmDurationSpin"},
        {"customCombo"}};
    const char* radios[] = {"allRadio", "musicRadio", "picturesRadio", "filmsRadio", "customRadio"};
    EXPECT_EQ(m_dlg->AdvancedTab().CurrentMode(), CAdvancedSearchTab::AllCategories);
    for (int mode = 4; mode >= 0; --mode) {
        QTest::mouseClick(Child<QRadioButton>(radios[mode]), Qt::LeftButton);
        ASSERT_EQ(m_dlg->AdvancedTab().CurrentMode(), mode);
        for (int other = 0; other < 5; ++other) {
            for (const char* name : controls[static_cast<size_t>(other)])
                EXPECT_EQ(Child<QWidget>(name)->isEnabled(), other == mode)
                    << name << " in mode " << mode;
        }
    }
}

TEST_F(SearchDialog, TheAdvancedPageGathersCategoryTagsDimensionsAndDuration)
{
    CAdvancedSearchTab& advanced = m_dlg->AdvancedTab();
    // "Music only" without tags: every music file whose name matches.
    advanced.SetMode(CAdvancedSearchTab::MusicOnly);
    SearchCriteria expected;
    expected.CategoryID = CategoryIds::Music;
    ExpectSearch(expected);
    EXPECT_EQ(ResultIds().size(), 12u);

    Child<QCheckBox>("artistCheck")->setChecked(true);
    QTest::keyClicks(Child<QLineEdit>("artistEdit"), QStringLiteral("queen"));
    Child<QCheckBox>("yearCheck")->setChecked(true);
    Child<QSpinBox>("yearSpin")->setValue(1975);
    Child<QCheckBox>("genreCheck")->setChecked(true); // empty: matches every genre
    expected.Artist = QStringLiteral("queen");
    expected.Year = 1975;
    expected.Genre = QString();
    ExpectSearch(expected);
    EXPECT_EQ(ResultIds(), (std::vector<int>{43, 44, kBohemianRhapsody}));

    // Checked tags of another mode count for nothing.
    advanced.SetMode(CAdvancedSearchTab::PicturesOnly);
    Child<QCheckBox>("pictureWidthCheck")->setChecked(true);
    Child<QComboBox>("pictureWidthOperator")->setCurrentIndex(2);
    Child<QSpinBox>("pictureWidthSpin")->setValue(3000);
    Child<QCheckBox>("filmDurationCheck")->setChecked(true);
    expected = SearchCriteria{};
    expected.CategoryID = CategoryIds::Picture;
    expected.UseWidth = true;
    expected.WidthOperator = '>';
    expected.Width = 3000;
    ExpectSearch(expected);
    EXPECT_EQ(ResultIds(), (std::vector<int>{kSummerPhoto, 84, 88, 103, 104, 106}));
    const SearchCriteria pictures = m_dlg->GatherCriteria();
    EXPECT_TRUE(pictures.Artist.IsNull());
    EXPECT_FALSE(pictures.UseHeight);

    // Films: the duration goes in as typed (the catalogue counts seconds).
    advanced.SetMode(CAdvancedSearchTab::FilmsOnly);
    Child<QComboBox>("filmDurationOperator")->setCurrentIndex(2);
    Child<QSpinBox>("filmDurationSpin")->setValue(600);
    expected = SearchCriteria{};
    expected.CategoryID = CategoryIds::Film;
    expected.UseDuration = true;
    expected.DurationOperator = '>';
    expected.Duration = 600;
    ExpectSearch(expected);
    EXPECT_EQ(ResultIds(), (std::vector<int>{5, 11, 24, 131}));
    EXPECT_FALSE(m_dlg->GatherCriteria().UseWidth) << "the picture width is not the film's";

    // Outside the picture and film modes no media test is used, and no operator given.
    advanced.SetMode(CAdvancedSearchTab::AllCategories);
    const SearchCriteria all = m_dlg->GatherCriteria();
    EXPECT_FALSE(all.UseWidth || all.UseHeight || all.UseDuration);
    EXPECT_EQ(all.WidthOperator, 0);
    EXPECT_EQ(all.DurationOperator, 0);

    // Custom mode: no custom category yet searches for -2, which finds nothing.
    advanced.SetMode(CAdvancedSearchTab::CustomOnly);
    EXPECT_EQ(m_dlg->GatherCriteria().CategoryID, CAdvancedSearchTab::kNoCategory);
    // A category added while the dialog was hidden is listed when it shows again.
    const int books = m_doc.AddCategory(QStringLiteral("Books"));
    ASSERT_GT(books, 4);
    ASSERT_TRUE(m_doc.SetUnitCategory(kRoadAtlas, books));
    m_dlg->show();
    EXPECT_EQ(Child<QComboBox>("customCombo")->currentText(), QStringLiteral("Books"));
    expected = SearchCriteria{};
    expected.CategoryID = books;
    ExpectSearch(expected);
    EXPECT_EQ(ResultIds(), std::vector<int>{kRoadAtlas});

    // Built-in categories known by other names give their modes no category.
    m_doc.Database().Execute(QStringLiteral("UPDATE Categories SET Name = 'Musik' WHERE "
                                            "CategoryID = 3"));
    m_doc.Database().LoadCategories();
    m_dlg->hide();
    m_dlg->show();
    advanced.SetMode(CAdvancedSearchTab::MusicOnly);
    EXPECT_EQ(m_dlg->GatherCriteria().CategoryID, CAdvancedSearchTab::kNoCategory);
}

TEST_F(SearchDialog, QuotesAreTextAndWildcardsAreWildcards)
{
    m_dlg->show();
    const qint64 units = UnitCount(m_doc.Database());
    auto* text = Child<QLineEdit>("textEdit");
    // Texts that would be SQL if they reached the statement as typed find nothing, ask
    // nothing and change nothing, in the name and in a music tag alike.
    for (const QString& attempt :
         {QStringLiteral("x'; DELETE FROM Units; --"), QStringLiteral("%' ; DROP TABLE Units; --"),
          QStringLiteral("zzz' OR UnitID = 45 OR '' = '")}) {
        text->setText(attempt);
        m_dlg->Search();
        EXPECT_EQ(m_dlg->Results().RowCount(), 0) << attempt.toStdString();
    }
    text->clear();
    m_dlg->AdvancedTab().SetMode(CAdvancedSearchTab::MusicOnly);
    Child<QCheckBox>("artistCheck")->setChecked(true);
    Child<QLineEdit>("artistEdit")->setText(QStringLiteral("x'; DELETE FROM MusicInfo; --"));
    m_dlg->Search();
    EXPECT_EQ(m_dlg->Results().RowCount(), 0);
    Child<QCheckBox>("artistCheck")->setChecked(false);
    m_dlg->AdvancedTab().SetMode(CAdvancedSearchTab::AllCategories);
    // Each says only that nothing matched.
    EXPECT_EQ(m_prompter.Messages().size(), 4u);
    for (const auto& message : m_prompter.Messages())
        EXPECT_NE(message.MessageIcon, UserPrompter::Icon::Error) << message.Text.toStdString();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("No matches found. Try another search."));
    EXPECT_EQ(UnitCount(m_doc.Database()), units);
    EXPECT_FALSE(m_doc.IsModified());

    // A name with an apostrophe is found as typed; '_', '?', '%' and '*' are wildcards.
    m_prompter.ClearRecords();
    for (const char* typed : {"Don't", "don't stop", "Don_t", "Don?t", "Don%Now", "Don*Now"}) {
        text->setText(QString::fromUtf8(typed));
        m_dlg->Search();
        EXPECT_EQ(ResultIds(), std::vector<int>{48}) << typed;
    }
    EXPECT_TRUE(m_prompter.Messages().empty());
}

TEST_F(SearchDialog, ResultsFollowTheDocument)
{
    m_dlg->show();
    Child<QLineEdit>("textEdit")->setText(QStringLiteral("IMG_"));
    m_dlg->Search();
    ASSERT_NE(RowOf(kSummerPhoto), -1);
    const int foundBefore = m_dlg->Results().RowCount();
    m_dlg->Results().SelectUnit(84);

    // A rename shows at once; a deleted unit goes.
    ASSERT_TRUE(m_doc.RenameUnit(kSummerPhoto, QStringLiteral("IMG_beach.JPG"), nullptr));
    m_prompter.QueueYesNo(true);
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("IMG_1003.JPG"), 106, false));
    QCoreApplication::processEvents();
    EXPECT_EQ(Cell(kSummerPhoto, CResultsModel::Name), QStringLiteral("IMG_beach.JPG"));
    EXPECT_EQ(RowOf(106), -1);
    EXPECT_EQ(m_dlg->Results().SelectedUnitId(), 84);
    EXPECT_EQ(m_dlg->CountText(), QStringLiteral("%1 found").arg(foundBefore - 1));

    // Another catalogue: the old results go, the storages are the new catalogue's.
    ASSERT_TRUE(m_doc.OnNewDocument());
    EXPECT_EQ(m_dlg->Results().RowCount(), 0);
    EXPECT_EQ(m_dlg->CountText(), QString());
    EXPECT_EQ(Child<QComboBox>("storageCombo")->count(), 0);
    m_doc.AddStorage(QStringLiteral("Fresh shelf"), QString());
    m_dlg->hide();
    m_dlg->show();
    EXPECT_EQ(Child<QComboBox>("storageCombo")->itemText(0), QStringLiteral("Fresh shelf"));
}

TEST_F(SearchDialog, EveryControlAKeyboardReachesHasAnAccessibleName)
{
    for (const QWidget* widget : m_dlg->findChildren<QWidget*>()) {
        if ((widget->focusPolicy() & Qt::TabFocus) && !widget->inherits("QTabBar") &&
            widget->parentWidget() && !widget->parentWidget()->inherits("QAbstractSpinBox") &&
            !widget->parentWidget()->inherits("QComboBox")) {
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
        }
    }
}
