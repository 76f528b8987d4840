#include "importers/EfuReader.h"

#include "importers/CsvRecords.h"
#include "importers/ImportSink.h"

#include <QTimeZone>

namespace {

constexpr qint64 kFolderAttribute = 0x10;
// Milliseconds from 1601-01-01 (where FILETIME counts from) to 1970-01-01.
constexpr qint64 kFiletimeEpochMsecs = 11644473600000LL;

int Column(const QStringList& header, const char* name)
{
    for (int i = 0; i < header.size(); ++i) {
        if (header[i].trimmed().compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

} // namespace

bool CEfuReader::Recognises(const QByteArray& head, const QString& fileName) const
{
    const qsizetype end = head.indexOf('\n');
    QByteArray first = (end < 0 ? head : head.left(end)).trimmed();
    if (first.startsWith("\xEF\xBB\xBF"))
        first.remove(0, 3);
    // Only the Filename column is required, and it comes first in what Everything writes.
    if (first.compare("Filename", Qt::CaseInsensitive) == 0)
        return true;
    if (first.toLower().startsWith("filename,"))
        return true;
    return fileName.endsWith(QLatin1String(".efu"), Qt::CaseInsensitive) &&
           first.toLower().contains("filename");
}

QStringList CEfuReader::SplitPath(const QString& fileName, QString& disc)
{
    const QString& path = fileName;
    const QChar separator = path.contains(QLatin1Char('\\')) ? QLatin1Char('\\') : QLatin1Char('/');
    disc.clear();
    if (path.startsWith(QString(2, separator))) {
        // \\server\share\...: the share is the disc.
        const QStringList parts = path.mid(2).split(separator, Qt::SkipEmptyParts);
        if (parts.size() < 2) {
            disc = QString(2, separator) + parts.value(0);
            return {};
        }
        disc = QString(2, separator) + parts[0] + separator + parts[1];
        return parts.mid(2);
    }
    QStringList parts = path.split(separator, Qt::SkipEmptyParts);
    // A name relative to the list: "." and ".." lead nowhere in a catalogue.
    while (!parts.isEmpty() &&
           (parts.first() == QLatin1String(".") || parts.first() == QLatin1String("..")))
        parts.removeFirst();
    if (parts.size() < 2 && !(parts.size() == 1 && parts.first().endsWith(QLatin1Char(':'))))
        return parts;
    disc = parts.takeFirst();
    return parts;
}

QDateTime CEfuReader::ParseDate(const QString& text, bool& ok)
{
    ok = true;
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return QDateTime();
    bool number = false;
    const qint64 filetime = trimmed.toLongLong(&number);
    if (number) {
        if (filetime <= 0)
            return QDateTime();
        return QDateTime::fromMSecsSinceEpoch(filetime / 10000 - kFiletimeEpochMsecs,
                                              QTimeZone::utc());
    }
    QDateTime time = QDateTime::fromString(trimmed, Qt::ISODateWithMs);
    ok = time.isValid();
    return time;
}

void CEfuReader::Read(QIODevice& in, CImportSink& sink) const
{
    CCsvRecords records(in);
    QStringList fields;
    if (!records.Next(fields))
        throw ImportError{1, QStringLiteral("the file is empty")};
    const int nameColumn = Column(fields, "Filename");
    if (nameColumn < 0)
        throw ImportError{records.Line(), QStringLiteral("no Filename column")};
    const int sizeColumn = Column(fields, "Size");
    const int modifiedColumn = Column(fields, "Date Modified");
    const int createdColumn = Column(fields, "Date Created");
    const int attributesColumn = Column(fields, "Attributes");

    QString currentDisc;
    bool inDisc = false;
    while (records.Next(fields)) {
        const int line = records.Line();
        const auto field = [&](int column) {
            return column >= 0 && column < fields.size() ? fields[column].trimmed() : QString();
        };
        const QString fileName = field(nameColumn);
        if (fileName.isEmpty())
            throw ImportError{line, QStringLiteral("no file name")};
        ImportedItem item;
        const QString size = field(sizeColumn);
        if (!size.isEmpty()) {
            bool ok = false;
            item.Size = size.toLongLong(&ok);
            if (!ok || item.Size < 0)
                throw ImportError{line, QStringLiteral("unreadable size \"%1\"").arg(size)};
        }
        bool ok = true;
        item.Modified = ParseDate(field(modifiedColumn), ok);
        if (ok)
            item.Created = ParseDate(field(createdColumn), ok);
        if (!ok)
            throw ImportError{line, QStringLiteral("unreadable date")};
        const QString attributes = field(attributesColumn);
        if (!attributes.isEmpty()) {
            const qint64 bits = attributes.toLongLong(&ok, 0);
            if (!ok)
                throw ImportError{line,
                                  QStringLiteral("unreadable attributes \"%1\"").arg(attributes)};
            item.IsFolder = (bits & kFolderAttribute) != 0;
        }

        QString disc;
        item.Path = SplitPath(fileName, disc);
        if (disc.isEmpty()) {
            // A single part of a relative list: it lies in the storage itself.
            if (inDisc)
                sink.EndDisc();
            inDisc = false;
        } else if (!inDisc || disc.compare(currentDisc, Qt::CaseInsensitive) != 0) {
            sink.BeginDisc(disc, QDateTime());
            currentDisc = disc;
            inDisc = true;
        }
        if (!item.Path.isEmpty()) // the drive's own row is the disc itself
            sink.Item(item);
    }
}
