#pragma once

#include <QString>

class QMimeData;

// What a drag of a top-level unit carries between the list and the tree: the UnitID
// under a MIME type of our own, so nothing from another program is taken for a unit.
namespace UnitDrag {

QString MimeType();
QMimeData* MakeMimeData(int unitId);
// The UnitID carried, or -1 when the data is not a unit drag.
int UnitIdFrom(const QMimeData* data);

} // namespace UnitDrag
