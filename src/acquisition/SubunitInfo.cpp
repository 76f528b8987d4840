#include "acquisition/SubunitInfo.h"

#include <QDir>

QString SubunitInfo::Path() const
{
    const QChar separator = QDir::separator();
    if (!FolderPath)
        return Data.FileName;
    // A root such as "/" or "D:\" already ends with the separator.
    if (FolderPath->endsWith(separator))
        return *FolderPath + Data.FileName;
    return *FolderPath + separator + Data.FileName;
}
