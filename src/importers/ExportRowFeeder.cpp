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

} // namespace

void CExportRowFeeder::Row(const ExportRow& row, int line)
{
    const Kind kind = KindOf(row.Type, line);
    const QString path = row.Path.isEmpty() ? row.Name : row.Path;
    QStringList parts = path.split(QLatin1Char('/'));
    if (path.isEmpty() || parts.contains(QString()))
        throw ImportError{line, QStringLiteral("empty name in the path \"%1\"").arg(path)};

    if (!m_started || row.Storage != m_storage) {
        // Another storage of a whole catalogue's export: its units are new.
        if (m_inDisc)
            m_sink.EndDisc();
        m_started = true;
        m_storage = row.Storage;
        m_top.clear();
        m_inDisc = false;
        m_lastFile.clear();
    }
    if (!m_lastFile.isEmpty() && path.startsWith(m_lastFile) && path.size() > m_lastFile.size() &&
        path[m_lastFile.size()] == QLatin1Char('/'))
        return;
    if (kind == Kind::File)
        m_lastFile = path;

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
    m_sink.Item(item);
}
