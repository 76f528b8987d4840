#pragma once

#include <QDialog>

#include <memory>

class CBackupOptionsTab;
class CCategoriesOptionsTab;
class CDuplicatesOptionsTab;
class CGeneralOptionsTab;
class CShelfwiseDoc;

namespace Ui {
class COptionsDlg;
}

/// "Options": the General, Categories, Duplicates and Backup pages. The settings pages
/// show Settings::Instance(); OK stores them all, writes the settings file when
/// something changed, has the document take the new units order and reload its
/// storages, and emits settingsApplied() for the window's part (the autosave timer,
/// the icons). Cancel changes no setting. The Categories page edits the catalogue
/// directly, whichever button closes the dialog.
/// Opened modally (exec) by the Options command.
class COptionsDlg final : public QDialog
{
    Q_OBJECT

public:
    explicit COptionsDlg(CShelfwiseDoc& doc, QWidget* parent = nullptr);
    ~COptionsDlg() override;

    CGeneralOptionsTab& GeneralTab() const { return *m_general; }
    CCategoriesOptionsTab& CategoriesTab() const { return *m_categories; }
    CDuplicatesOptionsTab& DuplicatesTab() const { return *m_duplicates; }
    CBackupOptionsTab& BackupTab() const { return *m_backup; }

public slots:
    void accept() override;

signals:
    /// The settings were stored and the document has applied them: the window
    /// restarts its autosave timer (CMainFrame::RestartAutosave) and redraws its icons.
    void settingsApplied();

private:
    std::unique_ptr<Ui::COptionsDlg> m_ui;
    CShelfwiseDoc& m_doc;
    CGeneralOptionsTab* m_general;
    CCategoriesOptionsTab* m_categories;
    CDuplicatesOptionsTab* m_duplicates;
    CBackupOptionsTab* m_backup;
};
