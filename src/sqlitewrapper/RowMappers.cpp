#include "sqlitewrapper/RowMappers.h"

#include "common/Strings.h"
#include "sqlitewrapper/SqlText.h"

#include <cstdlib>

namespace RowMappers {

namespace {

// Column access that tolerates short rows and NULLs.
class Row final
{
public:
    Row(int columns, char** values) : m_columns(columns), m_values(values) {}

    const char* Raw(int i) const { return i < m_columns && m_values ? m_values[i] : nullptr; }
    int Int(int i) const { return Raw(i) ? std::atoi(Raw(i)) : 0; }
    qint64 Int64(int i) const { return Raw(i) ? std::strtoll(Raw(i), nullptr, 10) : 0; }
    quint32 UInt32(int i) const
    {
        return Raw(i) ? static_cast<quint32>(std::strtoull(Raw(i), nullptr, 10)) : 0;
    }
    QString Text(int i) const { return SqlText::FromUtf8(Raw(i)); }

    CNullable<int> NullableInt(int i) const
    {
        return Raw(i) ? CNullable<int>(Int(i)) : CNullable<int>();
    }
    CNullable<QString> NullableText(int i) const
    {
        return Raw(i) ? CNullable<QString>(Text(i)) : CNullable<QString>();
    }
    UnitKind Kind(int i) const { return UnitKindFromChar(Raw(i) ? Raw(i)[0] : '\0'); }

private:
    int m_columns;
    char** m_values;
};

} // namespace

void UnitListItems(std::vector<UnitListItem>& rows, int columns, char** values)
{
    const Row r(columns, values);
    UnitListItem item;
    item.UnitID = r.Int(0);
    item.UnitName = r.Text(1);
    item.HasSubfolders = r.Int(2) != 0;
    item.UnitSize = r.Int64(3);
    item.CategoryID = r.Int(4);
    item.Kind = r.Kind(5);
    item.IsArchive = r.Int(6) != 0;
    rows.push_back(std::move(item));
}

void StorageListItems(std::vector<StorageListItem>& rows, int columns, char** values)
{
    const Row r(columns, values);
    StorageListItem item;
    item.StorageID = r.Int(0);
    item.StorageName = r.Text(1);
    item.HasChildren = r.Int(2) != 0 || r.Int(3) != 0;
    rows.push_back(std::move(item));
}

void StorageRecords(std::vector<StorageRecord>& rows, int columns, char** values)
{
    const Row r(columns, values);
    StorageRecord rec;
    rec.StorageID = r.Int(0);
    rec.StorageName = r.Text(1);
    rec.StorageNotes = r.Text(2);
    rec.FoldersNumber = r.Int64(3);
    rec.DiscsNumber = r.Int64(4);
    rec.FilesNumber = r.Int64(5);
    rec.StorageSize = r.Int64(6);
    rec.DateAdded = r.Text(7);
    rows.push_back(std::move(rec));
}

void Categories(std::vector<CategoryRow>& rows, int columns, char** values)
{
    const Row r(columns, values);
    CategoryRow row;
    row.CategoryID = r.Int(0);
    row.Category.Name = r.Text(1);
    row.Category.IsCustom = r.Int(2) != 0;
    rows.push_back(std::move(row));
}

void Extensions(std::vector<ExtensionRow>& rows, int columns, char** values)
{
    const Row r(columns, values);
    rows.push_back(ExtensionRow{r.Text(0), r.Int(1)});
}

void Texts(std::vector<QString>& rows, int columns, char** values)
{
    rows.push_back(Row(columns, values).Text(0));
}

void IdTexts(std::vector<IdText>& rows, int columns, char** values)
{
    const Row r(columns, values);
    rows.push_back({r.Int(0), r.Text(1)});
}

void Ids(std::vector<int>& rows, int columns, char** values)
{
    const Row r(columns, values);
    if (r.Raw(0))
        rows.push_back(r.Int(0));
}

void DiscDetailsRows(std::vector<DiscDetails>& rows, int columns, char** values)
{
    const Row r(columns, values);
    DiscDetails d;
    d.UnitName = r.Text(0);
    d.UnitNotes = r.Text(1);
    d.CategoryID = r.Int(2);
    d.Size = r.Int64(3);
    d.DateAdded = r.Text(4);
    d.Label = r.Text(5);
    d.SerialNumber = r.UInt32(6);
    d.SubfilesNumber = r.Int(7);
    d.SubfoldersNumber = r.Int(8);
    rows.push_back(std::move(d));
}

void FolderDetailsRows(std::vector<FolderDetails>& rows, int columns, char** values)
{
    const Row r(columns, values);
    FolderDetails d;
    d.UnitName = r.Text(0);
    d.UnitNotes = r.Text(1);
    d.CategoryID = r.Int(2);
    d.UnitSize = r.Int64(3);
    d.DateAdded = r.Text(4);
    d.SubfilesNumber = r.Int(5);
    d.SubfoldersNumber = r.Int(6);
    rows.push_back(std::move(d));
}

void FileDetailsRows(std::vector<FileDetails>& rows, int columns, char** values)
{
    const Row r(columns, values);
    FileDetails d;
    d.UnitName = r.Text(0);
    d.UnitNotes = r.Text(1);
    d.CategoryID = r.Int(2);
    d.UnitSize = r.Int64(3);
    d.DateAdded = r.Text(4);
    d.DateCreated = r.Text(5);
    d.DateModified = r.Text(6);
    rows.push_back(std::move(d));
}

void FilmInfoRows(std::vector<FilmInfo>& rows, int columns, char** values)
{
    const Row r(columns, values);
    FilmInfo f;
    f.Id = r.Int(0);
    f.Duration = r.NullableInt(1);
    f.Width = r.NullableInt(2);
    f.Height = r.NullableInt(3);
    f.Bitrate = r.NullableInt(4);
    f.Codec = r.NullableText(5);
    rows.push_back(std::move(f));
}

void MusicInfoRows(std::vector<MusicInfo>& rows, int columns, char** values)
{
    const Row r(columns, values);
    MusicInfo m;
    m.Id = r.Int(0);
    m.Duration = r.NullableInt(1);
    m.Bitrate = r.NullableInt(2);
    m.ChannelsNumber = r.NullableInt(3);
    m.SamplingRate = r.NullableInt(4);
    m.Artist = r.NullableText(5);
    m.Title = r.NullableText(6);
    m.Album = r.NullableText(7);
    m.Year = r.NullableInt(8);
    m.TrackNumber = r.NullableInt(9);
    m.Genre = r.NullableText(10);
    m.Comments = r.NullableText(11);
    rows.push_back(std::move(m));
}

void PictureInfoRows(std::vector<PictureInfo>& rows, int columns, char** values)
{
    const Row r(columns, values);
    PictureInfo p;
    p.Id = r.Int(0);
    p.Width = r.NullableInt(1);
    p.Height = r.NullableInt(2);
    p.HorizontalResolution = r.NullableInt(3);
    p.VerticalResolution = r.NullableInt(4);
    p.ColorDepth = r.NullableInt(5);
    rows.push_back(p);
}

void ReportRows(std::vector<ReportRow>& rows, int columns, char** values)
{
    const Row r(columns, values);
    ReportRow row;
    row.UnitID = r.Int(0);
    row.ParentUnitID = r.Int(1);
    row.StorageID = r.Int(2);
    row.UnitName = r.Text(3);
    row.Kind = r.Kind(4);
    row.UnitSize = r.Int64(5);
    row.DateAdded = r.Text(6);
    rows.push_back(std::move(row));
}

} // namespace RowMappers

QChar UnitTypeChar(UnitKind kind)
{
    switch (kind) {
    case UnitKind::Disc:
        return QLatin1Char('C');
    case UnitKind::Folder:
        return QLatin1Char('D');
    case UnitKind::File:
        return QLatin1Char('F');
    case UnitKind::ArchiveFolder:
        return QLatin1Char('d');
    case UnitKind::ArchiveFile:
        return QLatin1Char('f');
    default:
        return QLatin1Char('0');
    }
}

UnitKind UnitKindFromChar(char type)
{
    switch (type) {
    case 'C':
        return UnitKind::Disc;
    case 'D':
        return UnitKind::Folder;
    case 'F':
        return UnitKind::File;
    case 'd':
        return UnitKind::ArchiveFolder;
    case 'f':
        return UnitKind::ArchiveFile;
    default:
        return UnitKind::Unset;
    }
}

QString UnitKindText(UnitKind kind)
{
    switch (kind) {
    case UnitKind::Disc:
        return Strings::LoadString(Strings::IDS_KIND_DISC);
    case UnitKind::Folder:
    case UnitKind::ArchiveFolder:
        return Strings::LoadString(Strings::IDS_KIND_FOLDER);
    default:
        return Strings::LoadString(Strings::IDS_KIND_FILE);
    }
}
