#pragma once

#include "document/UnitProperties.h"

#include <QWidget>

#include <memory>

namespace Ui {
class CPictureInfoTab;
}

/// The "Picture Info" page of the properties dialog: the picture's size in pixels, its
/// resolution and its colour depth. A value the catalogue holds as NULL leaves its field
/// empty.
class CPictureInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CPictureInfoTab(QWidget* parent = nullptr);
    ~CPictureInfoTab() override;

    void SetValues(const UnitProperties::Tab& values);

private:
    std::unique_ptr<Ui::CPictureInfoTab> m_ui;
};
