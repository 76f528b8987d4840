// Statistics of a catalogue that the real program made from real files, checked against
// sums the test works out itself from every row of Units.
#include "sqlitewrapper/SqliteWrapper.h"
#include "stats/StatisticsCatalogue.h"
#include "stats/StatisticsGatherer.h"

#include <QDate>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>

namespace {

struct UnitRow
{
    int Id = 0;
    int Parent = 0;
    int Storage = 0;
    char Type = 0;
    QString Name;
    qint64 Size = 0;
    int Category = 0;
    QString Modified;
};

void UnitRows(std::vector<UnitRow>& rows, int, char** values)
{
    rows.push_back({std::atoi(values[0]), values[1] ? std::atoi(values[1]) : 0,
                    std::atoi(values[2]), values[3][0], QString::fromUtf8(values[4]),
                    std::strtoll(values[5], nullptr, 10), std::atoi(values[6]),
                    QString::fromUtf8(values[7])});
}

struct Sums
{
    qint64 Count = 0;
    qint64 Bytes = 0;
    bool operator==(const Sums& other) const
    {
        return Count == other.Count && Bytes == other.Bytes;
    }
};

using SumsByLabel = std::map<QString, Sums>;

SumsByLabel Rows(const StatisticsSection& section)
{
    SumsByLabel sums;
    for (const StatisticsRow& row : section.Rows)
        sums[row.Label] = {row.Count, row.Bytes};
    return sums;
}

const StatisticsSection& Section(const CatalogueStatistics& result, StatisticsSection::Kind kind)
{
    for (const StatisticsSection& section : result.Sections) {
        if (section.SectionKind == kind)
            return section;
    }
    static const StatisticsSection none;
    ADD_FAILURE() << "no such section";
    return none;
}

class StatisticsGathererTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_catalogue.Ready()) << m_catalogue.Error().toStdString();
        m_db.OpenForReading(m_catalogue.Path());
        m_db.QueryRows(QStringLiteral("SELECT UnitID, ParentUnitID, StorageID, UnitType, "
                                      "UnitName, UnitSize, CategoryID, IFNULL(DateModified, "
                                      "'') FROM Units"),
                       m_units, &UnitRows);
        for (const UnitRow& unit : m_units)
            m_byId[unit.Id] = unit;
    }

    int Id(const QString& name)
    {
        for (const UnitRow& unit : m_units) {
            if (unit.Name == name)
                return unit.Id;
        }
        ADD_FAILURE() << "no unit " << name.toStdString();
        return 0;
    }

    bool InScope(const UnitRow& unit, const StatisticsScope& scope)
    {
        if (scope.StorageId)
            return unit.Storage == scope.StorageId;
        if (!scope.UnitId)
            return true;
        for (int id = unit.Id; id; id = m_byId[id].Parent) {
            if (id == scope.UnitId)
                return true;
        }
        return false;
    }

    // The files on the media ('F') of the scope, summed by the key given.
    template <typename Key> SumsByLabel Expected(const StatisticsScope& scope, Key key)
    {
        SumsByLabel sums;
        for (const UnitRow& unit : m_units) {
            if (unit.Type == 'F' && InScope(unit, scope)) {
                Sums& s = sums[key(unit)];
                ++s.Count;
                s.Bytes += unit.Size;
            }
        }
        return sums;
    }

    SumsByLabel ExpectedCategories(const StatisticsScope& scope)
    {
        SumsByLabel sums = Expected(
            scope, [this](const UnitRow& unit) { return m_db.GetCategory(unit.Category).Name; });
        for (const auto& [id, category] : m_db.Categories())
            sums[category.Name]; // every category has its row, files or not
        return sums;
    }

    SumsByLabel ExpectedYears(const StatisticsScope& scope)
    {
        return Expected(scope, [](const UnitRow& unit) { return unit.Modified.left(4); });
    }

    // Checks everything of result that can be summed from the rows.
    void CheckSums(const StatisticsScope& scope, const CatalogueStatistics& result)
    {
        const SumsByLabel all = Expected(scope, [](const UnitRow&) { return QString(); });
        const Sums total = all.empty() ? Sums() : all.begin()->second;
        EXPECT_EQ(result.Files, total.Count);
        EXPECT_EQ(result.Bytes, total.Bytes);
        EXPECT_EQ(Rows(Section(result, StatisticsSection::Kind::Categories)),
                  ExpectedCategories(scope));
        EXPECT_EQ(Rows(Section(result, StatisticsSection::Kind::Years)), ExpectedYears(scope));

        // The extensions: each named one with all its files, the largest by bytes named,
        // the rest in "Other".
        // After the last dot, version numbers passed over: libdemo.so.1.2 is an "so".
        const SumsByLabel extensions = Expected(scope, [](const UnitRow& unit) {
            static const QRegularExpression digits(QStringLiteral("^[0-9]+$"));
            const QStringList parts = unit.Name.split(QLatin1Char('.'));
            qsizetype i = parts.size() - 1;
            while (i > 1 && digits.match(parts[i]).hasMatch())
                --i;
            return i == 0 || parts[i].isEmpty() ? CStatisticsGatherer::NoExtensionLabel()
                                                : parts[i].toLower();
        });
        const StatisticsSection& byExtension = Section(result, StatisticsSection::Kind::Extensions);
        Sums named;
        qint64 smallestNamed = -1;
        Sums other;
        for (const StatisticsRow& row : byExtension.Rows) {
            if (row.Label == CStatisticsGatherer::OtherExtensionsLabel()) {
                other = {row.Count, row.Bytes};
                continue;
            }
            ASSERT_TRUE(extensions.count(row.Label)) << row.Label.toStdString();
            EXPECT_EQ((Sums{row.Count, row.Bytes}), extensions.at(row.Label))
                << row.Label.toStdString();
            EXPECT_TRUE(smallestNamed < 0 || row.Bytes <= smallestNamed) << "not by bytes";
            smallestNamed = row.Bytes;
            named.Count += row.Count;
            named.Bytes += row.Bytes;
        }
        EXPECT_EQ(named.Count + other.Count, total.Count);
        EXPECT_EQ(named.Bytes + other.Bytes, total.Bytes);
        const size_t namedRows = byExtension.Rows.size() - (other.Count ? 1 : 0);
        EXPECT_EQ(namedRows, std::min<size_t>(extensions.size(), 20));
        // The largest folders, the largest first, as many as fit.
        std::vector<UnitRow> folders;
        for (const UnitRow& unit : m_units) {
            if (unit.Type == 'D' && InScope(unit, scope))
                folders.push_back(unit);
        }
        std::sort(folders.begin(), folders.end(), [](const UnitRow& a, const UnitRow& b) {
            return a.Size != b.Size ? a.Size > b.Size : a.Id < b.Id;
        });
        folders.resize(std::min<size_t>(folders.size(), 20));
        const StatisticsSection& largest = Section(result, StatisticsSection::Kind::LargestFolders);
        ASSERT_EQ(largest.Rows.size(), folders.size());
        for (size_t i = 0; i < folders.size(); ++i) {
            EXPECT_EQ(largest.Rows[i].UnitID, folders[i].Id);
            EXPECT_EQ(largest.Rows[i].Bytes, folders[i].Size);
        }

        for (const auto& [extension, sums] : extensions) {
            if (!Rows(byExtension).count(extension)) {
                EXPECT_LE(sums.Bytes, smallestNamed) << extension.toStdString();
            }
        }
    }

    StatisticsCatalogue m_catalogue;
    CSqliteWrapper m_db;
    std::vector<UnitRow> m_units;
    std::map<int, UnitRow> m_byId;
};

} // namespace

TEST_F(StatisticsGathererTest, TheWholeCatalogueCountsFilesOnTheMediaOnly)
{
    // The archive's entries are in the catalogue, and count nowhere.
    const bool hasEntries = std::any_of(m_units.begin(), m_units.end(),
                                        [](const UnitRow& unit) { return unit.Type == 'f'; });
    ASSERT_TRUE(hasEntries);
    CatalogueStatistics result;
    ASSERT_TRUE(CStatisticsGatherer(m_db).Gather({}, result));
    CheckSums({}, result);

    // Over 20 extensions: 20 named, the rest in one row; names folded to lower case; a
    // name without a dot has none.
    const SumsByLabel extensions = Rows(Section(result, StatisticsSection::Kind::Extensions));
    EXPECT_EQ(extensions.size(), 21u);
    EXPECT_EQ(extensions.at(QStringLiteral("mp3")), (Sums{1, 7000}));
    EXPECT_EQ(extensions.at(QStringLiteral("jpg")).Count, m_catalogue.HasDisc() ? 3 : 2);
    EXPECT_EQ(extensions.at(CStatisticsGatherer::NoExtensionLabel()), (Sums{1, 100}));
    EXPECT_EQ(extensions.at(QStringLiteral("zip")).Count, 1);
    EXPECT_EQ(extensions.at(QStringLiteral("so")), (Sums{1, 2000}));
    EXPECT_TRUE(extensions.count(CStatisticsGatherer::OtherExtensionsLabel()));

    const StatisticsSection& folders = Section(result, StatisticsSection::Kind::LargestFolders);
    ASSERT_FALSE(folders.Rows.empty());
    EXPECT_EQ(folders.Rows.front().Label, QStringLiteral("tree"));
    EXPECT_EQ(folders.Rows.front().Location, QStringLiteral("Shelf"));
    EXPECT_EQ(folders.Rows.front().Bytes, m_byId[Id(QStringLiteral("tree"))].Size);
    EXPECT_EQ(folders.Rows.size(), 20u); // of 30 (31 with the disc's)

    // Keeping going is asked for; a no stops the work.
    EXPECT_FALSE(CStatisticsGatherer(m_db).Gather({}, result, [] { return false; }));
}

TEST_F(StatisticsGathererTest, AStorageADiscOrAFolderCountsWhatLiesInIt)
{
    const StatisticsScope shelf{m_byId[Id(QStringLiteral("tree"))].Storage, 0};
    CatalogueStatistics result;
    ASSERT_TRUE(CStatisticsGatherer(m_db).Gather(shelf, result));
    CheckSums(shelf, result);
    EXPECT_EQ(result.Discs, 0);
    EXPECT_TRUE(Section(result, StatisticsSection::Kind::LargestDiscs).Rows.empty());

    const StatisticsScope photos{0, Id(QStringLiteral("photos"))};
    ASSERT_TRUE(CStatisticsGatherer(m_db).Gather(photos, result));
    CheckSums(photos, result);
    EXPECT_EQ(result.Files, 3);
    EXPECT_EQ(result.Bytes, 9200);
    const StatisticsSection& folders = Section(result, StatisticsSection::Kind::LargestFolders);
    ASSERT_EQ(folders.Rows.size(), 2u);
    EXPECT_EQ(folders.Rows[0].Label, QStringLiteral("photos"));
    EXPECT_EQ(folders.Rows[1].Label, QStringLiteral("old"));
    EXPECT_EQ(folders.Rows[1].Location, QStringLiteral("Shelf \u203A tree \u203A photos"));
    EXPECT_EQ(Rows(Section(result, StatisticsSection::Kind::Years)),
              (SumsByLabel{{"2003", {1, 1200}}, {"2015", {1, 3000}}, {"2019", {1, 5000}}}));

    // music holds the archive: its 49,000 bytes of entries are not the folder's.
    const StatisticsScope music{0, Id(QStringLiteral("music"))};
    ASSERT_TRUE(CStatisticsGatherer(m_db).Gather(music, result));
    CheckSums(music, result);
    EXPECT_EQ(result.Files, 2);
    EXPECT_EQ(result.Bytes, m_byId[music.UnitId].Size);

    if (!m_catalogue.HasDisc())
        GTEST_SKIP() << "xorriso is not installed";
    const int discId = Id(QStringLiteral("Holiday"));
    for (const StatisticsScope scope :
         {StatisticsScope{0, discId}, StatisticsScope{m_byId[discId].Storage, 0}}) {
        ASSERT_TRUE(CStatisticsGatherer(m_db).Gather(scope, result));
        CheckSums(scope, result);
        EXPECT_EQ(result.Files, 3);
        EXPECT_EQ(result.Discs, 1);
        const StatisticsSection& discs = Section(result, StatisticsSection::Kind::LargestDiscs);
        ASSERT_EQ(discs.Rows.size(), 1u);
        EXPECT_EQ(discs.Rows[0].Label, QStringLiteral("Holiday"));
        EXPECT_EQ(discs.Rows[0].Location, QStringLiteral("Discs"));
        EXPECT_EQ(discs.Rows[0].Count, 3);
        EXPECT_EQ(discs.Rows[0].Bytes, 20860);
        const StatisticsSection& added = Section(result, StatisticsSection::Kind::DiscsAdded);
        ASSERT_EQ(added.Rows.size(), 1u);
        EXPECT_EQ(added.Rows[0].Label.toInt(), QDate::currentDate().year());
        EXPECT_EQ(added.Rows[0].Count, 1);
    }
}
