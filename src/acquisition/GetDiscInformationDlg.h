#pragma once

#include "drives/VolumeInfoWorker.h"
#include "volumes/VolumeInfo.h"

#include <QDialog>
#include <QString>

#include <memory>

class DriveSystem;

namespace Ui {
class CGetDiscInformationDlg;
}

/// The small "please wait" box shown while a drive's volume is read: showing it starts
/// the volume-information worker, and it closes itself when the worker's end event
/// arrives. Until then it cannot be closed: Escape, the close box and reject() do
/// nothing, because the worker writes into this dialog's result.
class CGetDiscInformationDlg final : public QDialog
{
    Q_OBJECT

public:
    CGetDiscInformationDlg(std::shared_ptr<DriveSystem> drives, const QString& drivePath,
                           QWidget* parent = nullptr);
    /// Waits for the worker when it was started.
    ~CGetDiscInformationDlg() override;

    /// Reads the volume of drivePath behind a modal wait box; an unreadable volume is
    /// empty, 0, 0.
    static VolumeInfo Read(std::shared_ptr<DriveSystem> drives, const QString& drivePath,
                           QWidget* parent);

    /// True once the volume has answered.
    bool IsFinished() const { return m_finished; }
    /// The volume; empty until IsFinished().
    VolumeInfo Result() const;

public slots:
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void customEvent(QEvent* event) override;

private:
    std::unique_ptr<Ui::CGetDiscInformationDlg> m_ui;
    VolumeInfoWorker m_worker;
    bool m_finished = false;
};
