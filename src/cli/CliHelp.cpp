#include "cli/CliHelp.h"

namespace CliHelp {

QString ProgramName()
{
    return QStringLiteral("shelfwise-cli");
}

std::vector<CliCommand> AllCommands()
{
    std::vector<CliCommand> all;
    for (auto list :
         {CatalogueCommands(), AddCommands(), UpdateCommands(), CategoryCommands(), DriveCommands(),
          ReportCommands(), SearchCommands(), FindCommands(), CopyCommands(), ExportCommands(),
          ImportCommands(), StatsCommands(), ThumbnailCommands(), SettingsCommands()})
        all.insert(all.end(), list.begin(), list.end());
    return all;
}

const std::vector<CliArgument>& GlobalOptions()
{
    using Arg = CliArgument;
    static const std::vector<Arg> options{
        Arg::Option("--settings-dir", {"DIR"})
            .Optional()
            .Help("use DIR as the settings folder (as SHELFWISE_SETTINGS_DIR does)"),
        Arg::Option("--json").Optional().Help(
            "print results as JSON instead of tab-separated text"),
        Arg::Option("--yes")
            .Or(Arg::Option("--no"))
            .Optional()
            .Help("answer every question the window would ask"),
    };
    return options;
}

const std::vector<CliArgument>& LoneOptions()
{
    static const std::vector<CliArgument> options{CliArgument::Option("--version"),
                                                  CliArgument::Option("--help")};
    return options;
}

const std::vector<CliArgument>& CommandOptions()
{
    static const std::vector<CliArgument> options{CliArgument::Option("--help")};
    return options;
}

QStringList Synopsis(const CliArgument::Style& style)
{
    const CliArgument command = CliArgument::Positional("COMMAND");
    std::vector<CliArgument> first = GlobalOptions();
    first.push_back(command);
    first.push_back(CliArgument::Positional("ARGS").Optional().Repeatable());

    QStringList alternatives;
    for (const CliArgument& option : LoneOptions())
        alternatives << option.Usage(style);
    std::vector<CliArgument> afterCommand{command};
    afterCommand.insert(afterCommand.end(), CommandOptions().begin(), CommandOptions().end());
    alternatives << CliArgument::Usage(afterCommand, style);
    const QString bar = QLatin1Char(' ') + style.syntax(QStringLiteral("|")) + QLatin1Char(' ');
    return {CliArgument::Usage(first, style), alternatives.join(bar)};
}

QString Description()
{
    return QStringLiteral(
        "Catalogues discs, folders and files in a Shelfwise catalogue (.db3) without a window.\n"
        "Every change is saved to the catalogue file when the command succeeds.");
}

QStringList Examples()
{
    return {
        QStringLiteral("shelfwise-cli new discs.db3"),
        QStringLiteral("shelfwise-cli add-storage discs.db3 \"Living room shelf\" --notes \"top "
                       "row\""),
        QStringLiteral("shelfwise-cli storages discs.db3"),
        QStringLiteral("shelfwise-cli search discs.db3 --text holiday --sort size --descending"),
    };
}

QStringList DetailParagraphs(const CliCommand& command)
{
    QStringList paragraphs;
    if (!command.details)
        return paragraphs;
    const QStringList blocks =
        QString::fromLatin1(command.details).split(QStringLiteral("\n\n"), Qt::SkipEmptyParts);
    for (const QString& block : blocks)
        paragraphs << block.simplified();
    return paragraphs;
}

QString GeneralHelp(const std::vector<CliCommand>& commands)
{
    const QStringList synopsis = Synopsis();
    QString text = QStringLiteral("usage: %1 %2\n       %1 %3\n\n%4\n\n")
                       .arg(ProgramName(), synopsis.at(0), synopsis.at(1), Description());
    text += QStringLiteral("Options (also after the command name):\n");
    for (const CliArgument& option : GlobalOptions())
        text += QStringLiteral("  %1  %2\n")
                    .arg(option.Forms(CliArgument::Plain(), QStringLiteral(", ")), -18)
                    .arg(option.HelpText());
    text += QStringLiteral("\nCommands:\n");
    for (const CliCommand& command : commands)
        text += QStringLiteral("  %1  %2\n")
                    .arg(QString::fromLatin1(command.name), -16)
                    .arg(QString::fromLatin1(command.summary));
    text += QStringLiteral(
        "\nA STORAGE is a storage's id or exact name, a CATEGORY a category's id or name,\n"
        "a unit is named by --unit ID. Exit status: 0 success, 1 error, 2 wrong usage,\n"
        "3 duplicate discs found (add-disc) or another disc at the source (update),\n"
        "130 cancelled.\n\n"
        "Example:\n");
    for (const QString& example : Examples())
        text += QStringLiteral("  ") + example + QLatin1Char('\n');
    return text;
}

QString CommandHelp(const CliCommand& command)
{
    QString text = QStringLiteral("usage: %1 %2 %3\n\n%4.\n")
                       .arg(ProgramName(), QString::fromLatin1(command.name), command.Usage(),
                            QString::fromLatin1(command.summary));
    if (command.details)
        text += QLatin1Char('\n') + QString::fromLatin1(command.details) + QLatin1Char('\n');
    return text;
}

} // namespace CliHelp
