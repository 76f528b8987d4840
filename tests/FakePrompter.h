#pragma once

#include "common/UserPrompter.h"

#include <QString>

#include <deque>
#include <vector>

// A scripted UserPrompter for tests. While it lives it is the current prompter (the
// one it replaced comes back when it is destroyed). It records every message and
// question, answers Yes/No questions and path requests from queues that the test
// fills beforehand, falls back to a default answer when a queue is empty, and counts
// the requests to close the main window. Used on one thread only.
class FakePrompter final : public UserPrompter
{
public:
    struct Shown
    {
        QString Text;
        Icon MessageIcon;
    };

    enum class PathRequest { NewerCatalogue, BackupPath, SaveFileName };

    struct AskedPath
    {
        PathRequest Request;
        QString CatalogueVersion; // only for NewerCatalogue
    };

    FakePrompter();
    ~FakePrompter() override;
    FakePrompter(const FakePrompter&) = delete;
    FakePrompter& operator=(const FakePrompter&) = delete;

    using UserPrompter::AskYesNo;
    using UserPrompter::AskYesNoDefaultNo;
    using UserPrompter::ShowMessage;

    void ShowMessage(const QString& text, Icon icon) override;
    bool AskYesNo(const QString& text, Icon icon) override;
    // Takes a queued three-way answer first, then falls back to the Yes/No queue.
    Answer AskYesNoCancel(const QString& text, Icon icon) override;
    // The same queues as AskYesNoCancel; recorded among the questions.
    Answer AskYesNoDefaultNo(const QString& text, Icon icon) override;
    void CloseMainWindow() override;
    QString AskNewerCatalogue(const QString& catalogueVersion) override;
    QString AskBackupPath() override;
    QString AskSaveFileName() override;

    // Scripting: answers are taken in the order queued.
    void QueueYesNo(bool answer) { m_yesNoAnswers.push_back(answer); }
    void QueueAnswer(Answer answer) { m_answers.push_back(answer); }
    void QueuePath(const QString& path) { m_paths.push_back(path); }
    void SetDefaultYesNo(bool answer) { m_defaultYesNo = answer; }
    void SetDefaultPath(const QString& path) { m_defaultPath = path; }

    // What happened.
    const std::vector<Shown>& Messages() const { return m_messages; }
    const std::vector<Shown>& Questions() const { return m_questions; }
    const std::vector<AskedPath>& PathRequests() const { return m_pathRequests; }
    int CloseCount() const { return m_closeCount; }
    // The text of the last message shown, or empty when none was.
    QString LastMessage() const;
    void ClearRecords();

private:
    QString NextPath(PathRequest request, const QString& catalogueVersion);

    UserPrompter* m_previous = nullptr;
    std::deque<bool> m_yesNoAnswers;
    std::deque<Answer> m_answers;
    std::deque<QString> m_paths;
    bool m_defaultYesNo = false;
    QString m_defaultPath;
    std::vector<Shown> m_messages;
    std::vector<Shown> m_questions;
    std::vector<AskedPath> m_pathRequests;
    int m_closeCount = 0;
};
