#pragma once

#include <QString>
#include <QtGlobal>

namespace Version {

// The program's version as catalogues compare it: major in the high 16 bits, minor in
// the low 16 bits (1.0 gives 0x00010000).
quint32 ProgramVersion();

// "major.minor.patch.build" for the About box; each part after the major is masked to
// its low 8 bits, so build 301 shows as 45.
QString ProgramVersionText();

// The maker's page for the program, as the package and the desktop data declare it.
QString Homepage();

// "2.7" gives 0x00020007: the number before the first full stop in the high half, the
// decimal number after it (up to the next non-digit) in the low half. Text without a
// full stop gives 0 in the high half and the whole text's number in the low half.
quint32 ParseVersionNumber(const QString& text);

} // namespace Version
