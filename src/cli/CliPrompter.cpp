#include "cli/CliPrompter.h"

#include <QTextStream>

#include <cstdio>
#include <iostream>
#include <string>

#ifdef Q_OS_WIN
#include <io.h>
#define isatty _isatty
#define fileno _fileno
#else
#include <unistd.h>
#endif

namespace {

void WriteError(const QString& text)
{
    const QByteArray bytes = (text + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace

void CliPrompter::ShowMessage(const QString& text, Icon icon)
{
    if (icon == Icon::Error)
        ++m_errorsShown;
    WriteError(text);
}

bool CliPrompter::AskYesNo(const QString& text, Icon)
{
    if (m_answer != Answer::Ask)
        return m_answer == Answer::Yes;
    if (!isatty(fileno(stdin)) || !isatty(fileno(stderr))) {
        m_unanswered = true;
        WriteError(text);
        WriteError(QStringLiteral("This question needs an answer: give --yes or --no."));
        return false;
    }
    const QByteArray prompt = (text + QStringLiteral(" [y/N] ")).toUtf8();
    std::fwrite(prompt.constData(), 1, static_cast<size_t>(prompt.size()), stderr);
    std::fflush(stderr);
    std::string line;
    if (!std::getline(std::cin, line))
        return false;
    return !line.empty() && (line[0] == 'y' || line[0] == 'Y');
}

QString CliPrompter::AskNewerCatalogue(const QString& catalogueVersion)
{
    ++m_errorsShown;
    WriteError(QStringLiteral("Selected database was created with newer version of Shelfwise "
                              "(catalogue version %1).")
                   .arg(catalogueVersion));
    return QString();
}
