#include "views/UnitDrag.h"

#include <QMimeData>

namespace UnitDrag {

QString MimeType()
{
    return QStringLiteral("application/x-shelfwise-unit-id");
}

QMimeData* MakeMimeData(int unitId)
{
    auto* data = new QMimeData;
    data->setData(MimeType(), QByteArray::number(unitId));
    return data;
}

int UnitIdFrom(const QMimeData* data)
{
    if (!data || !data->hasFormat(MimeType()))
        return -1;
    bool ok = false;
    const int unitId = data->data(MimeType()).toInt(&ok);
    return ok && unitId > 0 ? unitId : -1;
}

} // namespace UnitDrag
