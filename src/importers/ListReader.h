#pragma once

#include <QByteArray>
#include <QString>

class CImportSink;
class QIODevice;

// The reader of one list format: its name for --format, whether a file looks like
// it, and the reading itself.
class CListReader
{
public:
    virtual ~CListReader() = default;

    // The --format name: "efu", "catcli", "snap2html", "vvv", "cdcat", "csv", "json".
    virtual QString Name() const = 0;
    // Whether the file's first bytes (up to 64 KiB) and its name look like this format.
    virtual bool Recognises(const QByteArray& head, const QString& fileName) const = 0;
    // Reads the whole list into sink, in the list's order; throws ImportError when the
    // list does not parse.
    virtual void Read(QIODevice& in, CImportSink& sink) const = 0;
};
