// A command's arguments: options with their values, positionals, "--", and the
// arguments refused with the message the user sees.
#include "cli/CommandLine.h"

#include <gtest/gtest.h>

namespace {

const std::vector<CommandLine::Option> kOptions{{"--notes", 1}, {"--to", 2}, {"--yes", 0}};

} // namespace

TEST(CommandLine, OptionsTakeTheirValuesAndEverythingElseIsPositional)
{
    CommandLine line;
    QString error;
    // A value is taken as it stands, dashes included; "-" and "-5" are no options.
    ASSERT_TRUE(line.Parse({"a.db3", "--notes", "--yes", "-", "--to", "x", "y", "-5", "--yes",
                            "--notes", "later", "b"},
                           kOptions, error))
        << error.toStdString();
    EXPECT_EQ(line.Positionals(), (QStringList{"a.db3", "-", "-5", "b"}));
    EXPECT_EQ(line.Value("--notes"), "later"); // the last one counts
    EXPECT_EQ(line.Value("--to", 0), "x");
    EXPECT_EQ(line.Value("--to", 1), "y");
    EXPECT_EQ(line.Value("--to", 2), QString());
    EXPECT_TRUE(line.Has("--yes"));
    EXPECT_FALSE(line.Has("--other"));
    EXPECT_EQ(line.Value("--other"), QString());

    // After "--" everything is positional; a new parse forgets the last one.
    ASSERT_TRUE(line.Parse({"--yes", "--", "--notes", "-x", "--"}, kOptions, error));
    EXPECT_EQ(line.Positionals(), (QStringList{"--notes", "-x", "--"}));
    EXPECT_TRUE(line.Has("--yes"));
    EXPECT_FALSE(line.Has("--notes"));
}

TEST(CommandLine, UnknownOptionsAndMissingValuesAreRefused)
{
    CommandLine line;
    QString error;
    EXPECT_FALSE(line.Parse({"a.db3", "--nope"}, kOptions, error));
    EXPECT_EQ(error, "unknown option --nope");
    EXPECT_FALSE(line.Parse({"-n"}, kOptions, error));
    EXPECT_EQ(error, "unknown option -n");
    EXPECT_FALSE(line.Parse({"--yes=1"}, kOptions, error));
    EXPECT_EQ(error, "unknown option --yes=1");
    EXPECT_FALSE(line.Parse({"--notes"}, kOptions, error));
    EXPECT_EQ(error, "--notes needs 1 value(s)");
    EXPECT_FALSE(line.Parse({"--to", "x"}, kOptions, error));
    EXPECT_EQ(error, "--to needs 2 value(s)");
}
