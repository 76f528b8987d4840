#pragma once

#include <QDialog>
#include <QString>

#include <memory>

namespace Ui {
class CImportDlg;
}

/// File > Import...: the list to import (typed, or chosen with Browse...), its format
/// (guessed from the list when it is chosen, and changeable) and the storage to import
/// into (the list's base name unless changed; a storage of that name receives it). OK
/// stays disabled until there is a list, a format and a storage name.
class CImportDlg final : public QDialog
{
    Q_OBJECT

public:
    explicit CImportDlg(QWidget* parent = nullptr);
    ~CImportDlg() override;

    /// Takes path as the list: guesses its format and names the storage after it
    /// (unless a name was typed).
    void SetListPath(const QString& path);
    QString ListPath() const;
    /// The chosen format's --format name; empty when nothing fits.
    QString FormatName() const;
    QString StorageName() const;

private:
    void Browse();
    void UpdateOk();

    std::unique_ptr<Ui::CImportDlg> m_ui;
    bool m_nameTyped = false;
    bool m_settingName = false;
};
