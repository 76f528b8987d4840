#pragma once

#include <QDialog>
#include <QString>

#include <memory>

namespace Ui {
class CPathDlg;
}

/// "Backup Path": asks for the folder of a backup, typed or chosen with "...". The
/// start-up backup shows it when no backup folder is set.
class CPathDlg final : public QDialog
{
    Q_OBJECT

public:
    explicit CPathDlg(QWidget* parent = nullptr);
    ~CPathDlg() override;

    /// The path as entered.
    QString Path() const;
    void SetPath(const QString& path);

    /// Shows the dialog modally: the entered path, or empty on Cancel.
    static QString Ask(QWidget* parent);
    /// The desktop's folder chooser, opened at start: the chosen folder in native
    /// form, or empty on Cancel.
    static QString BrowseForFolder(QWidget* parent, const QString& start);

private:
    void Browse();
    void UpdateOk();

    std::unique_ptr<Ui::CPathDlg> m_ui;
};
