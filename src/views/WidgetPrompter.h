#pragma once

#include "common/UserPrompter.h"

class QWidget;

// The window's way of telling and asking: message boxes over the main window.
class CWidgetPrompter final : public UserPrompter
{
public:
    // Message boxes are centred on this window (may be null before it exists).
    void SetWindow(QWidget* window) { m_window = window; }

    void ShowMessage(const QString& text, Icon icon) override;
    bool AskYesNo(const QString& text, Icon icon) override;
    Answer AskYesNoCancel(const QString& text, Icon icon) override;
    Answer AskYesNoDefaultNo(const QString& text, Icon icon) override;
    void CloseMainWindow() override;
    QString AskNewerCatalogue(const QString& catalogueVersion) override;
    QString AskBackupPath() override;
    QString AskSaveFileName() override;

private:
    QWidget* m_window = nullptr;
};
