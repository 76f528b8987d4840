#pragma once

#include "sqlitewrapper/Records.h"

#include <QString>

#include <vector>

// Row mappers: each turns the text columns of one result row (UTF-8, a null pointer
// for SQL NULL) into one record appended to the vector. Columns are read by position,
// so each mapper belongs to the SELECTs that list their columns in its order.
// A NULL number reads as 0; a NULL text reads as an empty string.
namespace RowMappers {

struct CategoryRow
{
    int CategoryID = 0;
    CategoryRecord Category;
};

struct IdText
{
    int Id = 0;
    QString Text;
};

struct ExtensionRow
{
    QString Name;
    int CategoryID = 0;
};

void UnitListItems(std::vector<UnitListItem>& rows, int columns, char** values);
void StorageListItems(std::vector<StorageListItem>& rows, int columns, char** values);
void StorageRecords(std::vector<StorageRecord>& rows, int columns, char** values);
void Categories(std::vector<CategoryRow>& rows, int columns, char** values);
void Extensions(std::vector<ExtensionRow>& rows, int columns, char** values);
void Texts(std::vector<QString>& rows, int columns, char** values);
void IdTexts(std::vector<IdText>& rows, int columns, char** values);
// Skips a NULL column, so a unit at the top of its storage has no parent id.
void Ids(std::vector<int>& rows, int columns, char** values);
void DiscDetailsRows(std::vector<DiscDetails>& rows, int columns, char** values);
void FolderDetailsRows(std::vector<FolderDetails>& rows, int columns, char** values);
void FileDetailsRows(std::vector<FileDetails>& rows, int columns, char** values);
void FilmInfoRows(std::vector<FilmInfo>& rows, int columns, char** values);
void MusicInfoRows(std::vector<MusicInfo>& rows, int columns, char** values);
void PictureInfoRows(std::vector<PictureInfo>& rows, int columns, char** values);
void ReportRows(std::vector<ReportRow>& rows, int columns, char** values);

} // namespace RowMappers
