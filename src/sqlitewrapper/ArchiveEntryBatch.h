#pragma once

#include <QString>
#include <QtGlobal>

#include <limits>
#include <string>

class CSqliteWrapper;

// The Units rows of an archive's entries ('d' folders and 'f' files below the archive's
// own 'F' unit), written a few hundred at a time by one INSERT ... SELECT over
// ArchiveEntryRows, the rows' text one string literal. Each row carries its UnitID, handed out
// here from the first free one (CSqliteWrapper::NextUnitId), so an entry's parent is
// known before its folder's row is written and a whole archive goes in a few statements.
// Entries have no creation date and no media row.
class CArchiveEntryBatch final
{
public:
    static constexpr qint64 kNoDate = std::numeric_limits<qint64>::min();
    static constexpr int kMaxRows = 500;

    // Ids are given from firstId on; storageId is that of the archive.
    CArchiveEntryBatch(int firstId, int storageId);

    // Adds one entry under parentId (the archive's unit or an entry's id) and returns
    // the id it will have. modifiedWallMsecs is a wall-clock reading (local time) in
    // milliseconds since 1970-01-01 00:00 of that clock, or kNoDate.
    int Add(int parentId, const QString& name, bool isFolder, qint64 size, qint64 modifiedWallMsecs,
            int categoryId);
    // Writes what is gathered (raises CSqliteWrapperError); nothing when empty.
    void Flush(CSqliteWrapper& db);
    bool IsFull() const { return m_rows >= kMaxRows; }
    // The id the next entry will get.
    int NextId() const { return m_nextId; }

private:
    void Start();

    int m_nextId;
    int m_storageId;
    int m_rows = 0;
    std::string m_sql;
    std::string m_date;
};
