#include "importers/ExportRowFeeder.h"

#include "common/Strings.h"
#include "importers/ImportSink.h"

#include <QDateTime>

namespace {

enum class Kind { Disc, Folder, File };

bool IsKind(const QString& type, int stringId, const char* english)
{
    // The export writes the kinds in the program's language; English is always known.
    return type.compare(QLatin1String(english), Qt::CaseInsensitive) == 0 ||
           type.compare(Strings::LoadString(stringId), Qt::CaseInsensitive) == 0;
}

Kind KindOf(const QString& type, int line)
{
    if (IsKind(type, Strings::IDS_KIND_DISC, "Disc"))
        return Kind::Disc;
    if (IsKind(type, Strings::IDS_KIND_FOLDER, "Folder"))
        return Kind::Folder;
    if (IsKind(type, Strings::IDS_KIND_FILE, "File"))
        return Kind::File;
    throw ImportError{line, QStringLiteral("unknown type \"%1\"").arg(type)};
}

QDateTime DateOf(const QString& text, int line)
{
    if (text.isEmpty())
        return QDateTime();
    // The export writes the stored local time in ISO 8601, without a zone.
    QDateTime time = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!time.isValid())
        time = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!time.isValid())
        throw ImportError{line, QStringLiteral("unreadable date \"%1\"").arg(text)};
    return time;
}

qint64 SizeOf(const QString& text, int line)
{
    if (text.isEmpty())
        return -1;
    bool ok = false;
    const qint64 size = text.toLongLong(&ok);
    if (!ok || size < 0)
        throw ImportError{line, QStringLiteral("unreadable size \"%1\"").arg(text)};
    return size;
}

CNullable<qint64> NumberOf(const QString& text, int line)
{
    if (text.isEmpty())
        return {};
    bool ok = false;
    const qint64 number = text.toLongLong(&ok);
    if (ok)
        return number;
    // A list written by hand may give a duration in fractions of a second.
    const double real = text.toDouble(&ok);
    if (ok)
        return qRound64(real);
    throw ImportError{line, QStringLiteral("unreadable number \"%1\"").arg(text)};
}

ImportedMedia MediaOf(const ExportRow& row, int line)
{
    ImportedMedia media;
    media.Duration = NumberOf(row.Duration, line);
    media.Width = NumberOf(row.Width, line);
    media.Height = NumberOf(row.Height, line);
    media.Bitrate = NumberOf(row.Bitrate, line);
    media.Codec = row.Codec;
    media.Artist = row.Artist;
    media.Title = row.Title;
    media.Album = row.Album;
    media.Year = NumberOf(row.Year, line);
    media.Track = NumberOf(row.Track, line);
    media.Genre = row.Genre;
    return media;
}

bool IsBelow(const QString& path, const QString& above)
{
    return !above.isEmpty() && path.size() > above.size() && path.startsWith(above) &&
           path[above.size()] == QLatin1Char('/');
}

} // namespace

void CExportRowFeeder::SendPending()
{
    if (!m_hasPending)
        return;
    m_hasPending = false;
    m_sink.Item(m_pending);
}

void CExportRowFeeder::Finish()
{
    SendPending();
}

void CExportRowFeeder::Row(const ExportRow& row, int line)
{
    const Kind kind = KindOf(row.Type, line);
    const QString path = row.Path.isEmpty() ? row.Name : row.Path;
    QStringList parts = path.split(QLatin1Char('/'));
    if (path.isEmpty() || parts.contains(QString()))
        throw ImportError{line, QStringLiteral("empty name in the path \"%1\"").arg(path)};

    if (m_hasPending && IsBelow(path, m_pendingPath)) {
        // Entries follow the file: it is an archive. An export written before the
        // "archive" column does not name the format, which the catalogue needs: the
        // file's extension in upper case stands in for it.
        if (m_pending.ArchiveFormat.isEmpty()) {
            const QString name = m_pending.Path.last();
            const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
            m_pending.ArchiveFormat = dot > 0 ? name.mid(dot + 1).toUpper() : name.toUpper();
        }
        if (m_archive.isEmpty()) {
            m_archive = m_pendingPath;
            m_archiveLength = static_cast<int>(m_pending.Path.size());
        }
    }
    SendPending();
    if (!IsBelow(path, m_archive)) {
        m_archive.clear();
        m_archiveLength = 0;
    }

    if (!m_started || row.Storage != m_storage) {
        // Another storage of a whole catalogue's export: its units are new.
        if (m_inDisc)
            m_sink.EndDisc();
        m_started = true;
        m_storage = row.Storage;
        m_top.clear();
        m_inDisc = false;
        m_archive.clear();
        m_archiveLength = 0;
    }

    if (kind == Kind::Disc && parts.size() == 1) {
        m_sink.BeginDisc(parts.first(), DateOf(row.Added, line));
        m_sink.SetDiscNotes(row.Notes);
        m_top = parts.first();
        m_inDisc = true;
        return;
    }
    if (parts.size() == 1) {
        // A folder or file catalogued on its own, directly in the storage.
        if (m_inDisc)
            m_sink.EndDisc();
        m_inDisc = false;
        m_top = parts.first();
    } else if (parts.first() != m_top) {
        // Rows that start below a disc not listed (an export of one folder).
        m_sink.BeginDisc(parts.first(), QDateTime());
        m_top = parts.first();
        m_inDisc = true;
    }
    ImportedItem item;
    item.Path = m_inDisc ? parts.mid(1) : parts;
    item.IsFolder = kind != Kind::File;
    item.Size = SizeOf(row.Size, line);
    item.Modified = DateOf(row.Modified, line);
    item.Created = DateOf(row.Created, line);
    item.Notes = row.Notes;
    item.Added = DateOf(row.Added, line);
    item.Category = row.Category;
    item.Media = MediaOf(row, line);
    item.ArchiveFormat = row.Archive;
    item.ArchivePathLength = m_archiveLength;
    if (kind != Kind::File) {
        m_sink.Item(item);
        return;
    }
    m_pending = std::move(item);
    m_pendingPath = path;
    m_hasPending = true;
}
