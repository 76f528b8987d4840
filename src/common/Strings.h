#pragma once

#include <QString>

// User-visible texts by id. The ids keep their historic numbers so that every place
// that shows a message names it the same way; the texts go through tr() so the
// program can be translated.
namespace Strings {

enum Id : int {
    IDS_DATABASE_INACCESSIBLE = 150,
};

QString LoadString(int id);

} // namespace Strings
