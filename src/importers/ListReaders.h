#pragma once

#include "importers/ListReader.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace ListReaders {

/// How many bytes of a list the guess looks at.
constexpr qint64 kHeadSize = 64 * 1024;

/// Every reader the import knows, in the order the guess tries them.
std::vector<std::unique_ptr<CListReader>> All();

/// The --format names of all readers, in the order All() has them.
QStringList Names();

/// The reader called name (case-insensitive), or null.
std::unique_ptr<CListReader> ByName(const QString& name);

/// The first reader that recognises head (the list's first kHeadSize bytes) and
/// fileName, or null when none does.
std::unique_ptr<CListReader> Guess(const QByteArray& head, const QString& fileName);

/// Guess() on the file at path; null when it cannot be opened or nothing fits.
std::unique_ptr<CListReader> GuessFile(const QString& path);

} // namespace ListReaders
