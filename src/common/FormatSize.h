#pragma once

#include <QString>
#include <QtGlobal>

/// The display text of a byte count, as the lists, the properties, the duplicate list
/// and the report show it: up to 1024 in bytes, above that in KB, MB or GB with two
/// decimals. The boundaries are strict, so 1,048,576 bytes reads "1024.00 KB".
QString FormatSize(qint64 size);
