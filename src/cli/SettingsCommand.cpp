// settings: prints or changes the settings file through Settings and its text forms.
#include "cli/CliContext.h"
#include "cli/Table.h"
#include "settings/Settings.h"

#include <stdexcept>

namespace {

int SettingsCommand(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    // Loaded by the program before any command runs.
    Settings* settings = &Settings::Instance();
    if (args.isEmpty()) {
        Table table({"key", "value"});
        for (const auto& [key, value] : settings->KeyValues())
            table.AddRow({key, value});
        table.PrintFields(ctx.Json);
        return ExitStatus::Success;
    }
    if (args.size() != 3 || args.at(0) != QLatin1String("set"))
        return ctx.UsageError(QStringLiteral("settings [set KEY VALUE]"));
    try {
        if (!settings->SetValue(args.at(1), args.at(2)))
            return ctx.UsageError(QStringLiteral("unknown setting %1").arg(args.at(1)));
    } catch (const std::logic_error& error) {
        return ctx.Fail(QString::fromUtf8(error.what()));
    }
    if (!settings->SaveSettings())
        return ctx.Fail(QStringLiteral("The settings file \"%1\" could not be written.")
                            .arg(settings->FilePath()));
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> SettingsCommands()
{
    using Arg = CliArgument;
    return {{"settings",
             "prints every setting, or changes one in the settings file",
             {Arg::Positional({Arg::Value::Word("set"), "KEY", "VALUE"}).Optional()},
             &SettingsCommand}};
}
