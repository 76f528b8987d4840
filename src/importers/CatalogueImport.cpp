#include "importers/CatalogueImport.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QTimeZone>

#include <algorithm>

namespace {

constexpr qint64 kCancelEvery = 256;
constexpr qint64 kProgressEvery = 4096;

qint64 WallMsecs(const QDateTime& time)
{
    return time.isValid() ? CCatalogueImport::WallClock(time).toMSecsSinceEpoch()
                          : CFileInsertBatch::kNoDate;
}

} // namespace

CCatalogueImport::CCatalogueImport(CSqliteWrapper& db, int storageId)
    : m_db(db), m_storageId(storageId)
{
}

CCatalogueImport::~CCatalogueImport() = default;

QDateTime CCatalogueImport::WallClock(const QDateTime& time)
{
    if (!time.isValid())
        return QDateTime();
    // A time given in local time is already the reading; one in UTC (or any other
    // zone) becomes the local reading of the same instant, as a scan stores it.
    const QDateTime local = time.timeSpec() == Qt::LocalTime ? time : time.toLocalTime();
    return QDateTime(local.date(), local.time(), QTimeZone::utc());
}

QString CCatalogueImport::Key(const QStringList& path, int length)
{
    // A character no file name holds keeps "a/b" + "c" apart from "a" + "b/c".
    QString key;
    for (int i = 0; i < length; ++i) {
        if (i > 0)
            key += QChar(0);
        key += path[i];
    }
    return key;
}

void CCatalogueImport::BeginDisc(const QString& label, const QDateTime& created)
{
    FlushFiles();
    const int discInfoId = m_db.AddDiscInfo(label, 0, 0);
    const int unitId = m_db.AddUnit(UnitKind::Disc, label, QString(), CategoryIds::General,
                                    m_storageId, 0, {}, 0, {}, {}, discInfoId, true);
    if (created.isValid())
        m_db.SetUnitDateAdded(unitId, WallClock(created));
    Folder disc;
    disc.unitId = unitId;
    m_disc = static_cast<int>(m_folders.size());
    m_folders.push_back(disc);
    m_folderIndex.clear();
    m_hasLast = false;
    m_topUnitIds.push_back(unitId);
    ++m_discs;
}

void CCatalogueImport::SetDiscNotes(const QString& notes)
{
    if (m_disc >= 0 && !notes.isEmpty())
        m_db.SetUnitNotes(m_folders[static_cast<size_t>(m_disc)].unitId, notes);
}

void CCatalogueImport::EndDisc()
{
    FlushFiles();
    m_disc = -1;
    m_folderIndex.clear();
    m_hasLast = false;
}

void CCatalogueImport::Item(const ImportedItem& item)
{
    ++m_items;
    if (m_cancel && m_items % kCancelEvery == 0 && m_cancel->load() == 1)
        throw ImportCancelled();
    if (m_progress && m_items % kProgressEvery == 0)
        m_progress();
    if (item.Path.isEmpty())
        return;
    const int length = static_cast<int>(item.Path.size());
    const int parent = FolderIndex(item.Path, length - 1);
    if (!item.IsFolder) {
        AddFile(item, parent);
        return;
    }
    const QString key = Key(item.Path, length);
    const auto it = m_folderIndex.constFind(key);
    if (it != m_folderIndex.constEnd()) {
        // Made before for an item inside it, or listed twice: only its notes are news.
        if (!item.Notes.isEmpty())
            m_db.SetUnitNotes(m_folders[static_cast<size_t>(it.value())].unitId, item.Notes);
        return;
    }
    m_folderIndex.insert(key, MakeFolder(item.Path.last(), parent, item.Notes));
}

int CCatalogueImport::FolderIndex(const QStringList& path, int length)
{
    if (length == 0)
        return m_disc;
    const QString key = Key(path, length);
    if (m_hasLast && key == m_lastKey)
        return m_lastIndex;
    int index = 0;
    const auto it = m_folderIndex.constFind(key);
    if (it != m_folderIndex.constEnd()) {
        index = it.value();
    } else {
        const int parent = FolderIndex(path, length - 1);
        index = MakeFolder(path[length - 1], parent, QString());
        m_folderIndex.insert(key, index);
    }
    m_hasLast = true;
    m_lastKey = key;
    m_lastIndex = index;
    return index;
}

int CCatalogueImport::MakeFolder(const QString& name, int parent, const QString& notes)
{
    Folder folder;
    folder.parent = parent;
    if (parent < 0) {
        folder.unitId = m_db.AddUnit(UnitKind::Folder, name, notes, CategoryIds::General,
                                     m_storageId, 0, {}, 0, {}, {}, 0, true);
        m_topUnitIds.push_back(folder.unitId);
    } else {
        const int parentUnitId = m_folders[static_cast<size_t>(parent)].unitId;
        // The files gathered for the same folder go first, so that ids follow the list.
        if (!m_files.IsEmpty() && m_batchedParent == parentUnitId)
            FlushFiles();
        folder.unitId = m_db.AddUnit(UnitKind::Folder, name, QString(), CategoryIds::General,
                                     m_storageId, parentUnitId, {}, 0, {}, {}, 0, false);
        if (!notes.isEmpty())
            m_db.SetUnitNotes(folder.unitId, notes);
        m_folders[static_cast<size_t>(parent)].folders += 1;
    }
    ++m_folderCount;
    m_folders.push_back(folder);
    return static_cast<int>(m_folders.size()) - 1;
}

void CCatalogueImport::AddFile(const ImportedItem& item, int parent)
{
    const QString& name = item.Path.last();
    const qint64 size = std::max<qint64>(0, item.Size);
    const int category = m_db.CategoryForFile(name);
    ++m_fileCount;
    if (parent < 0) {
        const int unitId =
            m_db.AddUnit(UnitKind::File, name, item.Notes, category, m_storageId, 0, {}, size,
                         WallClock(item.Created), WallClock(item.Modified), 0, true);
        m_topUnitIds.push_back(unitId);
        m_topFileSizes.push_back(size);
        return;
    }
    Folder& folder = m_folders[static_cast<size_t>(parent)];
    m_files.Add(name, m_storageId, folder.unitId, size, WallMsecs(item.Created),
                WallMsecs(item.Modified), category, {}, item.Notes);
    m_batchedParent = folder.unitId;
    folder.files += 1;
    folder.size += size;
    if (m_files.IsFull())
        FlushFiles();
}

void CCatalogueImport::FlushFiles()
{
    m_files.Flush(m_db);
}

void CCatalogueImport::Finish()
{
    FlushFiles();
    // Each folder's own entries were counted as they came; a subtree's totals go up,
    // children first: a folder always comes after its parent.
    for (size_t i = m_folders.size(); i-- > 0;) {
        const Folder& child = m_folders[i];
        if (child.parent < 0)
            continue;
        Folder& parent = m_folders[static_cast<size_t>(child.parent)];
        parent.files += child.files;
        parent.folders += child.folders;
        parent.size += child.size;
    }
    for (const Folder& folder : m_folders)
        m_db.SetUnitTotals(folder.unitId, static_cast<int>(folder.files),
                           static_cast<int>(folder.folders), folder.size, folder.parent < 0);
    for (const qint64 size : m_topFileSizes)
        m_db.AddFileToStorage(m_storageId, size);
}
