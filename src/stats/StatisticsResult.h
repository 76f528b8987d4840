#pragma once

#include <QString>
#include <QtGlobal>

#include <vector>

// The statistics of a part of the catalogue as the window and the command line show
// them: sections of rows, each row a label with a count (files, or discs) and bytes.

struct StatisticsRow
{
    QString Label;
    qint64 Count = 0;
    qint64 Bytes = 0;
    // Where a disc or folder lies ("Box 1 › Backup 2008-03"); empty in other sections.
    QString Location;
    // The disc's or folder's id; 0 in other sections.
    int UnitID = 0;
};

struct StatisticsSection
{
    enum class Kind { Categories, Extensions, Years, LargestDiscs, LargestFolders, DiscsAdded };

    Kind SectionKind = Kind::Categories;
    QString Key;         // a name for scripts: "categories", "largestDiscs", ...
    QString Title;       // "Categories", "Largest discs", ...
    QString LabelHeader; // "Category", "Extension", "Year", "Disc", "Folder"
    QString CountHeader; // "Files" or "Discs"
    bool HasLocation = false;
    std::vector<StatisticsRow> Rows;
};

struct CatalogueStatistics
{
    // The files of the part (never the entries of archives) and their bytes.
    qint64 Files = 0;
    qint64 Bytes = 0;
    qint64 Discs = 0;
    std::vector<StatisticsSection> Sections;
};
