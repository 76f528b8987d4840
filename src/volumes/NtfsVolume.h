#pragma once

#include "volumes/VolumeReader.h"

#include <QtGlobal>

// NTFS volumes, as Windows reads them.
namespace VolumeReader {

class Bytes;

/// The volume's serial number and length from its boot sector, its label from $Volume.
bool TryNtfs(const Bytes& boot, const ReadAt& read, Volume& volume);

} // namespace VolumeReader
