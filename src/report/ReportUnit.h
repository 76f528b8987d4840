#pragma once

#include <QLatin1String>
#include <QString>
#include <QStringView>
#include <QtGlobal>

/// One unit as the report holds it, read from "UnitID, ParentUnitID, StorageID, UnitName,
/// UnitType, UnitSize, DateAdded". A report may hold millions of these at once, so a unit
/// owns a single heap string: its name. The date added, stored as "YYYY-MM-DD HH:MM:SS",
/// is kept inline; a stored date that does not fit (longer, or not ASCII) follows the
/// name in Text instead.
struct ReportUnit
{
    static constexpr int kInlineDate = 19;
    static constexpr quint8 kDateInText = 0xFF;

    QString Text; // the name, then the date added when DateLength is kDateInText
    qint64 UnitSize = 0;
    int UnitID = 0;
    int ParentUnitID = -1; // -1 for NULL: the unit lies directly in its storage
    int StorageID = 0;
    int NameLength = 0;
    qint8 Kind = 0; // UnitKind: 1 disc, 2 folder, 3 file; 0 for an unknown type
    quint8 DateLength = 0;
    char Date[kInlineDate] = {};

    QStringView Name() const { return QStringView(Text).left(NameLength); }
    bool DateInText() const { return DateLength == kDateInText; }
    QLatin1String InlineDate() const { return QLatin1String(Date, DateLength); }
    QStringView TextDate() const { return QStringView(Text).mid(NameLength); }
};
