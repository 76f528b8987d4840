#pragma once

#include <QString>

class CImportSink;

// One row of our own export (CSV or JSON), by the export's field names.
struct ExportRow
{
    QString Path;
    QString Name;
    QString Type;
    QString Size;
    QString Modified;
    QString Created;
    QString Added;
    QString Notes;
    QString Storage;
};

// Turns the rows of our own export, in the order the export wrote them (every unit
// before what lies in it), into discs and items for a sink. A path's first part is a
// unit lying directly in its storage: a disc, or a folder or file catalogued on its own.
// An export of a single folder starts below its disc, which is then begun from the
// path. The entries of archives (the rows below a file) are left out: the archive
// comes in as the file it is. Throws ImportError for a row that makes no sense.
class CExportRowFeeder final
{
public:
    explicit CExportRowFeeder(CImportSink& sink) : m_sink(sink) {}

    // line: where the row is, for the error (0 when the list has no lines).
    void Row(const ExportRow& row, int line);

private:
    CImportSink& m_sink;
    QString m_storage;
    bool m_started = false;
    QString m_top; // the first part of the paths being read
    bool m_inDisc = false;
    QString m_lastFile; // the last file's path: rows below it are an archive's entries
};
