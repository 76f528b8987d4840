#include "common/Strings.h"

#include <QCoreApplication>

namespace Strings {

namespace {

struct Entry
{
    int id;
    const char* text;
};

const Entry kEntries[] = {
    {IDS_DATABASE_INACCESSIBLE, QT_TRANSLATE_NOOP("Strings", "Database is inaccessible")},
};

} // namespace

QString LoadString(int id)
{
    for (const Entry& e : kEntries) {
        if (e.id == id)
            return QCoreApplication::translate("Strings", e.text);
    }
    return QString();
}

} // namespace Strings
