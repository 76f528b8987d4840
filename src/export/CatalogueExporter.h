#pragma once

#include "export/ExportWriter.h"

#include <QString>
#include <QtGlobal>

#include <functional>
#include <map>
#include <vector>

class CSqliteWrapper;

// What an export covers: the whole catalogue, one storage, one unit with everything
// below it, or a list of units (a results list), each alone.
struct ExportScope
{
    enum class Kind { Catalogue, Storage, Unit, Units };
    Kind What = Kind::Catalogue;
    int Id = 0; // the storage's or the unit's id
    std::vector<int> UnitIds;

    static ExportScope Storage(int storageId) { return {Kind::Storage, storageId, {}}; }
    static ExportScope Unit(int unitId) { return {Kind::Unit, unitId, {}}; }
    static ExportScope Units(std::vector<int> ids) { return {Kind::Units, 0, std::move(ids)}; }
};

// Walks what an export covers and hands every unit to a writer: a folder's children
// are read one folder at a time, depth first, so an export of millions of units holds
// only the children of the folders on the current path. Runs on whatever thread calls
// Run (the window's export worker, the command line's main thread).
class CCatalogueExporter
{
public:
    // Told the units written so far and about how many there will be (0 when not
    // known) every so often; returning false cancels the export.
    using Progress = std::function<bool(qint64 written, qint64 total)>;

    CCatalogueExporter(CSqliteWrapper& db, CExportWriter& writer);

    // True when everything was written; false when progress cancelled it (the writer
    // has then not been ended). Catalogue errors are thrown as CSqliteWrapperError.
    bool Run(const ExportScope& scope, const Progress& progress = {});

    qint64 Written() const { return m_written; }

private:
    bool WalkChildren(int storageId, int parentId, const QString& prefix);
    bool WriteUnit(const ExportRecord& unit, const QString& path, bool walk);
    // The path of a unit's parent in its storage ("Holiday 2019/DCIM").
    QString ParentPath(int unitId);
    QString StorageName(int storageId);
    bool Report();

    CSqliteWrapper& m_db;
    CExportWriter& m_writer;
    Progress m_progress;
    qint64 m_written = 0;
    qint64 m_total = 0;
    std::map<int, QString> m_storageNames;
};
