#pragma once

#include <QWidget>

#include <memory>

class Settings;

namespace Ui {
class CBackupOptionsTab;
}

/// The "Backup" page of the options: whether the start-up backup runs, how often,
/// into which folder (or asking for one each time), and when it last ran.
class CBackupOptionsTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CBackupOptionsTab(QWidget* parent = nullptr);
    ~CBackupOptionsTab() override;

    void Load(const Settings& settings);
    /// BackupPath is the field's text with "Always use the path specified below"
    /// checked, and empty with "Ask for path before backup" (the backup then asks).
    void Store(Settings& settings) const;

    /// How a stored last-backup date ("DDMMYYYY") is shown; text that is no date is
    /// shown as it stands.
    static QString BackupDateText(const QByteArray& backupDate);

private:
    void UpdateEnabled();
    void Browse();

    std::unique_ptr<Ui::CBackupOptionsTab> m_ui;
};
