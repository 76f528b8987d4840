// The writing operations of CSqliteWrapper: inserts, counters, deletes, categories and
// the extension map.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "sqlitewrapper/Transaction.h"

#include <QStringList>

using SqlText::Format;
using SqlText::FormatSqlDate;
using SqlText::QuoteOptionalSqlString;
using SqlText::QuoteSqlString;

namespace {

// Notes: empty, or the text NULL, is written as SQL NULL.
QString QuotedOrNull(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("NULL") : QuoteOptionalSqlString(text);
}

QString QuotedNullable(const CNullable<QString>& value)
{
    return QuoteOptionalSqlString(value.ToSqlText());
}

QString IdListText(const std::vector<int>& ids)
{
    QString list;
    for (size_t i = 0; i < ids.size(); ++i)
        list += Format(i == 0 ? "%d" : ",%d", {ids[i]});
    return list;
}

// The media tables with the category whose files keep their rows there.
struct MediaTable
{
    const char* deleteTemplate;
    int categoryId;
};

const MediaTable kMediaTables[] = {
    {"DELETE FROM FilmInfo WHERE FilmInfoID IN (%s)", CategoryIds::Film},
    {"DELETE FROM MusicInfo WHERE MusicInfoID IN (%s)", CategoryIds::Music},
    {"DELETE FROM PictureInfo WHERE PictureInfoID IN (%s)", CategoryIds::Picture},
};

} // namespace

int CSqliteWrapper::AddStorage(const QString& name, const QString& notes)
{
    Execute(Format("INSERT INTO Storages (StorageName, StorageNotes) VALUES (%s, %s)",
                   {QuoteSqlString(name), QuotedOrNull(notes)}));
    return LastInsertId();
}

void CSqliteWrapper::UpdateStorage(int storageId, const QString& name, const QString& notes)
{
    // Both quoted: empty notes become an empty string here, unlike AddStorage.
    Execute(Format("UPDATE Storages SET StorageName = %s, StorageNotes = %s WHERE StorageID = %d",
                   {QuoteSqlString(name), QuoteOptionalSqlString(notes), storageId}));
}

void CSqliteWrapper::RenameStorage(int storageId, const QString& name)
{
    Execute(Format("UPDATE Storages SET StorageName = %s WHERE StorageID = %d",
                   {QuoteSqlString(name), storageId}));
}

void CSqliteWrapper::SubtractFromStorage(int storageId, qint64 files, qint64 folders, int discs,
                                         qint64 size)
{
    Execute(Format("UPDATE Storages SET FilesNumber = FilesNumber - %lld, FoldersNumber = "
                   "FoldersNumber - %lld, DiscsNumber = DiscsNumber - %d, StorageSize = "
                   "StorageSize - %lld WHERE StorageID = %d",
                   {files, folders, discs, size, storageId}));
}

void CSqliteWrapper::DeleteStorage(int storageId)
{
    Execute(Format("DELETE FROM Storages WHERE StorageID = %d", {storageId}));
    DeleteStorageUnits(storageId);
}

int CSqliteWrapper::AddDiscInfo(const QString& label, quint32 serialNumber, qint64 size)
{
    Execute(Format("INSERT INTO DiscInfo(Label, SerialNumber, Size) VALUES(%s, %lu, %lld)",
                   {QuoteSqlString(label), serialNumber, size}));
    return LastInsertId();
}

int CSqliteWrapper::AddUnit(UnitKind kind, const QString& name, const QString& notes,
                            int categoryId, int storageId, int parentId,
                            const CNullable<int>& unitInfoId, qint64 size, const QDateTime& created,
                            const QDateTime& modified, int discInfoId, bool topLevel)
{
    const QChar type = UnitTypeChar(kind);
    const bool isFile = kind == UnitKind::File;
    // A date the file system does not have is left NULL, never made up.
    const QString dateCreated =
        isFile && created.isValid() ? FormatSqlDate(created) : QStringLiteral("NULL");
    const QString dateModified =
        isFile && modified.isValid() ? FormatSqlDate(modified) : QStringLiteral("NULL");
    if (topLevel) {
        Execute(
            Format("INSERT INTO Units(UnitName, UnitNotes, UnitType, StorageID, UnitSize, "
                   "DateCreated, DateModified, CategoryID, DiscInfoID, UnitInfoID)VALUES(%s, "
                   "%s, '%c', %d, %lld, %s, %s, %d, %d, %s)",
                   {QuoteSqlString(name), QuotedOrNull(notes), type, storageId, size, dateCreated,
                    dateModified, categoryId, discInfoId, unitInfoId.ToSqlText()}));
    } else if (isFile && !notes.isEmpty()) {
        // A scanned file with notes (a symbolic link): the same insert with the notes last,
        // as CFileInsertBatch writes it.
        Execute(Format("INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, UnitSize, "
                       "DateCreated, DateModified, CategoryID, UnitInfoID, UnitNotes)VALUES(%s, "
                       "'%c', %d, %d, %lld, %s, %s, %d, %s, %s)",
                       {QuoteSqlString(name), type, storageId, parentId, size, dateCreated,
                        dateModified, categoryId, unitInfoId.ToSqlText(), QuoteSqlString(notes)}));
    } else if (isFile) {
        Execute(Format("INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, UnitSize, "
                       "DateCreated, DateModified, CategoryID, UnitInfoID)VALUES(%s, '%c', %d, "
                       "%d, %lld, %s, %s, %d, %s)",
                       {QuoteSqlString(name), type, storageId, parentId, size, dateCreated,
                        dateModified, categoryId, unitInfoId.ToSqlText()}));
    } else {
        Execute(Format("INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, "
                       "CategoryID)VALUES(%s, '%c', %d, %d, %d)",
                       {QuoteSqlString(name), type, storageId, parentId, categoryId}));
    }
    return LastInsertId();
}

int CSqliteWrapper::AddFilmInfo(const FilmInfo& info)
{
    Execute(Format("INSERT INTO FilmInfo(Duration, Width, Height, Bitrate, Codec) "
                   "VALUES(%s, %s, %s, %s, %s)",
                   {info.Duration.ToSqlText(), info.Width.ToSqlText(), info.Height.ToSqlText(),
                    info.Bitrate.ToSqlText(), QuotedNullable(info.Codec)}));
    return LastInsertId();
}

int CSqliteWrapper::AddMusicInfo(const MusicInfo& info)
{
    Execute(Format("INSERT INTO MusicInfo(Duration, Bitrate, ChannelsNumber, SamplingRate, "
                   "Artist, Title, Album, Year, TrackNumber, Genre, Comments) VALUES(%s, %s, %s, "
                   "%s, %s, %s, %s, %s, %s, %s, %s)",
                   {info.Duration.ToSqlText(), info.Bitrate.ToSqlText(),
                    info.ChannelsNumber.ToSqlText(), info.SamplingRate.ToSqlText(),
                    QuotedNullable(info.Artist), QuotedNullable(info.Title),
                    QuotedNullable(info.Album), info.Year.ToSqlText(), info.TrackNumber.ToSqlText(),
                    QuotedNullable(info.Genre), QuotedNullable(info.Comments)}));
    return LastInsertId();
}

int CSqliteWrapper::AddPictureInfo(const PictureInfo& info)
{
    Execute(Format("INSERT INTO PictureInfo(Width, Height, HorizontalResolution, "
                   "VerticalResolution, ColorDepth) VALUES(%s, %s, %s, %s, %s)",
                   {info.Width.ToSqlText(), info.Height.ToSqlText(),
                    info.HorizontalResolution.ToSqlText(), info.VerticalResolution.ToSqlText(),
                    info.ColorDepth.ToSqlText()}));
    return LastInsertId();
}

void CSqliteWrapper::SetUnitTotals(int unitId, int files, int folders, qint64 size,
                                   bool addToStorage)
{
    // An empty unit changes nothing, not even the storage: an empty disc is therefore
    // not counted among the storage's discs.
    if (files == 0 && folders == 0 && size == 0)
        return;
    Execute(Format("UPDATE Units SET SubfilesNumber = %d, SubfoldersNumber = %d, UnitSize = %lld "
                   "WHERE UnitID = %d",
                   {files, folders, size, unitId}));
    if (!addToStorage)
        return;
    const UnitListItem unit = GetUnit(unitId);
    if (unit.Kind == UnitKind::File)
        ++files;
    if (unit.Kind == UnitKind::Folder)
        ++folders;
    const int discs = unit.Kind == UnitKind::Disc ? 1 : 0;
    Execute(Format("UPDATE Storages SET FilesNumber = FilesNumber + %d, FoldersNumber = "
                   "FoldersNumber + %d, DiscsNumber = DiscsNumber + %d, StorageSize = "
                   "StorageSize + %lld WHERE StorageID = (SELECT StorageID FROM Units WHERE "
                   "UnitID = %d)",
                   {files, folders, discs, size, unitId}));
}

void CSqliteWrapper::AddFileToStorage(int storageId, qint64 size)
{
    Execute(Format("UPDATE Storages SET FilesNumber = FilesNumber + 1,  "
                   "   StorageSize = StorageSize + %lld WHERE StorageID "
                   "= %d",
                   {size, storageId}));
}

void CSqliteWrapper::SetUnitNotes(int unitId, const QString& notes)
{
    Execute(
        Format("UPDATE Units SET UnitNotes = %s WHERE UnitID = %d", {QuotedOrNull(notes), unitId}));
}

void CSqliteWrapper::DeleteUnit(int unitId)
{
    const UnitListItem unit = GetUnit(unitId);
    const std::vector<int> descendants = GetDescendantIds(unitId);
    const std::vector<int> ancestors = GetAncestorIds(unitId);

    CTransaction transaction(*this);
    const qint64 size = unit.UnitSize;
    if (unit.Kind == UnitKind::Disc || unit.Kind == UnitKind::Folder) {
        qint64 files = 0;
        qint64 folders = 0;
        if (unit.Kind == UnitKind::Disc) {
            const DiscDetails disc = GetDiscProperties(unitId);
            files = disc.SubfilesNumber;
            folders = disc.SubfoldersNumber;
        } else {
            const FolderDetails folder = GetFolderProperties(unitId);
            files = folder.SubfilesNumber;
            folders = folder.SubfoldersNumber + 1; // the folder itself
        }
        for (int ancestor : ancestors) {
            Execute(Format("UPDATE Units SET SubfilesNumber = SubfilesNumber - %lld,     "
                           "SubfoldersNumber = SubfoldersNumber - %lld,     UnitSize = "
                           "UnitSize - %lld WHERE UnitID = %d",
                           {files, folders, size, ancestor}));
        }
        if (unit.Kind == UnitKind::Disc) {
            Execute(Format("UPDATE Storages SET FilesNumber = FilesNumber - %lld,     "
                           "FoldersNumber = FoldersNumber - %lld, \t DiscsNumber = "
                           "DiscsNumber - 1,     StorageSize = StorageSize - %lld WHERE "
                           "StorageID = (SELECT StorageID FROM Units WHERE UnitID = %d)",
                           {files, folders, size, unitId}));
        } else {
            Execute(Format("UPDATE Storages SET FilesNumber = FilesNumber - %lld,     "
                           "FoldersNumber = FoldersNumber - %lld,     StorageSize = "
                           "StorageSize - %lld WHERE StorageID = (SELECT StorageID FROM "
                           "Units WHERE UnitID = %d)",
                           {files, folders, size, unitId}));
        }
    } else if (unit.Kind == UnitKind::File) {
        for (int ancestor : ancestors) {
            Execute(Format("UPDATE Units SET SubfilesNumber = SubfilesNumber - 1,     "
                           "UnitSize = UnitSize - %lld WHERE UnitID = %d",
                           {size, ancestor}));
        }
        Execute(Format("UPDATE Storages SET FilesNumber = FilesNumber - 1,     StorageSize = "
                       "StorageSize - %lld WHERE StorageID = (SELECT StorageID FROM Units "
                       "WHERE UnitID = %d)",
                       {size, unitId}));
    }
    // An entry taken out of an archive leaves its archives (the one it lies in, and an
    // outer one) with fewer entries, and the one it lies in with fewer bytes: done with
    // the rows below, as no other counter ever counted it.
    std::vector<int> ids;
    ids.reserve(descendants.size() + 1);
    ids.push_back(unitId);
    ids.insert(ids.end(), descendants.begin(), descendants.end());
    DeleteUnitRows(ids);
    transaction.Commit();
}

void CSqliteWrapper::RenameUnit(int unitId, const QString& name)
{
    Execute(
        Format("UPDATE Units SET UnitName = %s WHERE UnitID = %d", {QuoteSqlString(name), unitId}));
}

void CSqliteWrapper::SetUnitCategory(int unitId, int categoryId)
{
    Execute(Format("UPDATE Units SET CategoryID = %d WHERE UnitID = %d", {categoryId, unitId}));
}

void CSqliteWrapper::MoveUnitToStorage(int unitId, int storageId)
{
    // The unit's row moves, and with it its subtree and its share of the two storages'
    // counters, so both storages stay consistent with their units.
    const UnitListItem unit = GetUnit(unitId);
    const int oldStorage = GetUnitStorageId(unitId);
    const std::vector<int> descendants = GetDescendantIds(unitId);
    qint64 files = 0;
    qint64 folders = 0;
    int discs = 0;
    if (unit.Kind == UnitKind::File) {
        files = 1;
    } else {
        const FolderDetails details = GetFolderProperties(unitId);
        files = details.SubfilesNumber;
        folders = details.SubfoldersNumber;
        const bool empty = files == 0 && folders == 0 && unit.UnitSize == 0;
        // An empty disc or folder was never counted in its storage.
        if (unit.Kind == UnitKind::Disc && !empty)
            discs = 1;
        if (unit.Kind == UnitKind::Folder && !empty)
            folders += 1;
    }
    std::vector<QString> statements{
        Format("UPDATE Units SET StorageID = %d WHERE UnitID = %d", {storageId, unitId})};
    if (!descendants.empty()) {
        QStringList ids;
        for (int id : descendants)
            ids << QString::number(id);
        statements.push_back(Format("UPDATE Units SET StorageID = %d WHERE UnitID IN (%s)",
                                    {storageId, ids.join(QLatin1Char(','))}));
    }
    const char* counters = "UPDATE Storages SET FilesNumber = FilesNumber %s %lld, "
                           "FoldersNumber = FoldersNumber %s %lld, DiscsNumber = "
                           "DiscsNumber %s %d, StorageSize = StorageSize %s %lld WHERE "
                           "StorageID = %d";
    statements.push_back(
        Format(counters, {"-", files, "-", folders, "-", discs, "-", unit.UnitSize, oldStorage}));
    statements.push_back(
        Format(counters, {"+", files, "+", folders, "+", discs, "+", unit.UnitSize, storageId}));
    ExecuteInTransaction(statements);
}

void CSqliteWrapper::DeleteUnusedDiscInfo(int discInfoId)
{
    Execute(Format("DELETE FROM DiscInfo WHERE DiscInfoID = %d AND NOT EXISTS (SELECT 1 "
                   "FROM Units WHERE DiscInfoID = %d)",
                   {discInfoId, discInfoId}));
}

void CSqliteWrapper::DeleteUnitRows(const std::vector<int>& ids)
{
    if (ids.empty())
        return;
    const QString list = IdListText(ids);
    const QString condition = Format("IN (%s)", {list});
    DeleteMediaRows(condition);
    DeleteUnitSources(condition);
    if (HasArchiveInfo()) {
        ForgetArchiveEntries(list);
        Execute(QStringLiteral("DELETE FROM ArchiveInfo WHERE UnitID ") + condition);
    }
    Execute(Format("DELETE FROM Units WHERE UnitID IN (%s)", {list}));
}

void CSqliteWrapper::DeleteMediaRows(const QString& unitCondition)
{
    for (const MediaTable& table : kMediaTables) {
        const QString withSelect =
            Format(table.deleteTemplate,
                   {"SELECT UnitInfoID FROM Units WHERE UnitID %s AND CategoryID = %d"});
        Execute(Format(withSelect, {unitCondition, table.categoryId}));
    }
}

void CSqliteWrapper::DeleteStorageUnits(int storageId)
{
    for (const MediaTable& table : kMediaTables) {
        const QString withSelect =
            Format(table.deleteTemplate,
                   {"SELECT UnitInfoID FROM Units WHERE StorageID = %d AND CategoryID = %d"});
        Execute(Format(withSelect, {storageId, table.categoryId}));
    }
    const QString inStorage =
        Format("IN (SELECT UnitID FROM Units WHERE StorageID = %d)", {storageId});
    DeleteUnitSources(inStorage);
    if (HasArchiveInfo())
        Execute(QStringLiteral("DELETE FROM ArchiveInfo WHERE UnitID ") + inStorage);
    Execute(Format("DELETE FROM Units WHERE StorageID = %d", {storageId}));
}

int CSqliteWrapper::AddCategory(const QString& name)
{
    Execute(Format("INSERT INTO Categories(Name, IsCustom)VALUES(%s, 1)", {QuoteSqlString(name)}));
    const int id = LastInsertId();
    LoadCategories();
    return id;
}

void CSqliteWrapper::DeleteCategory(int categoryId)
{
    CTransaction transaction(*this);
    Execute(Format("DELETE FROM Categories WHERE CategoryID = %d", {categoryId}));
    Execute(Format("DELETE FROM FileExtensions WHERE CategoryID = %d", {categoryId}));
    Execute(Format("UPDATE Units SET CategoryID = %d WHERE CategoryID = %d",
                   {CategoryIds::General, categoryId}));
    transaction.Commit();
    LoadCategories();
    LoadFileExtensions();
}

void CSqliteWrapper::AddFileExtension(const QString& extension, int categoryId)
{
    Execute(Format("INSERT INTO FileExtensions(Name, CategoryID) VALUES(%s, %d)",
                   {QuoteSqlString(extension), categoryId}));
    m_extensions[extension] = categoryId;
}

void CSqliteWrapper::DeleteFileExtension(const QString& extension)
{
    Execute(Format("DELETE FROM FileExtensions WHERE Name = %s", {QuoteSqlString(extension)}));
    m_extensions.erase(extension);
}

void CSqliteWrapper::SetFileExtensionCategory(const QString& fileName, int categoryId)
{
    const QString extension = ExtensionOf(fileName);
    const auto it = m_extensions.find(extension);
    if (it == m_extensions.end() || it->second == CategoryIds::General) {
        AddFileExtension(extension, categoryId);
    } else if (categoryId != CategoryIds::General) {
        Execute(Format("UPDATE FileExtensions SET CategoryID = %d WHERE Name = %s",
                       {categoryId, QuoteSqlString(extension)}));
        it->second = categoryId;
    } else {
        DeleteFileExtension(extension);
    }
    SetExtensionFilesCategory(extension, categoryId);
}

void CSqliteWrapper::ReplaceExtensionRows(const std::vector<std::pair<QString, int>>& rows)
{
    // Written back in their order, so the table reads as it did.
    Execute(QStringLiteral("DELETE FROM FileExtensions"));
    if (rows.empty())
        return;
    QStringList values;
    for (const auto& [name, categoryId] : rows)
        values << Format("(%s, %d)", {QuoteSqlString(name), categoryId});
    Execute(QStringLiteral("INSERT INTO FileExtensions(Name, CategoryID) VALUES ") +
            values.join(QStringLiteral(", ")));
}

void CSqliteWrapper::ResetExtensionFilesCategory(const QString& extension)
{
    // As SetExtensionFilesCategory, for the general category.
    ExecuteSingleStatement(Format("UPDATE Units SET CategoryID = 1 WHERE UnitType IN "
                                  "('F', 'f') AND UnitName LIKE '%%.%s'",
                                  {SqlText::EscapeSqlQuotes(extension)}));
}

void CSqliteWrapper::SetExtensionFilesCategory(const QString& extension, int categoryId)
{
    // The extension comes from a file name on a disc: inside the pattern its quotes are
    // doubled, and the statement must stay one statement. '%' and '_' stay wildcards.
    // Files inside archives ('f') follow their extension too.
    ExecuteSingleStatement(Format("UPDATE Units SET CategoryID = %d WHERE UnitType IN ('F', "
                                  "'f') AND UnitName LIKE '%%.%s'",
                                  {categoryId, SqlText::EscapeSqlQuotes(extension)}));
}
