#include "importers/Snap2HtmlReader.h"

#include "importers/ImportSink.h"
#include "importers/JsLiteralScanner.h"

#include <QIODevice>
#include <QObject>
#include <QRegularExpression>

#include <functional>
#include <utility>

namespace {

void AppendCodePoint(QString& out, uint code)
{
    if (code == 0 || code > 0x10FFFF) {
        out += QChar(QChar::ReplacementCharacter);
    } else if (QChar::requiresSurrogates(code)) {
        out += QChar(QChar::highSurrogate(code));
        out += QChar(QChar::lowSurrogate(code));
    } else {
        out += QChar(static_cast<char16_t>(code));
    }
}

// The HTML character references a page may hold in a name, turned back into text.
QString DecodeEntities(const QString& text)
{
    if (!text.contains(QLatin1Char('&')))
        return text;
    static const QRegularExpression reference(
        QStringLiteral("&(#[0-9]+|#[xX][0-9a-fA-F]+|amp|lt|gt|quot|apos|nbsp);"));
    QString out;
    qsizetype last = 0;
    auto it = reference.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        out += text.mid(last, match.capturedStart() - last);
        const QString name = match.captured(1);
        if (name.startsWith(QLatin1String("#x"), Qt::CaseInsensitive))
            AppendCodePoint(out, name.mid(2).toUInt(nullptr, 16));
        else if (name.startsWith(QLatin1Char('#')))
            AppendCodePoint(out, name.mid(1).toUInt());
        else if (name == QLatin1String("amp"))
            out += QLatin1Char('&');
        else if (name == QLatin1String("lt"))
            out += QLatin1Char('<');
        else if (name == QLatin1String("gt"))
            out += QLatin1Char('>');
        else if (name == QLatin1String("quot"))
            out += QLatin1Char('"');
        else if (name == QLatin1String("apos"))
            out += QLatin1Char('\'');
        else
            out += QChar(0xA0);
        last = match.capturedEnd();
    }
    out += text.mid(last);
    return out;
}

// One "name*size*date" entry. The name may itself hold stars: size and date are the last
// two fields.
struct Entry
{
    QString Name;
    qint64 Size = -1;
    QDateTime Modified;
};

Entry ParseEntry(const JsLiteral& value, int base, int line)
{
    if (value.Type != JsLiteral::Kind::String)
        throw ImportError{line, QObject::tr("An entry is not a string")};
    const QString& text = value.Text;
    const qsizetype dateStar = text.lastIndexOf(QLatin1Char('*'));
    const qsizetype sizeStar = dateStar > 0 ? text.lastIndexOf(QLatin1Char('*'), dateStar - 1) : -1;
    if (sizeStar < 0)
        throw ImportError{line, QObject::tr("\"%1\" is not name*size*date").arg(text)};

    Entry entry;
    entry.Name = DecodeEntities(text.left(sizeStar));
    if (entry.Name.isEmpty())
        throw ImportError{line, QObject::tr("\"%1\" has no name").arg(text)};
    const QString size = text.mid(sizeStar + 1, dateStar - sizeStar - 1);
    const QString date = text.mid(dateStar + 1);
    bool ok = true;
    if (!size.isEmpty())
        entry.Size = size.toLongLong(&ok, base);
    if (!ok)
        throw ImportError{line, QObject::tr("\"%1\" is not a size").arg(size)};
    if (!date.isEmpty()) {
        const qint64 seconds = date.toLongLong(&ok, base);
        if (!ok)
            throw ImportError{line, QObject::tr("\"%1\" is not a date").arg(date)};
        if (seconds > 0)
            entry.Modified = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    }
    return entry;
}

ImportedItem MakeItem(QStringList path, const Entry& entry, bool isFolder)
{
    ImportedItem item;
    item.Path = std::move(path);
    item.IsFolder = isFolder;
    if (!isFolder)
        item.Size = entry.Size;
    item.Modified = entry.Modified;
    return item;
}

} // namespace

QString CSnap2HtmlReader::Name() const
{
    return QStringLiteral("snap2html");
}

bool CSnap2HtmlReader::Recognises(const QByteArray& head, const QString& fileName) const
{
    const bool isHtml = head.contains("<html") || head.contains("<HTML") ||
                        head.contains("<!DOCTYPE html") ||
                        fileName.endsWith(QLatin1String(".html"), Qt::CaseInsensitive) ||
                        fileName.endsWith(QLatin1String(".htm"), Qt::CaseInsensitive);
    if (!isHtml)
        return false;
    static const QRegularExpression data(QStringLiteral("D\\.p\\(\\s*\\["));
    const QString text = QString::fromUtf8(head);
    return data.match(text).hasMatch() || text.contains(QLatin1String("Snap2HTML"));
}

void CSnap2HtmlReader::Read(QIODevice& in, CImportSink& sink) const
{
    CJsLiteralScanner scanner(QString::fromUtf8(in.readAll()), QStringLiteral("D.p"));
    std::vector<JsCall> calls;
    for (JsCall call; scanner.Next(call); call = JsCall())
        calls.push_back(std::move(call));
    if (calls.empty())
        throw ImportError{0, QObject::tr("The page holds no folder data (no D.p([...]) call)")};

    // Only the newer layout ends a root folder's array with the snapshot's object.
    for (const JsCall& folder : calls)
        if (!folder.Values.empty() && folder.Values.back().Type == JsLiteral::Kind::Object)
            return ReadVersion2(calls, sink);
    ReadVersion1(calls, sink);
}

void CSnap2HtmlReader::ReadVersion1(const std::vector<JsCall>& calls, CImportSink& sink)
{
    QString root;
    for (const JsCall& call : calls) {
        if (call.Values.size() < 3)
            throw ImportError{call.Line,
                              QObject::tr("A folder's array has fewer than three values")};
        const Entry folder = ParseEntry(call.Values.front(), 10, call.Line);
        QStringList path;
        if (root.isNull()) {
            root = folder.Name;
            while (root.size() > 1 && root.endsWith(QLatin1Char('/')))
                root.chop(1);
            const QStringList parts = root.split(QLatin1Char('/'), Qt::SkipEmptyParts);
            sink.BeginDisc(parts.isEmpty() ? root : parts.back(), {});
        } else {
            if (!folder.Name.startsWith(root + QLatin1Char('/')))
                throw ImportError{
                    call.Line,
                    QObject::tr("The folder \"%1\" is not inside \"%2\"").arg(folder.Name, root)};
            path = folder.Name.mid(root.size() + 1).split(QLatin1Char('/'), Qt::SkipEmptyParts);
            sink.Item(MakeItem(path, folder, true));
        }
        // Files lie between the folder and its last two values (total size, subfolders).
        for (std::size_t i = 1; i + 2 < call.Values.size(); ++i) {
            const Entry file = ParseEntry(call.Values[i], 10, call.Line);
            sink.Item(MakeItem(path + QStringList{file.Name}, file, false));
        }
    }
}

void CSnap2HtmlReader::ReadVersion2(const std::vector<JsCall>& calls, CImportSink& sink)
{
    const int count = static_cast<int>(calls.size());
    std::vector<QStringList> paths(calls.size());
    std::vector<int> state(calls.size(), 0); // 0 not yet, 1 being resolved, 2 resolved
    std::vector<int> rootOf(calls.size(), 0);

    // A folder's path below its root, through its parents.
    std::function<const QStringList&(int)> pathOf = [&](int index) -> const QStringList& {
        const JsCall& call = calls[static_cast<std::size_t>(index)];
        auto& path = paths[static_cast<std::size_t>(index)];
        if (state[static_cast<std::size_t>(index)] == 2)
            return path;
        if (state[static_cast<std::size_t>(index)] == 1)
            throw ImportError{call.Line, QObject::tr("The folders' parents form a loop")};
        state[static_cast<std::size_t>(index)] = 1;
        const int parent = static_cast<int>(call.Values[1].Number);
        if (parent >= 0) {
            const int root = rootOf[static_cast<std::size_t>(index)];
            if (root + parent >= count || root + parent == index)
                throw ImportError{call.Line,
                                  QObject::tr("The parent folder %1 does not exist").arg(parent)};
            path = pathOf(root + parent);
            path << ParseEntry(call.Values.front(), 36, call.Line).Name;
        }
        state[static_cast<std::size_t>(index)] = 2;
        return path;
    };

    int root = 0;
    for (int index = 0; index < count; ++index) {
        const JsCall& call = calls[static_cast<std::size_t>(index)];
        if (call.Values.size() < 3 || call.Values[1].Type != JsLiteral::Kind::Number ||
            call.Values[2].Type != JsLiteral::Kind::String)
            throw ImportError{call.Line,
                              QObject::tr("A folder's array does not start with the folder, "
                                          "its parent and its subfolders")};
        if (call.Values[1].Number < 0)
            root = index;
        else if (index == 0)
            throw ImportError{call.Line, QObject::tr("The first folder is not a root")};
        rootOf[static_cast<std::size_t>(index)] = root;
    }

    for (int index = 0; index < count; ++index) {
        const JsCall& call = calls[static_cast<std::size_t>(index)];
        const Entry folder = ParseEntry(call.Values.front(), 36, call.Line);
        std::size_t end = call.Values.size();
        if (call.Values[1].Number < 0) {
            QString title = folder.Name;
            QDateTime taken;
            if (call.Values.back().Type == JsLiteral::Kind::Object) {
                const QJsonObject& snapshot = call.Values.back().Object;
                if (!snapshot.value(QLatin1String("title")).toString().isEmpty())
                    title = snapshot.value(QLatin1String("title")).toString();
                const qint64 seconds = snapshot.value(QLatin1String("timestamp")).toInteger();
                if (seconds > 0)
                    taken = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
                --end;
            }
            sink.BeginDisc(title, taken);
        } else {
            ImportedItem item = MakeItem(pathOf(index), folder, true);
            if (folder.Size == -1)
                item.Notes = QObject::tr("Snap2HTML could not read this folder");
            sink.Item(item);
        }
        const QStringList& path = pathOf(index);
        for (std::size_t i = 3; i < end; ++i) {
            const Entry file = ParseEntry(call.Values[i], 36, call.Line);
            sink.Item(MakeItem(path + QStringList{file.Name}, file, false));
        }
    }
}
