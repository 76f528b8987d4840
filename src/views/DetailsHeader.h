#pragma once

#include <QHeaderView>

// The Details mode's column headers, whose sort arrow points up for an ascending sort
// (smallest first) and down for a descending one on every style. Qt hands the style
// "sort down" for an ascending column; most styles draw that as an up arrow, but some
// (Fusion on Linux, for one) draw it pointing down. The header asks the style once what
// it draws and turns the indicator round where needed.
class CDetailsHeader final : public QHeaderView
{
    Q_OBJECT

public:
    explicit CDetailsHeader(QWidget* parent = nullptr);

    // Whether the current style points the arrow it draws for an ascending column up.
    bool AscendingArrowPointsUp() const;

protected:
    void initStyleOptionForIndex(QStyleOptionHeader* option, int logicalIndex) const override;
    void changeEvent(QEvent* event) override;

private:
    // -1 not yet asked, 0 down, 1 up; asked again when the style changes.
    mutable int m_ascendingPointsUp = -1;
};
