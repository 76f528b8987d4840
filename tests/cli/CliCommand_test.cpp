// The command table as data: the usages made from each command's arguments are the
// syntax that scripts rely on (as the command line's reference fixes it), the options
// and the number of positional arguments a command accepts follow from the same
// arguments, and every placeholder has one entry in the table of placeholders.
#include "cli/CliHelp.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>

namespace {

const CliCommand& Command(const std::vector<CliCommand>& commands, const char* name)
{
    for (const CliCommand& command : commands) {
        if (QLatin1String(command.name) == QLatin1String(name))
            return command;
    }
    throw std::logic_error(std::string("no command ") + name);
}

// Marks each part of a usage with what it is: *typed*, <placeholder>, syntax as it is.
QString Typed(const QString& text)
{
    return QLatin1Char('*') + text + QLatin1Char('*');
}

QString Placeholder(const QString& text)
{
    return QLatin1Char('<') + text + QLatin1Char('>');
}

QString Syntax(const QString& text)
{
    return text;
}

const CliArgument::Style kMarked{&Typed, &Placeholder, &Syntax};

} // namespace

TEST(CliCommand, UsagesAreTheSyntaxThatScriptsRelyOn)
{
    // Each command's usage as the reference of the command line writes it.
    const std::map<QString, QString> documented{
        {"new", "FILE"},
        {"storages", "FILE"},
        {"add-storage", "FILE NAME [--notes TEXT]"},
        {"ls", "FILE [STORAGE | --unit ID]"},
        {"show", "FILE (STORAGE | --unit ID)"},
        {"rename", "FILE (STORAGE | --unit ID) NEWNAME"},
        {"notes", "FILE (STORAGE | --unit ID) TEXT"},
        {"move", "FILE --unit ID --to-storage STORAGE"},
        {"delete", "FILE (STORAGE | --unit ID)"},
        {"vacuum", "FILE"},
        {"check", "FILE"},
        {"categories", "FILE"},
        {"add-category", "FILE NAME"},
        {"delete-category", "FILE CATEGORY"},
        {"extensions", "FILE [CATEGORY]"},
        {"map-extension", "FILE EXT CATEGORY"},
        {"unmap-extension", "FILE EXT"},
        {"set-category", "FILE --unit ID CATEGORY [--all-with-extension]"},
        {"add-folder", "FILE STORAGE PATH [--notes TEXT] [--category CATEGORY] [--no-thumbnails] "
                       "[--no-archives]"},
        {"add-file", "FILE STORAGE PATH [--notes TEXT] [--category CATEGORY] [--no-thumbnails] "
                     "[--no-archives]"},
        {"add-disc", "FILE STORAGE DRIVE [--name NAME] [--notes TEXT] [--category CATEGORY] "
                     "[--force] [--eject] [--no-thumbnails] [--no-archives]"},
        {"update", "FILE --unit ID [PATH] [--dry-run] [--force] [--no-thumbnails] [--no-archives]"},
        {"history", "FILE --unit ID"},
        {"drives", ""},
        {"report", "FILE OUT.html [--storage STORAGE] [--level 1|2|3|all] [--open]"},
        {"duplicates", "FILE [--min-size BYTES] [--with-date]"},
        {"unique", "FILE --unit ID"},
        {"find", "FILE WORD... [--limit N]"},
        {"thumbnail", "FILE --unit ID OUTPUT.png"},
        {"stats", "FILE [STORAGE | --unit ID]"},
        {"import", "FILE STORAGE PATH [--format NAME]"},
        {"export",
         "FILE [STORAGE | --unit ID] [--format csv|json|page] [--nested] [--output PATH]"},
        // "settings" and "settings set KEY VALUE".
        {"settings", "[set KEY VALUE]"},
    };
    const std::vector<CliCommand> commands = CliHelp::AllCommands();
    for (const CliCommand& command : commands) {
        if (QLatin1String(command.name) == QLatin1String("search"))
            continue;
        const auto usage = documented.find(QString::fromLatin1(command.name));
        ASSERT_NE(usage, documented.end()) << command.name;
        EXPECT_EQ(command.Usage(), usage->second) << command.name;
        EXPECT_EQ(command.OneLineUsage(), usage->second) << command.name;
    }
    EXPECT_EQ(commands.size(), documented.size() + 1);

    // search, line by line as documented: the lines after the first under "[--text".
    const CliCommand& search = Command(commands, "search");
    EXPECT_EQ(
        QStringLiteral("search ") + search.Usage(),
        "search FILE [--text TEXT] [--notes] [--size OP NUMBER UNIT] [--storage STORAGE]\n"
        "            [--date FIELD FROM TO] [--category all|music|pictures|films|CATEGORY]\n"
        "            [--title TEXT] [--artist TEXT] [--album TEXT] [--year N] [--genre TEXT]\n"
        "            [--width OP N] [--height OP N] [--duration OP N]\n"
        "            [--sort name|category|size|type] [--descending]");
    EXPECT_EQ(search.OneLineUsage(), search.Usage().simplified());

    EXPECT_EQ(CliHelp::Synopsis(),
              QStringList({"[--settings-dir DIR] [--json] [--yes | --no] COMMAND [ARGS...]",
                           "--version | --help | COMMAND --help"}));
}

TEST(CliCommand, UsagesMarkWhatIsTypedAndWhatIsAPlaceholder)
{
    const std::vector<CliCommand> commands = CliHelp::AllCommands();
    EXPECT_EQ(Command(commands, "report").OneLineUsage(kMarked),
              "<FILE> <OUT.html> [*--storage* <STORAGE>] [*--level* *1*|*2*|*3*|*all*] "
              "[*--open*]");
    EXPECT_EQ(Command(commands, "notes").OneLineUsage(kMarked),
              "<FILE> (<STORAGE> | *--unit* <ID>) <TEXT>");
    EXPECT_EQ(Command(commands, "settings").OneLineUsage(kMarked), "[*set* <KEY> <VALUE>]");
    EXPECT_TRUE(Command(commands, "search")
                    .OneLineUsage(kMarked)
                    .contains("[*--category* *all*|*music*|*pictures*|*films*|<CATEGORY>]"));
    EXPECT_EQ(CliHelp::Synopsis(kMarked).at(1), "*--version* | *--help* | <COMMAND> *--help*");

    // The placeholders of a usage, each once, in order: the words its prose sets apart.
    EXPECT_EQ(Command(commands, "search").Placeholders(),
              QStringList({"FILE", "TEXT", "OP", "NUMBER", "UNIT", "STORAGE", "FIELD", "FROM", "TO",
                           "CATEGORY", "N"}));
    EXPECT_TRUE(Command(commands, "drives").Placeholders().isEmpty());
}

TEST(CliCommand, OptionsAndArgumentCountsFollowFromTheArguments)
{
    // {least, most} positional arguments: an optional argument, or one an option may
    // stand in for, need not be given.
    const std::map<QString, std::pair<int, int>> counts{
        {"new", {1, 1}},
        {"storages", {1, 1}},
        {"add-storage", {2, 2}},
        {"ls", {1, 2}},
        {"show", {1, 2}},
        {"rename", {2, 3}},
        {"notes", {2, 3}},
        {"move", {1, 1}},
        {"delete", {1, 2}},
        {"vacuum", {1, 1}},
        {"check", {1, 1}},
        {"add-folder", {3, 3}},
        {"add-file", {3, 3}},
        {"add-disc", {3, 3}},
        {"update", {1, 2}},
        {"history", {1, 1}},
        {"categories", {1, 1}},
        {"add-category", {2, 2}},
        {"delete-category", {2, 2}},
        {"extensions", {1, 2}},
        {"map-extension", {3, 3}},
        {"unmap-extension", {2, 2}},
        {"set-category", {2, 2}},
        {"drives", {0, 0}},
        {"report", {2, 2}},
        {"duplicates", {1, 1}},
        {"unique", {1, 1}},
        {"search", {1, 1}},
        {"find", {2, std::numeric_limits<int>::max()}},
        {"export", {1, 2}},
        {"thumbnail", {2, 2}},
        {"stats", {1, 2}},
        {"import", {3, 3}},
        {"settings", {0, 3}},
    };
    for (const CliCommand& command : CliHelp::AllCommands()) {
        const auto count = counts.find(QString::fromLatin1(command.name));
        ASSERT_NE(count, counts.end()) << command.name;
        EXPECT_EQ(command.MinPositionals(), count->second.first) << command.name;
        EXPECT_EQ(command.MaxPositionals(), count->second.second) << command.name;
    }

    const auto options = [](const char* name) {
        std::map<QString, int> values;
        for (const CommandLine::Option& option : Command(CliHelp::AllCommands(), name).Options())
            values[option.name] = option.values;
        return values;
    };
    EXPECT_EQ(options("show"), (std::map<QString, int>{{"--unit", 1}}));
    EXPECT_EQ(options("move"), (std::map<QString, int>{{"--unit", 1}, {"--to-storage", 1}}));
    EXPECT_EQ(options("add-disc"), (std::map<QString, int>{{"--name", 1},
                                                           {"--notes", 1},
                                                           {"--category", 1},
                                                           {"--force", 0},
                                                           {"--eject", 0},
                                                           {"--no-thumbnails", 0},
                                                           {"--no-archives", 0}}));
    EXPECT_EQ(options("search"), (std::map<QString, int>{{"--text", 1},
                                                         {"--notes", 0},
                                                         {"--size", 3},
                                                         {"--storage", 1},
                                                         {"--date", 3},
                                                         {"--category", 1},
                                                         {"--title", 1},
                                                         {"--artist", 1},
                                                         {"--album", 1},
                                                         {"--year", 1},
                                                         {"--genre", 1},
                                                         {"--width", 2},
                                                         {"--height", 2},
                                                         {"--duration", 2},
                                                         {"--sort", 1},
                                                         {"--descending", 0}}));
    EXPECT_TRUE(options("drives").empty());
}

TEST(CliCommand, ARepeatedArgumentEndsWithDotsAndTakesAnyNumber)
{
    using Arg = CliArgument;
    const CliCommand example{"example",
                             "a command that takes one name or more",
                             {Arg::Positional("FILE"), Arg::Positional("NAME").Repeatable(),
                              Arg::Option("--limit", {"N"}).Optional()},
                             nullptr};
    EXPECT_EQ(example.Usage(), "FILE NAME... [--limit N]");
    EXPECT_EQ(example.MinPositionals(), 2);
    EXPECT_EQ(example.MaxPositionals(), std::numeric_limits<int>::max());
    EXPECT_EQ(Arg::Positional("ARGS").Optional().Repeatable().Usage(Arg::Plain()), "[ARGS...]");
    EXPECT_EQ(Arg::Option("--yes").Or(Arg::Option("--no")).Forms(Arg::Plain(), ", "),
              "--yes, --no");
}

TEST(CliPlaceholders, EachPlaceholderIsDefinedOnceAndUsed)
{
    std::set<QString> used;
    for (const CliCommand& command : CliHelp::AllCommands()) {
        for (const QString& placeholder : command.Placeholders())
            used.insert(placeholder);
    }
    for (const CliArgument& option : CliHelp::GlobalOptions()) {
        for (const QString& placeholder : option.Placeholders())
            used.insert(placeholder);
    }
    used.insert(QStringLiteral("COMMAND"));
    used.insert(QStringLiteral("ARGS"));

    std::set<QString> defined;
    QStringList explained;
    for (const CliPlaceholder& placeholder : CliPlaceholders::All()) {
        EXPECT_TRUE(defined.insert(QString::fromLatin1(placeholder.name)).second)
            << placeholder.name;
        if (placeholder.meaning) {
            explained << (placeholder.option
                              ? QStringLiteral("%1 %2").arg(QString::fromLatin1(placeholder.option),
                                                            QString::fromLatin1(placeholder.name))
                              : QString::fromLatin1(placeholder.name));
        }
        EXPECT_EQ(placeholder.kind == CliKind::Choice, !placeholder.choices.isEmpty())
            << placeholder.name;
    }
    EXPECT_EQ(defined, used);
    // The arguments the reference of the command line explains, in its order.
    EXPECT_EQ(explained, QStringList({"FILE", "STORAGE", "--unit ID", "CATEGORY"}));
    EXPECT_THROW(CliPlaceholders::Find(QStringLiteral("NO-SUCH")), std::logic_error);

    // What scripts may give, as documented.
    EXPECT_EQ(CliPlaceholders::Find("OP").choices, QStringList({"<", "=", ">"}));
    EXPECT_EQ(CliPlaceholders::Find("UNIT").choices,
              QStringList({"Bytes", "KBytes", "MBytes", "GBytes"}));
    EXPECT_EQ(CliPlaceholders::Find("FIELD").choices,
              QStringList({"added", "created", "modified"}));
    EXPECT_EQ(CliPlaceholders::Find("FILE").kind, CliKind::Catalogue);
    EXPECT_EQ(CliPlaceholders::Find("STORAGE").kind, CliKind::Storage);
    EXPECT_EQ(CliPlaceholders::Find("CATEGORY").kind, CliKind::Category);
    EXPECT_EQ(CliPlaceholders::Find("DIR").kind, CliKind::Folder);
}
