#include "export/CatalogueExporter.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <algorithm>

namespace {

// How often the progress is told: often enough for a bar, seldom enough to cost nothing.
constexpr qint64 kProgressEvery = 2000;

bool HasChildren(const ExportRecord& unit)
{
    return unit.Kind == UnitKind::Disc || unit.Kind == UnitKind::Folder ||
           unit.Kind == UnitKind::ArchiveFolder || unit.IsArchive;
}

QString Join(const QString& prefix, const QString& name)
{
    return prefix.isEmpty() ? name : prefix + QLatin1Char('/') + name;
}

} // namespace

CCatalogueExporter::CCatalogueExporter(CSqliteWrapper& db, CExportWriter& writer)
    : m_db(db), m_writer(writer)
{
}

bool CCatalogueExporter::Run(const ExportScope& scope, const Progress& progress)
{
    m_progress = progress;
    m_written = 0;
    std::vector<StorageRecord> storages;
    m_db.GetStorages(storages);
    for (const StorageRecord& storage : storages)
        m_storageNames[storage.StorageID] = storage.StorageName;

    switch (scope.What) {
    case ExportScope::Kind::Catalogue:
    case ExportScope::Kind::Storage:
        m_total = m_db.CountExportUnits(scope.What == ExportScope::Kind::Storage ? scope.Id : 0, 0);
        break;
    case ExportScope::Kind::Unit:
        m_total = m_db.CountExportUnits(0, scope.Id);
        break;
    case ExportScope::Kind::Units:
        m_total = static_cast<qint64>(scope.UnitIds.size());
        break;
    }
    if (!Report())
        return false;

    m_writer.Begin();
    switch (scope.What) {
    case ExportScope::Kind::Catalogue:
        for (const StorageRecord& storage : storages) {
            if (!WalkChildren(storage.StorageID, 0, QString()))
                return false;
        }
        break;
    case ExportScope::Kind::Storage:
        if (!WalkChildren(scope.Id, 0, QString()))
            return false;
        break;
    case ExportScope::Kind::Unit:
    case ExportScope::Kind::Units: {
        std::vector<ExportRecord> units;
        m_db.GetExportUnits(scope.What == ExportScope::Kind::Unit ? std::vector<int>{scope.Id}
                                                                  : scope.UnitIds,
                            units);
        for (const ExportRecord& unit : units) {
            const QString path = Join(ParentPath(unit.UnitID), unit.Name);
            if (!WriteUnit(unit, path, scope.What == ExportScope::Kind::Unit))
                return false;
        }
        break;
    }
    }
    m_writer.End();
    return true;
}

bool CCatalogueExporter::WalkChildren(int storageId, int parentId, const QString& prefix)
{
    std::vector<ExportRecord> children;
    m_db.GetExportChildren(storageId, parentId, children);
    // Stops at the first unit whose writing was cancelled.
    return std::all_of(children.begin(), children.end(), [&](const ExportRecord& unit) {
        return WriteUnit(unit, Join(prefix, unit.Name), true);
    });
}

bool CCatalogueExporter::WriteUnit(const ExportRecord& unit, const QString& path, bool walk)
{
    m_writer.StartUnit(unit, path, StorageName(unit.StorageID));
    ++m_written;
    if (m_written % kProgressEvery == 0 && !Report())
        return false;
    if (walk && HasChildren(unit)) {
        m_writer.StartChildren();
        if (!WalkChildren(unit.StorageID, unit.UnitID, path))
            return false;
        m_writer.EndChildren();
    }
    m_writer.EndUnit();
    return true;
}

QString CCatalogueExporter::ParentPath(int unitId)
{
    return m_db.GetAncestorNames(unitId).join(QLatin1Char('/'));
}

QString CCatalogueExporter::StorageName(int storageId)
{
    const auto it = m_storageNames.find(storageId);
    return it == m_storageNames.end() ? QString() : it->second;
}

bool CCatalogueExporter::Report()
{
    return !m_progress || m_progress(m_written, std::max(m_total, m_written));
}
