#pragma once

#include <QString>
#include <QtGlobal>

#include <string>

// What makes two catalogued files copies of each other: the same name, capitals aside
// (discs written on one system and read on another often differ only there), and the
// same size; optionally the same modification time too. A file's key is kept as a
// 64-bit hash so that millions of them fit in memory; files whose hashes agree are
// compared again by their texts.
namespace FileKey {

// The name with its case folded, in UTF-8: ASCII names (the common case) without a
// trip through QString.
std::string FoldedName(const char* utf8Name);

// The hash of the folded name, the size and (null: none) the modification text.
quint64 Hash(const char* utf8Name, qint64 size, const char* modified);
quint64 Hash(const QString& name, qint64 size, const QString* modified);

} // namespace FileKey
