// The bash completion written at build time, run in a real bash with the built
// shelfwise-cli on a real catalogue: what it offers for each part of a command line,
// and that the program accepts every choice it offers.
#include "cli/CliProcess.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const QString kTomsShelf = QStringLiteral("Tom's \"big\" shelf");

QStringList Sorted(QStringList list)
{
    list.sort();
    return list;
}

class BashCompletion : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(QStringLiteral("bash")).isEmpty())
            GTEST_SKIP() << "bash is not installed";
        ASSERT_EQ(Run({"new", "discs.db3"}).status, 0);
        ASSERT_EQ(Run({"add-storage", "discs.db3", "Box 1"}).status, 0);
        ASSERT_EQ(Run({"add-storage", "discs.db3", kTomsShelf}).status, 0);
        ASSERT_EQ(Run({"add-category", "discs.db3", "Books"}).status, 0);
        QDir dir(m_dir.path());
        ASSERT_TRUE(dir.mkpath(QStringLiteral("sub")) &&
                    dir.mkpath(QStringLiteral("Other Folder")));
        for (const char* name : {"notes.txt", "sub/inner.db3"}) {
            QFile file(dir.filePath(QString::fromLatin1(name)));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        }
    }

    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()), m_dir.path());
    }

    // What the completion offers for the last of words, typed after shelfwise-cli in
    // the catalogue's folder. Whatever the program or bash would show on the terminal
    // meanwhile fails the test.
    QStringList Complete(const QStringList& words)
    {
        QProcess bash;
        QProcessEnvironment env = CliEnvironment(m_settings.path());
        env.insert(QStringLiteral("HOME"), m_dir.path());
        bash.setProcessEnvironment(env);
        bash.setWorkingDirectory(m_dir.path());
        const QString script = QStringLiteral(
            "source \"$1\"; shift; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); "
            "COMP_LINE=\"${COMP_WORDS[*]}\"; COMP_POINT=${#COMP_LINE}; _shelfwise_cli; "
            "printf '%s\\n' \"${COMPREPLY[@]}\"");
        bash.start(QStringLiteral("bash"),
                   QStringList{QStringLiteral("--norc"), QStringLiteral("--noprofile"),
                               QStringLiteral("-c"), script, QStringLiteral("bash"),
                               QStringLiteral(SHELFWISE_BASH_COMPLETION),
                               QStringLiteral(SHELFWISE_CLI)} +
                       words);
        bash.closeWriteChannel();
        EXPECT_TRUE(bash.waitForFinished(60000));
        EXPECT_EQ(bash.exitCode(), 0) << words.join(' ').toStdString();
        const QString errors = QString::fromUtf8(bash.readAllStandardError());
        EXPECT_TRUE(errors.isEmpty())
            << words.join(' ').toStdString() << ": " << errors.toStdString();
        return QString::fromUtf8(bash.readAllStandardOutput())
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    // The options in the usage that COMMAND --help prints.
    QStringList UsageOptions(const QString& command)
    {
        const QString usage = Run({command, "--help"}).out.section(QStringLiteral("\n\n"), 0, 0);
        QStringList options;
        auto matches =
            QRegularExpression(QStringLiteral("(?<![\\w-])--[a-z][a-z-]*")).globalMatch(usage);
        while (matches.hasNext())
            options << matches.next().captured();
        return options;
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
};

} // namespace

TEST_F(BashCompletion, OffersTheCommandsAndOptionsThatHelpLists)
{
    const QString help = Run({"--help"}).out;
    QStringList commands;
    for (const QString& line : help.section(QStringLiteral("\nCommands:\n"), 1)
                                   .section(QStringLiteral("\n\n"), 0, 0)
                                   .split('\n'))
        commands << line.simplified().section(' ', 0, 0);
    ASSERT_GT(commands.size(), 20);
    EXPECT_EQ(Complete({""}), commands);
    EXPECT_EQ(Sorted(Complete({"add-"})),
              Sorted(commands.filter(QRegularExpression(QStringLiteral("^add-")))));
    // Global options, before the command and after it; the value of --json is none.
    EXPECT_EQ(Sorted(Complete({"--"})),
              Sorted({"--settings-dir", "--json", "--yes", "--no", "--help", "--version"}));
    EXPECT_EQ(Complete({"--json", "stor"}), QStringList{"storages"});

    const QStringList addDisc = Complete({"add-disc", "discs.db3", "Box 1", "/dev/sr0", "--"});
    for (const QString& option : UsageOptions("add-disc"))
        EXPECT_TRUE(addDisc.contains(option)) << option.toStdString();
    for (const char* global : {"--settings-dir", "--json", "--yes", "--no", "--help"})
        EXPECT_TRUE(addDisc.contains(global)) << global;
    EXPECT_FALSE(addDisc.contains("--version"));
    EXPECT_FALSE(addDisc.contains("--unit"));
    EXPECT_EQ(Sorted(Complete({"search", "--he"})), Sorted({"--height", "--help"}));
    // After "--" everything is an argument, so no option is offered.
    EXPECT_TRUE(Complete({"add-folder", "--", "--"}).isEmpty());
}

TEST_F(BashCompletion, OffersCataloguesAndFoldersForFileAndAnyFileForPath)
{
    EXPECT_EQ(Sorted(Complete({"storages", ""})), Sorted({"discs.db3", "sub", "Other Folder"}));
    EXPECT_EQ(Complete({"storages", "sub/"}), QStringList{"sub/inner.db3"});
    EXPECT_EQ(Complete({"storages", "~/di"}), QStringList{"~/discs.db3"});
    EXPECT_EQ(Sorted(Complete({"--settings-dir", ""})), Sorted({"sub", "Other Folder"}));
    EXPECT_EQ(Sorted(Complete({"add-folder", "discs.db3", "Box 1", ""})),
              Sorted({"discs.db3", "notes.txt", "sub", "Other Folder"}));
    EXPECT_EQ(Complete({"report", "discs.db3", "no"}), QStringList{"notes.txt"});
}

TEST_F(BashCompletion, OffersTheStorageNamesOfTheCatalogueOnTheLine)
{
    const QStringList both = Sorted({"Box 1", kTomsShelf});
    EXPECT_EQ(Sorted(Complete({"ls", "discs.db3", ""})), both);
    // What was typed of a name is read as the shell reads it, quotes and escapes alike.
    EXPECT_EQ(Complete({"show", "discs.db3", "\"Tom"}), QStringList{kTomsShelf});
    EXPECT_EQ(Complete({"show", "discs.db3", "Tom\\'s\\ \\\"b"}), QStringList{kTomsShelf});
    EXPECT_EQ(Complete({"show", "'discs.db3'", "B"}), QStringList{"Box 1"});
    EXPECT_EQ(Complete({"show", "~/discs.db3", "B"}), QStringList{"Box 1"});
    EXPECT_EQ(Sorted(Complete({"move", "discs.db3", "--unit", "3", "--to-storage", ""})), both);
    EXPECT_EQ(Complete({"search", "discs.db3", "--storage", "B"}), QStringList{"Box 1"});
    // The value of an option is no argument; with --unit a unit takes the storage's place.
    EXPECT_EQ(Sorted(Complete({"add-folder", "discs.db3", "--notes", "\"a b\"", ""})), both);
    EXPECT_TRUE(Complete({"rename", "discs.db3", "--unit", "3", ""}).isEmpty());
    EXPECT_EQ(Sorted(Complete({"rename", "discs.db3", ""})), both);

    // The settings folder on the line is the one the program is run with.
    EXPECT_EQ(Sorted(Complete({"--settings-dir", "fresh", "ls", "discs.db3", ""})), both);
    EXPECT_TRUE(QDir(m_dir.filePath(QStringLiteral("fresh"))).exists());
}

TEST_F(BashCompletion, OffersCategoriesAndChoicesThatTheProgramAccepts)
{
    EXPECT_EQ(Sorted(Complete({"set-category", "discs.db3", "--unit", "3", ""})),
              Sorted({"General", "Film", "Music", "Picture", "Books"}));
    EXPECT_EQ(Complete({"add-file", "discs.db3", "Box 1", "a.txt", "--category", "Bo"}),
              QStringList{"Books"});
    EXPECT_TRUE(Complete({"settings", "set", ""}).contains("UnitsOrder"));
    EXPECT_EQ(Complete({"settings", ""}), QStringList{"set"});

    // Every choice offered runs: search and report take it without a usage error.
    const auto accepted = [&](const QStringList& arguments) {
        const CliResult result = Run(arguments);
        EXPECT_EQ(result.status, 0)
            << arguments.join(' ').toStdString() << ": " << result.err.toStdString();
    };
    const QStringList search{"search", "discs.db3"};
    const QStringList operators = Complete(search + QStringList{"--size", ""});
    EXPECT_EQ(operators, QStringList({"<", "=", ">"}));
    const QStringList units = Complete(search + QStringList{"--size", "\\>", "5", ""});
    EXPECT_EQ(units.size(), 4);
    for (const QString& op : operators)
        accepted(search + QStringList{"--size", op, "0", units.value(0)});
    for (const QString& unit : units)
        accepted(search + QStringList{"--size", ">", "0", unit});
    const QStringList fields = Complete(search + QStringList{"--date", ""});
    EXPECT_EQ(fields.size(), 3);
    for (const QString& field : fields)
        accepted(search + QStringList{"--date", field, "2020-01-01", "2020-12-31"});
    const QStringList sorts = Complete(search + QStringList{"--sort", ""});
    EXPECT_EQ(sorts.size(), 4);
    for (const QString& sort : sorts)
        accepted(search + QStringList{"--sort", sort});
    // The modes of the advanced search, then the custom categories only: the search
    // refuses the built-in ones.
    const QStringList modes = Complete(search + QStringList{"--category", ""});
    EXPECT_EQ(modes, QStringList({"all", "music", "pictures", "films", "Books"}));
    for (const QString& mode : modes)
        accepted(search + QStringList{"--category", mode});
    const QStringList levels = Complete({"report", "discs.db3", "out.html", "--level", ""});
    EXPECT_EQ(levels, QStringList({"1", "2", "3", "all"}));
    for (const QString& level : levels)
        accepted({"report", "discs.db3", "out.html", "--level", level});
}

TEST_F(BashCompletion, OffersNoNamesAndShowsNothingWithoutACatalogue)
{
    EXPECT_TRUE(Complete({"ls", "missing.db3", ""}).isEmpty());
    EXPECT_TRUE(Complete({"ls", "notes.txt", ""}).isEmpty());
    EXPECT_TRUE(Complete({"ls", "sub", ""}).isEmpty());
    EXPECT_TRUE(Complete({"move", "--unit", "3", "--to-storage", ""}).isEmpty());
    EXPECT_TRUE(Complete({"search", "missing.db3", "--category", "B"}).isEmpty());
    EXPECT_TRUE(Complete({"no-such-command", ""}).isEmpty());
    // Nothing was made where a catalogue was missing.
    EXPECT_FALSE(QFile::exists(m_dir.filePath(QStringLiteral("missing.db3"))));
}
