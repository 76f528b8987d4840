#pragma once

#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QString>
#include <QtGlobal>

#include <limits>
#include <utility>

// What a folder listing tells of one entry: a compact stand-in for the system's find
// data, holding what the import stores (not the last-access time, which it never uses:
// a folder-mode import queues a record for every entry of the tree). Times are
// milliseconds since 1970-01-01 UTC; kNoTime when the file system does not have the
// time (a creation time on many Linux file systems).
//
// The text of a symbolic link as readlink gives it, held once however often the record
// that names it is copied.
struct LinkText final : QSharedData
{
    explicit LinkText(QString text) : Text(std::move(text)) {}
    QString Text;

    static QExplicitlySharedDataPointer<const LinkText> Make(const QString& text);
};

// A symbolic link (on Windows also a junction or a volume mount point) is an entry of
// its own, never what it points to: it has the kLink attribute and not kDirectory, size
// 0, and the link's text when the file system gives it. Only links carry that text; any
// other entry holds a null pointer of one word.
struct FindData
{
    static constexpr quint32 kDirectory = 0x10;
    static constexpr quint32 kLink = 0x400; // Windows' reparse-point bit
    static constexpr qint64 kNoTime = std::numeric_limits<qint64>::min();

    quint32 Attributes = 0;
    qint64 CreationTime = kNoTime;
    qint64 LastWriteTime = kNoTime;
    quint64 Size = 0;
    QString FileName;
    QExplicitlySharedDataPointer<const LinkText> Link; // links only

    bool IsDirectory() const { return (Attributes & kDirectory) != 0; }
    bool IsLink() const { return (Attributes & kLink) != 0; }
};
