#include "FakeFolderLister.h"

#include <cerrno>

void FakeFolderLister::AddFolder(const QString& path, quint64 inode, const QStringList& entries)
{
    Folder& folder = m_folders[path];
    folder.Identity.Device = 1;
    folder.Identity.Inode = inode;
    folder.Identity.Known = true;
    for (const QString& name : entries) {
        FindData data;
        data.FileName = name;
        if (name.endsWith(QLatin1Char('/'))) {
            data.FileName.chop(1);
            data.Attributes = FindData::kDirectory;
        } else {
            data.Size = 1;
        }
        folder.Entries.push_back(data);
    }
}

void FakeFolderLister::FailFolder(const QString& path, int code, int afterEntries)
{
    m_folders[path].Code = code;
    m_folders[path].AfterEntries = afterEntries;
}

int FakeFolderLister::List(const QString& path, const OpenedCallback& opened,
                           const EntryCallback& entry)
{
    const auto found = m_folders.find(path);
    if (found == m_folders.end())
        return ENOENT;
    const Folder& folder = found->second;
    if (folder.Code != 0 && folder.AfterEntries < 0)
        return folder.Code;
    if (!opened(folder.Identity))
        return 0;
    const int count = static_cast<int>(folder.Entries.size());
    for (int index = 0; index < count; ++index) {
        if (folder.Code != 0 && index == folder.AfterEntries)
            return folder.Code;
        if (m_hook)
            m_hook(path, index);
        if (!entry(folder.Entries[static_cast<size_t>(index)]))
            return 0;
    }
    if (m_hook)
        m_hook(path, count);
    return 0;
}
