#include "acquisition/UnitUpdate.h"

#include "acquisition/ArchiveReadPool.h"
#include "acquisition/ArchiveWriter.h"
#include "document/ShelfwiseDoc.h"
#include "media/MediaDetails.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace {

using Kind = CChangeList::Kind;

bool HasMediaTable(int categoryId)
{
    return categoryId >= CategoryIds::Film && categoryId <= CategoryIds::Picture;
}

QString NameOf(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString ParentOf(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : path.left(slash);
}

// The catalogue's date text back as the wall-clock time AddUnit writes.
QDateTime WallClock(const QString& text)
{
    if (text.isEmpty())
        return {};
    QDateTime time = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    time.setTimeSpec(Qt::UTC);
    return time;
}

} // namespace

CUnitUpdate::CUnitUpdate(CShelfwiseDoc& doc)
    : m_doc(doc), m_readerFactory(&CreateMediaDetailsReader),
      m_thumbnails(Settings::Instance().KeepThumbnails),
      m_archives(Settings::Instance().LookInsideArchives)
{
}

QString CUnitUpdate::AnotherDiscQuestion(CSqliteWrapper& db, int unitId, const VolumeInfo& found,
                                         const QString& sourcePath)
{
    if (db.GetUnit(unitId).Kind != UnitKind::Disc || found.IsEmpty())
        return {};
    const DiscDetails disc = db.GetDiscProperties(unitId);
    if (disc.Label.isEmpty() && disc.SerialNumber == 0)
        return {};
    if (disc.Label == found.Label && disc.SerialNumber == found.SerialNumber)
        return {};
    return QCoreApplication::translate(
               "CUnitUpdate", "This looks like another disc: \"%1\" is catalogued with the label "
                              "\"%2\" and serial number %3, but %4 has the label \"%5\" and "
                              "serial number %6.")
        .arg(disc.UnitName, disc.Label)
        .arg(disc.SerialNumber)
        .arg(QDir::toNativeSeparators(sourcePath), found.Label)
        .arg(found.SerialNumber);
}

bool CUnitUpdate::Apply(int unitId, const CChangeList& changes, const QString& sourcePath,
                        const QString& mountPoint)
{
    m_record = UnitUpdateRecord();
    m_record.UnitID = unitId;
    m_record.UpdatedAt = QDateTime::currentDateTimeUtc();
    m_record.Added = changes.Count(Kind::Added);
    m_record.Removed = changes.Count(Kind::Removed);
    m_record.Changed = changes.Count(Kind::Changed);
    m_record.Moved = changes.Count(Kind::Moved);
    m_record.Unreadable = changes.Count(Kind::Unreadable);
    if (!changes.HasChanges())
        return true;

    CSqliteWrapper& db = m_doc.Database();
    QString name;
    bool singleFile = false;
    if (!m_doc.Guard([&] {
            const UnitListItem top = db.GetUnit(unitId);
            name = top.UnitName;
            singleFile = top.Kind == UnitKind::File;
            m_categories.assign(changes.Entries().size(), CategoryIds::General);
            for (size_t i = 0; i < changes.Entries().size(); ++i) {
                const CChangeList::Change& change = changes.Entries()[i];
                if (change.IsFolder)
                    continue;
                if (change.What == Kind::Added)
                    m_categories[i] = db.CategoryForFile(NameOf(change.Path));
                else if (change.What == Kind::Changed)
                    m_categories[i] = db.GetUnit(change.UnitId).CategoryID;
            }
        }))
        return false;
    ReadMedia(changes, sourcePath);
    ReadArchives(changes, sourcePath, singleFile);

    const QString description =
        QCoreApplication::translate("CUnitUpdate", "Update \"%1\"").arg(name);
    return m_doc.ApplyEdit(description, m_doc.UnitSubject(unitId), [&](CSqliteWrapper& edited) {
        Write(edited, unitId, changes);
        UnitSource source;
        source.UnitID = unitId;
        source.SourcePath = sourcePath;
        source.MountPoint = mountPoint;
        source.ScannedAt = m_record.UpdatedAt;
        edited.SetUnitSource(source);
        edited.AddUnitUpdate(m_record);
    });
}

void CUnitUpdate::ReadMedia(const CChangeList& changes, const QString& sourcePath)
{
    m_media.assign(changes.Entries().size(), MediaRecord());
    if (!m_readerFactory || !QFileInfo(sourcePath).isDir())
        return; // a file on its own is read below; an image's files are not on disk
    MediaReadPool pool(m_readerFactory, MediaReadPool::DefaultThreads(), m_thumbnails);
    std::vector<std::pair<size_t, MediaReadPool::JobPtr>> jobs;
    const QDir root(sourcePath);
    for (size_t i = 0; i < changes.Entries().size(); ++i) {
        const CChangeList::Change& change = changes.Entries()[i];
        const bool written = change.What == Kind::Added || change.What == Kind::Changed;
        if (change.IsFolder || !written || !change.LinkTarget.isEmpty() ||
            !HasMediaTable(m_categories[i]))
            continue;
        jobs.emplace_back(i, pool.Submit(root.filePath(change.Path), m_categories[i]));
    }
    for (auto& [index, job] : jobs) {
        pool.WaitFor(job, -1);
        m_media[index] = pool.Take(job);
    }
}

void CUnitUpdate::ReadArchives(const CChangeList& changes, const QString& sourcePath,
                               bool singleFile)
{
    m_listings.clear();
    m_listings.resize(changes.Entries().size());
    // A disc image's files are not on disk: only a folder's, or a file's own.
    if (!m_archives || !(singleFile || QFileInfo(sourcePath).isDir()))
        return;
    std::unique_ptr<ArchiveReadPool> pool;
    std::vector<std::pair<size_t, ArchiveReadPool::JobPtr>> jobs;
    const QDir root(sourcePath);
    for (size_t i = 0; i < changes.Entries().size(); ++i) {
        const CChangeList::Change& change = changes.Entries()[i];
        const bool written = change.What == Kind::Added || change.What == Kind::Changed;
        if (change.IsFolder || !written || !change.LinkTarget.isEmpty() ||
            !ArchiveLister::HasArchiveName(NameOf(change.Path)))
            continue;
        if (!pool)
            pool = std::make_unique<ArchiveReadPool>(2);
        const QString path = singleFile ? sourcePath : root.filePath(change.Path);
        jobs.emplace_back(i, pool->Submit(path));
    }
    for (auto& [index, job] : jobs) {
        pool->WaitFor(job, -1);
        m_listings[index] = pool->Take(job);
        CArchiveWriter::ReportErrors(singleFile ? sourcePath
                                                : root.filePath(changes.Entries()[index].Path),
                                     m_listings[index]);
    }
}

void CUnitUpdate::Write(CSqliteWrapper& db, int unitId, const CChangeList& changes)
{
    const StorageShare before = db.GetStorageShare(unitId);
    const UnitListItem top = db.GetUnit(unitId);
    const int storageId = db.GetUnitStorageId(unitId);
    // A disc's files without a creation time take their last-write time, as an
    // addition of a disc writes them.
    const bool isDisc = top.Kind == UnitKind::Disc;

    // Folders by their path on the source: those found again, then those added. The
    // walk lists a folder before what lies in it, and the changes keep that order.
    QHash<QString, int> folders;
    folders.insert(QString(), unitId);
    const auto parentOf = [&](const QString& path) {
        return folders.value(ParentOf(path), unitId);
    };
    std::vector<int> removed;
    CArchiveWriter archives;
    for (size_t i = 0; i < changes.Entries().size(); ++i) {
        const CChangeList::Change& change = changes.Entries()[i];
        const QString name = NameOf(change.Path);
        switch (change.What) {
        case Kind::Unchanged:
        case Kind::Unreadable:
        case Kind::Changed:
            if (change.IsFolder && change.UnitId != 0)
                folders.insert(change.Path, change.UnitId);
            if (!change.OldPath.isEmpty() && change.UnitId != unitId)
                db.RenameUnit(change.UnitId, name);
            if (change.What == Kind::Changed) {
                const QString created =
                    change.NewCreated.isEmpty() && isDisc ? change.NewDate : change.NewCreated;
                db.SetFileContents(change.UnitId, change.NewSize, WallClock(created),
                                   WallClock(change.NewDate), AddMediaRow(db, m_media[i]));
                // The old picture's thumbnail goes, the new one's (if any) replaces it.
                if (m_categories[i] == CategoryIds::Picture)
                    db.SetThumbnail(change.UnitId, m_media[i].thumbnail);
                // A changed archive's entries are read again.
                if (!change.IsFolder && ArchiveLister::HasArchiveName(name)) {
                    db.DeleteArchiveEntries(change.UnitId);
                    archives.Write(db, change.UnitId, storageId, m_listings[i]);
                }
            }
            break;
        case Kind::Added:
            if (change.IsFolder) {
                folders.insert(change.Path,
                               db.AddUnit(UnitKind::Folder, name, QString(), CategoryIds::General,
                                          storageId, parentOf(change.Path), {}, 0, {}, {}, 0,
                                          false));
            } else {
                const QString created =
                    change.NewCreated.isEmpty() && isDisc ? change.NewDate : change.NewCreated;
                const QString notes = change.LinkTarget.isEmpty()
                                          ? QString()
                                          : QStringLiteral("-> ") + change.LinkTarget;
                const int fileId =
                    db.AddUnit(UnitKind::File, name, notes, m_categories[i], storageId,
                               parentOf(change.Path), AddMediaRow(db, m_media[i]), change.NewSize,
                               WallClock(created), WallClock(change.NewDate), 0, false);
                if (!m_media[i].thumbnail.IsEmpty())
                    db.SetThumbnail(fileId, m_media[i].thumbnail);
                archives.Write(db, fileId, storageId, m_listings[i]);
            }
            break;
        case Kind::Moved:
            db.MoveUnit(change.UnitId, parentOf(change.Path), name);
            break;
        case Kind::Removed:
            removed.push_back(change.UnitId);
            // The tree compared leaves archives' entries out: they go with their archive.
            if (!change.IsFolder && ArchiveLister::HasArchiveName(name))
                db.DeleteArchiveEntries(change.UnitId);
            break;
        }
    }
    // Last, once the files moved out of removed folders have their new folders.
    db.DeleteUnitRows(removed);
    db.RecountSubtree(unitId, before);

    const StorageShare after = db.GetStorageShare(unitId);
    m_record.FilesBefore = before.Files;
    m_record.SizeBefore = before.Size;
    m_record.FilesAfter = after.Files;
    m_record.SizeAfter = after.Size;
}
