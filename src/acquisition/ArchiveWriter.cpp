#include "acquisition/ArchiveWriter.h"

#include "errorlog/ErrorLog.h"
#include "sqlitewrapper/ArchiveEntryBatch.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDateTime>

#include <vector>

CArchiveWriter::CArchiveWriter(bool categorise, int fixedCategory)
    : m_categorise(categorise), m_fixedCategory(fixedCategory)
{
}

qint64 CArchiveWriter::WallClock(qint64 utcMsecs)
{
    if (utcMsecs == FindData::kNoTime)
        return CArchiveEntryBatch::kNoDate;
    // The offset changes at most on the hour: asked once per hour met.
    const qint64 hour = utcMsecs >= 0 ? utcMsecs / 3600000 : (utcMsecs - 3599999) / 3600000;
    auto it = m_utcOffsets.find(hour);
    if (it == m_utcOffsets.end()) {
        const int seconds = QDateTime::fromMSecsSinceEpoch(utcMsecs, Qt::LocalTime).offsetFromUtc();
        it = m_utcOffsets.emplace(hour, seconds * 1000LL).first;
    }
    return utcMsecs + it->second;
}

int CArchiveWriter::Write(CSqliteWrapper& db, int archiveUnitId, int storageId,
                          const ArchiveLister::Listing& listing)
{
    if (!listing.IsArchive)
        return 0;
    const ArchiveContents& contents = listing.Contents;
    const std::vector<ArchiveContents::Entry>& entries = contents.Entries();
    CArchiveEntryBatch batch(db.NextUnitId(), storageId);
    std::vector<int> ids(entries.size(), 0);
    for (size_t i = 0; i < entries.size(); ++i) {
        const ArchiveContents::Entry& entry = entries[i];
        const int parentId =
            entry.Parent < 0 ? archiveUnitId : ids[static_cast<size_t>(entry.Parent)];
        int category = m_fixedCategory;
        if (m_categorise)
            category = entry.IsFolder ? CategoryIds::General : db.CategoryForFile(entry.Name);
        ids[i] = batch.Add(parentId, entry.Name, entry.IsFolder, static_cast<qint64>(entry.Size),
                           WallClock(entry.LastWriteTime), category);
        if (batch.IsFull())
            batch.Flush(db);
    }
    batch.Flush(db);
    db.AddArchiveInfo(archiveUnitId, listing.Format, contents.Count(),
                      static_cast<qint64>(contents.UncompressedSize()));
    for (const ArchiveContents::NestedArchive& nested : contents.Nested()) {
        db.AddArchiveInfo(ids[static_cast<size_t>(nested.Entry)], nested.Format, nested.Entries,
                          static_cast<qint64>(nested.UncompressedSize));
    }
    return contents.Count();
}

void CArchiveWriter::ReportErrors(const QString& path, const ArchiveLister::Listing& listing)
{
    ErrorLog& log = ErrorLog::Instance();
    if (!listing.Error.isEmpty())
        log.ReportFileSystemError(path, listing.Error);
    for (const ArchiveLister::NestedError& nested : listing.NestedErrors)
        log.ReportFileSystemError(path + QLatin1Char('/') + nested.Path, nested.Error);
}
