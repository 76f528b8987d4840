#include "export/PageExportWriter.h"

#include "CataloguePage.h"
#include "common/FormatSize.h"
#include "export/GzipStream.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>
#include <QTemporaryFile>

#include <stdexcept>

namespace {

// The ids of the page's data blocks, in Column order.
const char* const kColumnIds[] = {"names", "shape", "ids", "sizes", "dates"};
// Base64 turns 3 bytes into 4: a multiple of 3 read at a time leaves no padding inside.
constexpr qint64 kBase64Chunk = 3 * 16 * 1024;

quint64 Zigzag(qint64 value)
{
    return (static_cast<quint64>(value) << 1) ^ static_cast<quint64>(value >> 63);
}

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar.
qint64 DaysFromCivil(qint64 year, unsigned month, unsigned day)
{
    year -= month <= 2 ? 1 : 0;
    const qint64 era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<qint64>(dayOfEra) - 719468;
}

bool IsContainer(CPageExportWriter::NodeKind kind)
{
    return kind != CPageExportWriter::kFile && kind != CPageExportWriter::kArchiveFile;
}

CPageExportWriter::NodeKind KindOf(const ExportRecord& unit)
{
    switch (unit.Kind) {
    case UnitKind::Disc:
        return CPageExportWriter::kDisc;
    case UnitKind::Folder:
        return CPageExportWriter::kFolder;
    case UnitKind::ArchiveFolder:
        return CPageExportWriter::kArchiveFolder;
    case UnitKind::ArchiveFile:
        return unit.IsArchive ? CPageExportWriter::kArchive : CPageExportWriter::kArchiveFile;
    default:
        return unit.IsArchive ? CPageExportWriter::kArchive : CPageExportWriter::kFile;
    }
}

} // namespace

CPageExportWriter::CPageExportWriter(QIODevice& out, QString title)
    : CExportWriter(out), m_title(std::move(title))
{
}

CPageExportWriter::~CPageExportWriter() = default;

void CPageExportWriter::Begin()
{
    for (int column = 0; column < kColumnCount; ++column) {
        m_files[column] = std::make_unique<QTemporaryFile>();
        if (!m_files[column]->open())
            throw std::runtime_error("A temporary file for the page could not be made: " +
                                     m_files[column]->errorString().toStdString());
        m_streams[column] = std::make_unique<CGzipStream>(*m_files[column]);
    }
}

void CPageExportWriter::StartUnit(const ExportRecord& unit, const QString& path,
                                  const QString& storage)
{
    // Units at the top open their storage's node, once for a run of them.
    if (m_open.empty() && unit.StorageID != m_storage) {
        CloseStorage();
        m_storage = unit.StorageID;
        AddNode(kStorage, storage);
        m_streams[kIds]->WriteVarint(static_cast<quint64>(unit.StorageID));
        m_streams[kSizes]->WriteVarint(0);
        m_streams[kDates]->WriteVarint(0);
    }
    const NodeKind kind = KindOf(unit);
    // A unit exported on its own (not a storage's top) shows where it lies.
    AddNode(kind, m_open.empty() ? path : unit.Name);
    m_open.push_back(IsContainer(kind));
    m_streams[kIds]->WriteVarint(Zigzag(unit.UnitID - m_lastId));
    m_lastId = unit.UnitID;
    m_streams[kSizes]->WriteVarint(static_cast<quint64>(std::max<qint64>(unit.Size, 0)));
    const qint64 date = DateSeconds(unit.Modified);
    if (date == 0) {
        m_streams[kDates]->WriteVarint(0);
    } else {
        m_streams[kDates]->WriteVarint(Zigzag(date - m_lastDate) + 1);
        m_lastDate = date;
    }
    switch (unit.Kind) {
    case UnitKind::Disc:
        ++m_discs;
        break;
    case UnitKind::Folder:
        ++m_folders;
        break;
    case UnitKind::File:
        ++m_fileCount;
        m_bytes += unit.Size;
        break;
    default: // the entries of archives count in no total
        break;
    }
}

void CPageExportWriter::EndUnit()
{
    if (m_open.empty())
        return;
    if (m_open.back())
        m_streams[kShape]->Write(kEndOfChildren);
    m_open.pop_back();
}

void CPageExportWriter::End()
{
    while (!m_open.empty())
        EndUnit();
    CloseStorage();
    for (auto& stream : m_streams)
        stream->Finish();
    Write(Header(true));
    for (int column = 0; column < kColumnCount; ++column)
        WriteColumn(static_cast<Column>(column));
    Write(Header(false));
}

qint64 CPageExportWriter::DateSeconds(const QString& stored)
{
    // "YYYY-MM-DD HH:MM:SS", the seconds optional.
    if (stored.size() < 16)
        return 0;
    const auto number = [&stored](int at, int digits) {
        int value = 0;
        for (int i = at; i < at + digits; ++i) {
            const int digit = stored.at(i).digitValue();
            if (digit < 0)
                return -1;
            value = value * 10 + digit;
        }
        return value;
    };
    const int year = number(0, 4);
    const int month = number(5, 2);
    const int day = number(8, 2);
    const int hour = number(11, 2);
    const int minute = number(14, 2);
    const int second = stored.size() >= 19 ? number(17, 2) : 0;
    if (year < 0 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || minute < 0 ||
        second < 0)
        return 0;
    const qint64 seconds =
        DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) * 86400 +
        hour * 3600 + minute * 60 + second;
    // 0 means "no date": the first second of 1970 moves by one.
    return seconds == 0 ? 1 : seconds;
}

void CPageExportWriter::AddNode(NodeKind kind, const QString& name)
{
    m_streams[kShape]->Write(kind);
    const QByteArray utf8 = name.toUtf8();
    m_streams[kNames]->Write(utf8.constData(), utf8.size());
    m_streams[kNames]->Write('\0');
    ++m_nodes;
}

void CPageExportWriter::CloseStorage()
{
    if (m_storage < 0)
        return;
    m_streams[kShape]->Write(kEndOfChildren);
    m_storage = -1;
}

QString CPageExportWriter::Header(bool upToData) const
{
    static const QString page = QString::fromUtf8(kCataloguePageTemplate);
    const qsizetype data = page.indexOf(QLatin1String("@DATA@"));
    const QString part = upToData ? page.left(data) : page.mid(data + 6);
    const QLocale c = QLocale::c();
    const QLocale english(QLocale::English);
    const auto count = [&english](qint64 n, const char* one, const char* many) {
        return english.toString(n) + QLatin1Char(' ') + QLatin1String(n == 1 ? one : many);
    };
    // One pass, so that a name holding "@NODES@" stays as it is.
    static const QRegularExpression placeholder(QStringLiteral("@([A-Z]+)@"));
    QString text;
    qsizetype at = 0;
    for (auto it = placeholder.globalMatch(part); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        text += part.mid(at, match.capturedStart() - at);
        const QString key = match.captured(1);
        if (key == QLatin1String("TITLE"))
            text += m_title.toHtmlEscaped();
        else if (key == QLatin1String("DATE"))
            text += c.toString(QDateTime::currentDateTime(), QStringLiteral("yyyy-MM-dd HH:mm"));
        else if (key == QLatin1String("DISCS"))
            text += count(m_discs, "disc", "discs");
        else if (key == QLatin1String("FOLDERS"))
            text += count(m_folders, "folder", "folders");
        else if (key == QLatin1String("FILES"))
            text += count(m_fileCount, "file", "files");
        else if (key == QLatin1String("SIZE"))
            text += FormatSize(m_bytes).toHtmlEscaped();
        else if (key == QLatin1String("BYTES"))
            text += QString::number(m_bytes);
        else if (key == QLatin1String("NODES"))
            text += QString::number(m_nodes);
        else
            text += match.captured(0);
        at = match.capturedEnd();
    }
    text += part.mid(at);
    return text;
}

void CPageExportWriter::WriteColumn(Column column)
{
    QTemporaryFile& file = *m_files[column];
    if (!file.seek(0))
        throw std::runtime_error("The page's temporary data could not be read again.");
    Write(QStringLiteral("<script type=\"application/octet-stream\" id=\"%1\">")
              .arg(QLatin1String(kColumnIds[column])));
    while (!file.atEnd()) {
        const QByteArray chunk = file.read(kBase64Chunk);
        if (chunk.isEmpty())
            break;
        Write(chunk.toBase64().constData());
    }
    Write("</script>\n");
    m_streams[column].reset();
    m_files[column].reset();
}
