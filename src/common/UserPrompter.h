#pragma once

#include <QString>

// The one way core code shows a message or asks the user something. The window
// implements it with message boxes and dialogs, the command line with stderr and its
// --yes/--no options, tests with a scripted fake.
class UserPrompter
{
public:
    enum class Icon { Information, Warning, Error, Question };

    virtual ~UserPrompter();

    virtual void ShowMessage(const QString& text, Icon icon) = 0;
    enum class Answer { Yes, No, Cancel };

    // A Yes/No question; true for Yes, which is the default button.
    virtual bool AskYesNo(const QString& text, Icon icon) = 0;
    // A Yes/No question with No as the default button, for a change the user should
    // not make by pressing Enter; Cancel when the box is closed without an answer (Esc,
    // the close box). Where nobody can close it, it is asked as a Yes/No question.
    virtual Answer AskYesNoDefaultNo(const QString& text, Icon icon);
    // A Yes/No/Cancel question (save changes?). Where nobody can cancel, it is asked
    // as a Yes/No question.
    virtual Answer AskYesNoCancel(const QString& text, Icon icon);
    // Closes the main window (the normal close path follows). The command line ends
    // the command with an error.
    virtual void CloseMainWindow() = 0;
    // The newer-catalogue dialog: the path of another catalogue to open, or empty to
    // exit the program.
    virtual QString AskNewerCatalogue(const QString& catalogueVersion) = 0;
    // The backup-path dialog: a folder, or empty for Cancel.
    virtual QString AskBackupPath() = 0;
    // The save dialog for a catalogue that has no file yet: a path, or empty for Cancel.
    virtual QString AskSaveFileName() = 0;

    // Shorthands taking a string id.
    void ShowMessage(int stringId, Icon icon);
    bool AskYesNo(int stringId, Icon icon);
    Answer AskYesNoDefaultNo(int stringId, Icon icon);

    // The prompter in use; the program sets it once at start.
    static UserPrompter& Current();
    static void SetCurrent(UserPrompter* prompter);
};
