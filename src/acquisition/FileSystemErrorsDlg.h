#pragma once

#include "errorlog/ErrorLog.h"

#include <QDialog>
#include <QStringList>

#include <memory>
#include <vector>

namespace Ui {
class CFileSystemErrorsDlg;
}

/// "Errors Report": the folders and files an addition could not read, one line
/// "path - system message" each in the order they were met, shown after a successful
/// addition. Long lines scroll sideways.
class CFileSystemErrorsDlg final : public QDialog
{
    Q_OBJECT

public:
    explicit CFileSystemErrorsDlg(const std::vector<FileSystemError>& errors,
                                  QWidget* parent = nullptr);
    ~CFileSystemErrorsDlg() override;

    /// The lines as listed.
    QStringList Lines() const;

private:
    std::unique_ptr<Ui::CFileSystemErrorsDlg> m_ui;
};
