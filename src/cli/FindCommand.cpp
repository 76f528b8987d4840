// find: the units whose names hold every word given, best first, through the
// catalogue's name index.
#include "cli/CliContext.h"
#include "cli/Table.h"
#include "common/Strings.h"
#include "document/UnitProperties.h"

#include <cstdio>

namespace {

const QString kLimit = QStringLiteral("--limit");
constexpr int kDefaultLimit = 200;

int Find(CliContext& ctx)
{
    QStringList words = ctx.Args.Positionals();
    const QString file = words.takeFirst();
    int limit = kDefaultLimit;
    if (ctx.Args.Has(kLimit)) {
        bool ok = false;
        limit = ctx.Args.Value(kLimit).toInt(&ok);
        if (!ok || limit < 1)
            return ctx.UsageError(QStringLiteral("--limit takes a number of 1 or more"));
    }
    if (words.join(QString()).trimmed().isEmpty())
        return ctx.UsageError(QStringLiteral("find FILE WORD... [--limit N]"));
    if (!ctx.OpenForReading(file))
        return ExitStatus::Error;

    std::vector<FoundUnit> found;
    qint64 total = 0;
    if (!ctx.Guard([&] {
            found = ctx.Db().FindByName(words, limit, 0);
            total = static_cast<qint64>(found.size()) < limit ? static_cast<qint64>(found.size())
                                                              : ctx.Db().CountByName(words);
        }))
        return ExitStatus::Error;
    if (found.empty()) {
        ctx.Prompter().ShowMessage(Strings::IDS_NO_MATCHES, UserPrompter::Icon::Information);
        if (ctx.Json)
            Table({}).Print(true);
        return ExitStatus::Success;
    }
    Table table({"id", "name", "type", "size", "location"});
    for (const FoundUnit& u : found)
        table.AddRow(
            {u.UnitID, u.UnitName, UnitProperties::UnitKindName(u.Kind), u.UnitSize, u.Location});
    table.Print(ctx.Json);
    if (total > static_cast<qint64>(found.size()))
        std::fprintf(stderr, "%lld of %lld matches shown\n", static_cast<long long>(found.size()),
                     static_cast<long long>(total));
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> FindCommands()
{
    using Arg = CliArgument;
    return {{"find",
             "finds units by the words of their names, best first",
             {Arg::Positional("FILE"), Arg::Positional("WORD").Repeatable(),
              Arg::Option(kLimit, {"N"}).Optional()},
             &Find,
             "Lists the discs, folders and files whose names hold every WORD, in any order\n"
             "and without regard to case; every character is taken as typed (quotes, %\n"
             "and _ included). A WORD of one or two characters matches the start of a name\n"
             "when no longer WORD is given. Best first: the name equal to the words, then\n"
             "names starting with the first word, then the rest, each in the catalogue's\n"
             "order.\n"
             "Each row: id, name, type, size in bytes, and where the unit lies (storage\n"
             "and folders). At most N rows (200 unless --limit); when more match, how many\n"
             "is said on stderr. Without a match the command says \"No matches found. Try\n"
             "another search.\" on stderr and ends with status 0."}};
}
