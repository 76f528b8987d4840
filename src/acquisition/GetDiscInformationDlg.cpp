#include "acquisition/GetDiscInformationDlg.h"

#include "common/WorkerEvent.h"

#include "ui_GetDiscInformationDlg.h"

#include <QCloseEvent>

CGetDiscInformationDlg::CGetDiscInformationDlg(std::shared_ptr<DriveSystem> drives,
                                               const QString& drivePath, QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CGetDiscInformationDlg), m_worker(std::move(drives), drivePath)
{
    m_ui->setupUi(this);
    // A title without a close box: there is nothing to cancel.
    setWindowFlags((windowFlags() & ~Qt::WindowCloseButtonHint & ~Qt::WindowContextHelpButtonHint) |
                   Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    setModal(true);
}

CGetDiscInformationDlg::~CGetDiscInformationDlg() = default;

VolumeInfo CGetDiscInformationDlg::Read(std::shared_ptr<DriveSystem> drives,
                                        const QString& drivePath, QWidget* parent)
{
    CGetDiscInformationDlg dialog(std::move(drives), drivePath, parent);
    dialog.exec();
    return dialog.Result();
}

VolumeInfo CGetDiscInformationDlg::Result() const
{
    return m_finished ? m_worker.Result() : VolumeInfo();
}

void CGetDiscInformationDlg::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    // Starts once; the event arrives after the box is up, so exec() cannot miss it.
    m_worker.Start(this);
}

void CGetDiscInformationDlg::reject()
{
    if (m_finished)
        QDialog::reject();
}

void CGetDiscInformationDlg::closeEvent(QCloseEvent* event)
{
    if (m_finished)
        QDialog::closeEvent(event);
    else
        event->ignore();
}

void CGetDiscInformationDlg::customEvent(QEvent* event)
{
    if (!WorkerEvent::Is(event, WorkerEvent::Finished))
        return QDialog::customEvent(event);
    m_finished = true;
    accept();
}
