#pragma once

#include "common/UserPrompter.h"

// The command line's prompter: messages go to stderr; questions are answered by
// --yes / --no, asked on the terminal when there is one, and otherwise refused, which
// ends the command with an error that names the option that answers it.
class CliPrompter final : public UserPrompter
{
public:
    enum class Answer { Ask, Yes, No };

    explicit CliPrompter(Answer answer) : m_answer(answer) {}

    void ShowMessage(const QString& text, Icon icon) override;
    bool AskYesNo(const QString& text, Icon icon) override;
    void CloseMainWindow() override { m_closeRequested = true; }
    QString AskNewerCatalogue(const QString& catalogueVersion) override;
    QString AskBackupPath() override { return QString(); }
    QString AskSaveFileName() override { return QString(); }

    using UserPrompter::AskYesNo;
    using UserPrompter::ShowMessage;

    bool Unanswered() const { return m_unanswered; }
    bool CloseRequested() const { return m_closeRequested; }
    int ErrorsShown() const { return m_errorsShown; }

private:
    Answer m_answer;
    bool m_unanswered = false;
    bool m_closeRequested = false;
    int m_errorsShown = 0;
};
