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
    // Made-up drives need the test build of the program; the shipped one has none.
    const bool fakeDrives = env.contains(QStringLiteral("SHELFWISE_FAKE_DRIVES"));
    process.start(fakeDrives ? QStringLiteral(SHELFWISE_CLI_FAKE_DRIVES)
                             : QStringLiteral(SHELFWISE_CLI),
                  arguments);
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
