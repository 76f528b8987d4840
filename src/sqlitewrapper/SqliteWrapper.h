#pragma once

#include "sqlitewrapper/ExportRecord.h"
#include "sqlitewrapper/FileCopyRecords.h"
#include "sqlitewrapper/FoundUnit.h"
#include "sqlitewrapper/Records.h"
#include "sqlitewrapper/SearchCriteria.h"
#include "sqlitewrapper/SqlText.h"
#include "sqlitewrapper/SqliteWrapperError.h"
#include "sqlitewrapper/StatisticsRecords.h"
#include "sqlitewrapper/ThumbnailRecord.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <sqlite3.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

// SQLite's session object, declared by sqlite3.h only where the session extension is
// compiled in (ChangeRecording.cpp).
struct sqlite3_session;

// The one object through which every SQL statement reaches a catalogue: one
// connection, the caches of the categories and of the extension map, and the
// catalogue's read, write and search operations. Statements are complete SQL text
// run with sqlite3_exec; every failure is raised as CSqliteWrapperError.
//
// The object has no lock. The caller keeps other work off the catalogue while a
// worker thread uses it.
class CSqliteWrapper final
{
public:
    // The source files named by the errors this layer raises.
    static const QString kImplementationFile;
    static const QString kHeaderFile;

    template <typename Record> using RowMapper = void (*)(std::vector<Record>&, int, char**);

    CSqliteWrapper() = default;
    ~CSqliteWrapper();
    CSqliteWrapper(const CSqliteWrapper&) = delete;
    CSqliteWrapper& operator=(const CSqliteWrapper&) = delete;

    // Connection
    void Open(const QString& path, bool fatal);
    // Opens the file itself for reading only: every write fails, nothing is created.
    void OpenForReading(const QString& path);
    void Close();
    // Stops the statement running on the connection at its next step; it fails with
    // SQLITE_INTERRUPT. The one call another thread may make while a worker uses the
    // connection (a Cancel button's).
    void Interrupt();
    bool IsOpen() const { return m_db != nullptr; }
    // Lets SQLite hand writes to the system without waiting for the disk ("PRAGMA
    // synchronous = OFF"): for a disposable copy, never for the user's file.
    void SkipDiskSync();
    // Rebuilds the catalogue file without its free pages ("VACUUM").
    void Compact();

    // Statements
    void Execute(const QString& sql);
    // The same for a statement already in UTF-8 (built without QString on a hot path).
    void ExecuteUtf8(const std::string& sql);
    template <typename Record>
    void QueryRows(const QString& sql, std::vector<Record>& rows, RowMapper<Record> mapper);
    void ExecuteInTransaction(const std::vector<QString>& statements);
    void RollbackTransaction();
    // True while an explicit transaction is open (sqlite3_get_autocommit is off).
    bool InTransaction() const;
    int LastInsertId() const;

    // Listings are ordered by name (case-insensitive) when set, by insertion otherwise.
    void SetSortByName(bool sortByName) { m_sortByName = sortByName; }
    bool SortByName() const { return m_sortByName; }

    // Reading
    QString GetDatabaseVersion();
    void GetStorageList(std::vector<StorageListItem>& items);
    void GetStorages(std::vector<StorageRecord>& records);
    // Ordered by name whatever SortByName says (a report lists them so).
    void GetStoragesByName(std::vector<StorageRecord>& records);
    StorageRecord GetStorage(int storageId);
    void GetSubunits(std::vector<UnitListItem>& items, int id, bool topLevel);
    // The stored DateModified of the units GetSubunits lists, by UnitID; a unit
    // without one is left out.
    void GetSubunitDates(std::map<int, QString>& dates, int id, bool topLevel);
    UnitListItem GetUnit(int unitId);
    DiscDetails GetDiscProperties(int unitId);
    FolderDetails GetFolderProperties(int unitId);
    FileDetails GetFileProperties(int unitId);
    // False when the unit has no row in that media table.
    bool GetFilmInfo(int unitId, FilmInfo& info);
    bool GetMusicInfo(int unitId, MusicInfo& info);
    bool GetPictureInfo(int unitId, PictureInfo& info);
    int GetUnitStorageId(int unitId);
    bool UnitExists(int unitId);
    // Archives (ArchiveQueries.cpp). GetArchiveInfo is false when the unit is no
    // archive (or the catalogue, one before version 1.5, has no ArchiveInfo table);
    // IsInsideArchive is true for an archive's entries ('d' and 'f' units).
    bool GetArchiveInfo(int unitId, ArchiveDetails& details);
    bool IsInsideArchive(int unitId);
    // The unit and every unit below it, at any depth, in one query.
    std::vector<int> GetSubtreeIds(int unitId);
    // The unit's DiscInfoID; 0 when it has none.
    int GetUnitDiscInfoId(int unitId);
    // Both keep their result in one process-wide list, which the next call
    // overwrites; they are not re-entrant. The returned list is a copy.
    std::vector<int> GetAncestorIds(int unitId);
    std::vector<int> GetDescendantIds(int unitId);
    // Where each unit lies, by UnitID, in one query: the storage's name, then the names
    // of its ancestors from the top unit down to its parent, joined by kLocationSeparator
    // ("Box 1 › Backup 2008-03 › Documents"); a top unit gives its storage's name alone.
    // Ids that name no unit are left out; parent links that loop are walked once.
    std::map<int, QString> GetUnitLocations(const std::vector<int>& unitIds);
    static const QString kLocationSeparator;
    // Copies of files across the catalogue (FileCopies.cpp). VisitFiles shows every
    // file unit of at least minSize bytes to visit, in UnitID order, with its
    // DateModified when withDate; false when visit stopped it. GetSubtreeFiles gives
    // the files at any depth below a unit, GetFilesById the files of those ids (any
    // number), both by UnitID. GetMaxUnitId is 0 in an empty catalogue.
    bool VisitFiles(qint64 minSize, bool withDate, const FileKeyVisitor& visit);
    void GetSubtreeFiles(int unitId, std::vector<CatalogueFile>& files);
    void GetFilesById(const std::vector<int>& unitIds, std::vector<CatalogueFile>& files);
    int GetMaxUnitId();
    // The rows of an export (ExportRows.cpp): the children of parentId, or with
    // parentId 0 the top units of storageId, by UnitID; the units of unitIds, in that
    // order (ids naming no unit are left out).
    void GetExportChildren(int storageId, int parentId, std::vector<ExportRecord>& rows);
    void GetExportUnits(const std::vector<int>& unitIds, std::vector<ExportRecord>& rows);
    // About how many units an export of a unit's subtree (unitId), a storage
    // (storageId) or the whole catalogue (both 0) writes, from the stored counters.
    qint64 CountExportUnits(int storageId, int unitId);
    // The statistics' reads (Statistics.cpp), over a unit's subtree, a storage or the
    // whole catalogue: in one pass, the files grouped by category, extension and year of
    // modification, and the largest folders by bytes (at most folderLimit, the largest
    // first); every disc, by UnitID.
    void GetFilesAndFolders(const StatisticsScope& scope, int folderLimit,
                            std::vector<FileGroupRow>& groups,
                            std::vector<ContainerRow>& largestFolders);
    void GetScopeDiscs(const StatisticsScope& scope, std::vector<ContainerRow>& rows);
    // The names of a unit's ancestors, from its top unit down to its parent.
    QStringList GetAncestorNames(int unitId);
    void GetStorageUnits(std::vector<ReportRow>& rows, int storageId);
    // The same units (storageId -1: of every storage) in the same columns, ordered by
    // name whatever SortByName says, each row given to the caller's mapper: a report
    // reads millions of them into compact records of its own.
    template <typename Record>
    void GetStorageUnitsByName(std::vector<Record>& rows, int storageId, RowMapper<Record> mapper);
    std::vector<int> FindDuplicateDiscs(const QString& label, quint32 serialNumber, qint64 size,
                                        bool bySerial, bool bySize, bool byLabel);
    void SearchUnits(const SearchCriteria& criteria, std::vector<UnitListItem>& items);
    static QString BuildSearchQuery(const SearchCriteria& criteria);
    // What SearchUnits adds to the query to read only the units the name index (and the
    // index of units with notes) leads to; empty where the text has no run of three
    // literal characters or the index is not there or far from complete.
    QString SearchNarrowing(const SearchCriteria& criteria);
    static constexpr qint64 kMaxUnindexedForSearch = 100000;

    // Finding units by name (FindByName.cpp). The units whose name holds every word, in
    // any order, without regard to case; every character of a word is literal ('%', '_',
    // quotes). Each entry of words may hold several words separated by blanks. A word of
    // one or two characters is too short for the index: when no word is longer, the
    // name must start with the first word (and hold the others); otherwise it must hold
    // it. Best first: the name equal to the words (joined by blanks), then the names
    // starting with the first word, then the rest, each in the catalogue's order (by id). Words
    // matched through the index ignore case for every letter; the short words, and all words of the
    // units still waiting to be indexed, are matched by LIKE, which ignores the case of
    // A-Z only.
    std::vector<FoundUnit> FindByName(const QStringList& words, int limit, int offset,
                                      NameLookup how = NameLookup::Auto);
    // The same units' ids alone, in the same order (no rows or locations read).
    std::vector<int> FindIdsByName(const QStringList& words, int limit, int offset,
                                   NameLookup how = NameLookup::Auto);
    qint64 CountByName(const QStringList& words, NameLookup how = NameLookup::Auto);
    // The name index (NameIndex.cpp, version 1.3 on). Added units wait to be indexed (as
    // do all units of an upgraded catalogue), which IndexNamesStep does for the first
    // maxUnits waiting ids at a time (in a transaction of its own unless one is open)
    // and RebuildNameIndex for all at once; triggers on Units keep renames and deletes.
    // IsNameIndexComplete is false without the index (a catalogue left before 1.3).
    bool HasNameIndex();
    bool IsNameIndexComplete();
    qint64 CountUnindexedNames();
    // Returns how many names still wait after this step.
    qint64 IndexNamesStep(int maxUnits);
    void RebuildNameIndex();
    // The tables behind the index, which follow Units through its triggers (and so are
    // never recorded for Undo): every table whose name starts with this.
    static const char* const kNameIndexTablePrefix;

    // The category cache. GetCategory is for ids read from the catalogue; an id
    // missing from the map gives an empty record.
    const std::map<int, CategoryRecord>& Categories() const { return m_categories; }
    const std::map<QString, int>& FileExtensions() const { return m_extensions; }
    CategoryRecord GetCategory(int categoryId) const;
    std::vector<QString> GetCategoryExtensions(int categoryId) const;
    // The category a newly catalogued file gets: the map's category for its
    // extension, or the general category.
    int CategoryForFile(const QString& fileName) const;
    static QString ExtensionOf(const QString& fileName);
    // An extension as a user types it (".PDF ", "Mp3") in the map's form: no blanks,
    // no leading dot, lower case, as ExtensionOf gives it for a file.
    static QString NormaliseExtension(const QString& typed);

    // Writing. Each insert returns the new row id.
    int AddStorage(const QString& name, const QString& notes);
    void UpdateStorage(int storageId, const QString& name, const QString& notes);
    void DeleteStorage(int storageId);
    int AddDiscInfo(const QString& label, quint32 serialNumber, qint64 size);
    int AddUnit(UnitKind kind, const QString& name, const QString& notes, int categoryId,
                int storageId, int parentId, const CNullable<int>& unitInfoId, qint64 size,
                const QDateTime& created, const QDateTime& modified, int discInfoId, bool topLevel);
    int AddFilmInfo(const FilmInfo& info);
    int AddMusicInfo(const MusicInfo& info);
    int AddPictureInfo(const PictureInfo& info);
    void SetUnitTotals(int unitId, int files, int folders, qint64 size, bool addToStorage);
    // One more file of size bytes in the storage (a single file added on its own).
    void AddFileToStorage(int storageId, qint64 size);
    void SetUnitNotes(int unitId, const QString& notes);
    // When the unit was catalogued (a disc brought in from another cataloguer's list
    // keeps the date that list gives it). ImportUpdates.cpp.
    void SetUnitDateAdded(int unitId, const QDateTime& added);
    // The same for a run of units with consecutive ids (a list's files written together).
    void SetUnitsDateAdded(int firstId, int lastId, const QDateTime& added);
    void DeleteUnit(int unitId);
    void DeleteUnitRows(const std::vector<int>& ids);
    void DeleteStorageUnits(int storageId);
    void LoadCategories();
    void LoadFileExtensions();
    int AddCategory(const QString& name);
    void DeleteCategory(int categoryId);
    void AddFileExtension(const QString& extension, int categoryId);
    void DeleteFileExtension(const QString& extension);
    void SetFileExtensionCategory(const QString& fileName, int categoryId);
    // Every file unit with the extension moves to the category (the LIKE of the
    // extension map's update, without touching the map).
    void SetExtensionFilesCategory(const QString& extension, int categoryId);
    // Every file unit with the extension goes back to the general category.
    void ResetExtensionFilesCategory(const QString& extension);
    void RenameStorage(int storageId, const QString& name);
    void RenameUnit(int unitId, const QString& name);
    void SetUnitCategory(int unitId, int categoryId);
    // Moves the unit with its subtree to another storage, and its share of the counters
    // with it, in one transaction.
    void MoveUnitToStorage(int unitId, int storageId);
    // Takes a unit's share off its storage's counters.
    void SubtractFromStorage(int storageId, qint64 files, qint64 folders, int discs, qint64 size);
    // Where a unit added on its own was read from, written in the addition's
    // transaction; nothing is written to a catalogue still without the table (one left
    // at a version before 1.1). GetUnitSource is false when the unit has no row, as
    // every unit catalogued before 1.1.
    void AddUnitSource(const UnitSource& source);
    bool GetUnitSource(int unitId, UnitSource& source);
    // The source recorded again after an update (a row written or replaced).
    void SetUnitSource(const UnitSource& source);

    // Archives' entries (ArchiveEntries.cpp): the first UnitID not yet handed out, for
    // entries written with their ids (CArchiveEntryBatch); an archive's ArchiveInfo row
    // (written or replaced); and the removal of an archive's entries at any depth, with
    // their rows in the other tables and the archive's ArchiveInfo row.
    int NextUnitId();
    void AddArchiveInfo(int unitId, const QString& format, qint64 entries, qint64 uncompressedSize);
    void DeleteArchiveEntries(int unitId);

    // Pictures' thumbnails (Thumbnails.cpp): nothing is read or written where the
    // catalogue has no table (before version 1.5). GetThumbnail is false when the unit has
    // none; GetSubunitThumbnails gives those of the units GetSubunits lists, by UnitID, in
    // one query; SetThumbnail writes or replaces the row (an empty record deletes it).
    // CountThumbnails gives the number of rows and their images' bytes.
    bool HasThumbnails();
    bool GetThumbnail(int unitId, ThumbnailRecord& thumbnail);
    std::map<int, ThumbnailRecord> GetSubunitThumbnails(int id, bool topLevel);
    std::map<int, ThumbnailRecord> GetThumbnails(const std::vector<int>& unitIds);
    void SetThumbnail(int unitId, const ThumbnailRecord& thumbnail);
    qint64 CountThumbnails(qint64& totalBytes);

    // Updating a unit from its source (UnitUpdates.cpp). MoveUnit gives a unit another
    // parent and name; SetFileContents a file's size, dates and media row (its old media
    // row deleted), keeping its name, notes and category.
    void MoveUnit(int unitId, int parentId, const QString& name);
    void SetFileContents(int unitId, qint64 size, const QDateTime& created,
                         const QDateTime& modified, const CNullable<int>& unitInfoId);
    // The top unit's share of its storage's counters, from its stored counters.
    StorageShare GetStorageShare(int unitId);
    // Counts the subtree of the top unit again from its rows and writes the counters of
    // every disc and folder in it that differ; the storage's counters then follow the
    // unit's share (before: GetStorageShare before the rows changed).
    void RecountSubtree(int unitId, const StorageShare& before);
    // The history of updates, oldest first; nothing where the catalogue has no table
    // (before version 1.2), where AddUnitUpdate writes nothing either.
    void AddUnitUpdate(const UnitUpdateRecord& record);
    void GetUnitUpdates(int unitId, std::vector<UnitUpdateRecord>& records);

    // Deletes the DiscInfo row unless a unit still refers to it.
    void DeleteUnusedDiscInfo(int discInfoId);
    // The extension map's rows as stored, in their order, and the map replaced by rows
    // (in that order). Neither touches the extension cache (LoadFileExtensions).
    std::vector<std::pair<QString, int>> GetExtensionRows();
    void ReplaceExtensionRows(const std::vector<std::pair<QString, int>>& rows);

    // The consistency check's reads. Each fills the caller's own records through a
    // mapper that reads the columns listed, in that order.
    qint64 CountUnits();
    // UnitID, ParentUnitID, StorageID, UnitType, UnitSize, SubfilesNumber,
    // SubfoldersNumber of every unit, by UnitID.
    template <typename Record>
    void GetUnitCounters(std::vector<Record>& rows, RowMapper<Record> mapper)
    {
        QueryRows(CheckStatement(CheckQuery::UnitCounters), rows, mapper);
    }
    // StorageID, StorageName, FilesNumber, FoldersNumber, DiscsNumber, StorageSize of
    // every storage, by StorageID.
    template <typename Record>
    void GetStorageCounters(std::vector<Record>& rows, RowMapper<Record> mapper)
    {
        QueryRows(CheckStatement(CheckQuery::StorageCounters), rows, mapper);
    }
    // UnitID, UnitName, CategoryID, UnitInfoID of the units whose UnitInfoID names no
    // row of their category's media table, by UnitID.
    template <typename Record>
    void GetUnitsMissingMediaRows(std::vector<Record>& rows, RowMapper<Record> mapper)
    {
        QueryRows(CheckStatement(CheckQuery::MissingMediaRows), rows, mapper);
    }
    // UnitID, SourcePath of the UnitSources rows whose unit does not exist, by UnitID;
    // none where the catalogue has no such table.
    template <typename Record>
    void GetOrphanUnitSources(std::vector<Record>& rows, RowMapper<Record> mapper)
    {
        if (HasUnitSources())
            QueryRows(CheckStatement(CheckQuery::OrphanSources), rows, mapper);
    }
    // UnitID, Format, EntriesNumber of every ArchiveInfo row, by UnitID; none where the
    // catalogue has no such table.
    template <typename Record>
    void GetArchiveEntryCounts(std::vector<Record>& rows, RowMapper<Record> mapper)
    {
        rows.clear();
        if (HasArchiveInfo())
            QueryRows(CheckStatement(CheckQuery::ArchiveEntries), rows, mapper);
    }
    // UnitID, UnitName of the units with these ids, in one statement.
    template <typename Record>
    void GetUnitNames(const std::vector<int>& unitIds, std::vector<Record>& rows,
                      RowMapper<Record> mapper)
    {
        QueryRows(UnitNamesStatement(unitIds), rows, mapper);
    }

    // The top unit unitId and every unit below it, in one query: UnitID, the path
    // relative to the unit (names joined by '/', empty for the unit itself), UnitType,
    // UnitSize, DateModified. Nothing when unitId names no unit at the top of a storage.
    template <typename Record>
    void GetSubtreeEntries(int unitId, std::vector<Record>& rows, RowMapper<Record> mapper)
    {
        QueryRows(SubtreeEntriesStatement(unitId), rows, mapper);
    }

    // Execute for a statement built around a typed or scanned text: refused with a
    // database error unless the text is exactly one statement (and, with readOnly,
    // one that only reads).
    void ExecuteSingleStatement(const QString& sql);
    void CheckSingleStatement(const QString& sql, bool readOnly) const;

    // Recording changes for Undo, with SQLite's session extension (false from
    // CanRecordChanges where the SQLite the program was built with lacks it). Between
    // StartRecording and TakeRecording every change to a table with a primary key is
    // recorded; TakeRecording gives the net change as a changeset, empty when the rows
    // are as they were (a rolled-back transaction leaves nothing). Close ends a
    // recording, and so does StopRecording, without keeping it.
    static bool CanRecordChanges();
    void StartRecording();
    QByteArray TakeRecording();
    void StopRecording();
    bool IsRecording() const { return m_session != nullptr; }
    /// Applies a changeset (inverse: its inverse). A row that is not as the changeset
    /// expects stops it: then nothing of it is applied and the (non-fatal) error raised.
    void ApplyChangeset(const QByteArray& changeset, bool inverse);

private:
    void OpenWith(const QString& path, int flags, bool fatal);
    enum class CheckQuery {
        UnitCounters,
        StorageCounters,
        MissingMediaRows,
        OrphanSources,
        ArchiveEntries
    };
    static QString CheckStatement(CheckQuery query);
    static QString UnitNamesStatement(const std::vector<int>& unitIds);
    static QString SubtreeEntriesStatement(int unitId);
    // The units the statistics of scope read, as a table name for FROM; with is set to
    // the WITH clause that defines it, or emptied.
    QString StatisticsSource(const StatisticsScope& scope, QString& with);
    // GetStorageUnits' statement.
    static QString StorageUnitsStatement(int storageId, bool byName);
    // String 150 in the narrow code page: the message when no catalogue is open.
    static std::string InaccessibleMessage();
    void CollectDescendants(int unitId, std::vector<int>& ids);
    // Whether the catalogue has the UnitSources table (version 1.1 on).
    bool HasUnitSources();
    // Deletes the media rows of the units that the condition on UnitID selects.
    void DeleteMediaRows(const QString& unitCondition);
    // Whether the catalogue has the UnitUpdates table (version 1.2 on).
    bool HasUnitUpdates();
    // Whether the catalogue has the ArchiveInfo table (version 1.5 on).
    bool HasArchiveInfo();
    // Lowers the entry counts and uncompressed sizes of the archives that keep some of
    // these units (a comma-separated id list) among their entries, before the units go.
    void ForgetArchiveEntries(const QString& idList);
    // "SELECT <the six columns of UnitListItem and whether the unit is an archive> FROM
    // Units ", to be followed by a WHERE clause.
    QString UnitListSelect();
    // Deletes the UnitSources and UnitUpdates rows of the units that the condition on
    // UnitID selects.
    void DeleteUnitSources(const QString& unitCondition);
    // Deletes the Thumbnails rows of the units that the condition on UnitID selects.
    void DeleteThumbnails(const QString& unitCondition);

    sqlite3* m_db = nullptr;
    sqlite3_session* m_session = nullptr;
    std::map<int, CategoryRecord> m_categories;
    std::map<QString, int> m_extensions;
    bool m_sortByName = false;
};

namespace SqliteWrapperDetail {

template <typename Record> struct QueryContext
{
    std::vector<Record>* rows;
    CSqliteWrapper::RowMapper<Record> mapper;
};

template <typename Record> int MapRow(void* context, int columns, char** values, char**)
{
    auto* ctx = static_cast<QueryContext<Record>*>(context);
    ctx->mapper(*ctx->rows, columns, values);
    return 0;
}

} // namespace SqliteWrapperDetail

template <typename Record>
void CSqliteWrapper::GetStorageUnitsByName(std::vector<Record>& rows, int storageId,
                                           RowMapper<Record> mapper)
{
    rows.clear();
    QueryRows(StorageUnitsStatement(storageId, true), rows, mapper);
}

template <typename Record>
void CSqliteWrapper::QueryRows(const QString& sql, std::vector<Record>& rows,
                               RowMapper<Record> mapper)
{
    if (!m_db)
        throw CSqliteWrapperError(InaccessibleMessage(), 0, kImplementationFile, 609, true);
    SqliteWrapperDetail::QueryContext<Record> context{&rows, mapper};
    char* errmsg = nullptr;
    const int rc = sqlite3_exec(m_db, SqlText::ToUtf8(sql).c_str(),
                                &SqliteWrapperDetail::MapRow<Record>, &context, &errmsg);
    if (rc != SQLITE_OK) {
        const std::string message = errmsg ? errmsg : "";
        sqlite3_free(errmsg);
        throw CSqliteWrapperError(message, rc, kHeaderFile, 623, true);
    }
    sqlite3_free(errmsg);
}
