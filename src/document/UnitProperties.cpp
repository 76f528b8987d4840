#include "document/UnitProperties.h"

#include "common/FormatSize.h"
#include "common/Strings.h"

namespace UnitProperties {

namespace {

QString Count(qint64 value)
{
    return QString::number(value);
}

template <typename T, typename F> QString Optional(const CNullable<T>& value, F format)
{
    return value.IsNull() ? QString() : format(value.Value());
}

QString Plain(const CNullable<int>& value)
{
    return Optional(value, [](int v) { return QString::number(v); });
}

QString Text(const CNullable<QString>& value)
{
    return value.IsNull() ? QString() : value.Value();
}

QString WithUnit(const CNullable<int>& value, const char* unit)
{
    return Optional(value, [unit](int v) { return QString::number(v) + QLatin1String(unit); });
}

Tab MediaTab(CSqliteWrapper& db, int unitId, const QString& categoryName, bool& found)
{
    found = true;
    Tab tab;
    if (categoryName == QLatin1String("Film")) {
        tab.Title = Strings::LoadString(Strings::IDS_TAB_FILM_INFO);
        FilmInfo f;
        db.GetFilmInfo(unitId, f);
        tab.Fields = {{QStringLiteral("Duration:"), Optional(f.Duration, FilmDuration)},
                      {QStringLiteral("Width:"), Plain(f.Width)},
                      {QStringLiteral("Height:"), Plain(f.Height)},
                      {QStringLiteral("Bitrate:"), WithUnit(f.Bitrate, " kbit/s")},
                      {QStringLiteral("Codec:"), Text(f.Codec)}};
    } else if (categoryName == QLatin1String("Music")) {
        tab.Title = Strings::LoadString(Strings::IDS_TAB_AUDIO_INFO);
        MusicInfo m;
        db.GetMusicInfo(unitId, m);
        tab.Fields = {{QStringLiteral("Title:"), Text(m.Title)},
                      {QStringLiteral("Artist:"), Text(m.Artist)},
                      {QStringLiteral("Track #:"), Plain(m.TrackNumber)},
                      {QStringLiteral("Album:"), Text(m.Album)},
                      {QStringLiteral("Year:"), Plain(m.Year)},
                      {QStringLiteral("Genre:"), Text(m.Genre)},
                      {QStringLiteral("Duration:"), Optional(m.Duration, AudioDuration)},
                      {QStringLiteral("Bitrate:"), WithUnit(m.Bitrate, " kbit/s")},
                      {QStringLiteral("Sampling Rate:"), WithUnit(m.SamplingRate, " Hz")},
                      {QStringLiteral("Channels:"), Optional(m.ChannelsNumber, Channels)}};
    } else if (categoryName == QLatin1String("Picture")) {
        tab.Title = Strings::LoadString(Strings::IDS_TAB_PICTURE_INFO);
        PictureInfo p;
        db.GetPictureInfo(unitId, p);
        tab.Fields = {{QStringLiteral("Width:"), WithUnit(p.Width, " px")},
                      {QStringLiteral("Height:"), WithUnit(p.Height, " px")},
                      {QStringLiteral("Horizontal:"), WithUnit(p.HorizontalResolution, " DPI")},
                      {QStringLiteral("Vertical:"), WithUnit(p.VerticalResolution, " DPI")},
                      {QStringLiteral("Color depth:"), WithUnit(p.ColorDepth, " bit")}};
    } else {
        found = false;
    }
    return tab;
}

} // namespace

QString AudioDuration(int seconds)
{
    const int h = seconds / 3600;
    const int m = (seconds - 3600 * h) / 60;
    const int s = seconds - 3600 * h - 60 * m;
    return QString::asprintf("%02d:%02d:%02d (%d seconds)", h, m, s, seconds);
}

QString FilmDuration(int seconds)
{
    const int h = seconds / 3600;
    const int m = (seconds - 3600 * h) / 60;
    const int s = seconds - 3600 * h - 60 * m;
    return QString::asprintf("%02d:%02d:%02d", h, m, s);
}

QString Channels(int channels)
{
    const char* name = channels == 1 ? "(mono)" : channels == 2 ? "(stereo)" : "";
    return QString::asprintf("%d %s", channels, name);
}

QString UnitKindName(UnitKind kind)
{
    switch (kind) {
    case UnitKind::Storage:
        return QStringLiteral("Storage");
    case UnitKind::Disc:
        return QStringLiteral("Disc");
    case UnitKind::Folder:
        return QStringLiteral("Folder");
    case UnitKind::File:
        return QStringLiteral("File");
    default:
        return QString();
    }
}

QString ArchiveTabTitle()
{
    return QStringLiteral("Archive Info");
}

QStringList UpdateHistoryHeaders()
{
    return {QStringLiteral("Date"),    QStringLiteral("Added"), QStringLiteral("Removed"),
            QStringLiteral("Changed"), QStringLiteral("Moved"), QStringLiteral("Files"),
            QStringLiteral("Size")};
}

std::vector<QStringList> UpdateHistory(CSqliteWrapper& db, int unitId)
{
    std::vector<UnitUpdateRecord> records;
    db.GetUnitUpdates(unitId, records);
    std::vector<QStringList> rows;
    rows.reserve(records.size());
    for (auto it = records.rbegin(); it != records.rend(); ++it) {
        rows.push_back({it->UpdatedAt.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
                        Count(it->Added), Count(it->Removed), Count(it->Changed), Count(it->Moved),
                        Count(it->FilesAfter), FormatSize(it->SizeAfter)});
    }
    return rows;
}

std::vector<Tab> Collect(CSqliteWrapper& db, int id, bool isStorage)
{
    const QString name = QStringLiteral("Name:");
    const QString notes = QStringLiteral("Description:");
    if (isStorage) {
        const StorageRecord s = db.GetStorage(id);
        return {{Strings::LoadString(Strings::IDS_TAB_STORAGE_INFO),
                 {{name, s.StorageName},
                  {notes, s.StorageNotes},
                  {QStringLiteral("Folders:"), Count(s.FoldersNumber)},
                  {QStringLiteral("Files:"), Count(s.FilesNumber)},
                  {QStringLiteral("Discs:"), Count(s.DiscsNumber)},
                  {QStringLiteral("Size:"), FormatSize(s.StorageSize)},
                  {QStringLiteral("Added:"), s.DateAdded}}}};
    }
    const UnitListItem unit = db.GetUnit(id);
    std::vector<Tab> tabs;
    if (unit.Kind == UnitKind::Disc) {
        const DiscDetails d = db.GetDiscProperties(id);
        tabs.push_back({Strings::LoadString(Strings::IDS_TAB_DISC_INFO),
                        {{name, d.UnitName},
                         {notes, d.UnitNotes},
                         {QStringLiteral("Label:"), d.Label},
                         {QStringLiteral("Serial Number:"), QString::number(d.SerialNumber)},
                         {QStringLiteral("Folders:"), Count(d.SubfoldersNumber)},
                         {QStringLiteral("Files:"), Count(d.SubfilesNumber)},
                         {QStringLiteral("Size:"), FormatSize(d.Size)},
                         {QStringLiteral("Added:"), d.DateAdded}}});
    } else if (unit.Kind == UnitKind::Folder) {
        const FolderDetails f = db.GetFolderProperties(id);
        tabs.push_back({Strings::LoadString(Strings::IDS_TAB_FOLDER_INFO),
                        {{name, f.UnitName},
                         {notes, f.UnitNotes},
                         {QStringLiteral("Folders:"), Count(f.SubfoldersNumber)},
                         {QStringLiteral("Files:"), Count(f.SubfilesNumber)},
                         {QStringLiteral("Size:"), FormatSize(f.UnitSize)},
                         {QStringLiteral("Added:"), f.DateAdded}}});
    } else if (unit.Kind == UnitKind::File || unit.Kind == UnitKind::ArchiveFolder ||
               unit.Kind == UnitKind::ArchiveFile) {
        // What lies inside an archive shows as a file does, without media details.
        const FileDetails f = db.GetFileProperties(id);
        tabs.push_back({Strings::LoadString(Strings::IDS_TAB_FILE_INFO),
                        {{name, f.UnitName},
                         {notes, f.UnitNotes},
                         {QStringLiteral("Size:"), FormatSize(f.UnitSize)},
                         {QStringLiteral("Created:"), f.DateCreated},
                         {QStringLiteral("Modified:"), f.DateModified},
                         {QStringLiteral("Added:"), f.DateAdded}}});
        bool found = false;
        if (unit.Kind == UnitKind::File) {
            Tab media = MediaTab(db, id, db.GetCategory(unit.CategoryID).Name, found);
            if (found)
                tabs.push_back(std::move(media));
        }
        ArchiveDetails archive;
        if (unit.IsArchive && db.GetArchiveInfo(id, archive))
            tabs.push_back(
                {ArchiveTabTitle(),
                 {{QStringLiteral("Format:"), archive.Format},
                  {QStringLiteral("Entries:"), Count(archive.EntriesNumber)},
                  {QStringLiteral("Uncompressed Size:"), FormatSize(archive.UncompressedSize)}}});
    }
    return tabs;
}

} // namespace UnitProperties
