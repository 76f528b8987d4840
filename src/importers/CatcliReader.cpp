#include "importers/CatcliReader.h"

#include "importers/ImportSink.h"

#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QObject>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {

// The line (from 1) that holds byte offset of text.
int LineAt(const QByteArray& text, int offset)
{
    const int end = std::min<int>(offset, static_cast<int>(text.size()));
    return 1 + static_cast<int>(std::count(text.constBegin(), text.constBegin() + end, '\n'));
}

// A time as catcli keeps it, seconds since 1970 in UTC, or invalid when absent.
QDateTime EpochTime(const QJsonValue& value)
{
    if (!value.isDouble())
        return {};
    const double seconds = value.toDouble();
    if (!std::isfinite(seconds) || seconds <= 0)
        return {};
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::llround(seconds * 1000.0)),
                                          Qt::UTC);
}

QString NodeName(const QJsonObject& node)
{
    const QJsonValue name = node.value(QLatin1String("name"));
    if (!name.isString() || name.toString().isEmpty())
        throw ImportError{0, QObject::tr("A node of type \"%1\" has no name")
                                 .arg(node.value(QLatin1String("type")).toString())};
    return name.toString();
}

QJsonArray Children(const QJsonObject& node)
{
    const QJsonValue children = node.value(QLatin1String("children"));
    if (children.isUndefined() || children.isNull())
        return {};
    if (!children.isArray())
        throw ImportError{0,
                          QObject::tr("The children of \"%1\" are not a list").arg(NodeName(node))};
    return children.toArray();
}

} // namespace

QString CCatcliReader::Name() const
{
    return QStringLiteral("catcli");
}

bool CCatcliReader::Recognises(const QByteArray& head, const QString& fileName) const
{
    const QByteArray text = head.trimmed();
    if (!text.startsWith('{'))
        return false;
    // The root node, or (in a head cut short of it) a storage node with its children.
    static const QRegularExpression top(QStringLiteral("\"type\"\\s*:\\s*\"top\""));
    static const QRegularExpression storage(QStringLiteral("\"type\"\\s*:\\s*\"storage\""));
    const QString start = QString::fromUtf8(text);
    if (top.match(start).hasMatch())
        return true;
    return storage.match(start).hasMatch() &&
           (start.contains(QLatin1String("\"children\"")) ||
            fileName.endsWith(QLatin1String(".catalog"), Qt::CaseInsensitive));
}

void CCatcliReader::Read(QIODevice& in, CImportSink& sink) const
{
    const QByteArray text = in.readAll();
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        throw ImportError{LineAt(text, error.offset), error.errorString()};
    if (!document.isObject())
        throw ImportError{1, QObject::tr("The catalogue is not a JSON object")};

    const QJsonObject root = document.object();
    const QString rootType = root.value(QLatin1String("type")).toString();
    if (rootType != QLatin1String("top"))
        throw ImportError{
            1, QObject::tr("The root node is of type \"%1\", not \"top\"").arg(rootType)};
    for (const QJsonValue child : Children(root)) {
        if (!child.isObject())
            throw ImportError{0, QObject::tr("A node below the root is not an object")};
        const QJsonObject storage = child.toObject();
        if (storage.value(QLatin1String("type")).toString() != QLatin1String("storage"))
            continue;
        sink.BeginDisc(NodeName(storage), EpochTime(storage.value(QLatin1String("ts"))));
        const QJsonValue notes = storage.value(QLatin1String("attr"));
        if (notes.isString() && !notes.toString().isEmpty())
            sink.SetDiscNotes(notes.toString());
        for (const QJsonValue node : Children(storage)) {
            if (!node.isObject())
                throw ImportError{
                    0, QObject::tr("A node in \"%1\" is not an object").arg(NodeName(storage))};
            ReadNode(node.toObject(), {}, sink);
        }
    }
}

void CCatcliReader::ReadNode(const QJsonObject& node, const QStringList& folders, CImportSink& sink)
{
    const QString type = node.value(QLatin1String("type")).toString();
    const bool isFolder = type == QLatin1String("dir");
    if (!isFolder && type != QLatin1String("file"))
        return;

    ImportedItem item;
    item.Path = folders;
    item.Path << NodeName(node);
    item.IsFolder = isFolder;
    const QJsonValue size = node.value(QLatin1String("size"));
    if (!isFolder && size.isDouble() && size.toDouble() >= 0)
        item.Size = size.toInteger();
    item.Modified = EpochTime(node.value(QLatin1String("maccess")));
    sink.Item(item);

    if (!isFolder)
        return;
    for (const QJsonValue child : Children(node)) {
        if (!child.isObject())
            throw ImportError{0, QObject::tr("A node in \"%1\" is not an object")
                                     .arg(item.Path.join(QLatin1Char('/')))};
        ReadNode(child.toObject(), item.Path, sink);
    }
}
