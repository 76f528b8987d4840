#pragma once

#include <QString>

namespace FileCopy {

// Copies source over destination through a temporary file beside the destination that
// is renamed over it at the end, so a failed copy never leaves a half-written file.
// False when the copy did not reach the destination (the old file is then unchanged),
// also when no temporary file can be made beside it: the file is never rewritten in
// place.
bool CopyOver(const QString& source, const QString& destination);

} // namespace FileCopy
