// shelfwise-cli: the catalogue without a window. Every command works through the same
// document as the window: the catalogue is opened into a working copy, changed there,
// and saved back as File Save does.
#include "cli/CliMain.h"

#include "cli/CliContext.h"
#include "cli/CliHelp.h"
#include "cli/Interrupt.h"
#include "common/Strings.h"
#include "document/DataFiles.h"
#include "document/ProgramVersion.h"
#include "document/WorkingCopies.h"
#include "errorlog/ErrorLog.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QLoggingCategory>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

void Print(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
}

// The last resort: whatever a command throws ends it with a message and status 1, as
// any other error does, never with an abort.
int RunCommand(const CliCommand& command, CliContext& context)
{
    try {
        return command.run(context);
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, false);
    } catch (const std::exception& error) {
        context.Fail(QString::fromLocal8Bit(error.what()));
    } catch (...) {
        context.Fail(Strings::LoadString(Strings::IDS_OPERATION_FAILED));
    }
    return ExitStatus::Error;
}

} // namespace

int RunShelfwiseCli(int argc, char** argv, const DriveSystemFactory& drives)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("shelfwise-cli"));
    // Image decoders complain on stderr about harmless oddities of catalogued
    // pictures; a script reading stderr wants only the program's own messages.
    QLoggingCategory::setFilterRules(
        QStringLiteral("qt.gui.imageio*=false\nqt.gui.icc=false\nqt.svg=false"));
    const std::vector<CliCommand> commands = CliHelp::AllCommands();

    // Global options may stand before or after the command name.
    QStringList rest;
    bool json = false;
    bool help = false;
    CliPrompter::Answer answer = CliPrompter::Answer::Ask;
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& arg = arguments.at(i);
        if (arg == QLatin1String("--json")) {
            json = true;
        } else if (arg == QLatin1String("--yes") || arg == QLatin1String("--no")) {
            const auto given =
                arg == QLatin1String("--yes") ? CliPrompter::Answer::Yes : CliPrompter::Answer::No;
            if (answer != CliPrompter::Answer::Ask && answer != given) {
                Print(stderr, QStringLiteral("shelfwise-cli: --yes and --no exclude each other\n"));
                return ExitStatus::Usage;
            }
            answer = given;
        } else if (arg == QLatin1String("--settings-dir")) {
            if (i + 1 >= arguments.size()) {
                Print(stderr, QStringLiteral("shelfwise-cli: --settings-dir needs a folder\n"));
                return ExitStatus::Usage;
            }
            qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(arguments.at(++i)));
        } else if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            help = true;
        } else if (arg == QLatin1String("--version")) {
            Print(stdout, QStringLiteral("shelfwise-cli %1\n").arg(Version::ProgramVersionText()));
            return ExitStatus::Success;
        } else {
            rest << arg;
        }
    }

    if (rest.isEmpty()) {
        Print(help ? stdout : stderr, CliHelp::GeneralHelp(commands));
        return help ? ExitStatus::Success : ExitStatus::Usage;
    }
    const CliCommand* command = nullptr;
    for (const CliCommand& c : commands) {
        if (rest.first() == QLatin1String(c.name))
            command = &c;
    }
    if (!command) {
        Print(stderr, QStringLiteral("shelfwise-cli: unknown command %1\n\n").arg(rest.first()) +
                          CliHelp::GeneralHelp(commands));
        return ExitStatus::Usage;
    }
    if (help) {
        Print(stdout, CliHelp::CommandHelp(*command));
        return ExitStatus::Success;
    }

    CliPrompter prompter(answer);
    UserPrompter::SetCurrent(&prompter);
    CliContext context(prompter, drives);
    context.Json = json;
    QString error;
    if (!context.Args.Parse(rest.mid(1), command->Options(), error)) {
        Print(stderr, QStringLiteral("shelfwise-cli %1: %2\n").arg(rest.first(), error) +
                          CliHelp::CommandHelp(*command));
        return ExitStatus::Usage;
    }
    const int count = static_cast<int>(context.Args.Positionals().size());
    if (count < command->MinPositionals() || count > command->MaxPositionals()) {
        Print(stderr, CliHelp::CommandHelp(*command));
        return ExitStatus::Usage;
    }

    // The settings folder holds the working copy, the template and the log; the
    // installed data files are copied there when missing, and working copies of runs
    // that were killed are cleared away.
    InterruptGuard::InstallHandler();
    DataFiles::InstallMissing(DataFiles::InstalledFolder(), SettingsFolder());
    WorkingCopies::RemoveStale(SettingsFolder(), false);
    try {
        Settings::Instance();
    } catch (const std::logic_error& settingsError) {
        return context.Fail(QStringLiteral("%1 (in %2)")
                                .arg(QString::fromUtf8(settingsError.what()),
                                     SettingsFolder() + QStringLiteral("Shelfwise.ini")));
    }
    const int status = RunCommand(*command, context);
    UserPrompter::SetCurrent(nullptr);
    return status;
}
