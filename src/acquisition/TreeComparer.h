#pragma once

#include "acquisition/ChangeList.h"
#include "acquisition/ScannedTree.h"

#include <QSet>
#include <QString>
#include <QtGlobal>

#include <unordered_map>
#include <vector>

// Compares a catalogued subtree with the same tree walked again, by relative path, in
// time linear in the entries: one hash map by path for each side, one by (name, size,
// date) for the files that may have moved, no catalogue access.
class TreeComparer final
{
public:
    // One catalogued unit below the compared unit, as CSqliteWrapper::GetSubtreeEntries
    // gives it.
    struct Catalogued
    {
        int UnitId = 0;
        QString Path; // relative to the compared unit; empty for the unit itself
        bool IsFolder = false;
        qint64 Size = 0;
        QString Modified; // DateModified's text; empty when NULL
    };

    /// The row mapper for GetSubtreeEntries.
    static void MapRow(std::vector<Catalogued>& rows, int columns, char** values);

    /// ignoreCase: names that differ only in case are one name (the source's file system
    /// says so). The unit itself (an empty path) among catalogued is left out.
    TreeComparer(const std::vector<Catalogued>& catalogued, bool ignoreCase);

    /// The changes from the catalogued tree to scanned. Inside a folder that could not
    /// be read, what was catalogued and not seen is kept, not removed.
    CChangeList Compare(const ScannedTree& scanned);

    /// The catalogue's DateModified text for a time of the file system (milliseconds
    /// since 1970 UTC): the local wall-clock time, as the importer writes it; empty for
    /// FindData::kNoTime.
    QString DateText(qint64 utcMsecs);
    /// The same, given as catalogued itself when that names the same second.
    QString DateText(qint64 utcMsecs, const QString& catalogued);

private:
    // The local time's offset from UTC at that time, in milliseconds.
    qint64 OffsetAt(qint64 utcMsecs);
    QString Key(const QString& path) const;
    // Whether path lies in (or is) a folder that could not be read.
    bool InUnreadable(const QString& key) const;

    const std::vector<Catalogued>& m_catalogued;
    bool m_ignoreCase;
    QSet<QString> m_unreadable; // keys of the folders that could not be read
    bool m_rootUnreadable = false;
    std::unordered_map<qint64, qint64> m_offsets; // hour since 1970 -> msecs east of UTC
    // The local time's offset from UTC, by hour since 1970: the time zone is asked once
    // an hour of file times.
    qint64 m_lastHour = 0;
    qint64 m_lastOffset = 0;
    bool m_hasLastHour = false;
};
