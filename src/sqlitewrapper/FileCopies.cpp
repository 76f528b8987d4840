// The reads behind the search for copies of files across the catalogue: one pass over
// every file in table order, the files of one subtree, and the rows of given ids.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QStringList>

#include <algorithm>
#include <cstdlib>

using SqlText::Format;

namespace {

// Units per statement when rows are read by id: a long IN list is one statement, but
// SQLite parses it whole, so the lists are kept to a size it reads at once.
constexpr size_t kIdsPerStatement = 10000;

struct VisitContext
{
    const FileKeyVisitor* visit;
    bool withDate;
};

// "UnitID, UnitName, UnitSize[, DateModified]"
int VisitRow(void* context, int, char** values, char**)
{
    const auto* ctx = static_cast<const VisitContext*>(context);
    FileKeyRow row;
    row.UnitID = values[0] ? std::atoi(values[0]) : 0;
    row.Name = values[1] ? values[1] : "";
    row.Size = values[2] ? std::atoll(values[2]) : 0;
    row.Modified = ctx->withDate ? values[3] : nullptr;
    return (*ctx->visit)(row) ? 0 : 1;
}

// "UnitID, UnitName, UnitSize, DateModified"
void CatalogueFiles(std::vector<CatalogueFile>& rows, int, char** values)
{
    CatalogueFile file;
    file.UnitID = values[0] ? std::atoi(values[0]) : 0;
    file.Name = SqlText::FromUtf8(values[1]);
    file.Size = values[2] ? std::atoll(values[2]) : 0;
    file.Modified = SqlText::FromUtf8(values[3]);
    rows.push_back(std::move(file));
}

} // namespace

int CSqliteWrapper::GetMaxUnitId()
{
    std::vector<int> ids;
    QueryRows(QStringLiteral("SELECT MAX(UnitID) FROM Units"), ids, &RowMappers::Ids);
    return ids.empty() ? 0 : ids.front();
}

bool CSqliteWrapper::VisitFiles(qint64 minSize, bool withDate, const FileKeyVisitor& visit)
{
    if (!m_db)
        throw CSqliteWrapperError(InaccessibleMessage(), 0, kImplementationFile, 609, true);
    // A plain scan of the table: rows come in UnitID order, which is also the order of
    // the table's pages, and no index is built or read.
    // A file inside an archive ('f') is a file too: a copy kept only in a zip is a copy.
    QString sql = withDate ? QStringLiteral("SELECT UnitID, UnitName, UnitSize, DateModified "
                                            "FROM Units WHERE UnitType IN ('F', 'f')")
                           : QStringLiteral("SELECT UnitID, UnitName, UnitSize FROM Units "
                                            "WHERE UnitType IN ('F', 'f')");
    if (minSize > 0)
        sql += Format(" AND UnitSize >= %lld", {static_cast<long long>(minSize)});
    VisitContext context{&visit, withDate};
    char* errmsg = nullptr;
    const int rc = sqlite3_exec(m_db, SqlText::ToUtf8(sql).c_str(), &VisitRow, &context, &errmsg);
    const std::string message = errmsg ? errmsg : "";
    sqlite3_free(errmsg);
    if (rc == SQLITE_ABORT)
        return false; // the visitor stopped it
    if (rc != SQLITE_OK)
        throw CSqliteWrapperError(message, rc, kHeaderFile, 623, true);
    return true;
}

void CSqliteWrapper::GetSubtreeFiles(int unitId, std::vector<CatalogueFile>& files)
{
    files.clear();
    // UNION, not UNION ALL: parent links that loop are walked once.
    QueryRows(Format("WITH RECURSIVE Below (UnitID) AS (SELECT %d UNION SELECT Units.UnitID "
                     "FROM Units INNER JOIN Below ON Units.ParentUnitID = Below.UnitID) "
                     "SELECT Units.UnitID, UnitName, UnitSize, DateModified FROM Units "
                     "INNER JOIN Below ON Units.UnitID = Below.UnitID "
                     "WHERE Units.UnitType IN ('F', 'f') ORDER BY Units.UnitID",
                     {unitId}),
              files, &CatalogueFiles);
}

void CSqliteWrapper::GetFilesById(const std::vector<int>& unitIds,
                                  std::vector<CatalogueFile>& files)
{
    files.clear();
    for (size_t first = 0; first < unitIds.size(); first += kIdsPerStatement) {
        const size_t end = std::min(unitIds.size(), first + kIdsPerStatement);
        QStringList ids;
        ids.reserve(static_cast<int>(end - first));
        for (size_t i = first; i < end; ++i)
            ids << QString::number(unitIds[i]);
        QueryRows(Format("SELECT UnitID, UnitName, UnitSize, DateModified FROM Units "
                         "WHERE UnitID IN (%s) ORDER BY UnitID",
                         {ids.join(QLatin1Char(','))}),
                  files, &CatalogueFiles);
    }
}
