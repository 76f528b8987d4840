#include "listers/ListerFor.h"

#include "listers/DiscImageLister.h"

#include <QFileInfo>

bool IsListedFromInside(const QString& path)
{
    return QFileInfo(path).isFile();
}

std::unique_ptr<FolderLister> ListerFor(const QString& path, int* error)
{
    if (IsListedFromInside(path))
        return DiscImageLister::Open(path, error);
    if (error)
        *error = 0;
    return FolderLister::CreatePlatformLister();
}
