#include "cli/ManPage.h"

#include "cli/CliHelp.h"

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

// Prose as roff: <b>...</b> and <i>...</i> set a stretch in bold or italics, option names
// (--name) are bold wherever they stand and the words of italicWords (the placeholders
// of a command's usage) italic; everything else is escaped.
QString Text(const QString& prose, const QStringList& italicWords = {})
{
    QString pattern = QStringLiteral("<b>(.*?)</b>|<i>(.*?)</i>|(?<![\\w-])(--[a-z][a-z0-9-]*)");
    if (!italicWords.isEmpty()) {
        QStringList words;
        for (const QString& word : italicWords)
            words << QRegularExpression::escape(word);
        pattern += QStringLiteral("|\\b(%1)\\b").arg(words.join(QLatin1Char('|')));
    }
    return Marked(prose, QRegularExpression(pattern), [](const QRegularExpressionMatch& match) {
        if (match.capturedStart(1) >= 0)
            return Bold(match.captured(1));
        if (match.capturedStart(2) >= 0)
            return Italic(match.captured(2));
        if (match.capturedStart(3) >= 0)
            return Bold(match.captured(3));
        return Italic(match.captured(4));
    });
}

// A usage text as a synopsis shows it: what is typed as it stands (option names,
// keywords, choices) bold, placeholders (FILE, OUT.html) italic, the brackets and bars
// that only describe the syntax plain.
QString Usage(const QString& usage)
{
    static const QRegularExpression token(
        QStringLiteral("(?<![\\w.-])(--?[a-z][a-z0-9-]*)|([A-Z][A-Za-z0-9.]*[A-Za-z0-9]|[A-Z])|"
                       "([a-z0-9]+)"));
    return Marked(usage, token, [](const QRegularExpressionMatch& match) {
        return match.capturedStart(2) >= 0 ? Italic(match.captured()) : Bold(match.captured());
    });
}

// The placeholders of a usage text, which its prose sets in italics.
QStringList Placeholders(const QString& usage)
{
    static const QRegularExpression placeholder(
        QStringLiteral("(?<![\\w.-])([A-Z][A-Za-z0-9.]*[A-Za-z0-9]|[A-Z])"));
    QStringList words;
    auto matches = placeholder.globalMatch(usage);
    while (matches.hasNext()) {
        const QString word = matches.next().captured(1);
        if (!words.contains(word))
            words << word;
    }
    return words;
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

QString Header(const QString& title, const QString& version, const QString& date)
{
    // Left-aligned and unhyphenated: option names and paths are read and copied as they
    // stand.
    return QStringLiteral(".\\\" Written by shelfwise-mkdocs when the program is built;\n"
                          ".\\\" change the program, not this file.\n"
                          ".TH %1 1 \"%2\" \"Shelfwise %3\" \"User Commands\"\n"
                          ".ad l\n"
                          ".nh\n")
        .arg(Escape(title.toUpper()), Escape(date), Escape(version));
}

QString Section(const QString& name)
{
    return QStringLiteral(".SH %1\n").arg(name);
}

QString Paragraph(const QString& roff)
{
    return QStringLiteral(".PP\n") + roff + QLatin1Char('\n');
}

QString Item(const QString& tagRoff, const QString& roff)
{
    return QStringLiteral(".TP\n") + tagRoff + QLatin1Char('\n') + roff + QLatin1Char('\n');
}

// Command lines shown as typed, one a line, indented.
QString Example(const QString& leadRoff, const QStringList& lines)
{
    QString roff = Paragraph(leadRoff) + QStringLiteral(".PP\n.RS\n.nf\n");
    for (const QString& line : lines)
        roff += Escape(line) + QLatin1Char('\n');
    return roff + QStringLiteral(".fi\n.RE\n");
}

QString Environment()
{
    return Section(QStringLiteral("ENVIRONMENT")) +
           Item(Bold(QStringLiteral("SHELFWISE_SETTINGS_DIR")),
                Text(QStringLiteral("The settings folder, in place of the default one (see "
                                    "<b>FILES</b>). shelfwise-cli's --settings-dir sets it for "
                                    "one run."))) +
           Item(Bold(QStringLiteral("XDG_DATA_HOME")),
                Text(QStringLiteral("Where the default settings folder lies; when it is unset "
                                    "or empty, <i>~/.local/share</i>."))) +
           Item(Bold(QStringLiteral("SHELFWISE_DATA_DIR")),
                Text(QStringLiteral("The folder of the data files installed with the program, "
                                    "in place of <i>share/shelfwise</i> (see <b>FILES</b>).")));
}

// The settings folder and the data folder, as both programs use them; the window also
// keeps its recent-file list and shows the user guide.
QString Files(bool desktop)
{
    QString roff = Section(QStringLiteral("FILES"));
    roff += Item(
        Italic(QStringLiteral("$XDG_DATA_HOME/Korvalt/Shelfwise/")),
        Text(QStringLiteral("The settings folder, <i>~/.local/share/Korvalt/Shelfwise/</i> "
                            "when XDG_DATA_HOME is not set, unless SHELFWISE_SETTINGS_DIR names "
                            "another one. It is made when it is missing, and holds:")));
    roff += QStringLiteral(".RS\n");
    roff += Item(Italic(QStringLiteral("Shelfwise.ini")),
                 Text(QStringLiteral("The settings, one \"Key = Value\" line each (\"shelfwise-cli "
                                     "settings\" lists and changes them).")));
    roff += Item(Italic(QStringLiteral("log.txt")),
                 Text(QStringLiteral("The error log: every error shown is added to it.")));
    roff += Item(Italic(QStringLiteral("SECONDS-PID.db3")) + QStringLiteral(", ") +
                     Italic(QStringLiteral("SECONDS.db3")),
                 Text(QStringLiteral(
                     "The working copies of shelfwise-cli and of the window: every run copies its "
                     "catalogue here, works on the copy and deletes it at its end. Copies left "
                     "behind by runs that were killed are removed at the next start.")));
    roff += Item(Italic(QStringLiteral("Unsaved changes to NAME DATE.db3")),
                 Text(QStringLiteral("A working copy kept because Save could not write the "
                                     "catalogue. It stays until it is removed; open it as any "
                                     "catalogue and save it where it can be written.")));
    roff += Item(Italic(QStringLiteral("empty.db3")),
                 Text(QStringLiteral("The template of new catalogues.")));
    roff += Item(Italic(QStringLiteral("test.db3")), Text(QStringLiteral("The sample catalogue.")));
    roff += Item(Italic(QStringLiteral("Updates/")),
                 Text(QStringLiteral("The scripts that upgrade catalogues made by older "
                                     "versions.")));
    roff += QStringLiteral(".RE\n.IP\n") +
            Text(QStringLiteral("<i>empty.db3</i>, <i>test.db3</i> and <i>Updates/</i> are copied "
                                "from the data folder when they are missing.")) +
            QLatin1Char('\n');
    if (desktop)
        roff += Item(Italic(QStringLiteral("$XDG_CONFIG_HOME/Korvalt/Shelfwise.conf")),
                     Text(QStringLiteral(
                         "The recent-file list of the File menu, the last four catalogues "
                         "(<i>~/.config/Korvalt/Shelfwise.conf</i> when XDG_CONFIG_HOME is not "
                         "set). It stays where it is when SHELFWISE_SETTINGS_DIR names another "
                         "settings folder.")));
    roff += Item(Italic(QStringLiteral("share/shelfwise/")),
                 Text(QStringLiteral("The data folder: the data files installed with the program, "
                                     "in <i>share/shelfwise</i> below the installation prefix "
                                     "whose <i>bin</i> folder holds the programs "
                                     "(<i>/usr/share/shelfwise</i> for programs in "
                                     "<i>/usr/bin</i>): <i>empty.db3</i>, <i>test.db3</i>, "
                                     "<i>Updates/</i> and the user guide, "
                                     "<i>help/index.html</i>.")));
    return roff;
}

QString SeeAlso(const QString& page)
{
    return Section(QStringLiteral("SEE ALSO")) + QStringLiteral(".BR %1 (1)\n").arg(Escape(page));
}

QString CliDescription()
{
    const QString description = CliHelp::Description().simplified();
    QString roff = Section(QStringLiteral("DESCRIPTION"));
    roff += Paragraph(Bold(CliHelp::ProgramName()) + QLatin1Char(' ') +
                      Text(description.left(1).toLower() + description.mid(1)));
    roff += Paragraph(Text(QStringLiteral(
        "Every command works through the same document as the desktop program, "
        "<b>Shelfwise</b>(1): it opens the catalogue into a working copy in the settings "
        "folder and works there. A command that changes the catalogue ends with Save, which "
        "replaces the catalogue file in one step; until then the file is unchanged. When Save "
        "cannot write it, the changes are kept in the settings folder (see <b>FILES</b>).")));
    roff += Paragraph(Text(QStringLiteral(
        "Text output is a header line and then one line per row, the fields separated by "
        "tabs. With --json it is JSON, an array of objects or one object, whose keys are the "
        "header names in camel case. Sizes are given twice: in bytes (size) and as the "
        "program shows them (sizeText).")));
    roff += Paragraph(Text(QStringLiteral(
        "The questions the window would ask (delete, compress, upgrade, whether files follow "
        "a changed extension) are answered by --yes or --no. Without either, a question is "
        "asked on the terminal when there is one; otherwise the command stops with status 1 "
        "and says which option answers it.")));
    roff += Paragraph(Text(QStringLiteral(
        "Errors are shown on stderr as the window shows them, and added to the error log. "
        "Long work shows a progress line on stderr when stderr is a terminal. Ctrl+C cancels "
        "an addition and takes it back; nothing half-added stays in the catalogue.")));
    return roff;
}

QString CliOptions()
{
    QString roff = Section(QStringLiteral("OPTIONS")) +
                   Paragraph(Text(QStringLiteral("These may stand before or after the command "
                                                 "name.")));
    for (const CliHelp::GlobalOption& option : CliHelp::GlobalOptions()) {
        const QString names = QString::fromLatin1(option.names);
        roff += Item(Usage(names),
                     Text(Sentence(QString::fromLatin1(option.summary)), Placeholders(names)));
    }
    roff += Item(Usage(QStringLiteral("--help")),
                 Text(QStringLiteral("Print the usage and the commands; after a command, that "
                                     "command's usage.")));
    roff += Item(Usage(QStringLiteral("--version")),
                 Text(QStringLiteral("Print the program's version.")));
    return roff;
}

QString CliCommands(const std::vector<CliCommand>& commands)
{
    QString roff = Section(QStringLiteral("COMMANDS"));
    for (const CliCommand& command : commands) {
        const QString usage = CliHelp::OneLineUsage(command);
        const QStringList placeholders = Placeholders(usage);
        QString tag = Bold(QString::fromLatin1(command.name));
        if (!usage.isEmpty())
            tag += QLatin1Char(' ') + Usage(usage);
        QString body = Text(Sentence(QString::fromLatin1(command.summary)), placeholders);
        for (const QString& paragraph : CliHelp::DetailParagraphs(command))
            body += QStringLiteral("\n.IP\n") + Text(paragraph, placeholders);
        roff += Item(tag, body);
    }
    return roff;
}

QString CliArguments()
{
    return Section(QStringLiteral("ARGUMENTS")) +
           Item(Italic(QStringLiteral("FILE")),
                Text(QStringLiteral("The catalogue, a .db3 file."))) +
           Item(Italic(QStringLiteral("STORAGE")),
                Text(QStringLiteral("A storage: its id (all digits, and an existing id) or its "
                                    "name (exact)."))) +
           Item(Usage(QStringLiteral("--unit ID")),
                Text(QStringLiteral("A unit (a disc, folder or file) by its id, as ls and search "
                                    "print it."),
                     {QStringLiteral("ID")})) +
           Item(Italic(QStringLiteral("CATEGORY")),
                Text(QStringLiteral("A category: its id or its name (exact).")));
}

QString CliExitStatus()
{
    const auto status = [](int value, const char* meaning) {
        return Item(Bold(QString::number(value)), Text(QString::fromLatin1(meaning)));
    };
    return Section(QStringLiteral("EXIT STATUS")) + status(ExitStatus::Success, "Success.") +
           status(ExitStatus::Error, "An error: the message the window would show, on stderr.") +
           status(ExitStatus::Usage, "Wrong usage: an unknown command or option, a missing or "
                                     "wrong argument.") +
           status(ExitStatus::Duplicates, "add-disc found catalogued discs that match the disc "
                                          "and was not given --force.") +
           status(ExitStatus::Cancelled, "Cancelled with Ctrl+C; the addition was taken back.");
}

QString CliExamples()
{
    QString roff = Section(QStringLiteral("EXAMPLES"));
    roff += Example(Text(QStringLiteral("Make a catalogue with a storage, list the storages and "
                                        "search the catalogue:")),
                    CliHelp::Examples());
    roff += Example(Text(QStringLiteral("Catalogue a folder of pictures in the storage "
                                        "\"Box 1\", with a note:")),
                    {QStringLiteral("shelfwise-cli add-folder discs.db3 \"Box 1\" ~/Pictures/2012 "
                                    "--notes \"camera roll\"")});
    roff += Example(Text(QStringLiteral("Catalogue a disc image as the disc \"Holiday 2012\"; "
                                        "the exit status is 3 when a catalogued disc matches it:")),
                    {QStringLiteral("shelfwise-cli add-disc discs.db3 \"Box 1\" holiday.iso "
                                    "--name \"Holiday 2012\"")});
    roff += Example(Text(QStringLiteral("Write the report of one storage, every level deep, and "
                                        "open it in the browser:")),
                    {QStringLiteral("shelfwise-cli report discs.db3 box.html --storage \"Box 1\" "
                                    "--level all --open")});
    return roff;
}

} // namespace

QString Escape(const QString& text)
{
    return EscapeText(text, true);
}

QString CliPage(const std::vector<CliCommand>& commands, const QString& version,
                const QString& date)
{
    const QString program = CliHelp::ProgramName();
    QString roff = Header(program, version, date);
    roff += Section(QStringLiteral("NAME")) +
            Escape(program + QStringLiteral(" - catalogue discs, folders and files without a "
                                            "window")) +
            QLatin1Char('\n');
    roff += Section(QStringLiteral("SYNOPSIS"));
    const QStringList synopsis = CliHelp::Synopsis();
    for (int i = 0; i < synopsis.size(); ++i) {
        if (i > 0)
            roff += QStringLiteral(".br\n");
        roff += Bold(program) + QLatin1Char(' ') + Usage(synopsis.at(i)) + QLatin1Char('\n');
    }
    roff += CliDescription() + CliOptions() + CliCommands(commands) + CliArguments() +
            CliExitStatus() + Environment() + Files(false) + CliExamples() +
            SeeAlso(QStringLiteral("Shelfwise"));
    return roff;
}

QString DesktopPage(const QString& version, const QString& date)
{
    QString roff = Header(QStringLiteral("Shelfwise"), version, date);
    roff += Section(QStringLiteral("NAME")) + QStringLiteral("Shelfwise \\- disc cataloguer\n");
    roff += Section(QStringLiteral("SYNOPSIS")) + Bold(QStringLiteral("Shelfwise")) +
            QStringLiteral(" [") + Italic(QStringLiteral("FILE")) + QStringLiteral("]\n");
    roff += Section(QStringLiteral("DESCRIPTION"));
    roff += Paragraph(Text(QStringLiteral(
        "<b>Shelfwise</b> is a desktop cataloguer for a personal collection of removable discs "
        "(CD, DVD and the like) and folders. You name the places where discs are kept, the "
        "storages (a box, a shelf), add discs, folders or single files to them, and Shelfwise "
        "records every folder and file (size, dates, category, and the media details of films, "
        "music and pictures) in one SQLite catalogue file (.db3) that you can browse, search "
        "and report on while the discs stay on the shelf.")));
    roff += Paragraph(Text(QStringLiteral(
        "The tree on the left lists the storages, discs and folders; the list on the right "
        "shows the selected item's children, files included. Tools > Add Disc/Folder/File adds "
        "a disc from a drive or a disc image (ISO 9660 or UDF), a folder or a file. Search "
        "finds units by name, notes, size, dates, storage, category and media details. Create "
        "report writes every storage, or one, as an HTML page down to a chosen level.")));
    roff += Paragraph(Text(QStringLiteral(
        "One catalogue is open at a time. It is opened into a working copy in the settings "
        "folder and every change goes there; only File Save writes the changes back to the "
        "catalogue file, replacing it in one step. Autosave, by timer or after every change, "
        "is an option.")));
    roff += Paragraph(Text(QStringLiteral(
        "Given <i>FILE</i>, Shelfwise opens that catalogue; one that cannot be opened is "
        "reported and a new, empty catalogue stands in for it. Without <i>FILE</i> it opens the "
        "most recent catalogue of its recent-file list. When that list is empty (the first "
        "start), it asks whether to open the sample catalogue, <i>test.db3</i> in the settings "
        "folder; answered no, it shows a new, empty catalogue.")));
    roff += Paragraph(Text(QStringLiteral(
        "One window runs per settings folder: a Shelfwise started while another one uses the "
        "same settings folder ends at once. At start, when a backup is due (Options, Backup), "
        "the catalogues of the recent-file list are copied into the backup folder.")));
    roff += Paragraph(Text(QStringLiteral(
        "<b>shelfwise-cli</b>(1) does the same on the command line, without a window.")));
    roff +=
        Section(QStringLiteral("ARGUMENTS")) +
        Item(Italic(QStringLiteral("FILE")), Text(QStringLiteral("A catalogue (.db3) to open.")));
    roff += Environment() + Files(true) + SeeAlso(CliHelp::ProgramName());
    return roff;
}

} // namespace ManPage
