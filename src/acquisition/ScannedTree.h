#pragma once

#include "acquisition/SubunitSink.h"
#include "listers/FindData.h"

#include <QString>
#include <QtGlobal>

#include <vector>

// The sink of a rescan's walk: every entry of the tree by its path relative to the root
// ("A/B/c.txt", names joined by '/'), with what the comparison needs, and the folders
// that could not be read, kept for this walk alone. Written by the walk's thread and
// read once the walk has been joined, so it needs no lock.
class ScannedTree final : public SubunitSink
{
public:
    struct Entry
    {
        QString Path;
        quint64 Size = 0;
        qint64 Modified = 0; // milliseconds since 1970 UTC; FindData::kNoTime when unknown
        qint64 Created = 0;  // the same
        bool IsFolder = false;
        QExplicitlySharedDataPointer<const LinkText> Link; // links only
    };
    struct Unreadable
    {
        QString Path; // relative; empty for the root
        int Error = 0;
    };

    ScannedTree() = default;
    ~ScannedTree() override = default;
    ScannedTree(const ScannedTree&) = delete;
    ScannedTree& operator=(const ScannedTree&) = delete;
    ScannedTree(ScannedTree&&) = delete;
    ScannedTree& operator=(ScannedTree&&) = delete;

    void PushBatch(std::vector<SubunitInfo>& records) override;
    void SetFinished() override { m_finished = true; }
    void SetCancelled() override { m_cancelled = true; }
    void AddUnreadableFolder(quint32 folderId, const QString& path, int error) override;

    /// In the order the walk found them: a folder before what lies in it.
    const std::vector<Entry>& Entries() const { return m_entries; }
    const std::vector<Unreadable>& UnreadableFolders() const { return m_unreadable; }
    bool Finished() const { return m_finished && !m_cancelled; }

private:
    // The relative path of the record with that walk ID; "" for the root (0).
    const QString& PathOf(quint32 id) const;

    std::vector<Entry> m_entries; // the record with walk ID n at n - 1
    std::vector<Unreadable> m_unreadable;
    QString m_root; // the empty path of the root
    bool m_finished = false;
    bool m_cancelled = false;
};
