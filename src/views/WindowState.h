#pragma once

#include "views/DetailsView.h"

#include <QByteArray>

#include <memory>

class QSettings;

// What the window looks like from one run to the next, kept with the recent-file list
// in the desktop's settings store: the list's view mode, the Details mode's sort column
// and direction, and the window's geometry with its maximised state. (The splitter's
// position is the settings file's SplitterPosition.)
namespace WindowState {

// The store: beside the settings when the settings folder was moved
// (SHELFWISE_SETTINGS_DIR), so that a portable settings folder is whole; else where
// the desktop keeps programs' settings.
std::unique_ptr<QSettings> Store();

struct View
{
    CDetailsView::Mode Mode = CDetailsView::Mode::Icons;
    int SortColumn = -1; // the catalogue's order
    Qt::SortOrder SortOrder = Qt::AscendingOrder;
};

// The defaults above for what was never stored or does not read.
View LoadView();
void SaveView(const View& view);
// Empty when never stored.
QByteArray LoadGeometry();
void SaveGeometry(const QByteArray& geometry);

} // namespace WindowState
