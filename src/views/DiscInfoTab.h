#pragma once

#include "document/UnitProperties.h"

#include <QIcon>
#include <QString>
#include <QWidget>

#include <memory>

class QLineEdit;
class QPlainTextEdit;

namespace Ui {
class CDiscInfoTab;
}

/// The "Disc Info" page of the properties dialog: the disc's name and description, which
/// the user may change, its volume label and serial number, and its counts, size and
/// date. The unlabelled field at the top shows the disc's icon and category.
class CDiscInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CDiscInfoTab(QWidget* parent = nullptr);
    ~CDiscInfoTab() override;

    /// Shows the texts collected for the disc and its category.
    void SetValues(const UnitProperties::Tab& values, const QIcon& icon, const QString& category);
    QLineEdit* NameEdit() const;
    QPlainTextEdit* DescriptionEdit() const;

private:
    std::unique_ptr<Ui::CDiscInfoTab> m_ui;
};
