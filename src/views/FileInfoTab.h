#pragma once

#include "document/UnitProperties.h"

#include <QIcon>
#include <QString>
#include <QWidget>

#include <memory>

class QLineEdit;
class QPlainTextEdit;

namespace Ui {
class CFileInfoTab;
}

/// The "File Info" page of the properties dialog: the file's description, which the user
/// may change, its name (read-only: a file keeps the name it was catalogued with), and
/// its size and dates. The unlabelled field at the top shows the file's icon and category.
class CFileInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CFileInfoTab(QWidget* parent = nullptr);
    ~CFileInfoTab() override;

    /// Shows the texts collected for the file and its category.
    void SetValues(const UnitProperties::Tab& values, const QIcon& icon, const QString& category);
    QLineEdit* NameEdit() const;
    QPlainTextEdit* DescriptionEdit() const;

private:
    std::unique_ptr<Ui::CFileInfoTab> m_ui;
};
