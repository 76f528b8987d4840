#pragma once

#include "acquisition/SubunitInfo.h"
#include "listers/FolderLister.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <string>

// What the disc image tests compare: one description per entry, by its path relative
// to the image root.
using Tree = std::map<QString, QString>;

// One "path: description" line per entry, for readable failures.
std::string Text(const Tree& tree);

// Walks the image with the scanner through lister, as adding the disc does. describe is
// given each record and its parent's relative path ("" in the root); found, when given,
// gets each entry's facts.
Tree WalkImage(const QString& image, FolderLister& lister,
               const std::function<QString(const SubunitInfo&, const QString&)>& describe,
               std::map<QString, FindData>* found = nullptr);

// Lists one folder directly: the error; names gets the entries' names.
int ListNames(FolderLister& lister, const QString& path, QStringList* names);
