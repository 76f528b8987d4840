#include "document/DataFiles.h"

#include "InstallLayout.h"
#include "common/FileCopy.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace DataFiles {

QString InstalledFolder()
{
    const QString fromEnvironment = qEnvironmentVariable("SHELFWISE_DATA_DIR");
    if (!fromEnvironment.isEmpty())
        return QDir::cleanPath(fromEnvironment);
    // Installed, the data folder lies where the install folders put it relative to the
    // program; in the build tree it is always <build>/share/shelfwise beside <build>/bin.
    const QDir program(QCoreApplication::applicationDirPath());
    QString installed =
        QDir::cleanPath(program.filePath(QStringLiteral(SHELFWISE_DATA_FROM_PROGRAM)));
    QString buildTree = QDir::cleanPath(program.filePath(QStringLiteral("../share/shelfwise")));
    if (!QFileInfo::exists(installed + QStringLiteral("/empty.db3")) &&
        QFileInfo::exists(buildTree + QStringLiteral("/empty.db3")))
        return buildTree;
    return installed;
}

bool InstallMissing(const QString& installedFolder, const QString& settingsFolder)
{
    const QDir source(installedFolder);
    const QDir target(settingsFolder);
    bool ok = target.mkpath(QStringLiteral("."));
    for (const char* name : {"empty.db3", "test.db3"}) {
        const QString file = QString::fromLatin1(name);
        if (source.exists(file) && !target.exists(file))
            ok = FileCopy::CopyOver(source.filePath(file), target.filePath(file)) && ok;
    }
    const QDir updates(source.filePath(QStringLiteral("Updates")));
    if (updates.exists()) {
        const QString targetUpdates = target.filePath(QStringLiteral("Updates"));
        ok = QDir().mkpath(targetUpdates) && ok;
        for (const QString& name : updates.entryList(QDir::Files)) {
            const QString copy = QDir(targetUpdates).filePath(name);
            if (!QFileInfo::exists(copy))
                ok = FileCopy::CopyOver(updates.filePath(name), copy) && ok;
        }
    }
    return ok;
}

} // namespace DataFiles
