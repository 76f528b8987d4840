#pragma once

#include "volumes/VolumeReader.h"

#include <QtGlobal>

// UDF volumes, as Windows reads them.
namespace VolumeReader {

/// The volume's label and serial number from its file set descriptor.
bool TryUdf(const ReadAt& read, Volume& volume);

} // namespace VolumeReader
