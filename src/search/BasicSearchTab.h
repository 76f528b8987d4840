#pragma once

#include "sqlitewrapper/Records.h"
#include "sqlitewrapper/SearchCriteria.h"

#include <QWidget>

#include <memory>
#include <vector>

namespace Ui {
class CBasicSearchTab;
}

/// The "Basic" page of the search dialog: the text that names (and, if asked,
/// descriptions) must contain, one storage, a file size and a date range. A criterion's
/// controls are enabled while its check box is checked.
class CBasicSearchTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CBasicSearchTab(QWidget* parent = nullptr);
    ~CBasicSearchTab() override;

    /// Fills the storage list, each item carrying its StorageID; the storage chosen
    /// before stays chosen while it exists.
    void SetStorages(const std::vector<StorageListItem>& storages);

    /// Puts the earlier date in the "between" picker when the two were chosen the other
    /// way round, so the pickers show the range that is searched.
    void OrderDateRange();

    /// Text, size, storage, date and description criteria as the page shows them. The
    /// date range covers whole days, from the first second of the earlier date to the
    /// last second of the later one.
    void Gather(SearchCriteria& criteria) const;

    /// Puts the focus on the text, all of it selected, ready to type over.
    void FocusText();

private:
    void UpdateEnabled();

    std::unique_ptr<Ui::CBasicSearchTab> m_ui;
};
