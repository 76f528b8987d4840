// The properties dialog on a copy of the sample catalogue: which tabs each kind of item
// gets, the texts of its fields, and what OK and Cancel write back.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "common/FormatSize.h"
#include "document/ShelfwiseDoc.h"
#include "views/InfoTabFields.h"
#include "views/PropertiesDlg.h"

#include <QDateTime>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// Sample catalogue units.
constexpr int kLivingRoomShelf = 1;
constexpr int kBoxInTheAttic = 2;
constexpr int kMusicCollectionDisc = 40;
constexpr int kCafeDelMarFolder = 54;
constexpr int kNotesTxt = 9;
constexpr int kBohemianRhapsody = 45;
constexpr int kHitTheRoadJack = 126; // mono, no track number, no album
constexpr int kBladeRunnerFilm = 24;
constexpr int kSummerPhoto = 83;
constexpr int kCoverWithoutPictureRow = 127;
constexpr int kBonusFolder = 125;
constexpr int kCarStorage = 3;

class Properties : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_doc.OnOpenDocument(CopySampleCatalogue(m_dir.filePath("sample.db3"))));
    }

    // Every widget a keyboard reaches on every tab has a name a screen reader can say.
    static void ExpectAccessibleNames(const CPropertiesDlg& dialog)
    {
        const auto* tabs = dialog.findChild<QTabWidget*>();
        ASSERT_NE(tabs, nullptr);
        for (int i = 0; i < tabs->count(); ++i) {
            for (const QWidget* widget : tabs->widget(i)->findChildren<QWidget*>()) {
                if (widget->focusPolicy() & Qt::TabFocus) {
                    EXPECT_FALSE(widget->accessibleName().isEmpty())
                        << widget->objectName().toStdString();
                }
            }
        }
    }

    QTemporaryDir m_dir;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc{true};
};

} // namespace

TEST_F(Properties, StoragesDiscsAndFoldersShowTheirOwnTabWithCountsSizesAndDates)
{
    const StorageRecord shelf = m_doc.Database().GetStorage(kLivingRoomShelf);
    CPropertiesDlg storage(kLivingRoomShelf, true, m_doc);
    EXPECT_EQ(storage.windowTitle(), QStringLiteral("Properties"));
    EXPECT_EQ(storage.TabTitles(), QStringList{QStringLiteral("Storage Info")});
    EXPECT_EQ(storage.NameEdit()->text(), QStringLiteral("Living room shelf"));
    EXPECT_EQ(storage.DescriptionEdit()->toPlainText(),
              QStringLiteral("Left half: films, right half: music."));
    EXPECT_EQ(storage.FieldText(QStringLiteral("Folders:")), QString::number(shelf.FoldersNumber));
    EXPECT_EQ(storage.FieldText(QStringLiteral("Files:")), QString::number(shelf.FilesNumber));
    EXPECT_EQ(storage.FieldText(QStringLiteral("Discs:")), QStringLiteral("3")); // not the blank
    EXPECT_EQ(storage.FieldText(QStringLiteral("Size:")), FormatSize(shelf.StorageSize));
    EXPECT_EQ(storage.FieldText(QStringLiteral("Added:")), QStringLiteral("2019-11-02 18:40:12"));
    ExpectAccessibleNames(storage);

    CPropertiesDlg disc(kMusicCollectionDisc, false, m_doc);
    // A disc lies in a storage: it has a history of updates, empty in the sample.
    EXPECT_EQ(disc.TabTitles(), QStringList({"Disc Info", "History"}));
    EXPECT_EQ(disc.findChild<QTabWidget*>()->widget(1)->findChild<QLabel*>()->text(),
              QStringLiteral("Not updated yet."));
    EXPECT_EQ(disc.FieldText(QStringLiteral("Name:")), QStringLiteral("Music Collection Vol. 1"));
    EXPECT_FALSE(disc.NameEdit()->isReadOnly());
    EXPECT_EQ(disc.FieldText(QStringLiteral("Label:")), QStringLiteral("MUSIC_VOL1"));
    EXPECT_EQ(disc.FieldText(QStringLiteral("Serial Number:")), QStringLiteral("2882343476"));
    EXPECT_EQ(disc.FieldText(QStringLiteral("Folders:")), QStringLiteral("6"));
    EXPECT_EQ(disc.FieldText(QStringLiteral("Files:")), QStringLiteral("10"));
    EXPECT_EQ(disc.FieldText(QStringLiteral("Added:")), QStringLiteral("2019-11-09 11:02:58"));
    const auto* category = disc.findChild<QLineEdit*>(QStringLiteral("categoryField"));
    ASSERT_NE(category, nullptr);
    EXPECT_EQ(category->text(), QStringLiteral("General"));
    ExpectAccessibleNames(disc);

    CPropertiesDlg folder(kCafeDelMarFolder, false, m_doc);
    EXPECT_EQ(folder.TabTitles(), QStringList{QStringLiteral("Folder Info")});
    EXPECT_EQ(folder.FieldText(QStringLiteral("Description:")),
              QStringLiteral("Only the first volume; the others are on loan."));
    EXPECT_TRUE(folder.NameEdit()->isReadOnly());
    EXPECT_EQ(folder.FieldText(QStringLiteral("Folders:")), QStringLiteral("0"));
    EXPECT_EQ(folder.FieldText(QStringLiteral("Files:")), QStringLiteral("2"));
    EXPECT_EQ(folder.FieldText(QStringLiteral("Size:")), FormatSize(31457280 + 412));
    ExpectAccessibleNames(folder);
}

TEST_F(Properties, FilesGetAMediaTabChosenByTheirCategory)
{
    CPropertiesDlg plain(kNotesTxt, false, m_doc);
    EXPECT_EQ(plain.TabTitles(), QStringList{QStringLiteral("File Info")});
    EXPECT_TRUE(plain.NameEdit()->isReadOnly());
    EXPECT_EQ(plain.FieldText(QStringLiteral("Name:")), QStringLiteral("notes.txt"));
    EXPECT_EQ(plain.FieldText(QStringLiteral("Size:")), QStringLiteral("2.00 KB"));
    EXPECT_EQ(plain.FieldText(QStringLiteral("Created:")), QStringLiteral("2019-08-13 21:10:00"));
    EXPECT_EQ(plain.FieldText(QStringLiteral("Modified:")), QStringLiteral("2019-08-13 21:14:36"));

    CPropertiesDlg song(kBohemianRhapsody, false, m_doc);
    EXPECT_EQ(song.TabTitles(),
              (QStringList{QStringLiteral("File Info"), QStringLiteral("Audio Info")}));
    EXPECT_EQ(song.FieldText(QStringLiteral("Title:")), QStringLiteral("Bohemian Rhapsody"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Artist:")), QStringLiteral("Queen"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Track #:")), QStringLiteral("11"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Album:")), QStringLiteral("A Night at the Opera"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Year:")), QStringLiteral("1975"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Genre:")), QStringLiteral("Rock"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Duration:")),
              QStringLiteral("00:05:55 (355 seconds)"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Bitrate:")), QStringLiteral("320 kbit/s"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Sampling Rate:")), QStringLiteral("44100 Hz"));
    EXPECT_EQ(song.FieldText(QStringLiteral("Channels:")), QStringLiteral("2 (stereo)"));
    // The tags are shown, not edited.
    const auto* title = song.findChild<QLineEdit*>(QStringLiteral("titleField"));
    ASSERT_NE(title, nullptr);
    EXPECT_TRUE(title->isReadOnly());
    ExpectAccessibleNames(song);

    CPropertiesDlg mono(kHitTheRoadJack, false, m_doc);
    EXPECT_EQ(mono.FieldText(QStringLiteral("Channels:")), QStringLiteral("1 (mono)"));
    EXPECT_EQ(mono.FieldText(QStringLiteral("Track #:")), QString());
    EXPECT_EQ(mono.FieldText(QStringLiteral("Album:")), QString());
    EXPECT_EQ(mono.FieldText(QStringLiteral("Sampling Rate:")), QStringLiteral("22050 Hz"));

    CPropertiesDlg film(kBladeRunnerFilm, false, m_doc);
    EXPECT_EQ(film.TabTitles(),
              (QStringList{QStringLiteral("File Info"), QStringLiteral("Film Info")}));
    EXPECT_EQ(film.FieldText(QStringLiteral("Description:")), QStringLiteral("The main film."));
    EXPECT_EQ(film.FieldText(QStringLiteral("Duration:")), QStringLiteral("02:43:00"));
    EXPECT_EQ(film.FieldText(QStringLiteral("Width:")), QStringLiteral("1920"));
    EXPECT_EQ(film.FieldText(QStringLiteral("Height:")), QStringLiteral("1080"));
    EXPECT_EQ(film.FieldText(QStringLiteral("Bitrate:")), QStringLiteral("19320 kbit/s"));
    EXPECT_EQ(film.FieldText(QStringLiteral("Codec:")), QStringLiteral("H.264"));
    ExpectAccessibleNames(film);

    CPropertiesDlg photo(kSummerPhoto, false, m_doc);
    EXPECT_EQ(photo.TabTitles(),
              (QStringList{QStringLiteral("File Info"), QStringLiteral("Picture Info")}));
    EXPECT_EQ(photo.FieldText(QStringLiteral("Width:")), QStringLiteral("3072 px"));
    EXPECT_EQ(photo.FieldText(QStringLiteral("Height:")), QStringLiteral("2304 px"));
    EXPECT_EQ(photo.FieldText(QStringLiteral("Horizontal:")), QStringLiteral("180 DPI"));
    EXPECT_EQ(photo.FieldText(QStringLiteral("Vertical:")), QStringLiteral("180 DPI"));
    EXPECT_EQ(photo.FieldText(QStringLiteral("Color depth:")), QStringLiteral("24 bit"));
    ExpectAccessibleNames(photo);

    // A picture-category file without a picture row still gets the tab, left empty.
    CPropertiesDlg cover(kCoverWithoutPictureRow, false, m_doc);
    EXPECT_EQ(cover.TabCount(), 2);
    EXPECT_EQ(cover.FieldText(QStringLiteral("Width:")), QString());
}

TEST_F(Properties, OddMediaValuesAndCustomCategories)
{
    MusicInfo info;
    info.Duration = 3725;
    info.ChannelsNumber = 6;
    info.SamplingRate = 48000;
    info.Title = QStringLiteral("Long live recording");
    CSqliteWrapper& db = m_doc.Database();
    const int musicId = db.AddMusicInfo(info);
    const int song =
        db.AddUnit(UnitKind::File, QStringLiteral("live.flac"), QString(), CategoryIds::Music,
                   kCarStorage, kBonusFolder, musicId, 1000, QDateTime(), QDateTime(), 0, false);
    CPropertiesDlg dialog(song, false, m_doc);
    EXPECT_EQ(dialog.FieldText(QStringLiteral("Duration:")),
              QStringLiteral("01:02:05 (3725 seconds)"));
    // NULL bitrate: the field is there and empty.
    EXPECT_EQ(dialog.FieldText(QStringLiteral("Bitrate:")), QString());
    const auto* tabs = dialog.findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    EXPECT_NE(InfoTabFields::FieldWidget(*tabs->widget(1), QStringLiteral("Bitrate:")), nullptr);
    EXPECT_EQ(dialog.FieldText(QStringLiteral("Channels:")), QStringLiteral("6 "));

    // A custom category gets no media tab, even for a file with a music row.
    const int custom = m_doc.AddCategory(QStringLiteral("Audiobooks"));
    ASSERT_GT(custom, 0);
    const int book =
        db.AddUnit(UnitKind::File, QStringLiteral("chapter1.mp3"), QString(), custom, kCarStorage,
                   kBonusFolder, musicId, 1000, QDateTime(), QDateTime(), 0, false);
    CPropertiesDlg bookDialog(book, false, m_doc);
    EXPECT_EQ(bookDialog.TabTitles(), QStringList{QStringLiteral("File Info")});
    const auto* category = bookDialog.findChild<QLineEdit*>(QStringLiteral("categoryField"));
    ASSERT_NE(category, nullptr);
    EXPECT_EQ(category->text(), QStringLiteral("Audiobooks"));
}

TEST_F(Properties, OkRefusesAnEmptyOrTakenStorageNameAndStoresTheRest)
{
    CPropertiesDlg dialog(kLivingRoomShelf, true, m_doc);
    dialog.NameEdit()->clear();
    dialog.accept();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Please set storage name."));
    EXPECT_EQ(m_prompter.Messages().back().MessageIcon, UserPrompter::Icon::Warning);
    EXPECT_NE(dialog.result(), QDialog::Accepted);

    dialog.NameEdit()->setText(QStringLiteral("Car"));
    dialog.accept();
    EXPECT_EQ(m_prompter.LastMessage(),
              QStringLiteral("Storage with name \"Car\" is already exists. Please choose "
                             "another name."));
    EXPECT_NE(dialog.result(), QDialog::Accepted);
    EXPECT_FALSE(m_doc.IsModified());

    // Its own name with a new description is no clash.
    m_prompter.ClearRecords();
    dialog.NameEdit()->setText(QStringLiteral("Living room shelf"));
    dialog.DescriptionEdit()->setPlainText(QStringLiteral("Films only now."));
    dialog.accept();
    EXPECT_TRUE(m_prompter.Messages().empty());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    const StorageRecord stored = m_doc.Database().GetStorage(kLivingRoomShelf);
    EXPECT_EQ(stored.StorageName, QStringLiteral("Living room shelf"));
    EXPECT_EQ(stored.StorageNotes, QStringLiteral("Films only now."));
    EXPECT_TRUE(m_doc.IsModified());

    // A new name reaches the storage list the views show.
    CPropertiesDlg attic(kBoxInTheAttic, true, m_doc);
    attic.NameEdit()->setText(QStringLiteral("Box 1 (cellar)"));
    attic.accept();
    EXPECT_EQ(attic.result(), QDialog::Accepted);
    const auto& storages = m_doc.Storages();
    EXPECT_TRUE(std::any_of(storages.begin(), storages.end(), [](const StorageRecord& s) {
        return s.StorageID == kBoxInTheAttic && s.StorageName == QStringLiteral("Box 1 (cellar)");
    }));
}

TEST_F(Properties, OkStoresDiscNamesAndUnitDescriptionsOnly)
{
    CPropertiesDlg disc(kMusicCollectionDisc, false, m_doc);
    disc.NameEdit()->clear();
    disc.accept();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Please set disc name."));
    EXPECT_NE(disc.result(), QDialog::Accepted);
    EXPECT_FALSE(m_doc.IsModified());

    disc.NameEdit()->setText(QStringLiteral("Music Vol. 1 (scratched)"));
    disc.DescriptionEdit()->setPlainText(QStringLiteral("Track 3 skips."));
    disc.accept();
    EXPECT_EQ(disc.result(), QDialog::Accepted);
    const DiscDetails stored = m_doc.Database().GetDiscProperties(kMusicCollectionDisc);
    EXPECT_EQ(stored.UnitName, QStringLiteral("Music Vol. 1 (scratched)"));
    EXPECT_EQ(stored.UnitNotes, QStringLiteral("Track 3 skips."));

    // A file's description is stored; its media values are never written.
    MusicInfo before;
    m_doc.Database().GetMusicInfo(kBohemianRhapsody, before);
    CPropertiesDlg song(kBohemianRhapsody, false, m_doc);
    song.DescriptionEdit()->setPlainText(QStringLiteral("Live version\nrecorded 1986"));
    song.findChild<QLineEdit*>(QStringLiteral("titleField"))->setText(QStringLiteral("Changed"));
    song.accept();
    EXPECT_EQ(song.result(), QDialog::Accepted);
    EXPECT_EQ(m_doc.Database().GetFileProperties(kBohemianRhapsody).UnitNotes,
              QStringLiteral("Live version\nrecorded 1986"));
    MusicInfo after;
    m_doc.Database().GetMusicInfo(kBohemianRhapsody, after);
    EXPECT_EQ(after.Title, before.Title);
}

TEST_F(Properties, CancelAndAnUntouchedOkChangeNothing)
{
    CPropertiesDlg storage(kLivingRoomShelf, true, m_doc);
    storage.NameEdit()->setText(QStringLiteral("Renamed"));
    storage.DescriptionEdit()->setPlainText(QStringLiteral("New notes"));
    storage.reject();
    CPropertiesDlg disc(kMusicCollectionDisc, false, m_doc);
    disc.NameEdit()->setText(QStringLiteral("Renamed"));
    disc.reject();
    EXPECT_EQ(m_doc.Database().GetStorage(kLivingRoomShelf).StorageName,
              QStringLiteral("Living room shelf"));
    EXPECT_EQ(m_doc.Database().GetDiscProperties(kMusicCollectionDisc).UnitName,
              QStringLiteral("Music Collection Vol. 1"));

    // Units and storages without notes (NULL) are not rewritten by an OK that changed
    // nothing.
    CPropertiesDlg car(kCarStorage, true, m_doc);
    car.accept();
    CPropertiesDlg folder(kBonusFolder, false, m_doc);
    folder.accept();
    EXPECT_EQ(folder.result(), QDialog::Accepted);
    EXPECT_FALSE(m_doc.IsModified());
    EXPECT_TRUE(m_prompter.Messages().empty());
}
