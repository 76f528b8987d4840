// The manual pages written at build time, against what the built shelfwise-cli prints:
// the same commands in the same order with the same usage lines, examples that use real
// commands and options, pages that man renders without a warning, and the same bytes
// from every build of a version.
#include "cli/CliProcess.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>

namespace {

QString ReadText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Roff as it reads: font changes dropped and escapes resolved.
QString Plain(const QString& roff)
{
    QString text = roff;
    text.remove(QRegularExpression(QStringLiteral("\\\\f[BIRP]")));
    text.replace(QStringLiteral("\\-"), QStringLiteral("-"));
    text.replace(QStringLiteral("\\&"), QString());
    text.replace(QStringLiteral("\\e"), QStringLiteral("\\"));
    return text;
}

// The roff of one section: from its .SH line to the next.
QString SectionOf(const QString& roff, const QString& name)
{
    const qsizetype start = roff.indexOf(QStringLiteral("\n.SH ") + name + QLatin1Char('\n'));
    if (start < 0)
        return QString();
    const qsizetype end = roff.indexOf(QStringLiteral("\n.SH "), start + 1);
    return roff.mid(start, end < 0 ? -1 : end - start);
}

// The command names that --help lists, in order.
QStringList HelpCommands(const QString& help)
{
    QStringList names;
    const qsizetype start = help.indexOf(QStringLiteral("\nCommands:\n"));
    for (const QString& line : help.mid(start + 11).split(QLatin1Char('\n'))) {
        if (line.trimmed().isEmpty())
            break;
        names << line.trimmed().section(QLatin1Char(' '), 0, 0);
    }
    return names;
}

// The usage that COMMAND --help prints, on one line, from the command's name on.
QString HelpUsage(const QString& help)
{
    return help.section(QStringLiteral("\n\n"), 0, 0)
        .simplified()
        .remove(QRegularExpression(QStringLiteral("^usage: shelfwise-cli ")));
}

QStringList Options(const QString& text)
{
    QStringList options;
    auto matches =
        QRegularExpression(QStringLiteral("(?<![\\w-])--[a-z][a-z-]*")).globalMatch(text);
    while (matches.hasNext())
        options << matches.next().captured();
    return options;
}

class ManPage : public ::testing::Test
{
protected:
    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    // Each command of --help with its usage as COMMAND --help prints it.
    std::map<QString, QString> Usages(const QStringList& commands)
    {
        std::map<QString, QString> usages;
        for (const QString& command : commands)
            usages[command] = HelpUsage(Run({command, QStringLiteral("--help")}).out);
        return usages;
    }

    QTemporaryDir m_settings;
};

// The page as man shows it on an 80-column terminal in the C locale (so minus signs are
// plain hyphens), with what the formatter warned about. Empty when neither man nor groff
// is installed.
bool Render(const QString& page, QString& text, QString& warnings)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("MANWIDTH"), QStringLiteral("80"));
    env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    env.remove(QStringLiteral("MAN_KEEP_FORMATTING"));
    process.setProcessEnvironment(env);
    if (!QStandardPaths::findExecutable(QStringLiteral("man")).isEmpty())
        process.start(QStringLiteral("man"),
                      {QStringLiteral("--warnings"), QStringLiteral("-l"), page});
    else if (!QStandardPaths::findExecutable(QStringLiteral("groff")).isEmpty())
        process.start(QStringLiteral("groff"),
                      {QStringLiteral("-man"), QStringLiteral("-Tascii"), QStringLiteral("-ww"),
                       QStringLiteral("-P-cbou"), page});
    else
        return false;
    process.waitForFinished(60000);
    text = QString::fromUtf8(process.readAllStandardOutput());
    warnings = QString::fromUtf8(process.readAllStandardError());
    return true;
}

const QString kTemplates = QStringLiteral(SHELFWISE_DOCS_TEMPLATE_DIR);

struct MakeDocsResult
{
    int status;
    QString err;
};

// shelfwise-mkdocs run on the templates given, its exit status and what it said on stderr.
MakeDocsResult MakeDocs(const QString& output, const QString& date,
                        const QString& templates = kTemplates)
{
    QProcess process;
    process.start(QStringLiteral(SHELFWISE_MKDOCS), {templates, output, date});
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromLocal8Bit(process.readAllStandardError())};
}

// The templates copied into folder, to be changed there.
void CopyTemplates(const QString& folder)
{
    const QDir templates(kTemplates);
    for (const QString& name : templates.entryList(QDir::Files))
        ASSERT_TRUE(QFile::copy(templates.filePath(name), QDir(folder).filePath(name)))
            << name.toStdString();
}

void Replace(const QString& path, const QString& before, const QString& after)
{
    QString text = ReadText(path);
    ASSERT_TRUE(text.contains(before)) << path.toStdString() << ": " << before.toStdString();
    text.replace(before, after);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text.toUtf8());
}

const QStringList kWritten{QStringLiteral("man/man1/shelfwise-cli.1"),
                           QStringLiteral("man/man1/Shelfwise.1"),
                           QStringLiteral("bash-completion/completions/shelfwise-cli")};

} // namespace

TEST_F(ManPage, DocumentsTheCommandsOfHelpInOrderWithTheirUsage)
{
    const CliResult help = Run({QStringLiteral("--help")});
    ASSERT_EQ(help.status, 0);
    const QStringList commands = HelpCommands(help.out);
    ASSERT_GT(commands.size(), 20);

    const QString roff = ReadText(QStringLiteral(SHELFWISE_CLI_MAN_PAGE));
    ASSERT_FALSE(roff.isEmpty());
    // Each command is a tagged paragraph whose tag starts with the command's name.
    const QString section = SectionOf(roff, QStringLiteral("COMMANDS"));
    QStringList documented;
    auto tags = QRegularExpression(QStringLiteral("\n\\.TP\n([^\n]*)")).globalMatch(section);
    while (tags.hasNext())
        documented << Plain(tags.next().captured(1)).section(QLatin1Char(' '), 0, 0);
    EXPECT_EQ(documented, commands);

    const QString commandsText = Plain(section).simplified();
    for (const auto& [command, usage] : Usages(commands)) {
        EXPECT_TRUE(commandsText.contains(usage))
            << command.toStdString() << " " << usage.toStdString();
        for (const QString& option : Options(usage))
            EXPECT_TRUE(commandsText.contains(option))
                << command.toStdString() << " " << option.toStdString();
    }

    // The global options of --help and the lines of its synopsis.
    const QString plain = Plain(roff);
    const QString options =
        help.out.section(QStringLiteral("Options"), 1).section(QStringLiteral("Commands:"), 0, 0);
    for (const QString& option : Options(options))
        EXPECT_TRUE(Plain(SectionOf(roff, QStringLiteral("OPTIONS"))).contains(option))
            << option.toStdString();
    const QString synopsis = Plain(SectionOf(roff, QStringLiteral("SYNOPSIS"))).simplified();
    for (const QString& line : help.out.section(QStringLiteral("\n\n"), 0, 0).split('\n'))
        EXPECT_TRUE(synopsis.contains(
            line.simplified().remove(QRegularExpression(QStringLiteral("^usage: ")))))
            << line.toStdString();
    EXPECT_TRUE(plain.contains(QStringLiteral(".TH SHELFWISE-CLI 1 ")));
    EXPECT_TRUE(plain.contains(
        QStringLiteral("\"Shelfwise %1\"")
            .arg(Run({QStringLiteral("--version")}).out.simplified().section(' ', 1))));
}

TEST_F(ManPage, ExamplesUseCommandsAndOptionsThatExist)
{
    const CliResult help = Run({QStringLiteral("--help")});
    const QStringList commands = HelpCommands(help.out);
    const std::map<QString, QString> usages = Usages(commands);
    const QStringList globals = Options(help.out.section(QStringLiteral("Commands:"), 0, 0));

    const QString examples = Plain(
        SectionOf(ReadText(QStringLiteral(SHELFWISE_CLI_MAN_PAGE)), QStringLiteral("EXAMPLES")));
    int checked = 0;
    for (const QString& line : examples.split(QLatin1Char('\n'))) {
        if (!line.startsWith(QStringLiteral("shelfwise-cli ")))
            continue;
        QStringList words = QProcess::splitCommand(line);
        words.removeFirst();
        while (!words.isEmpty() && globals.contains(words.first()))
            words.removeFirst();
        ASSERT_FALSE(words.isEmpty()) << line.toStdString();
        const QString command = words.takeFirst();
        ASSERT_TRUE(usages.count(command)) << line.toStdString();
        for (const QString& word : words) {
            if (word.startsWith(QStringLiteral("--"))) {
                EXPECT_TRUE(Options(usages.at(command)).contains(word) || globals.contains(word))
                    << line.toStdString() << ": " << word.toStdString();
            }
        }
        ++checked;
    }
    // The examples of --help and those the page adds.
    EXPECT_GE(checked, 7);
    for (const char* command : {"add-folder", "add-disc", "report"})
        EXPECT_TRUE(examples.contains(QStringLiteral("shelfwise-cli %1 ").arg(command))) << command;
    EXPECT_TRUE(examples.contains(QStringLiteral(".iso")));
}

TEST_F(ManPage, ManShowsBothPagesWithoutWarnings)
{
    QString text;
    QString warnings;
    if (!Render(QStringLiteral(SHELFWISE_CLI_MAN_PAGE), text, warnings))
        GTEST_SKIP() << "neither man nor groff is installed";
    EXPECT_TRUE(warnings.isEmpty()) << warnings.toStdString();
    // What a reader sees: the usage lines whole, hyphens and all.
    const QString shown = text.simplified();
    const CliResult help = Run({QStringLiteral("--help")});
    for (const auto& [command, usage] : Usages(HelpCommands(help.out)))
        EXPECT_TRUE(shown.contains(usage)) << command.toStdString();
    EXPECT_TRUE(shown.contains(QStringLiteral("~/.local/share/Korvalt/Shelfwise/")));
    EXPECT_TRUE(shown.contains(QStringLiteral("SHELFWISE_SETTINGS_DIR")));
    EXPECT_TRUE(shown.contains(QStringLiteral("Shelfwise(1)")));

    ASSERT_TRUE(Render(QStringLiteral(SHELFWISE_DESKTOP_MAN_PAGE), text, warnings));
    EXPECT_TRUE(warnings.isEmpty()) << warnings.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Shelfwise - disc cataloguer")));
    EXPECT_TRUE(text.contains(QStringLiteral("Shelfwise [FILE]")));
    EXPECT_TRUE(text.contains(QStringLiteral("shelfwise-cli(1)")));
}

TEST_F(ManPage, EveryBuildWritesTheSameFilesForTheDateGiven)
{
    QTemporaryDir first;
    QTemporaryDir second;
    const QStringList& files = kWritten;
    for (const QTemporaryDir* dir : {&first, &second}) {
        ASSERT_EQ(MakeDocs(dir->path(), QStringLiteral("2031-02-03")).status, 0);
    }
    for (const QString& file : files) {
        const QString text = ReadText(QDir(first.path()).filePath(file));
        EXPECT_FALSE(text.isEmpty()) << file.toStdString();
        EXPECT_EQ(text, ReadText(QDir(second.path()).filePath(file))) << file.toStdString();
    }
    const QString page = ReadText(QDir(first.path()).filePath(files.at(0)));
    EXPECT_TRUE(page.contains(QStringLiteral("\n.TH SHELFWISE\\-CLI 1 \"2031\\-02\\-03\" ")));

    QTemporaryDir refused;
    EXPECT_EQ(MakeDocs(refused.path(), QStringLiteral("03/02/2031")).status, 2);
    EXPECT_TRUE(QDir(refused.path()).isEmpty());
}

// The build writes the files again when one of the templates it lists changes: those
// are the folder's files, and all that the generator reads.
TEST_F(ManPage, TheBuildListsEveryTemplateThatIsRead)
{
    QStringList listed = QStringLiteral(SHELFWISE_DOCS_TEMPLATES).split(QLatin1Char('|'));
    QStringList present = QDir(kTemplates).entryList(QDir::Files);
    listed.sort();
    present.sort();
    EXPECT_EQ(present, listed);

    QTemporaryDir copy;
    for (const QString& name : listed)
        ASSERT_TRUE(QFile::copy(QDir(kTemplates).filePath(name), QDir(copy.path()).filePath(name)));
    QTemporaryDir fromCopy;
    QTemporaryDir fromSource;
    ASSERT_EQ(MakeDocs(fromCopy.path(), QStringLiteral("2031-02-03"), copy.path()).status, 0);
    ASSERT_EQ(MakeDocs(fromSource.path(), QStringLiteral("2031-02-03")).status, 0);
    for (const QString& file : kWritten)
        EXPECT_EQ(ReadText(QDir(fromCopy.path()).filePath(file)),
                  ReadText(QDir(fromSource.path()).filePath(file)))
            << file.toStdString();
}

TEST_F(ManPage, WhatATemplateSaysIsWhatIsWritten)
{
    QTemporaryDir templates;
    CopyTemplates(templates.path());
    const QDir folder(templates.path());
    // The section both pages share, and the script around the completion's data.
    Replace(folder.filePath(QStringLiteral("environment.man.in")),
            QStringLiteral("Where the default settings folder lies"),
            QStringLiteral("Below it lies the default settings folder"));
    Replace(folder.filePath(QStringLiteral("shelfwise-cli.bash.in")),
            QStringLiteral("# bash completion for shelfwise-cli "),
            QStringLiteral("# The bash completion of shelfwise-cli "));
    QTemporaryDir output;
    const MakeDocsResult made =
        MakeDocs(output.path(), QStringLiteral("2031-02-03"), templates.path());
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    const QDir written(output.path());
    for (const QString& page : {kWritten.at(0), kWritten.at(1)})
        EXPECT_TRUE(ReadText(written.filePath(page))
                        .contains(QStringLiteral("\n.TP\n\\fBXDG_DATA_HOME\\fR\n"
                                                 "Below it lies the default settings folder")))
            << page.toStdString();
    const QString completion = ReadText(written.filePath(kWritten.at(2)));
    EXPECT_TRUE(completion.startsWith(QStringLiteral("# The bash completion of shelfwise-cli ")));
    // The reader's notes of the templates are not written.
    for (const QString& file : kWritten)
        EXPECT_FALSE(ReadText(written.filePath(file)).contains(QStringLiteral("@@")))
            << file.toStdString();
}

TEST_F(ManPage, ATemplateThatDoesNotFitWritesNothing)
{
    QTemporaryDir unknownSlot;
    CopyTemplates(unknownSlot.path());
    Replace(QDir(unknownSlot.path()).filePath(QStringLiteral("files.man.in")),
            QStringLiteral(".SH FILES\n"), QStringLiteral(".SH FILES\n@NO_SUCH_SLOT@\n"));
    QTemporaryDir output;
    MakeDocsResult made = MakeDocs(output.path(), QStringLiteral("2031-02-03"), unknownSlot.path());
    EXPECT_EQ(made.status, 1);
    EXPECT_TRUE(made.err.contains(QStringLiteral("files.man.in")) &&
                made.err.contains(QStringLiteral("@NO_SUCH_SLOT@")))
        << made.err.toStdString();
    EXPECT_TRUE(QDir(output.path()).isEmpty());

    QTemporaryDir missing;
    CopyTemplates(missing.path());
    ASSERT_TRUE(QFile::remove(QDir(missing.path()).filePath(QStringLiteral("Shelfwise.1.in"))));
    made = MakeDocs(output.path(), QStringLiteral("2031-02-03"), missing.path());
    EXPECT_EQ(made.status, 1);
    EXPECT_TRUE(made.err.contains(QStringLiteral("Shelfwise.1.in"))) << made.err.toStdString();
    EXPECT_TRUE(QDir(output.path()).isEmpty());
}
