// shelfwise-mkdocs: writes the manual pages and the bash completion at build time,
// from the command table that shelfwise-cli --help prints and the templates beside this
// file.
//
//   shelfwise-mkdocs TEMPLATE_DIR OUTPUT_DIR DATE
//
// fills the templates of TEMPLATE_DIR (src/mkdocs/templates) and writes
// OUTPUT_DIR/man/man1/shelfwise-cli.1, OUTPUT_DIR/man/man1/Shelfwise.1 and
// OUTPUT_DIR/bash-completion/completions/shelfwise-cli. DATE (YYYY-MM-DD) is the date
// the manual pages carry: the release's, never the build's, so that every build of a
// version writes the same files. When a template is missing or does not fit the command
// table, nothing is written.
#include "cli/BashCompletion.h"
#include "cli/CliHelp.h"
#include "cli/ManPage.h"
#include "document/ProgramVersion.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>
#include <exception>

namespace {

// Writes the file whole or not at all, so that an interrupted build leaves no half file
// that looks up to date.
bool Write(const QString& path, const QString& text)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        std::fprintf(stderr, "shelfwise-mkdocs: cannot make the folder of %s\n", qPrintable(path));
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        std::fprintf(stderr, "shelfwise-mkdocs: cannot write %s: %s\n", qPrintable(path),
                     qPrintable(file.errorString()));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: shelfwise-mkdocs TEMPLATE_DIR OUTPUT_DIR DATE\n");
        return 2;
    }
    const QString templates = QFile::decodeName(argv[1]);
    const QString output = QFile::decodeName(argv[2]);
    const QString date = QString::fromLocal8Bit(argv[3]);
    if (!QDate::fromString(date, QStringLiteral("yyyy-MM-dd")).isValid()) {
        std::fprintf(stderr, "shelfwise-mkdocs: the date must be YYYY-MM-DD, not \"%s\"\n",
                     argv[3]);
        return 2;
    }

    const std::vector<CliCommand> commands = CliHelp::AllCommands();
    const QString version = Version::ProgramVersionText();
    QString cliPage;
    QString desktopPage;
    QString completion;
    try {
        cliPage = ManPage::CliPage(commands, version, date, templates);
        desktopPage = ManPage::DesktopPage(version, date, templates);
        completion = BashCompletion::Script(commands, version, templates);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "shelfwise-mkdocs: %s\n", error.what());
        return 1;
    }
    const QDir folder(output);
    const bool written =
        Write(folder.filePath(QStringLiteral("man/man1/shelfwise-cli.1")), cliPage) &&
        Write(folder.filePath(QStringLiteral("man/man1/Shelfwise.1")), desktopPage) &&
        Write(folder.filePath(QStringLiteral("bash-completion/completions/shelfwise-cli")),
              completion);
    return written ? 0 : 1;
}
