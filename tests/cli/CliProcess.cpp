#include "cli/CliProcess.h"

QProcessEnvironment CliEnvironment(const QString& settingsFolder)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("SHELFWISE_SETTINGS_DIR"), settingsFolder);
    env.remove(QStringLiteral("SHELFWISE_FAKE_DRIVES"));
    return env;
}

void StartCli(QProcess& process, const QStringList& arguments, const QProcessEnvironment& env,
              const QString& workingFolder)
{
    process.setProcessEnvironment(env);
    if (!workingFolder.isEmpty())
        process.setWorkingDirectory(workingFolder);
    process.start(QStringLiteral(SHELFWISE_CLI), arguments);
    process.closeWriteChannel();
}

CliResult RunCli(const QStringList& arguments, const QProcessEnvironment& env,
                 const QString& workingFolder)
{
    QProcess process;
    StartCli(process, arguments, env, workingFolder);
    process.waitForFinished(120000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}
