#include "FakePrompter.h"

FakePrompter::FakePrompter() : m_previous(&UserPrompter::Current())
{
    UserPrompter::SetCurrent(this);
}

FakePrompter::~FakePrompter()
{
    UserPrompter::SetCurrent(m_previous);
}

void FakePrompter::ShowMessage(const QString& text, Icon icon)
{
    m_messages.push_back({text, icon});
}

bool FakePrompter::AskYesNo(const QString& text, Icon icon)
{
    m_questions.push_back({text, icon});
    if (m_yesNoAnswers.empty())
        return m_defaultYesNo;
    const bool answer = m_yesNoAnswers.front();
    m_yesNoAnswers.pop_front();
    return answer;
}

UserPrompter::Answer FakePrompter::AskYesNoCancel(const QString& text, Icon icon)
{
    if (m_answers.empty())
        return UserPrompter::AskYesNoCancel(text, icon);
    m_questions.push_back({text, icon});
    const Answer answer = m_answers.front();
    m_answers.pop_front();
    return answer;
}

UserPrompter::Answer FakePrompter::AskYesNoDefaultNo(const QString& text, Icon icon)
{
    return AskYesNoCancel(text, icon);
}

void FakePrompter::CloseMainWindow()
{
    ++m_closeCount;
}

QString FakePrompter::AskNewerCatalogue(const QString& catalogueVersion)
{
    return NextPath(PathRequest::NewerCatalogue, catalogueVersion);
}

QString FakePrompter::AskBackupPath()
{
    return NextPath(PathRequest::BackupPath, QString());
}

QString FakePrompter::AskSaveFileName()
{
    return NextPath(PathRequest::SaveFileName, QString());
}

QString FakePrompter::LastMessage() const
{
    return m_messages.empty() ? QString() : m_messages.back().Text;
}

void FakePrompter::ClearRecords()
{
    m_messages.clear();
    m_questions.clear();
    m_pathRequests.clear();
    m_closeCount = 0;
}

QString FakePrompter::NextPath(PathRequest request, const QString& catalogueVersion)
{
    m_pathRequests.push_back({request, catalogueVersion});
    if (m_paths.empty())
        return m_defaultPath;
    QString path = m_paths.front();
    m_paths.pop_front();
    return path;
}
