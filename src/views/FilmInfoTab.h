#pragma once

#include "document/UnitProperties.h"

#include <QWidget>

#include <memory>

namespace Ui {
class CFilmInfoTab;
}

/// The "Film Info" page of the properties dialog: the film's duration, frame size,
/// bitrate and codec. A value the catalogue holds as NULL leaves its field empty.
class CFilmInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CFilmInfoTab(QWidget* parent = nullptr);
    ~CFilmInfoTab() override;

    void SetValues(const UnitProperties::Tab& values);

private:
    std::unique_ptr<Ui::CFilmInfoTab> m_ui;
};
