#include "importers/CdcatReader.h"

#include "importers/ImportSink.h"

#include <QIODevice>
#include <QObject>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <array>

#include <zlib.h>

#include <cmath>

namespace {

bool IsGzip(const QByteArray& bytes)
{
    return bytes.startsWith("\x1f\x8b");
}

// The catalogue inside a gzip file, as the program keeps it.
QByteArray Gunzip(const QByteArray& packed)
{
    z_stream stream{};
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK)
        throw ImportError{0, QObject::tr("The decompressor cannot start")};
    QByteArray out;
    std::array<char, 64 * 1024> chunk{};
    // zlib takes a non-const pointer but does not write through it.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData()));
    stream.avail_in = static_cast<uInt>(packed.size());
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(chunk.data());
        stream.avail_out = static_cast<uInt>(chunk.size());
        result = inflate(&stream, Z_NO_FLUSH);
        out.append(chunk.data(), static_cast<qsizetype>(chunk.size() - stream.avail_out));
    }
    inflateEnd(&stream);
    if (result != Z_STREAM_END)
        throw ImportError{0, QObject::tr("The compressed catalogue is damaged or cut short")};
    return out;
}

int LineOf(const QXmlStreamReader& xml)
{
    return static_cast<int>(xml.lineNumber());
}

QDateTime ParseTime(const QString& text)
{
    QString time = text.trimmed();
    time.replace(QLatin1Char('T'), QLatin1Char(' '));
    QDateTime parsed = QDateTime::fromString(time, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!parsed.isValid())
        parsed = QDateTime::fromString(time, QStringLiteral("yyyy-MM-dd HH:mm"));
    return parsed;
}

// Bytes from the size and unit attributes of a file.
qint64 SizeOf(const QXmlStreamReader& xml)
{
    const QString size = xml.attributes().value(QLatin1String("size")).toString().trimmed();
    if (size.isEmpty())
        return -1;
    // The unit is an attribute of its own, or follows the number ("1.5 Mb").
    static const QRegularExpression form(
        QStringLiteral("^([0-9]+(?:[.,][0-9]*)?)\\s*([A-Za-z]*)$"));
    const QRegularExpressionMatch match = form.match(size);
    if (!match.hasMatch())
        throw ImportError{LineOf(xml), QObject::tr("\"%1\" is not a size").arg(size)};
    const double amount = match.captured(1).replace(QLatin1Char(','), QLatin1Char('.')).toDouble();
    QString unit = match.captured(2).toLower();
    if (unit.isEmpty())
        unit = xml.attributes().value(QLatin1String("unit")).toString().trimmed().toLower();
    double scale = 1;
    if (unit.startsWith(QLatin1Char('k')))
        scale = 1024.0;
    else if (unit.startsWith(QLatin1Char('m')))
        scale = 1024.0 * 1024;
    else if (unit.startsWith(QLatin1Char('g')))
        scale = 1024.0 * 1024 * 1024;
    else if (unit.startsWith(QLatin1Char('t')))
        scale = 1024.0 * 1024 * 1024 * 1024;
    else if (!unit.isEmpty() && !unit.startsWith(QLatin1Char('b')))
        throw ImportError{LineOf(xml), QObject::tr("\"%1\" is not a unit of size").arg(unit)};
    return std::llround(amount * scale);
}

QString NameOf(const QXmlStreamReader& xml)
{
    QString name = xml.attributes().value(QLatin1String("name")).toString();
    if (name.isEmpty())
        throw ImportError{LineOf(xml),
                          QObject::tr("A <%1> has no name").arg(xml.name().toString())};
    return name;
}

} // namespace

QString CCdcatReader::Name() const
{
    return QStringLiteral("cdcat");
}

bool CCdcatReader::Recognises(const QByteArray& head, const QString& fileName) const
{
    // gzip's magic bytes: only the name can tell a compressed catalogue.
    if (IsGzip(head))
        return fileName.endsWith(QLatin1String(".hcf"), Qt::CaseInsensitive);
    QXmlStreamReader xml(head);
    while (!xml.atEnd() && !xml.hasError()) {
        if (xml.readNext() == QXmlStreamReader::StartElement)
            return xml.name() == QLatin1String("catalog") &&
                   (head.contains("<media") || head.contains("<datafile"));
    }
    return false;
}

void CCdcatReader::Read(QIODevice& in, CImportSink& sink) const
{
    QByteArray text = in.readAll();
    if (IsGzip(text))
        text = Gunzip(text);
    QXmlStreamReader xml(text);
    if (!xml.readNextStartElement())
        throw ImportError{LineOf(xml), xml.hasError() ? xml.errorString()
                                                      : QObject::tr("There is no XML element")};
    if (xml.name() != QLatin1String("catalog"))
        throw ImportError{
            LineOf(xml),
            QObject::tr("The root element is <%1>, not <catalog>").arg(xml.name().toString())};
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("media")) {
            sink.BeginDisc(NameOf(xml),
                           ParseTime(xml.attributes().value(QLatin1String("time")).toString()));
            ReadEntry(xml, {}, sink);
        } else {
            xml.skipCurrentElement();
        }
    }
    if (xml.hasError())
        throw ImportError{LineOf(xml), xml.errorString()};
}

void CCdcatReader::ReadEntry(QXmlStreamReader& xml, const QStringList& folders, CImportSink& sink)
{
    // The item is handed over before its first child, so that it comes before what
    // lies in it; a comment it holds counts as its notes when it comes before that.
    const bool isMedia = xml.name() == QLatin1String("media");
    const bool isFolder = xml.name() == QLatin1String("directory");
    ImportedItem item;
    item.Path = folders;
    if (!isMedia) {
        item.Path << NameOf(xml);
        item.IsFolder = isFolder;
        if (!isFolder)
            item.Size = SizeOf(xml);
        item.Modified = ParseTime(xml.attributes().value(QLatin1String("time")).toString());
    }
    bool handedOver = isMedia;
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("comment") && (isMedia || !handedOver)) {
            const QString notes =
                xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
            if (isMedia)
                sink.SetDiscNotes(notes);
            else
                item.Notes = notes;
            continue;
        }
        const bool child =
            xml.name() == QLatin1String("directory") || xml.name() == QLatin1String("file");
        if (!handedOver && child) {
            sink.Item(item);
            handedOver = true;
        }
        if (child && (isMedia || isFolder))
            ReadEntry(xml, item.Path, sink);
        else
            xml.skipCurrentElement();
    }
    if (xml.hasError())
        throw ImportError{LineOf(xml), xml.errorString()};
    if (!handedOver)
        sink.Item(item);
}
