#include "views/DetailsHeader.h"

#include <QEvent>
#include <QImage>
#include <QPainter>
#include <QStyleOptionHeader>

namespace {

// The width of the inked pixels of one row of image, 0 when the row is blank.
int InkedWidth(const QImage& image, int y)
{
    int first = -1;
    int last = -1;
    for (int x = 0; x < image.width(); ++x) {
        if (qAlpha(image.pixel(x, y)) > 0) {
            if (first < 0)
                first = x;
            last = x;
        }
    }
    return first < 0 ? 0 : last - first + 1;
}

} // namespace

CDetailsHeader::CDetailsHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent)
{
    // As a tree view's own header is.
    setSectionsMovable(true);
    setStretchLastSection(true);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

bool CDetailsHeader::AscendingArrowPointsUp() const
{
    if (m_ascendingPointsUp >= 0)
        return m_ascendingPointsUp == 1;
    // The style draws the arrow of an ascending column into a small picture: an arrow
    // that points up is wider at its foot than at its tip, filled or drawn as a chevron.
    QImage image(24, 24, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        QStyleOptionHeader option;
        option.initFrom(this);
        option.rect = image.rect();
        option.sortIndicator = QStyleOptionHeader::SortDown; // what Qt gives an ascending column
        style()->drawPrimitive(QStyle::PE_IndicatorHeaderArrow, &option, &painter, this);
    }
    int top = 0;
    while (top < image.height() && InkedWidth(image, top) == 0)
        ++top;
    int bottom = image.height() - 1;
    while (bottom > top && InkedWidth(image, bottom) == 0)
        --bottom;
    // Nothing drawn, or no telling: the style's own way stands.
    const bool pointsDown = top < bottom && InkedWidth(image, top) > InkedWidth(image, bottom);
    m_ascendingPointsUp = pointsDown ? 0 : 1;
    return !pointsDown;
}

void CDetailsHeader::initStyleOptionForIndex(QStyleOptionHeader* option, int logicalIndex) const
{
    QHeaderView::initStyleOptionForIndex(option, logicalIndex);
    if (option->sortIndicator == QStyleOptionHeader::None || AscendingArrowPointsUp())
        return;
    option->sortIndicator = option->sortIndicator == QStyleOptionHeader::SortDown
                                ? QStyleOptionHeader::SortUp
                                : QStyleOptionHeader::SortDown;
}

void CDetailsHeader::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::StyleChange)
        m_ascendingPointsUp = -1;
    QHeaderView::changeEvent(event);
}
