// The categories page on a copy of the sample catalogue: what each category shows,
// adding and removing categories and extensions in place with their questions and
// messages, and what reaches the catalogue and its files.
#include "OptionsTestSupport.h"

#include "options/CategoriesOptionsTab.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

namespace {

class CategoriesTab : public OptionsTest
{
protected:
    void SetUp() override
    {
        OptionsTest::SetUp();
        m_tab = std::make_unique<CCategoriesOptionsTab>(m_doc);
        m_categories = m_tab->findChild<QTreeWidget*>(QStringLiteral("categoriesList"));
        m_extensions = m_tab->findChild<QTreeWidget*>(QStringLiteral("extensionsList"));
        m_addCategory = m_tab->findChild<QPushButton*>(QStringLiteral("categoryAddButton"));
        m_removeCategory = m_tab->findChild<QPushButton*>(QStringLiteral("categoryRemoveButton"));
        m_addExtension = m_tab->findChild<QPushButton*>(QStringLiteral("extensionAddButton"));
        m_removeExtension = m_tab->findChild<QPushButton*>(QStringLiteral("extensionRemoveButton"));
        m_tab->resize(480, 360);
        m_tab->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_tab.get()));
    }

    // Add on a list, then the text typed into the new row and the key that ends it.
    void TypeNewRow(QPushButton* add, QTreeWidget* list, const QString& text,
                    Qt::Key end = Qt::Key_Return)
    {
        add->click();
        QLineEdit* editor = OpenEditor(*list);
        ASSERT_NE(editor, nullptr);
        QTest::keyClicks(editor, text);
        QTest::keyClick(editor, end);
        QApplication::processEvents();
    }

    void SelectExtension(const QString& extension)
    {
        const auto found = m_extensions->findItems(extension, Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1) << extension.toStdString();
        m_extensions->setCurrentItem(found.front());
    }

    int CategoryOf(int unitId) { return m_doc.Database().GetUnit(unitId).CategoryID; }
    int MappedTo(const QString& extension)
    {
        const auto& map = m_doc.Database().FileExtensions();
        const auto it = map.find(extension);
        return it == map.end() ? 0 : it->second;
    }
    QString LastQuestion() const
    {
        return m_prompter.Questions().empty() ? QString() : m_prompter.Questions().back().Text;
    }

    std::unique_ptr<CCategoriesOptionsTab> m_tab;
    QTreeWidget* m_categories = nullptr;
    QTreeWidget* m_extensions = nullptr;
    QPushButton* m_addCategory = nullptr;
    QPushButton* m_removeCategory = nullptr;
    QPushButton* m_addExtension = nullptr;
    QPushButton* m_removeExtension = nullptr;
};

} // namespace

TEST_F(CategoriesTab, EachCategoryShowsItsExtensionsButTheFallbackShowsAndTakesNone)
{
    ExpectAccessibleNames(*m_tab);
    EXPECT_EQ(m_categories->headerItem()->text(0), QStringLiteral("Categories"));
    EXPECT_EQ(m_extensions->headerItem()->text(0), QStringLiteral("File extensions"));
    EXPECT_EQ(ItemTexts(*m_categories), QStringList({"General", "Film", "Music", "Picture"}));
    // The page opens on the first category, which takes no extensions.
    EXPECT_EQ(m_tab->ShownCategoryId(), 1);
    EXPECT_FALSE(m_addExtension->isEnabled());

    m_tab->SelectCategory(3);
    QStringList music;
    for (const QString& extension : m_doc.Database().GetCategoryExtensions(3))
        music << extension;
    EXPECT_EQ(ItemTexts(*m_extensions), music);
    EXPECT_TRUE(music.contains(QStringLiteral("mp3")));
    EXPECT_TRUE(m_addExtension->isEnabled());
    EXPECT_FALSE(m_removeExtension->isEnabled());
    EXPECT_FALSE(m_removeCategory->isEnabled()); // built in
    SelectExtension(QStringLiteral("ogg"));
    EXPECT_TRUE(m_removeExtension->isEnabled());

    // Even an extension mapped to it by other means is not shown, and Add stays off.
    ASSERT_TRUE(m_doc.MapExtension(QStringLiteral("nfo"), 1));
    m_tab->SelectCategory(1);
    EXPECT_EQ(m_tab->ShownCategoryId(), 1);
    EXPECT_TRUE(ItemTexts(*m_extensions).isEmpty());
    EXPECT_FALSE(m_addExtension->isEnabled());
    EXPECT_FALSE(m_removeExtension->isEnabled());
    EXPECT_TRUE(m_prompter.Questions().empty());
}

TEST_F(CategoriesTab, AddOpensTheNewRowsEditorWithTheKeyboardSoTypingNamesIt)
{
    m_tab->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_tab.get()));
    m_addCategory->click();
    ASSERT_NE(OpenEditor(*m_categories), nullptr);
    EXPECT_EQ(OpenEditor(*m_categories)->placeholderText(), QStringLiteral("New category name"));
    QTest::keyClick(OpenEditor(*m_categories), Qt::Key_Escape);

    // The editor sits on the new row, shows where the name goes and takes what is typed
    // next, wherever the focus was; Remove has nothing to take until the row is named.
    m_tab->SelectCategory(3);
    m_addExtension->setFocus();
    m_addExtension->click();
    QLineEdit* editor = OpenEditor(*m_extensions);
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(QApplication::focusWidget(), editor);
    EXPECT_EQ(editor->placeholderText(), QStringLiteral("New extension, e.g. pdf"));
    EXPECT_FALSE(m_removeExtension->isEnabled());
    m_prompter.QueueYesNo(false);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("xm"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(MappedTo(QStringLiteral("xm")), 3);
}

TEST_F(CategoriesTab, AddingExtensionsLowersTheirCaseAndMovesTheFilesOnlyOnYes)
{
    TypeNewRow(m_addCategory, m_categories, QStringLiteral("Documents"));
    ASSERT_EQ(ItemTexts(*m_categories),
              QStringList({"General", "Film", "Music", "Picture", "Documents"}));
    const int documents = m_tab->ShownCategoryId();
    ASSERT_GT(documents, 4);
    EXPECT_EQ(m_categories->currentItem()->text(0), QStringLiteral("Documents"));
    EXPECT_TRUE(m_removeCategory->isEnabled());
    EXPECT_TRUE(m_doc.IsModified());

    m_prompter.QueueYesNo(true);
    TypeNewRow(m_addExtension, m_extensions, QStringLiteral("PDF"));
    EXPECT_EQ(ItemTexts(*m_extensions), QStringList({"pdf"}));
    EXPECT_EQ(MappedTo(QStringLiteral("pdf")), documents);
    EXPECT_EQ(LastQuestion(), QStringLiteral("Would you like to change category for all files "
                                             "with the same extension?"));
    for (int pdf : {kTaxReturnPdf, kBirthCertificatePdf, kRoadAtlasPdf})
        EXPECT_EQ(CategoryOf(pdf), documents);

    m_prompter.QueueYesNo(false);
    TypeNewRow(m_addExtension, m_extensions, QStringLiteral(" .Txt "));
    EXPECT_EQ(MappedTo(QStringLiteral("txt")), documents);
    EXPECT_EQ(CategoryOf(kNotesTxt), 1);

    // Blanks, a leading dot and capitals go, as on the command line; an inner dot stays.
    m_prompter.QueueYesNo(false);
    TypeNewRow(m_addExtension, m_extensions, QStringLiteral("Tar.GZ"));
    EXPECT_EQ(MappedTo(QStringLiteral("tar.gz")), documents);
    EXPECT_EQ(ItemTexts(*m_extensions), QStringList({"pdf", "txt", "tar.gz"}));
    EXPECT_EQ(m_prompter.Questions().size(), 3u);
    EXPECT_TRUE(m_prompter.Messages().empty());
}

TEST_F(CategoriesTab, AnExtensionOfAnotherCategoryOrNoneLeavesNoRow)
{
    m_tab->SelectCategory(4);
    const QStringList pictures = ItemTexts(*m_extensions);
    TypeNewRow(m_addExtension, m_extensions, QStringLiteral("MP3"));
    ASSERT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_EQ(m_prompter.LastMessage(),
              QStringLiteral("Extension mp3 is already associated with category Music"));
    EXPECT_EQ(m_prompter.Messages().front().MessageIcon, UserPrompter::Icon::Error);
    EXPECT_EQ(ItemTexts(*m_extensions), pictures);
    EXPECT_EQ(MappedTo(QStringLiteral("mp3")), 3);

    // Escape, and an empty name, drop the row without a word.
    TypeNewRow(m_addExtension, m_extensions, QStringLiteral("xcf"), Qt::Key_Escape);
    TypeNewRow(m_addExtension, m_extensions, QString());
    EXPECT_EQ(ItemTexts(*m_extensions), pictures);
    EXPECT_EQ(MappedTo(QStringLiteral("xcf")), 0);
    EXPECT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_TRUE(m_prompter.Questions().empty());
    EXPECT_FALSE(m_doc.IsModified());

    // While a row is being named, a second Add and a change of category wait for it.
    m_addExtension->click();
    QLineEdit* editor = OpenEditor(*m_extensions);
    ASSERT_NE(editor, nullptr);
    m_addExtension->click();
    EXPECT_EQ(m_extensions->topLevelItemCount(), pictures.size() + 1);
    m_tab->SelectCategory(2);
    EXPECT_EQ(m_tab->ShownCategoryId(), 4);
    QTest::keyClicks(editor, QStringLiteral("xcf"));
    QTest::keyClick(editor, Qt::Key_Return);
    QApplication::processEvents(); // the editor hands its text on once Return is through
    EXPECT_EQ(MappedTo(QStringLiteral("xcf")), 4);
    EXPECT_EQ(m_tab->ShownCategoryId(), 2);
    EXPECT_FALSE(ItemTexts(*m_extensions).contains(QStringLiteral("xcf")));
}

TEST_F(CategoriesTab, RemovingAnExtensionAsksTwiceAndLetsTheFilesFallBackOnlyOnYes)
{
    const int documents = m_doc.AddCategory(QStringLiteral("Documents"));
    ASSERT_TRUE(m_doc.MapExtension(QStringLiteral("pdf"), documents));
    ASSERT_TRUE(m_doc.SetExtensionFilesCategory(QStringLiteral("pdf"), documents));
    CCategoriesOptionsTab tab(m_doc); // the category list is read when the page opens
    m_tab.reset();
    auto* extensions = tab.findChild<QTreeWidget*>(QStringLiteral("extensionsList"));
    auto* remove = tab.findChild<QPushButton*>(QStringLiteral("extensionRemoveButton"));
    tab.SelectCategory(documents);
    ASSERT_EQ(ItemTexts(*extensions), QStringList({"pdf"}));

    extensions->setCurrentItem(extensions->topLevelItem(0));
    m_prompter.QueueYesNo(false);
    remove->click();
    EXPECT_EQ(LastQuestion(), QStringLiteral("Would you really like to delete this extension?"));
    EXPECT_EQ(ItemTexts(*extensions), QStringList({"pdf"}));
    EXPECT_EQ(MappedTo(QStringLiteral("pdf")), documents);

    // Yes, then No: the mapping goes, the files keep their category.
    m_prompter.QueueYesNo(true);
    m_prompter.QueueYesNo(false);
    remove->click();
    EXPECT_EQ(LastQuestion(), QStringLiteral("Would you like to cancel association of existing "
                                             "*.pdf files with Documents category?"));
    EXPECT_TRUE(ItemTexts(*extensions).isEmpty());
    EXPECT_EQ(MappedTo(QStringLiteral("pdf")), 0);
    EXPECT_EQ(CategoryOf(kTaxReturnPdf), documents);
    EXPECT_FALSE(remove->isEnabled());

    // Yes twice: the files fall back to the general category.
    ASSERT_TRUE(m_doc.MapExtension(QStringLiteral("pdf"), documents));
    tab.SelectCategory(1);
    tab.SelectCategory(documents);
    extensions->setCurrentItem(extensions->topLevelItem(0));
    m_prompter.QueueYesNo(true);
    m_prompter.QueueYesNo(true);
    remove->click();
    EXPECT_EQ(m_prompter.Questions().size(), 5u);
    for (int pdf : {kTaxReturnPdf, kBirthCertificatePdf, kRoadAtlasPdf})
        EXPECT_EQ(CategoryOf(pdf), 1);
}

TEST_F(CategoriesTab, ATakenCategoryNameIsRefusedAndADeletedOneTakesItsExtensionsAlong)
{
    TypeNewRow(m_addCategory, m_categories, QStringLiteral("Film"));
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Category Film already exists"));
    EXPECT_EQ(m_prompter.Messages().front().MessageIcon, UserPrompter::Icon::Error);
    TypeNewRow(m_addCategory, m_categories, QStringLiteral("   "));
    EXPECT_EQ(ItemTexts(*m_categories), QStringList({"General", "Film", "Music", "Picture"}));
    EXPECT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_EQ(m_doc.Database().Categories().size(), 4u);

    TypeNewRow(m_addCategory, m_categories, QStringLiteral("E-books"));
    const int ebooks = m_tab->ShownCategoryId();
    m_prompter.QueueYesNo(true);
    TypeNewRow(m_addExtension, m_extensions, QStringLiteral("pdf"));
    ASSERT_EQ(CategoryOf(kRoadAtlasPdf), ebooks);

    m_prompter.QueueYesNo(false);
    m_removeCategory->click();
    EXPECT_EQ(LastQuestion(), QStringLiteral("Would you really like to delete this category?"));
    EXPECT_EQ(m_categories->topLevelItemCount(), 5);

    m_prompter.QueueYesNo(true);
    m_removeCategory->click();
    EXPECT_EQ(ItemTexts(*m_categories), QStringList({"General", "Film", "Music", "Picture"}));
    EXPECT_TRUE(ItemTexts(*m_extensions).isEmpty());
    EXPECT_EQ(m_tab->ShownCategoryId(), 0);
    EXPECT_FALSE(m_removeCategory->isEnabled());
    EXPECT_FALSE(m_addExtension->isEnabled());
    EXPECT_EQ(MappedTo(QStringLiteral("pdf")), 0);
    EXPECT_EQ(CategoryOf(kRoadAtlasPdf), 1);

    // Built-in categories cannot be removed.
    m_tab->SelectCategory(2);
    EXPECT_FALSE(m_removeCategory->isEnabled());
}
