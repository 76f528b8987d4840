#pragma once

#include "export/ExportWriter.h"

#include <QString>
#include <QtGlobal>

#include <array>
#include <memory>
#include <vector>

class CGzipStream;
class QTemporaryFile;

/// A catalogue as one self-contained HTML page: a tree of storages, discs and folders, the
/// list of the chosen folder and a search over every name, all in the page itself (no
/// server, nothing fetched from the network).
///
/// The units travel as columns, each a gzip stream in base64 inside the page, unpacked
/// by the browser's DecompressionStream: the names (UTF-8, each ended by a zero byte),
/// the shape (a kind byte per node, a zero byte after the last child of every storage,
/// disc, folder and archive, so a node's children follow it and its parent is known
/// without an index), the unit ids, the sizes and the modification dates (numbers as
/// LEB128, ids and dates as zigzag differences from the previous). Each column is
/// compressed as the units arrive into a temporary file, so memory stays the same
/// however large the catalogue; the page is put together in End.
class CPageExportWriter final : public CExportWriter
{
public:
    /// title: the catalogue's name, shown at the top of the page.
    CPageExportWriter(QIODevice& out, QString title);
    ~CPageExportWriter() override;

    void Begin() override;
    void StartUnit(const ExportRecord& unit, const QString& path, const QString& storage) override;
    void EndUnit() override;
    void End() override;

    /// The kind bytes of the shape column (the page reads the same numbers).
    enum NodeKind : char {
        kEndOfChildren = 0,
        kStorage = 1,
        kDisc = 2,
        kFolder = 3,
        kFile = 4,
        kArchive = 5,
        kArchiveFolder = 6,
        kArchiveFile = 7,
    };
    /// A stored date ("YYYY-MM-DD HH:MM:SS") as seconds since 1970 read as if it were UTC,
    /// so that the page shows the same wall-clock time; 0 when there is none.
    static qint64 DateSeconds(const QString& stored);

private:
    enum Column { kNames, kShape, kIds, kSizes, kDates, kColumnCount };

    void AddNode(NodeKind kind, const QString& name);
    void CloseStorage();
    // The page's text with its placeholders filled, up to or after the data.
    QString Header(bool upToData) const;
    void WriteColumn(Column column);

    QString m_title;
    std::array<std::unique_ptr<QTemporaryFile>, kColumnCount> m_files;
    std::array<std::unique_ptr<CGzipStream>, kColumnCount> m_streams;
    // For every unit started and not ended: whether it holds children.
    std::vector<bool> m_open;
    int m_storage = -1;
    qint64 m_lastId = 0;
    qint64 m_lastDate = 0;
    qint64 m_nodes = 0;
    qint64 m_discs = 0;
    qint64 m_folders = 0;
    qint64 m_fileCount = 0;
    qint64 m_bytes = 0;
};
