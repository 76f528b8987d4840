#include "listers/ArchiveContents.h"

#include <QStringList>

int ArchiveContents::Child(int parent, const QString& name, bool isFolder)
{
    if (isFolder) {
        const auto known = m_folders.constFind(qMakePair(parent, name));
        if (known != m_folders.cend())
            return *known;
    }
    Entry entry;
    entry.Name = name;
    entry.Parent = parent;
    entry.IsFolder = isFolder;
    const int index = Count();
    m_entries.push_back(std::move(entry));
    if (isFolder)
        m_folders.insert(qMakePair(parent, name), index);
    return index;
}

int ArchiveContents::Add(int parent, const QString& path, bool isFolder, quint64 size,
                         qint64 lastWriteTime)
{
    // Entries mostly come folder by folder: the folder the last path named is kept, and
    // a path in the same folder (the same text before its last '/') needs no splitting.
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const QStringView name = QStringView(path).mid(slash + 1);
    const bool plainName = !name.isEmpty() && name != u"." && name != u"..";
    int index = -1;
    if (plainName && slash > 0 && parent == m_lastParent &&
        QStringView(path).left(slash) == m_lastFolderPath) {
        index = Child(m_lastFolder, name.toString(), isFolder);
    } else {
        QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        parts.removeAll(QStringLiteral("."));
        parts.removeAll(QStringLiteral(".."));
        if (parts.isEmpty())
            return -1;
        int folder = parent;
        for (qsizetype i = 0; i + 1 < parts.size(); ++i)
            folder = Child(folder, parts[i], true);
        index = Child(folder, parts.last(), isFolder);
        if (plainName && slash > 0) {
            m_lastParent = parent;
            m_lastFolderPath = path.left(slash);
            m_lastFolder = folder;
        }
    }
    Entry& entry = m_entries[static_cast<size_t>(index)];
    entry.LastWriteTime = lastWriteTime;
    if (!isFolder) {
        entry.Size = size;
        m_uncompressed += size;
    }
    return index;
}

void ArchiveContents::AddNested(int entry, const QString& format, const ArchiveContents& inner)
{
    NestedArchive nested;
    nested.Entry = entry;
    nested.Format = format;
    nested.Entries = inner.Count();
    nested.UncompressedSize = inner.UncompressedSize();
    m_entries[static_cast<size_t>(entry)].Nested = static_cast<int>(m_nested.size());
    m_nested.push_back(nested);
    const int offset = Count();
    const int nestedOffset = static_cast<int>(m_nested.size());
    for (Entry moved : inner.m_entries) {
        moved.Parent = moved.Parent < 0 ? entry : moved.Parent + offset;
        if (moved.Nested >= 0)
            moved.Nested += nestedOffset;
        m_entries.push_back(std::move(moved));
    }
    for (NestedArchive deeper : inner.m_nested) {
        deeper.Entry += offset;
        m_nested.push_back(std::move(deeper));
    }
}

int ArchiveContents::CountBelow(int entry) const
{
    if (entry < 0)
        return Count();
    // Parents stand before their children, so one pass down the list finds them all.
    std::vector<char> below(m_entries.size(), 0);
    int count = 0;
    for (size_t i = static_cast<size_t>(entry) + 1; i < m_entries.size(); ++i) {
        const int parent = m_entries[i].Parent;
        if (parent == entry || (parent >= 0 && below[static_cast<size_t>(parent)])) {
            below[i] = 1;
            ++count;
        }
    }
    return count;
}

void ArchiveContents::Clear()
{
    m_entries.clear();
    m_nested.clear();
    m_folders.clear();
    m_uncompressed = 0;
    m_lastParent = kNoFolder;
    m_lastFolderPath.clear();
    m_lastFolder = -1;
}
