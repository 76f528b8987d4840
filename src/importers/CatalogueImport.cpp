#include "importers/CatalogueImport.h"

#include "sqlitewrapper/ArchiveEntryBatch.h"
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

CNullable<int> Int(const CNullable<qint64>& value)
{
    return value.IsNull() ? CNullable<int>() : CNullable<int>(static_cast<int>(value.Value()));
}

CNullable<QString> Text(const QString& value)
{
    return value.isEmpty() ? CNullable<QString>() : CNullable<QString>(value);
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
    CloseArchive();
    FlushFiles();
    const int discInfoId = m_db.AddDiscInfo(label, 0, 0);
    const int unitId = m_db.AddUnit(UnitKind::Disc, label, QString(), CategoryIds::General,
                                    m_storageId, 0, {}, 0, {}, {}, discInfoId, true);
    NoteAdded(unitId, unitId, WallClock(created));
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
    CloseArchive();
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
    if (item.ArchivePathLength > 0) {
        AddEntry(item);
        return;
    }
    CloseArchive();
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
    m_folderIndex.insert(key, MakeFolder(item.Path.last(), parent, item.Notes, CategoryOf(item),
                                         WallClock(item.Added)));
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
        index = MakeFolder(path[length - 1], parent, QString(), CategoryIds::General, QDateTime());
        m_folderIndex.insert(key, index);
    }
    m_hasLast = true;
    m_lastKey = key;
    m_lastIndex = index;
    return index;
}

int CCatalogueImport::MakeFolder(const QString& name, int parent, const QString& notes,
                                 int category, const QDateTime& added)
{
    Folder folder;
    folder.parent = parent;
    if (parent < 0) {
        folder.unitId = m_db.AddUnit(UnitKind::Folder, name, notes, category, m_storageId, 0, {}, 0,
                                     {}, {}, 0, true);
        m_topUnitIds.push_back(folder.unitId);
    } else {
        const int parentUnitId = m_folders[static_cast<size_t>(parent)].unitId;
        // The files gathered for the same folder go first, so that ids follow the list.
        if (!m_files.IsEmpty() && m_batchedParent == parentUnitId)
            FlushFiles();
        folder.unitId = m_db.AddUnit(UnitKind::Folder, name, QString(), category, m_storageId,
                                     parentUnitId, {}, 0, {}, {}, 0, false);
        if (!notes.isEmpty())
            m_db.SetUnitNotes(folder.unitId, notes);
        m_folders[static_cast<size_t>(parent)].folders += 1;
    }
    NoteAdded(folder.unitId, folder.unitId, added);
    ++m_folderCount;
    m_folders.push_back(folder);
    return static_cast<int>(m_folders.size()) - 1;
}

void CCatalogueImport::AddFile(const ImportedItem& item, int parent)
{
    const QString& name = item.Path.last();
    const qint64 size = std::max<qint64>(0, item.Size);
    const int category = CategoryOf(item);
    const CNullable<int> unitInfoId = AddMedia(category, item.Media);
    const bool archive = !item.ArchiveFormat.isEmpty();
    ++m_fileCount;
    if (parent < 0 || archive) {
        // Written on its own where its id is wanted: a unit directly in the storage, or
        // an archive its entries go below.
        FlushFiles();
        const int parentUnitId = parent < 0 ? 0 : m_folders[static_cast<size_t>(parent)].unitId;
        const int unitId = m_db.AddUnit(UnitKind::File, name, item.Notes, category, m_storageId,
                                        parentUnitId, unitInfoId, size, WallClock(item.Created),
                                        WallClock(item.Modified), 0, parent < 0);
        NoteAdded(unitId, unitId, WallClock(item.Added));
        if (parent < 0) {
            m_topUnitIds.push_back(unitId);
            m_topFileSizes.push_back(size);
        } else {
            m_folders[static_cast<size_t>(parent)].files += 1;
            m_folders[static_cast<size_t>(parent)].size += size;
        }
        if (archive)
            OpenArchive(unitId, Key(item.Path, static_cast<int>(item.Path.size())),
                        item.ArchiveFormat);
        return;
    }
    Folder& folder = m_folders[static_cast<size_t>(parent)];
    m_files.Add(name, m_storageId, folder.unitId, size, WallMsecs(item.Created),
                WallMsecs(item.Modified), category, unitInfoId, item.Notes);
    m_batchAdded.push_back(WallClock(item.Added));
    m_batchedParent = folder.unitId;
    folder.files += 1;
    folder.size += size;
    if (m_files.IsFull())
        FlushFiles();
}

void CCatalogueImport::FlushFiles()
{
    if (m_files.IsEmpty())
        return;
    m_files.Flush(m_db);
    // One statement's rows get consecutive ids, the last one being the last inserted.
    const int first = m_db.LastInsertId() - static_cast<int>(m_batchAdded.size()) + 1;
    for (size_t i = 0; i < m_batchAdded.size(); ++i) {
        const int id = first + static_cast<int>(i);
        NoteAdded(id, id, m_batchAdded[i]);
    }
    m_batchAdded.clear();
}

int CCatalogueImport::CategoryOf(const ImportedItem& item)
{
    if (!item.Category.isEmpty()) {
        auto it = m_categoryByName.constFind(item.Category);
        if (it == m_categoryByName.constEnd()) {
            int found = 0;
            for (const auto& [id, category] : m_db.Categories()) {
                if (category.Name == item.Category) {
                    found = id;
                    break;
                }
            }
            it = m_categoryByName.insert(item.Category, found);
        }
        if (it.value() > 0)
            return it.value();
    }
    return item.IsFolder ? CategoryIds::General : m_db.CategoryForFile(item.Path.last());
}

CNullable<int> CCatalogueImport::AddMedia(int category, const ImportedMedia& media)
{
    if (media.IsEmpty())
        return {};
    switch (category) {
    case CategoryIds::Film: {
        FilmInfo film;
        film.Duration = Int(media.Duration);
        film.Width = Int(media.Width);
        film.Height = Int(media.Height);
        film.Bitrate = Int(media.Bitrate);
        film.Codec = Text(media.Codec);
        return m_db.AddFilmInfo(film);
    }
    case CategoryIds::Music: {
        MusicInfo music;
        music.Duration = Int(media.Duration);
        music.Bitrate = Int(media.Bitrate);
        music.Artist = Text(media.Artist);
        music.Title = Text(media.Title);
        music.Album = Text(media.Album);
        music.Year = Int(media.Year);
        music.TrackNumber = Int(media.Track);
        music.Genre = Text(media.Genre);
        return m_db.AddMusicInfo(music);
    }
    case CategoryIds::Picture: {
        PictureInfo picture;
        picture.Width = Int(media.Width);
        picture.Height = Int(media.Height);
        return m_db.AddPictureInfo(picture);
    }
    default:
        return {};
    }
}

void CCatalogueImport::NoteAdded(int firstId, int lastId, const QDateTime& added)
{
    if (!added.isValid())
        return;
    if (m_addedLast >= m_addedFirst && firstId == m_addedLast + 1 && added == m_added) {
        m_addedLast = lastId;
        return;
    }
    WriteAdded();
    m_addedFirst = firstId;
    m_addedLast = lastId;
    m_added = added;
}

void CCatalogueImport::WriteAdded()
{
    if (m_addedLast < m_addedFirst)
        return;
    // The entries of a run must be in the table before their dates are.
    if (m_entryBatch)
        m_entryBatch->Flush(m_db);
    m_db.SetUnitsDateAdded(m_addedFirst, m_addedLast, m_added);
    m_addedLast = m_addedFirst - 1;
}

void CCatalogueImport::OpenArchive(int unitId, const QString& key, const QString& format)
{
    CloseArchive();
    Entry archive;
    archive.unitId = unitId;
    archive.format = format;
    m_entries.push_back(archive);
    m_archiveKey = key;
    // Entries carry their ids, handed out from the first free one: nothing else is
    // written until the archive is closed.
    m_entryBatch = std::make_unique<CArchiveEntryBatch>(m_db.NextUnitId(), m_storageId);
}

void CCatalogueImport::AddEntry(const ImportedItem& item)
{
    const int base = item.ArchivePathLength;
    const int length = static_cast<int>(item.Path.size());
    // Entries of an archive that did not come in (none in our own export): left out.
    if (m_entries.empty() || length <= base || Key(item.Path, base) != m_archiveKey)
        return;
    const int parent = EntryParent(item.Path, length - 1, base);
    if (item.IsFolder) {
        const QString key = Key(item.Path, length);
        if (!m_entryIndex.contains(key))
            m_entryIndex.insert(key, MakeEntry(item.Path.last(), parent, true, 0, item.Modified,
                                               CategoryOf(item), QString()));
        NoteAdded(m_entries[static_cast<size_t>(m_entryIndex.value(key))].unitId,
                  m_entries[static_cast<size_t>(m_entryIndex.value(key))].unitId,
                  WallClock(item.Added));
        return;
    }
    const int index = MakeEntry(item.Path.last(), parent, false, std::max<qint64>(0, item.Size),
                                item.Modified, CategoryOf(item), item.ArchiveFormat);
    // A nested archive's entries are found below it by path.
    if (!item.ArchiveFormat.isEmpty())
        m_entryIndex.insert(Key(item.Path, length), index);
    const int unitId = m_entries[static_cast<size_t>(index)].unitId;
    NoteAdded(unitId, unitId, WallClock(item.Added));
}

int CCatalogueImport::EntryParent(const QStringList& path, int length, int base)
{
    if (length == base)
        return 0;
    const QString key = Key(path, length);
    const auto it = m_entryIndex.constFind(key);
    if (it != m_entryIndex.constEnd())
        return it.value();
    const int parent = EntryParent(path, length - 1, base);
    const int index =
        MakeEntry(path[length - 1], parent, true, 0, QDateTime(), CategoryIds::General, QString());
    m_entryIndex.insert(key, index);
    return index;
}

int CCatalogueImport::MakeEntry(const QString& name, int parent, bool isFolder, qint64 size,
                                const QDateTime& modified, int category, const QString& format)
{
    Entry entry;
    entry.unitId = m_entryBatch->Add(m_entries[static_cast<size_t>(parent)].unitId, name, isFolder,
                                     size, WallMsecs(modified), category);
    entry.parent = parent;
    entry.format = format;
    // Every archive above counts the entry; only the nearest one its size.
    bool nearest = true;
    for (int above = parent; above >= 0; above = m_entries[static_cast<size_t>(above)].parent) {
        Entry& archive = m_entries[static_cast<size_t>(above)];
        if (archive.format.isEmpty())
            continue;
        archive.entries += 1;
        if (nearest && !isFolder)
            archive.uncompressed += size;
        nearest = false;
    }
    m_entries.push_back(entry);
    if (m_entryBatch->IsFull())
        m_entryBatch->Flush(m_db);
    return static_cast<int>(m_entries.size()) - 1;
}

void CCatalogueImport::CloseArchive()
{
    if (m_entries.empty())
        return;
    m_entryBatch->Flush(m_db);
    for (const Entry& archive : m_entries) {
        if (!archive.format.isEmpty())
            m_db.AddArchiveInfo(archive.unitId, archive.format, archive.entries,
                                archive.uncompressed);
    }
    WriteAdded();
    m_entryBatch.reset();
    m_entries.clear();
    m_entryIndex.clear();
    m_archiveKey.clear();
}

void CCatalogueImport::Finish()
{
    CloseArchive();
    FlushFiles();
    WriteAdded();
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
