#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

// A catalogued file as the search for copies reads it: the columns that tell whether
// two files hold the same thing, and its id for finding where it lies.
struct CatalogueFile
{
    int UnitID = 0;
    QString Name;
    qint64 Size = 0;
    // DateModified as stored; empty when the file has none.
    QString Modified;
};

// One row of the pass over every file, with the texts as SQLite gives them (UTF-8, the
// date a null pointer when the file has none, and always null unless asked for). The
// pointers last only for the call.
struct FileKeyRow
{
    int UnitID = 0;
    const char* Name = "";
    qint64 Size = 0;
    const char* Modified = nullptr;
};

// Sees each row of the pass; false stops it.
using FileKeyVisitor = std::function<bool(const FileKeyRow&)>;
