#include "views/PictureInfoTab.h"

#include "media/Thumbnailer.h"
#include "views/InfoTabFields.h"

#include "ui_PictureInfoTab.h"

#include <QImage>

CPictureInfoTab::CPictureInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CPictureInfoTab)
{
    m_ui->setupUi(this);
}

CPictureInfoTab::~CPictureInfoTab() = default;

void CPictureInfoTab::SetValues(const UnitProperties::Tab& values)
{
    InfoTabFields::Fill(*this, values.Fields);
}

void CPictureInfoTab::SetThumbnail(const ThumbnailRecord& thumbnail)
{
    const QImage image = thumbnail.IsEmpty() ? QImage() : Thumbnailer::Decode(thumbnail);
    m_ui->thumbnailLabel->setPixmap(QPixmap::fromImage(image));
    m_ui->thumbnailLabel->setVisible(!image.isNull());
}

QPixmap CPictureInfoTab::Thumbnail() const
{
    return m_ui->thumbnailLabel->pixmap();
}
