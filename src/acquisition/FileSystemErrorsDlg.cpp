#include "acquisition/FileSystemErrorsDlg.h"

#include "common/Strings.h"

#include "ui_FileSystemErrorsDlg.h"

#include <QDir>

CFileSystemErrorsDlg::CFileSystemErrorsDlg(const std::vector<FileSystemError>& errors,
                                           QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CFileSystemErrorsDlg)
{
    m_ui->setupUi(this);
    m_ui->introLabel->setText(Strings::LoadString(Strings::IDS_FILE_SYSTEM_ERRORS));
    for (const FileSystemError& error : errors)
        m_ui->errorList->addItem(
            QStringLiteral("%1 - %2").arg(QDir::toNativeSeparators(error.Path), error.Message));
    // The list keeps its lines whole and scrolls sideways to the widest one.
    m_ui->errorList->setWordWrap(false);
    m_ui->errorList->setTextElideMode(Qt::ElideNone);
}

CFileSystemErrorsDlg::~CFileSystemErrorsDlg() = default;

QStringList CFileSystemErrorsDlg::Lines() const
{
    QStringList lines;
    for (int row = 0; row < m_ui->errorList->count(); ++row)
        lines << m_ui->errorList->item(row)->text();
    return lines;
}
