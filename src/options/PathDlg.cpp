#include "options/PathDlg.h"

#include "ui_PathDlg.h"

#include <QDir>
#include <QFileDialog>
#include <QPushButton>

CPathDlg::CPathDlg(QWidget* parent) : QDialog(parent), m_ui(new Ui::CPathDlg)
{
    m_ui->setupUi(this);
    connect(m_ui->browseButton, &QPushButton::clicked, this, &CPathDlg::Browse);
    connect(m_ui->pathEdit, &QLineEdit::textChanged, this, &CPathDlg::UpdateOk);
    UpdateOk();
}

CPathDlg::~CPathDlg() = default;

QString CPathDlg::Path() const
{
    return m_ui->pathEdit->text();
}

void CPathDlg::SetPath(const QString& path)
{
    m_ui->pathEdit->setText(path);
}

QString CPathDlg::Ask(QWidget* parent)
{
    CPathDlg dialog(parent);
    return dialog.exec() == QDialog::Accepted ? dialog.Path() : QString();
}

QString CPathDlg::BrowseForFolder(QWidget* parent, const QString& start)
{
    const QString folder =
        QFileDialog::getExistingDirectory(parent, tr("Backup Path"), start.trimmed());
    return folder.isEmpty() ? QString() : QDir::toNativeSeparators(folder);
}

void CPathDlg::Browse()
{
    const QString folder = BrowseForFolder(this, Path());
    if (!folder.isEmpty())
        SetPath(folder);
}

void CPathDlg::UpdateOk()
{
    // An empty path would read as Cancel to the backup; only Cancel says that.
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(!Path().trimmed().isEmpty());
}
