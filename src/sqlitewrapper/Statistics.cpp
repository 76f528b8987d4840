// The statistics' reads: the files of a part of the catalogue grouped by category,
// extension and year of modification, its largest folders and its discs. The whole
// catalogue is read straight from Units; a unit's subtree, and a storage that holds
// a small share of the catalogue, through a recursive walk down the parent index, so
// that the cost follows the size of the part and not of the catalogue.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

using SqlText::Format;

namespace {

// The columns every statement below reads, as the walk carries them.
const char* const kColumns =
    "UnitID, UnitName, UnitType, UnitSize, SubfilesNumber, CategoryID, DateModified, DateAdded";

// Deeper than any real tree; stops a walk that a loop of parent links would keep going.
constexpr int kMaxDepth = 4096;

qint64 Number(const char* value)
{
    return value ? std::strtoll(value, nullptr, 10) : 0;
}

QString Text(const char* value)
{
    return value ? SqlText::FromUtf8(value) : QString();
}

// The rows of files and folders taken as they come: the files summed by category,
// extension and year (millions of files make a few hundred groups), the largest
// folders kept. SQL could group the files too, but working out each name's extension
// there and sorting the rows by it takes several times as long; and one walk over the
// units serves both.
struct ScopeTally
{
    std::unordered_map<std::string, FileGroupRow> Groups;
    std::string Key;
    // A heap with the smallest of the largest folders on top.
    std::vector<ContainerRow> Folders;
    size_t FolderLimit = 0;
};

// The larger first; of two the same size, the first catalogued.
bool Larger(const ContainerRow& a, const ContainerRow& b)
{
    return a.Bytes != b.Bytes ? a.Bytes > b.Bytes : a.UnitID < b.UnitID;
}

// Where a name's extension starts: at its last dot, but before a version number that
// follows it ("libz.so.1.2.13" is an "so"); nullptr for a name without an extension.
const char* ExtensionDot(const char* name)
{
    const char* dot = std::strrchr(name, '.');
    while (dot && dot != name) {
        const char* digit = dot + 1;
        while (*digit >= '0' && *digit <= '9')
            ++digit;
        if (digit == dot + 1 || (*digit != '\0' && *digit != '.'))
            return dot; // not all digits: the extension
        // Digits alone: look for a dot before them.
        const char* before = dot - 1;
        while (before != name && *before != '.')
            --before;
        if (*before != '.')
            return dot;
        dot = before;
    }
    return dot;
}

void TallyFile(ScopeTally& tally, char** values)
{
    const char* category = values[1] ? values[1] : "0";
    const char* name = values[2] ? values[2] : "";
    const char* year = values[3] ? values[3] : "";
    const char* dot = ExtensionDot(name);
    std::string& key = tally.Key;
    key.assign(category);
    key += '/';
    key += year;
    key += '/';
    const size_t extensionAt = key.size();
    if (dot) {
        // A-Z folded here; the caller folds the rest of an extension's letters.
        for (const char* c = dot + 1; *c && *c != '.'; ++c)
            key += (*c >= 'A' && *c <= 'Z') ? static_cast<char>(*c - 'A' + 'a') : *c;
    }
    auto [it, added] = tally.Groups.try_emplace(key);
    FileGroupRow& group = it->second;
    if (added) {
        group.CategoryID = static_cast<int>(Number(category));
        group.Year = QString::fromLatin1(year);
        group.Extension = QString::fromUtf8(key.data() + extensionAt,
                                            static_cast<qsizetype>(key.size() - extensionAt));
    }
    ++group.Files;
    group.Bytes += Number(values[4]);
}

void TallyFolder(ScopeTally& tally, char** values)
{
    ContainerRow folder;
    folder.UnitID = static_cast<int>(Number(values[5]));
    folder.Bytes = Number(values[4]);
    std::vector<ContainerRow>& heap = tally.Folders;
    if (heap.size() >= tally.FolderLimit) {
        if (heap.empty() || !Larger(folder, heap.front()))
            return;
        std::pop_heap(heap.begin(), heap.end(), &Larger);
        heap.pop_back();
    }
    folder.Name = Text(values[2]);
    folder.Files = Number(values[6]);
    heap.push_back(std::move(folder));
    std::push_heap(heap.begin(), heap.end(), &Larger);
}

// UnitType, CategoryID, UnitName, the year of DateModified, UnitSize, UnitID,
// SubfilesNumber.
void Tally(std::vector<ScopeTally>& tallies, int columns, char** values)
{
    if (columns < 7 || tallies.empty() || !values[0])
        return;
    if (values[0][0] == 'F')
        TallyFile(tallies.back(), values);
    else
        TallyFolder(tallies.back(), values);
}

void Containers(std::vector<ContainerRow>& rows, int columns, char** values)
{
    if (columns < 5)
        return;
    ContainerRow row;
    row.UnitID = static_cast<int>(Number(values[0]));
    row.Name = Text(values[1]);
    row.Bytes = Number(values[2]);
    row.Files = Number(values[3]);
    row.YearAdded = Text(values[4]);
    rows.push_back(std::move(row));
}

} // namespace

QString CSqliteWrapper::StatisticsSource(const StatisticsScope& scope, QString& with)
{
    with.clear();
    QString seed;
    if (scope.UnitId > 0) {
        seed = Format("UnitID = %d", {scope.UnitId});
    } else if (scope.StorageId > 0) {
        // A storage that holds much of the catalogue is read faster in one pass over the
        // table than unit by unit through the index.
        std::vector<QString> counts;
        QueryRows(Format("SELECT (SELECT FilesNumber + FoldersNumber FROM Storages WHERE "
                         "StorageID = %d) * 8 > (SELECT SUM(FilesNumber + FoldersNumber) FROM "
                         "Storages)",
                         {scope.StorageId}),
                  counts, &RowMappers::Texts);
        if (!counts.empty() && counts.front() == QLatin1String("1"))
            return Format("(SELECT %s FROM Units WHERE StorageID = %d)",
                          {kColumns, scope.StorageId});
        seed = Format("ParentUnitID IS NULL AND StorageID = %d", {scope.StorageId});
    } else {
        return QStringLiteral("Units");
    }
    // Only discs and folders have children on the medium; an archive's entries ('d',
    // 'f') are not walked into.
    with = Format("WITH RECURSIVE Scope(%s, Depth) AS (SELECT %s, 0 FROM Units WHERE %s "
                  "UNION ALL SELECT u.UnitID, u.UnitName, u.UnitType, u.UnitSize, "
                  "u.SubfilesNumber, u.CategoryID, u.DateModified, u.DateAdded, s.Depth + 1 "
                  "FROM Scope s JOIN Units u ON u.ParentUnitID = s.UnitID WHERE s.UnitType IN "
                  "('C', 'D') AND s.Depth < %d AND u.UnitType NOT IN ('d', 'f')) ",
                  {kColumns, kColumns, seed, kMaxDepth});
    return QStringLiteral("Scope");
}

void CSqliteWrapper::GetFilesAndFolders(const StatisticsScope& scope, int folderLimit,
                                        std::vector<FileGroupRow>& groups,
                                        std::vector<ContainerRow>& largestFolders)
{
    groups.clear();
    largestFolders.clear();
    QString with;
    const QString source = StatisticsSource(scope, with);
    std::vector<ScopeTally> tallies(1);
    tallies.front().FolderLimit = static_cast<size_t>(std::max(0, folderLimit));
    QueryRows(with + Format("SELECT UnitType, CategoryID, UnitName, substr(DateModified, 1, 4), "
                            "UnitSize, UnitID, SubfilesNumber FROM %s WHERE UnitType IN ('F', "
                            "'D')",
                            {source}),
              tallies, &Tally);
    ScopeTally& tally = tallies.front();
    groups.reserve(tally.Groups.size());
    for (auto& [key, group] : tally.Groups)
        groups.push_back(std::move(group));
    largestFolders = std::move(tally.Folders);
    std::sort(largestFolders.begin(), largestFolders.end(), &Larger);
}

void CSqliteWrapper::GetScopeDiscs(const StatisticsScope& scope, std::vector<ContainerRow>& rows)
{
    rows.clear();
    const char* const select = "SELECT UnitID, UnitName, UnitSize, SubfilesNumber, "
                               "IFNULL(substr(DateAdded, 1, 4), '') FROM ";
    if (scope.UnitId > 0) {
        QString with;
        const QString source = StatisticsSource(scope, with);
        QueryRows(with + QLatin1String(select) + source +
                      QStringLiteral(" WHERE UnitType = 'C' ORDER BY UnitID"),
                  rows, &Containers);
        return;
    }
    // Discs lie at the top of their storage: the parent index finds them.
    QString where = QStringLiteral("WHERE ParentUnitID IS NULL AND UnitType = 'C'");
    if (scope.StorageId > 0)
        where += Format(" AND StorageID = %d", {scope.StorageId});
    QueryRows(QLatin1String(select) + QStringLiteral("Units ") + where +
                  QStringLiteral(" ORDER BY UnitID"),
              rows, &Containers);
}
