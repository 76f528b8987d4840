#pragma once

#include "listers/FolderLister.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <vector>

// A folder tree in memory for what a real disc cannot easily give: a folder that fails
// to open or breaks off, a folder that leads back to an ancestor, and a hook that runs
// on the scanner's thread before each entry is handed over and once after a listing has
// run to its end (index = the number of entries). Unknown paths fail with ENOENT.
class FakeFolderLister final : public FolderLister
{
public:
    using Hook = std::function<void(const QString& folder, int index)>;

    // Names ending in '/' are folders; the others are files of one byte.
    void AddFolder(const QString& path, quint64 inode, const QStringList& entries);
    // The folder cannot be opened (afterEntries < 0), or reading it breaks off after
    // that many entries; either way List returns code.
    void FailFolder(const QString& path, int code, int afterEntries = -1);
    void SetHook(Hook hook) { m_hook = std::move(hook); }

    int List(const QString& path, const OpenedCallback& opened,
             const EntryCallback& entry) override;

private:
    struct Folder
    {
        FolderIdentity Identity;
        std::vector<FindData> Entries;
        int Code = 0;
        int AfterEntries = -1;
    };

    std::map<QString, Folder> m_folders;
    Hook m_hook;
};
