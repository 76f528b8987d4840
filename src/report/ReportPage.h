#pragma once

#include "report/ReportUnit.h"
#include "settings/CStdioFileEx.h"

#include <QString>
#include <QStringView>

struct StorageRecord;

/// The report page: a static XHTML page with one table per storage, written as UTF-16
/// text (CStdioFileEx's Unicode mode). Lines end in CR LF, except the last one.
/// Text is gathered in a buffer and written in large pieces; Flush() writes whatever
/// is buffered, so a page that is abandoned half-way keeps every row written so far.
/// Names, storage names and notes go into the page as they are, without escaping.
class CReportPage final
{
public:
    CReportPage();
    ~CReportPage();
    CReportPage(const CReportPage&) = delete;
    CReportPage& operator=(const CReportPage&) = delete;

    /// Creates the file, replacing any old one. False when it cannot be created.
    bool Create(const QString& path);

    /// The document type, the head with its title ("Report for <title>") and style
    /// sheet, and the opening of the body.
    void WriteHead(const QString& title);
    /// A storage's table up to its body: caption and header row.
    void WriteTableStart(const StorageRecord& storage);
    /// One data row; depth 1 is a unit lying directly in the storage.
    void WriteRow(const ReportUnit& unit, int depth);
    /// The end of the table and the break after it.
    void WriteTableEnd();
    /// The footer notice and the end of the page (no line end after "</html>").
    void WriteFoot();

    /// Writes the buffered text to the file; false when a write failed.
    bool Flush();
    /// Flushes and closes; false when any write since Create failed.
    bool Close();

    /// The type column's text for a UnitKind value.
    static QString KindText(int kind);

private:
    void Line(QStringView text);
    void FlushWhenFull();

    CStdioFileEx m_file;
    QString m_buffer;
    bool m_failed = false;
    QString m_kindTexts[4]; // KindText of 0 to 3, looked up once per page
    QString m_unknownKind;
};
