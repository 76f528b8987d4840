#pragma once

#include <QStringList>
#include <QWidget>

#include <vector>

class QTableWidget;

/// The properties dialog's "History" tab of a disc, folder or file lying in a storage:
/// the updates from its source applied to it, newest first (date, what changed, files
/// and size afterwards), read-only; "Not updated yet." when there were none.
class CUpdateHistoryTab final : public QWidget
{
    Q_OBJECT

public:
    /// rows as UnitProperties::UpdateHistory gives them.
    explicit CUpdateHistoryTab(const std::vector<QStringList>& rows, QWidget* parent = nullptr);

    /// The table; null when there is no update to list.
    QTableWidget* Table() const { return m_table; }

private:
    QTableWidget* m_table = nullptr;
};
