#pragma once

#include "document/UnitProperties.h"
#include "sqlitewrapper/ThumbnailRecord.h"

#include <QPixmap>

#include <QWidget>

#include <memory>

namespace Ui {
class CPictureInfoTab;
}

/// The "Picture Info" page of the properties dialog: the picture's size in pixels, its
/// resolution and its colour depth, and its thumbnail when the catalogue keeps one. A value the
/// catalogue holds as NULL leaves its field empty.
class CPictureInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CPictureInfoTab(QWidget* parent = nullptr);
    ~CPictureInfoTab() override;

    void SetValues(const UnitProperties::Tab& values);
    /// Shows the picture's thumbnail below its facts; an empty one shows nothing.
    void SetThumbnail(const ThumbnailRecord& thumbnail);
    /// The thumbnail shown; a null pixmap when there is none.
    QPixmap Thumbnail() const;

private:
    std::unique_ptr<Ui::CPictureInfoTab> m_ui;
};
