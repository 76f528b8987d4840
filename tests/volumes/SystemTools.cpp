#include "volumes/SystemTools.h"

#include <QProcess>
#include <QStandardPaths>

namespace SystemTools {

QString Find(const QString& name)
{
    QString path = QStandardPaths::findExecutable(name);
    if (path.isEmpty())
        path = QStandardPaths::findExecutable(name, {"/usr/sbin", "/sbin", "/usr/bin"});
    return path;
}

QString Run(const QString& tool, const QStringList& arguments)
{
    QProcess process;
    process.start(Find(tool), arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return QString();
    return QStringLiteral("") + QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace SystemTools
