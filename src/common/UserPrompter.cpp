#include "common/UserPrompter.h"

#include "common/Strings.h"

#include <QByteArray>

#include <atomic>
#include <cstdio>

namespace {

// What core code talks to while no user interface has installed a prompter (the
// command line before it starts, a tool, a test that sets none): messages go to
// stderr, every question is answered No or empty, and there is no window to close.
class StderrPrompter final : public UserPrompter
{
public:
    void ShowMessage(const QString& text, Icon icon) override { Print(text, icon); }

    bool AskYesNo(const QString& text, Icon icon) override
    {
        Print(text + QStringLiteral(" [No]"), icon);
        return false;
    }

    void CloseMainWindow() override {}
    QString AskNewerCatalogue(const QString&) override { return QString(); }
    QString AskBackupPath() override { return QString(); }
    QString AskSaveFileName() override { return QString(); }

private:
    static void Print(const QString& text, Icon icon)
    {
        const char* prefix = "";
        switch (icon) {
        case Icon::Error:
            prefix = "error: ";
            break;
        case Icon::Warning:
            prefix = "warning: ";
            break;
        case Icon::Information:
        case Icon::Question:
            break;
        }
        const QByteArray line = prefix + text.toLocal8Bit() + '\n';
        std::fputs(line.constData(), stderr);
        std::fflush(stderr);
    }
};

StderrPrompter& DefaultPrompter()
{
    static StderrPrompter prompter;
    return prompter;
}

// Set once at start by the user interface, but read from any thread that reports.
std::atomic<UserPrompter*> g_current{nullptr};

} // namespace

UserPrompter::~UserPrompter() = default;

UserPrompter::Answer UserPrompter::AskYesNoCancel(const QString& text, Icon icon)
{
    return AskYesNo(text, icon) ? Answer::Yes : Answer::No;
}

UserPrompter::Answer UserPrompter::AskYesNoDefaultNo(const QString& text, Icon icon)
{
    return AskYesNo(text, icon) ? Answer::Yes : Answer::No;
}

UserPrompter::Answer UserPrompter::AskYesNoDefaultNo(int stringId, Icon icon)
{
    return AskYesNoDefaultNo(Strings::LoadString(stringId), icon);
}

void UserPrompter::ShowMessage(int stringId, Icon icon)
{
    ShowMessage(Strings::LoadString(stringId), icon);
}

bool UserPrompter::AskYesNo(int stringId, Icon icon)
{
    return AskYesNo(Strings::LoadString(stringId), icon);
}

UserPrompter& UserPrompter::Current()
{
    UserPrompter* prompter = g_current.load();
    return prompter ? *prompter : DefaultPrompter();
}

void UserPrompter::SetCurrent(UserPrompter* prompter)
{
    g_current.store(prompter);
}
