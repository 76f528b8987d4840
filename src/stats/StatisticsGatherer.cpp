#include "stats/StatisticsGatherer.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>

#include <algorithm>
#include <map>

namespace {

QString Tr(const char* text)
{
    return QCoreApplication::translate("CStatisticsGatherer", text);
}

struct Sums
{
    qint64 Files = 0;
    qint64 Bytes = 0;
};

StatisticsSection MakeSection(StatisticsSection::Kind kind, const char* key, const char* title,
                              const char* label, const char* count, bool hasLocation)
{
    StatisticsSection section;
    section.SectionKind = kind;
    section.Key = QString::fromLatin1(key);
    section.Title = Tr(title);
    section.LabelHeader = Tr(label);
    section.CountHeader = Tr(count);
    section.HasLocation = hasLocation;
    return section;
}

// Years in order, the files without a date last.
void AddYears(const std::map<QString, Sums>& years, StatisticsSection& section)
{
    for (const auto& [year, sums] : years) {
        if (!year.isEmpty())
            section.Rows.push_back({year, sums.Files, sums.Bytes, {}, 0});
    }
    const auto unknown = years.find(QString());
    if (unknown != years.end())
        section.Rows.push_back({CStatisticsGatherer::UnknownYearLabel(),
                                unknown->second.Files,
                                unknown->second.Bytes,
                                {},
                                0});
}

// The largest first; equal sizes in the catalogue's order.
bool Larger(const ContainerRow& a, const ContainerRow& b)
{
    return a.Bytes != b.Bytes ? a.Bytes > b.Bytes : a.UnitID < b.UnitID;
}

void AddContainers(const std::vector<ContainerRow>& units, const std::map<int, QString>& locations,
                   StatisticsSection& section)
{
    for (const ContainerRow& unit : units) {
        const auto where = locations.find(unit.UnitID);
        section.Rows.push_back({unit.Name, unit.Files, unit.Bytes,
                                where != locations.end() ? where->second : QString(), unit.UnitID});
    }
}

} // namespace

QString CStatisticsGatherer::NoExtensionLabel()
{
    return Tr("(none)");
}

QString CStatisticsGatherer::OtherExtensionsLabel()
{
    return Tr("Other");
}

QString CStatisticsGatherer::UnknownYearLabel()
{
    return Tr("(no date)");
}

bool CStatisticsGatherer::Gather(const StatisticsScope& scope, CatalogueStatistics& result,
                                 const std::function<bool()>& keepGoing)
{
    const auto stopped = [&keepGoing] { return keepGoing && !keepGoing(); };
    result = CatalogueStatistics();

    std::vector<FileGroupRow> groups;
    std::vector<ContainerRow> folders;
    m_db.GetFilesAndFolders(scope, kTopUnits, groups, folders);
    if (stopped())
        return false;
    std::map<int, Sums> categories;
    std::map<QString, Sums> extensions;
    std::map<QString, Sums> years;
    for (const FileGroupRow& group : groups) {
        // SQL's lower() folds A-Z only; the rest is folded here.
        for (Sums* sums : {&categories[group.CategoryID], &extensions[group.Extension.toLower()],
                           &years[group.Year]}) {
            sums->Files += group.Files;
            sums->Bytes += group.Bytes;
        }
        result.Files += group.Files;
        result.Bytes += group.Bytes;
    }

    // Every category of the catalogue, in its order, and any id a file names that the
    // Categories table has lost.
    StatisticsSection byCategory = MakeSection(StatisticsSection::Kind::Categories, "categories",
                                               "Categories", "Category", "Files", false);
    for (const auto& [id, category] : m_db.Categories()) {
        const Sums sums = categories.count(id) ? categories[id] : Sums();
        byCategory.Rows.push_back({category.Name, sums.Files, sums.Bytes, {}, 0});
    }
    for (const auto& [id, sums] : categories) {
        if (!m_db.Categories().count(id))
            byCategory.Rows.push_back({Tr("Category %1").arg(id), sums.Files, sums.Bytes, {}, 0});
    }
    result.Sections.push_back(std::move(byCategory));

    StatisticsSection byExtension = MakeSection(StatisticsSection::Kind::Extensions, "extensions",
                                                "File types", "Extension", "Files", false);
    std::vector<std::pair<QString, Sums>> ranked(extensions.begin(), extensions.end());
    std::sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) {
        if (a.second.Bytes != b.second.Bytes)
            return a.second.Bytes > b.second.Bytes;
        if (a.second.Files != b.second.Files)
            return a.second.Files > b.second.Files;
        return a.first < b.first;
    });
    Sums other;
    for (size_t i = 0; i < ranked.size(); ++i) {
        const auto& [extension, sums] = ranked[i];
        if (i < static_cast<size_t>(kTopExtensions)) {
            byExtension.Rows.push_back({extension.isEmpty() ? NoExtensionLabel() : extension,
                                        sums.Files,
                                        sums.Bytes,
                                        {},
                                        0});
        } else {
            other.Files += sums.Files;
            other.Bytes += sums.Bytes;
        }
    }
    if (other.Files > 0)
        byExtension.Rows.push_back({OtherExtensionsLabel(), other.Files, other.Bytes, {}, 0});
    result.Sections.push_back(std::move(byExtension));

    StatisticsSection byYear = MakeSection(StatisticsSection::Kind::Years, "years",
                                           "Years modified", "Year", "Files", false);
    AddYears(years, byYear);
    result.Sections.push_back(std::move(byYear));

    std::vector<ContainerRow> discs;
    m_db.GetScopeDiscs(scope, discs);
    if (stopped())
        return false;
    result.Discs = static_cast<qint64>(discs.size());

    std::map<QString, Sums> added;
    for (const ContainerRow& disc : discs) {
        Sums& sums = added[disc.YearAdded];
        ++sums.Files;
        sums.Bytes += disc.Bytes;
    }
    std::sort(discs.begin(), discs.end(), &Larger);
    if (discs.size() > static_cast<size_t>(kTopUnits))
        discs.resize(static_cast<size_t>(kTopUnits));
    std::vector<int> ids;
    for (const auto* units : {&discs, &folders}) {
        for (const ContainerRow& unit : *units)
            ids.push_back(unit.UnitID);
    }
    const std::map<int, QString> locations = m_db.GetUnitLocations(ids);

    StatisticsSection largestDiscs =
        MakeSection(StatisticsSection::Kind::LargestDiscs, "largestDiscs", "Largest discs", "Disc",
                    "Files", true);
    AddContainers(discs, locations, largestDiscs);
    result.Sections.push_back(std::move(largestDiscs));

    StatisticsSection largestFolders =
        MakeSection(StatisticsSection::Kind::LargestFolders, "largestFolders", "Largest folders",
                    "Folder", "Files", true);
    AddContainers(folders, locations, largestFolders);
    result.Sections.push_back(std::move(largestFolders));

    StatisticsSection discsAdded = MakeSection(StatisticsSection::Kind::DiscsAdded, "discsAdded",
                                               "Discs added", "Year", "Discs", false);
    AddYears(added, discsAdded);
    result.Sections.push_back(std::move(discsAdded));
    return true;
}
