#include "stats/StatisticsCatalogue.h"

#include "cli/CliProcess.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

StatisticsCatalogue::StatisticsCatalogue()
{
    const QDir dir(m_dir.path());
    m_catalogue = dir.filePath(QStringLiteral("stats.db3"));
    Write(QStringLiteral("tree/photos/beach.jpg"), 3000, 2015);
    Write(QStringLiteral("tree/photos/Harbour.JPG"), 5000, 2019);
    Write(QStringLiteral("tree/photos/old/scan.png"), 1200, 2003);
    Write(QStringLiteral("tree/music/song.mp3"), 7000, 2019);
    Write(QStringLiteral("tree/docs/README"), 100, 2021);
    Write(QStringLiteral("tree/docs/notes.txt"), 250, 2021);
    Write(QStringLiteral("tree/docs/letter.txt"), 300, 2015);
    Write(QStringLiteral("tree/docs/libdemo.so.1.2"), 2000, 2015);
    // More extensions, and folders, than the statistics name one by one.
    for (int i = 0; i < 24; ++i)
        Write(QStringLiteral("tree/misc/part %1/file%1.x%2").arg(i).arg(i, 2, 10, QLatin1Char('0')),
              10 + i, 2010 + i % 3);
    // An archive of files that are also on the medium: its entries must not count twice.
    Write(QStringLiteral("pack/inner/big.mp3"), 40000, 2012);
    Write(QStringLiteral("pack/inner/cover.jpg"), 9000, 2012);
    QProcess zip;
    zip.setWorkingDirectory(dir.filePath(QStringLiteral("pack")));
    zip.start(QStringLiteral("zip"),
              {QStringLiteral("-qr0"), dir.filePath(QStringLiteral("tree/music/pack.zip")),
               QStringLiteral("inner")});
    if (!zip.waitForFinished() || zip.exitCode() != 0) {
        m_error = QStringLiteral("zip failed");
        return;
    }
    if (!Run({QStringLiteral("new"), m_catalogue}) ||
        !Run({QStringLiteral("add-storage"), m_catalogue, QStringLiteral("Shelf")}) ||
        !Run({QStringLiteral("add-folder"), m_catalogue, QStringLiteral("Shelf"),
              dir.filePath(QStringLiteral("tree"))}))
        return;

    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        return;
    Write(QStringLiteral("disc/film/trailer.mkv"), 20000, 2018);
    Write(QStringLiteral("disc/film/poster.jpg"), 800, 2018);
    Write(QStringLiteral("disc/index.txt"), 60, 2018);
    QProcess xorriso;
    xorriso.start(QStringLiteral("xorriso"),
                  {QStringLiteral("-as"), QStringLiteral("mkisofs"), QStringLiteral("-quiet"),
                   QStringLiteral("-J"), QStringLiteral("-V"), QStringLiteral("HOLIDAY"),
                   QStringLiteral("-o"), dir.filePath(QStringLiteral("holiday.iso")),
                   dir.filePath(QStringLiteral("disc"))});
    if (!xorriso.waitForFinished(60000) || xorriso.exitCode() != 0) {
        m_error =
            QStringLiteral("xorriso failed: ") + QString::fromUtf8(xorriso.readAllStandardError());
        return;
    }
    m_hasDisc = Run({QStringLiteral("add-storage"), m_catalogue, QStringLiteral("Discs")}) &&
                Run({QStringLiteral("add-disc"), m_catalogue, QStringLiteral("Discs"),
                     dir.filePath(QStringLiteral("holiday.iso")), QStringLiteral("--name"),
                     QStringLiteral("Holiday")});
}

void StatisticsCatalogue::Write(const QString& name, qint64 size, int year)
{
    const QString path = QDir(m_dir.path()).filePath(name);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_error = QStringLiteral("cannot write ") + path;
        return;
    }
    file.write(QByteArray(static_cast<int>(size), 'x'));
    // Written out first: the write would otherwise set the time again on close.
    file.flush();
    // Mid-year, so that no time zone moves it into another year.
    file.setFileTime(QDateTime(QDate(year, 6, 15), QTime(12, 0)),
                     QFileDevice::FileModificationTime);
}

bool StatisticsCatalogue::Run(const QStringList& arguments)
{
    const CliResult result = RunCli(arguments, CliEnvironment(m_settings.path()));
    if (result.status != 0)
        m_error = arguments.first() + QStringLiteral(" failed: ") + result.err;
    return result.status == 0;
}
