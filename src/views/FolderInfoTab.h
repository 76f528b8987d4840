#pragma once

#include "document/UnitProperties.h"

#include <QIcon>
#include <QString>
#include <QWidget>

#include <memory>

class QLineEdit;
class QPlainTextEdit;

namespace Ui {
class CFolderInfoTab;
}

/// The "Folder Info" page of the properties dialog: the folder's description, which the
/// user may change, its name (read-only: a folder keeps the name it was catalogued with),
/// and its counts, size and date. The unlabelled field at the top shows the folder's icon
/// and category.
class CFolderInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CFolderInfoTab(QWidget* parent = nullptr);
    ~CFolderInfoTab() override;

    /// Shows the texts collected for the folder and its category.
    void SetValues(const UnitProperties::Tab& values, const QIcon& icon, const QString& category);
    QLineEdit* NameEdit() const;
    QPlainTextEdit* DescriptionEdit() const;

private:
    std::unique_ptr<Ui::CFolderInfoTab> m_ui;
};
