#include "views/IconGridDelegate.h"

#include <QFontMetrics>

#include <algorithm>

namespace {

constexpr int kTextLines = 3;
// Names are wrapped within about this many average characters.
constexpr int kCharactersPerLine = 18;

} // namespace

CIconGridDelegate::CIconGridDelegate(QObject* parent) : QStyledItemDelegate(parent)
{
}

QSize CIconGridDelegate::CellSize(const QFontMetrics& metrics, const QSize& iconSize)
{
    // The style's margins around the icon and the text take a few pixels more.
    const int width = std::max(96, metrics.averageCharWidth() * kCharactersPerLine);
    const int height = iconSize.height() + kTextLines * metrics.lineSpacing() + 12;
    return QSize(width, height);
}

QSize CIconGridDelegate::sizeHint(const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const
{
    if (m_cell.isValid())
        return m_cell;
    return QStyledItemDelegate::sizeHint(option, index);
}

void CIconGridDelegate::initStyleOption(QStyleOptionViewItem* option,
                                        const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    if (m_cell.isValid())
        option->displayAlignment = Qt::AlignHCenter | Qt::AlignTop;
}
