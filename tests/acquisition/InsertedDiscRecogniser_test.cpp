// Recognising volumes that appear: read one at a time in their order, unreadable and
// removed ones passed over, and found in a real catalogue by the duplicate options.
#include "FakeDriveSystem.h"
#include "TestCatalogue.h"

#include "acquisition/InsertedDiscRecogniser.h"
#include "settings/Settings.h"

#include <QTemporaryDir>
#include <QtTest/QTest>

#include <gtest/gtest.h>

TEST(InsertedDiscRecogniser, ReadsVolumesInTurnAndFindsEveryCataloguedCopy)
{
    TestCatalogue catalogue;
    const int shelfA = catalogue.Db().AddStorage(QStringLiteral("Shelf A"), QString());
    const int shelfB = catalogue.Db().AddStorage(QStringLiteral("Shelf 'B'"), QString());
    // Same serial number and length; the labels are the names in capitals.
    const int holiday = catalogue.AddDisc(shelfA, QStringLiteral("Holiday 2019"));
    const int copy = catalogue.AddDisc(shelfB, QStringLiteral("Holiday copy"));

    QTemporaryDir dir;
    auto drives = std::make_shared<FakeDriveSystem>();
    auto addDrive = [&](const QString& name, const VolumeInfo& volume, bool present) {
        FakeDriveSystem::Drive drive;
        drive.MountPoint = dir.filePath(name);
        drive.Volume = volume;
        drive.MediumPresent = present;
        drives->AddDrive(drive);
        return drive.MountPoint;
    };
    const VolumeInfo holidayVolume{QStringLiteral("HOLIDAY 2019"), 0x1234ABCDu, 700000000};
    const QString empty = addDrive(QStringLiteral("empty"), VolumeInfo(), false);
    const QString gone = addDrive(QStringLiteral("gone"), {QStringLiteral("GONE"), 7, 9}, true);
    const QString known = addDrive(QStringLiteral("known"), holidayVolume, true);

    CInsertedDiscRecogniser recogniser(catalogue.Db());
    recogniser.SetDriveSystem(drives);
    QStringList read;
    QObject::connect(&recogniser, &CInsertedDiscRecogniser::volumeRead,
                     [&read](const QString& root, const VolumeInfo&) { read << root; });
    for (const QString& root : {empty, gone, known, known})
        recogniser.VolumeAppeared(root);
    recogniser.VolumeRemoved(gone);
    ASSERT_TRUE(QTest::qWaitFor([&read] { return !read.isEmpty(); }));
    // Had the empty drive or the removed volume been reported, they would have come first.
    EXPECT_EQ(read, QStringList({known}));

    InsertedDisc disc = recogniser.LookUp(known, holidayVolume);
    ASSERT_EQ(disc.Matches.size(), 1u);
    EXPECT_EQ(disc.Matches[0].UnitId, holiday);
    EXPECT_EQ(disc.Matches[0].StorageId, shelfA);
    EXPECT_EQ(disc.Matches[0].DiscName, QStringLiteral("Holiday 2019"));
    EXPECT_EQ(disc.Matches[0].StorageName, QStringLiteral("Shelf A"));
    EXPECT_EQ(disc.Name(), QStringLiteral("HOLIDAY 2019"));

    // Without the label among the rules the copy matches too; a label with a quote is
    // compared as text.
    Settings::Instance().CheckLabel = false;
    disc = recogniser.LookUp(known, holidayVolume);
    Settings::Instance().CheckLabel = true;
    ASSERT_EQ(disc.Matches.size(), 2u);
    EXPECT_EQ(disc.Matches[1].UnitId, copy);
    EXPECT_EQ(disc.Matches[1].StorageName, QStringLiteral("Shelf 'B'"));
    const VolumeInfo quoted{QStringLiteral("HOLIDAY' OR '1'='1"), 0x1234ABCDu, 700000000};
    EXPECT_TRUE(recogniser.LookUp(known, quoted).Matches.empty());
    // An unlabelled volume goes by its folder's name.
    EXPECT_EQ(recogniser.LookUp(dir.filePath(QStringLiteral("NO_LABEL/")), VolumeInfo()).Name(),
              QStringLiteral("NO_LABEL"));
}
