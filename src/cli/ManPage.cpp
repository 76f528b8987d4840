#include "cli/ManPage.h"

#include "cli/CliHelp.h"
#include "cli/DocTemplate.h"

#include <QRegularExpression>
#include <QStringList>

namespace ManPage {

namespace {

// Escape for text that starts a line (where "." and "'" would be read as a request) or
// that follows other text on its line.
QString EscapeText(const QString& text, bool startsLine)
{
    QString roff;
    bool lineStart = startsLine;
    for (const QChar ch : text) {
        if (lineStart && (ch == QLatin1Char('.') || ch == QLatin1Char('\'')))
            roff += QStringLiteral("\\&");
        if (ch == QLatin1Char('\\'))
            roff += QStringLiteral("\\e");
        else if (ch == QLatin1Char('-'))
            roff += QStringLiteral("\\-");
        else
            roff += ch;
        lineStart = ch == QLatin1Char('\n');
    }
    return roff;
}

QString Bold(const QString& text)
{
    return QStringLiteral("\\fB") + EscapeText(text, false) + QStringLiteral("\\fR");
}

QString Italic(const QString& text)
{
    return QStringLiteral("\\fI") + EscapeText(text, false) + QStringLiteral("\\fR");
}

QString Plain(const QString& text)
{
    return EscapeText(text, false);
}

// A usage as a synopsis shows it: what is typed as it stands (option names, keywords,
// choices) bold, placeholders (FILE, OUT.html) italic, the brackets and bars that only
// describe the syntax plain.
const CliArgument::Style& Roff()
{
    static const CliArgument::Style roff{&Bold, &Italic, &Plain};
    return roff;
}

// Escapes the text between the matches of a pattern and sets each match as format says.
template <typename Format>
QString Marked(const QString& text, const QRegularExpression& pattern, Format format)
{
    QString roff;
    qsizetype done = 0;
    auto matches = pattern.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        roff += EscapeText(text.mid(done, match.capturedStart() - done), done == 0);
        roff += format(match);
        done = match.capturedEnd();
    }
    return roff + EscapeText(text.mid(done), done == 0);
}

// Prose as roff: option names (--name) are bold wherever they stand and the words of
// italicWords (the placeholders of a command's usage) italic; everything else is escaped.
QString Text(const QString& prose, const QStringList& italicWords = {})
{
    QString pattern = QStringLiteral("(?<![\\w-])(--[a-z][a-z0-9-]*)");
    if (!italicWords.isEmpty()) {
        QStringList words;
        for (const QString& word : italicWords)
            words << QRegularExpression::escape(word);
        pattern += QStringLiteral("|\\b(%1)\\b").arg(words.join(QLatin1Char('|')));
    }
    return Marked(prose, QRegularExpression(pattern), [](const QRegularExpressionMatch& match) {
        if (match.capturedStart(1) >= 0)
            return Bold(match.captured(1));
        return Italic(match.captured(2));
    });
}

// A summary line of the command table as a sentence.
QString Sentence(const QString& summary)
{
    QString sentence = summary;
    if (!sentence.isEmpty())
        sentence[0] = sentence.at(0).toUpper();
    if (!sentence.endsWith(QLatin1Char('.')))
        sentence += QLatin1Char('.');
    return sentence;
}

QString Item(const QString& tagRoff, const QString& roff)
{
    return QStringLiteral(".TP\n") + tagRoff + QLatin1Char('\n') + roff + QLatin1Char('\n');
}

// Fills what both pages have: the date and version of the title line, the sections on
// the environment and the files.
DocTemplate Page(const QString& folder, const QString& name, const QString& version,
                 const QString& date, const QString& recentFiles)
{
    DocTemplate page = DocTemplate::Load(folder, name);
    page.Fill(QStringLiteral("DATE"), Escape(date))
        .Fill(QStringLiteral("VERSION"), Escape(version))
        .Fill(QStringLiteral("ENVIRONMENT"),
              DocTemplate::Load(folder, QStringLiteral("environment.man.in")).Text())
        .Fill(QStringLiteral("FILES"), DocTemplate::Load(folder, QStringLiteral("files.man.in"))
                                           .Fill(QStringLiteral("RECENT_FILES"), recentFiles)
                                           .Text());
    return page;
}

QString Synopsis()
{
    QStringList lines;
    for (const QString& line : CliHelp::Synopsis(Roff()))
        lines << Bold(CliHelp::ProgramName()) + QLatin1Char(' ') + line;
    return lines.join(QStringLiteral("\n.br\n"));
}

QString Description()
{
    const QString description = CliHelp::Description().simplified();
    return Bold(CliHelp::ProgramName()) + QLatin1Char(' ') +
           Text(description.left(1).toLower() + description.mid(1));
}

QString GlobalOptions()
{
    QString roff;
    for (const CliArgument& option : CliHelp::GlobalOptions())
        roff += Item(option.Forms(Roff(), QStringLiteral(", ")),
                     Text(Sentence(option.HelpText()), option.Placeholders()));
    return roff;
}

QString Commands(const std::vector<CliCommand>& commands)
{
    QString roff;
    for (const CliCommand& command : commands) {
        const QStringList placeholders = command.Placeholders();
        QString tag = Bold(QString::fromLatin1(command.name));
        if (!command.arguments.empty())
            tag += QLatin1Char(' ') + command.OneLineUsage(Roff());
        QString body = Text(Sentence(QString::fromLatin1(command.summary)), placeholders);
        for (const QString& paragraph : CliHelp::DetailParagraphs(command))
            body += QStringLiteral("\n.IP\n") + Text(paragraph, placeholders);
        roff += Item(tag, body);
    }
    return roff;
}

// The placeholders whose meaning the table gives, each with the option that comes
// before it, if any.
QString Arguments()
{
    QString roff;
    for (const CliPlaceholder& placeholder : CliPlaceholders::All()) {
        if (!placeholder.meaning)
            continue;
        const QString name = QString::fromLatin1(placeholder.name);
        QString tag = Italic(name);
        if (placeholder.option)
            tag = Bold(QString::fromLatin1(placeholder.option)) + QLatin1Char(' ') + tag;
        roff += Item(tag, Text(QString::fromLatin1(placeholder.meaning), {name}));
    }
    return roff;
}

QString HelpExamples()
{
    QString roff;
    for (const QString& line : CliHelp::Examples())
        roff += Escape(line) + QLatin1Char('\n');
    return roff;
}

} // namespace

QString Escape(const QString& text)
{
    return EscapeText(text, true);
}

QString CliPage(const std::vector<CliCommand>& commands, const QString& version,
                const QString& date, const QString& templateFolder)
{
    return Page(templateFolder, QStringLiteral("shelfwise-cli.1.in"), version, date, QString())
        .Fill(QStringLiteral("SYNOPSIS"), Synopsis())
        .Fill(QStringLiteral("DESCRIPTION"), Description())
        .Fill(QStringLiteral("GLOBAL_OPTIONS"), GlobalOptions())
        .Fill(QStringLiteral("COMMANDS"), Commands(commands))
        .Fill(QStringLiteral("ARGUMENTS"), Arguments())
        .Fill(QStringLiteral("HELP_EXAMPLES"), HelpExamples())
        .Text();
}

QString DesktopPage(const QString& version, const QString& date, const QString& templateFolder)
{
    const QString recentFiles =
        DocTemplate::Load(templateFolder, QStringLiteral("recent-files.man.in")).Text();
    return Page(templateFolder, QStringLiteral("Shelfwise.1.in"), version, date, recentFiles)
        .Text();
}

} // namespace ManPage
