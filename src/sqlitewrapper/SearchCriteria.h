#pragma once

#include "sqlitewrapper/Nullable.h"
#include "sqlitewrapper/Records.h"

#include <QDateTime>
#include <QString>

// What the search dialog gathers; SearchUnits turns it into one SELECT over Units.
struct SearchCriteria
{
    enum DateFieldId : int { DateAdded = 0, DateCreated = 1, DateModified = 2 };

    QString Text;
    bool UseSize = false;
    char SizeOperator = '=';
    qint64 Size = 0;
    int StorageID = 0; // 0: all storages
    bool UseDate = false;
    int DateField = DateAdded;
    QDateTime DateFrom;
    QDateTime DateTo;
    bool SearchNotes = false;
    int CategoryID = CategoryIds::All;
    CNullable<QString> Artist;
    CNullable<QString> Title;
    CNullable<QString> Album;
    CNullable<int> Year;
    CNullable<QString> Genre;
    bool UseWidth = false;
    char WidthOperator = '=';
    int Width = 0;
    bool UseHeight = false;
    char HeightOperator = '=';
    int Height = 0;
    bool UseDuration = false;
    char DurationOperator = '=';
    int Duration = 0;
};
