#pragma once

#include "document/UnitProperties.h"

#include <QWidget>

#include <memory>

namespace Ui {
class CAudioInfoTab;
}

/// The "Audio Info" page of the properties dialog: the song's tags and its duration,
/// bitrate, sampling rate and channels. The tags are shown, not edited; a value the
/// catalogue holds as NULL leaves its field empty.
class CAudioInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CAudioInfoTab(QWidget* parent = nullptr);
    ~CAudioInfoTab() override;

    void SetValues(const UnitProperties::Tab& values);

private:
    std::unique_ptr<Ui::CAudioInfoTab> m_ui;
};
