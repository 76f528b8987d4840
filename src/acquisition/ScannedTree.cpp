#include "acquisition/ScannedTree.h"

const QString& ScannedTree::PathOf(quint32 id) const
{
    if (id == 0 || id > m_entries.size())
        return m_root;
    return m_entries[id - 1].Path;
}

void ScannedTree::PushBatch(std::vector<SubunitInfo>& records)
{
    for (const SubunitInfo& record : records) {
        // A walk numbers its records 1, 2, 3... in the order it hands them over.
        if (record.ID != m_entries.size() + 1)
            continue;
        Entry entry;
        const QString& parent = PathOf(record.ParentID);
        entry.Path = parent.isEmpty() ? record.Data.FileName
                                      : parent + QLatin1Char('/') + record.Data.FileName;
        entry.Size = record.Data.Size;
        entry.Modified = record.Data.LastWriteTime;
        entry.Created = record.Data.CreationTime;
        entry.Link = record.Data.Link;
        entry.IsFolder = !record.IsFile();
        m_entries.push_back(std::move(entry));
    }
    records.clear();
}

void ScannedTree::AddUnreadableFolder(quint32 folderId, const QString& path, int error)
{
    Q_UNUSED(path)
    m_unreadable.push_back({PathOf(folderId), error});
}
