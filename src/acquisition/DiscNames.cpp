#include "acquisition/DiscNames.h"

#include "drives/DriveSystem.h"

#include <QDirIterator>
#include <QFileInfo>

namespace DiscNames {

QStringList ProposeDiscNames(const VolumeInfo& volume, const QString& root)
{
    QStringList names{volume.Label};
    const QFileInfo rootInfo(root);
    if (!rootInfo.isDir() || !rootInfo.isReadable())
        return names;

    // One file and nothing else: two entries, or any folder, rule the second name out.
    QString onlyFile;
    QDirIterator entries(root,
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        entries.next();
        if (entries.fileInfo().isDir() || !onlyFile.isEmpty())
            return names;
        onlyFile = entries.fileName();
    }
    const QString name = RemoveExtension(onlyFile);
    if (!name.isEmpty())
        names << name;
    return names;
}

QStringList ProposeDiscNames(DriveSystem& drives, const QString& root)
{
    return ProposeDiscNames(drives.ReadVolumeInfo(root), root);
}

QString RemoveExtension(const QString& fileName)
{
    int dot = -1;
    for (int i = 0; i < fileName.size(); ++i) {
        if (fileName.at(i) == QLatin1Char('.'))
            dot = i;
        else if (fileName.at(i) == QLatin1Char(' ') || fileName.at(i) == QLatin1Char('/') ||
                 fileName.at(i) == QLatin1Char('\\'))
            dot = -1;
    }
    return dot < 0 ? fileName : fileName.left(dot);
}

} // namespace DiscNames
