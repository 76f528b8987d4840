#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class QIODevice;

// Reads comma-separated records (RFC 4180: fields with a comma, a quote or a line
// break are quoted, their quotes doubled) from a UTF-8 device one at a time, so that a
// list of any length holds one record in memory. A byte-order mark is skipped; lines
// may end in CR LF or LF. A malformed record raises ImportError with its line.
class CCsvRecords final
{
public:
    explicit CCsvRecords(QIODevice& in);

    // The next record into fields; false at the end of the device. Blank lines are
    // skipped.
    bool Next(QStringList& fields);
    // The line the last record began on (1 upwards).
    int Line() const { return m_recordLine; }

    // Whether the text's first line, read as a record, is exactly header (compared
    // without regard to case and blanks around the fields).
    static bool StartsWithHeader(const QByteArray& head, const QStringList& header);

private:
    bool ReadLine(QByteArray& line);

    QIODevice& m_in;
    int m_line = 0;
    int m_recordLine = 0;
    bool m_first = true;
};
