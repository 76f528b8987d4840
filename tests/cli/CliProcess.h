#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// The real shelfwise-cli, run by end-to-end tests.
struct CliResult
{
    int status = -1; // the exit status; -1 when the program crashed or hung
    QString out;
    QString err;
};

// The environment of a run: this one's, with the test's settings folder. With
// SHELFWISE_FAKE_DRIVES set in it, the run uses the test build on made-up drives.
QProcessEnvironment CliEnvironment(const QString& settingsFolder);
// Starts the program without waiting, for tests that signal it while it runs.
void StartCli(QProcess& process, const QStringList& arguments, const QProcessEnvironment& env,
              const QString& workingFolder = QString());
CliResult RunCli(const QStringList& arguments, const QProcessEnvironment& env,
                 const QString& workingFolder = QString());
