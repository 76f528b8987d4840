#pragma once

#include "listers/DiscImageLister.h"
#include "listers/FolderLister.h"

#include <QHash>
#include <QString>
#include <QtGlobal>

#include <algorithm>
#include <vector>

// What the listers of a file system held inside one file share (the ISO 9660 and UDF
// image listers; an archive's lister would be one more):
// - the file's own path stands for the root and "<file>/A/B" for the folder A/B inside
//   it, as the scanner builds them; a relative path and the clean path resolve alike;
// - a folder the scanner has been given is found again by its path without reading its
//   parents; one it has not been given yet is found one level at a time;
// - a folder's entries are listed by name (FolderLister::NameLess), as a folder on a
//   disk is listed, whatever order the file system keeps them in.
//
// Key is where the file system reads a folder from (a path inside the image, the
// place of its file entry). A subclass opens the file and reads one folder.
template <typename Key> class ContainerLister : public FolderLister
{
public:
    int List(const QString& path, const OpenedCallback& opened, const EntryCallback& entry) final;
    /// ISO 9660, Joliet and UDF names are compared without regard to case.
    bool IgnoresCase(const QString& path) final
    {
        Q_UNUSED(path)
        return true;
    }

    /// Opens the file (once): 0, or the error listings would give, e.g. for a file
    /// without the file system this lister reads.
    int Open() { return OpenContainer(); }

protected:
    struct Entry
    {
        FindData Data;
        Key Folder{}; // where a folder entry is read from; unused for other entries
    };
    struct Folder
    {
        bool Opened = false;  // the folder itself was found and is a folder
        quint64 Identity = 0; // its place in the file, told to the scanner
        std::vector<Entry> Entries;
    };

    explicit ContainerLister(const QString& containerPath)
        : m_containerPath(DiscImageLister::CleanImagePath(containerPath))
    {
    }

    /// The file's path, absolute and clean.
    const QString& ContainerPath() const { return m_containerPath; }

    /// Opens the file on first use: 0, or the error.
    virtual int OpenContainer() = 0;
    /// Where the root folder is read from (the file is open).
    virtual Key RootKey() const = 0;
    /// Reads the folder at key into folder: 0, or the error that stopped it. Entries read
    /// before an error stay; Opened says whether the folder itself could be read.
    virtual int ReadFolder(const Key& key, Folder* folder) const = 0;

private:
    // Where the folder at relative ("" for the root, "A/B") is read from: 0, or the error.
    int Resolve(const QString& relative, Key* key);

    QString m_containerPath;
    // Folders already listed or resolved: relative path -> where they are read from.
    QHash<QString, Key> m_folders;
};

template <typename Key>
int ContainerLister<Key>::List(const QString& path, const OpenedCallback& opened,
                               const EntryCallback& entry)
{
    QString relative;
    if (!DiscImageLister::RelativePath(m_containerPath, path, &relative))
        return DiscImageLister::kNotFound;
    if (const int error = OpenContainer())
        return error;
    Key key{};
    if (const int error = Resolve(relative, &key))
        return error;
    Folder folder;
    const int error = ReadFolder(key, &folder);
    if (!folder.Opened)
        return error;

    FolderIdentity identity;
    identity.Inode = folder.Identity;
    identity.Known = true;
    if (!opened(identity))
        return 0;
    std::sort(folder.Entries.begin(), folder.Entries.end(), [](const Entry& a, const Entry& b) {
        return FolderLister::NameLess(a.Data.FileName, b.Data.FileName);
    });
    const QString prefix = relative.isEmpty() ? QString() : relative + QLatin1Char('/');
    for (const Entry& item : folder.Entries) {
        if (item.Data.IsDirectory())
            m_folders.insert(prefix + item.Data.FileName, item.Folder);
        if (!entry(item.Data))
            return 0;
    }
    return error;
}

template <typename Key> int ContainerLister<Key>::Resolve(const QString& relative, Key* key)
{
    if (relative.isEmpty()) {
        *key = RootKey();
        return 0;
    }
    const auto known = m_folders.constFind(relative);
    if (known != m_folders.cend()) {
        *key = *known;
        return 0;
    }
    const int slash = relative.lastIndexOf(QLatin1Char('/'));
    const QString name = relative.mid(slash + 1);
    Key parent{};
    if (const int error = Resolve(slash < 0 ? QString() : relative.left(slash), &parent))
        return error;
    Folder folder;
    const int error = ReadFolder(parent, &folder);
    for (const Entry& item : folder.Entries) {
        if (item.Data.FileName != name)
            continue;
        if (!item.Data.IsDirectory())
            return DiscImageLister::kNotAFolder;
        *key = item.Folder;
        m_folders.insert(relative, *key);
        return 0;
    }
    return error != 0 ? error : DiscImageLister::kNotFound;
}
