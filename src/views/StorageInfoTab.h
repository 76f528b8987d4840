#pragma once

#include "document/UnitProperties.h"

#include <QWidget>

#include <memory>

class QLineEdit;
class QPlainTextEdit;

namespace Ui {
class CStorageInfoTab;
}

/// The "Storage Info" page of the properties dialog: the storage's name (at the top,
/// next to its icon) and description, which the user may change, and its counts of
/// folders, files and discs, its size and the date it was added.
class CStorageInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CStorageInfoTab(QWidget* parent = nullptr);
    ~CStorageInfoTab() override;

    void SetValues(const UnitProperties::Tab& values);
    QLineEdit* NameEdit() const;
    QPlainTextEdit* DescriptionEdit() const;

private:
    std::unique_ptr<Ui::CStorageInfoTab> m_ui;
};
