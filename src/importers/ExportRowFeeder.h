#pragma once

#include "importers/ImportSink.h"

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
    QString Category;
    // The media details, as the list writes them.
    QString Duration;
    QString Width;
    QString Height;
    QString Bitrate;
    QString Codec;
    QString Artist;
    QString Title;
    QString Album;
    QString Year;
    QString Track;
    QString Genre;
    QString Archive; // an archive's format; empty for other units
};

// Turns the rows of our own export, in the order the export wrote them (every unit
// before what lies in it), into discs and items for a sink. A path's first part is a
// unit lying directly in its storage: a disc, or a folder or file catalogued on its own.
// An export of a single folder starts below its disc, which is then begun from the
// path. The rows below a file are the entries of an archive: they go to the sink as
// items with ArchivePathLength set. A file is held back until the next row shows
// whether entries follow it, so that an export written before the "archive" column
// still marks its archives. Throws ImportError for a row that makes no sense.
class CExportRowFeeder final
{
public:
    explicit CExportRowFeeder(CImportSink& sink) : m_sink(sink) {}

    // line: where the row is, for the error (0 when the list has no lines).
    void Row(const ExportRow& row, int line);
    // Hands over the file held back. Call once after the last row.
    void Finish();

private:
    CImportSink& m_sink;
    QString m_storage;
    bool m_started = false;
    QString m_top; // the first part of the paths being read
    bool m_inDisc = false;
    void SendPending();

    QString m_archive; // the outermost archive's path: rows below it are its entries
    int m_archiveLength = 0;
    bool m_hasPending = false;
    ImportedItem m_pending; // the last file, held back
    QString m_pendingPath;
};
