#include "acquisition/RescanFixture.h"

#include "acquisition/Rescan.h"
#include "acquisition/RunAddition.h"
#include "errorlog/ErrorLog.h"
#include "sqlitewrapper/RowMappers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>

namespace RescanTools {

using Kind = CChangeList::Kind;

void MakeFile(const QString& path, qint64 size, qint64 modifiedSecs)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(QByteArray(static_cast<int>(size), 'x'));
    // Written out first: a write at close would set the time to now.
    ASSERT_TRUE(file.flush());
    ASSERT_TRUE(file.setFileTime(QDateTime::fromSecsSinceEpoch(modifiedSecs),
                                 QFileDevice::FileModificationTime));
}

bool MakeImage(const QString& folder, const QString& image, bool genisoimage)
{
    QProcess tool;
    if (genisoimage)
        tool.start(QStringLiteral("genisoimage"), {"-quiet", "-R", "-J", "-o", image, folder});
    else
        tool.start(QStringLiteral("xorriso"),
                   {"-as", "mkisofs", "-quiet", "-R", "-J", "-o", image, folder});
    return tool.waitForFinished(60000) && tool.exitCode() == 0;
}

std::vector<std::string> Lines(const CChangeList& changes, bool withUnchanged)
{
    std::vector<std::string> lines;
    for (const CChangeList::Change& change : changes.Entries()) {
        if (change.What == Kind::Unchanged && !withUnchanged)
            continue;
        QString line =
            QLatin1String(CChangeList::Word(change.What)) + QLatin1Char(' ') + change.Path;
        if (change.IsFolder)
            line += QLatin1Char('/');
        if (!change.OldPath.isEmpty())
            line += QStringLiteral(" <- ") + change.OldPath;
        lines.push_back(line.toStdString());
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

const CChangeList::Change* Find(const CChangeList& changes, const QString& path)
{
    for (const CChangeList::Change& change : changes.Entries()) {
        if (change.Path == path)
            return &change;
    }
    return nullptr;
}

} // namespace RescanTools

RescanTest::RescanTest()
{
    EXPECT_TRUE(m_doc.OnNewDocument());
    m_storage = m_doc.AddStorage(QStringLiteral("Shelf"), QString());
}

RescanTest::~RescanTest()
{
    ErrorLog::Instance().ClearFileSystemErrors();
}

int RescanTest::Add(CAddLocationJob::Mode mode, const QString& path, FolderLister* lister)
{
    CAddLocationJob job(m_doc);
    job.SetFolderLister(lister);
    const WorkOutcome outcome = RunAddition(job, AdditionRequest(mode, path, m_storage));
    if (outcome != WorkOutcome::Succeeded)
        return 0;
    return static_cast<int>(
        Number(QStringLiteral("SELECT MAX(UnitID) FROM Units WHERE ParentUnitID IS NULL")));
}

qint64 RescanTest::Number(const QString& sql)
{
    const QString text = Text(sql);
    return text.isNull() ? -1 : text.toLongLong();
}

QString RescanTest::Text(const QString& sql)
{
    std::vector<QString> rows;
    m_doc.Database().QueryRows(sql, rows, &RowMappers::Texts);
    return rows.empty() ? QString() : rows.front();
}

int RescanTest::UnitNamed(int top, const char* name)
{
    const std::vector<int> ids = m_doc.Database().GetSubtreeIds(top);
    for (const int id : ids) {
        if (id != top && m_doc.Database().GetUnit(id).UnitName == QLatin1String(name))
            return id;
    }
    return 0;
}

std::optional<CChangeList> RescanTest::Rescan(int unitId, const QString& source,
                                              FolderLister* lister)
{
    CRescan rescan(m_doc.Database());
    rescan.SetFolderLister(lister);
    return rescan.Run(unitId, source);
}
