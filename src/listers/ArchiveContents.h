#pragma once

#include "listers/FindData.h"

#include <QHash>
#include <QString>
#include <QtGlobal>

#include <limits>
#include <vector>

// What an archive (or a disc image lying on a medium) holds, as a tree of entries to
// be catalogued under the archive's own unit. Entries come in an order where a folder
// always stands before what it holds, so they can be written in one pass.
//
// Archives name their entries by path ("a/b/c.txt") and need not hold an entry for
// every folder on the way; the folders a path implies are made here, and a folder's own
// entry, met before or after them, gives the folder its date.
class ArchiveContents final
{
public:
    struct Entry
    {
        QString Name;
        int Parent = -1; // index of the folder entry it lies in; -1 for the archive's top
        bool IsFolder = false;
        quint64 Size = 0;
        qint64 LastWriteTime = FindData::kNoTime; // ms since 1970 UTC
        int Nested = -1; // index in Nested() when this file is an archive read as well
    };
    // An archive read from inside this one.
    struct NestedArchive
    {
        int Entry = -1; // the file entry that is the archive
        QString Format;
        int Entries = 0; // entries below it
        quint64 UncompressedSize = 0;
    };

    /// Adds the entry at path (separated by '/'; "." parts, ".." parts and leading
    /// slashes dropped) below the entry parent (-1: the top); returns its index, or -1
    /// for a path without a name. A folder already there is updated, not repeated.
    int Add(int parent, const QString& path, bool isFolder, quint64 size, qint64 lastWriteTime);
    /// Puts what inner holds below the file entry, which is an archive of the given
    /// format read from inside this one.
    void AddNested(int entry, const QString& format, const ArchiveContents& inner);

    const std::vector<Entry>& Entries() const { return m_entries; }
    std::vector<NestedArchive>& Nested() { return m_nested; }
    const std::vector<NestedArchive>& Nested() const { return m_nested; }
    int Count() const { return static_cast<int>(m_entries.size()); }
    /// The sum of the sizes of the files this archive holds itself (those of an archive
    /// read from inside it count in that one's sum).
    quint64 UncompressedSize() const { return m_uncompressed; }
    /// The number of entries below entry (all of them for -1).
    int CountBelow(int entry) const;
    void Clear();

private:
    int Child(int parent, const QString& name, bool isFolder);

    std::vector<Entry> m_entries;
    std::vector<NestedArchive> m_nested;
    // (parent index, name) -> index of a folder entry, so paths find their folders.
    QHash<QPair<int, QString>, int> m_folders;
    quint64 m_uncompressed = 0;
    // The folder the last path added lay in: the parent it was added below, the text of
    // the path before its last '/', and the folder's index.
    static constexpr int kNoFolder = std::numeric_limits<int>::min();
    int m_lastParent = kNoFolder;
    int m_lastFolder = -1;
    QString m_lastFolderPath;
};
