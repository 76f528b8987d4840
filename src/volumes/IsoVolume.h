#pragma once

#include "volumes/VolumeReader.h"

#include <QtGlobal>

// ISO 9660 and Joliet volumes, as Windows reads them.
namespace VolumeReader {

/// The volume's label and serial number from its descriptor of the highest type.
bool TryIso9660(const ReadAt& read, Volume& volume);

/// The primary descriptor's volume space size times its logical block size; 0 without
/// one.
qint64 IsoRecordedSize(const ReadAt& read);

} // namespace VolumeReader
