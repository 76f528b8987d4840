// shelfwise-cli drives, on drives described by SHELFWISE_FAKE_DRIVES (the test build)
// and on this machine's own.
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct Output
{
    int status = -1;
    QString out;
};

Output RunDrives(const QTemporaryDir& settings, const QString* fakeDrives, bool json)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("SHELFWISE_SETTINGS_DIR", settings.path());
    if (fakeDrives)
        env.insert("SHELFWISE_FAKE_DRIVES", *fakeDrives);
    else
        env.remove("SHELFWISE_FAKE_DRIVES");
    process.setProcessEnvironment(env);
    process.start(fakeDrives ? SHELFWISE_CLI_FAKE_DRIVES : SHELFWISE_CLI,
                  json ? QStringList{"--json", "drives"} : QStringList{"drives"});
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput())};
}

const QString kHeader =
    QStringLiteral("device\tmountPoint\tmedium\tlabel\tserialNumber\tsize\tsizeText");

} // namespace

TEST(DrivesCommand, AMachineWithoutOpticalDrivesPrintsTheHeaderOnly)
{
    QTemporaryDir settings;
    const QString none;
    const Output text = RunDrives(settings, &none, false);
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out, kHeader + '\n');
    const Output json = RunDrives(settings, &none, true);
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(QJsonDocument::fromJson(json.out.toUtf8()).array().size(), 0);

    // This machine's own drives, whatever they are, under the same header.
    const Output real = RunDrives(settings, nullptr, false);
    EXPECT_EQ(real.status, 0);
    EXPECT_TRUE(real.out.startsWith(kHeader + '\n'));
}

TEST(DrivesCommand, ListsEachDriveWithItsVolumeOrNoMedium)
{
    QTemporaryDir settings;
    QTemporaryDir discs;
    QDir(discs.path()).mkpath("disc");
    const QString described = discs.filePath("disc") + "|Urlaub 2023|3735928559|1048576;empty";
    const Output text = RunDrives(settings, &described, false);
    EXPECT_EQ(text.status, 0);
    const QStringList lines = text.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[1], "fake0\t" + discs.filePath("disc") +
                            "\t1\tUrlaub 2023\t3735928559\t1048576\t1024.00 KB");
    EXPECT_EQ(lines[2], QStringLiteral("fake1\t\t0\t\t\t\t"));

    const QJsonArray rows =
        QJsonDocument::fromJson(RunDrives(settings, &described, true).out.toUtf8()).array();
    ASSERT_EQ(rows.size(), 2);
    const QJsonObject disc = rows[0].toObject();
    EXPECT_EQ(disc["label"].toString(), QStringLiteral("Urlaub 2023"));
    EXPECT_EQ(disc["serialNumber"].toDouble(), 3735928559.0);
    EXPECT_EQ(disc["size"].toDouble(), 1048576.0);
    EXPECT_EQ(disc["medium"].toInt(), 1);
    const QJsonObject empty = rows[1].toObject();
    EXPECT_EQ(empty["medium"].toInt(), 0);
    EXPECT_TRUE(empty["label"].isNull());
    EXPECT_TRUE(empty["serialNumber"].isNull());
}
