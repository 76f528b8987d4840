#pragma once

#include "volumes/VolumeReader.h"

#include <QtGlobal>

// FAT12, FAT16 and FAT32 volumes, as Windows reads them.
namespace VolumeReader {

class Bytes;

/// The volume's type, serial number and length from its boot sector, its label from its
/// root folder.
bool TryFat(const Bytes& boot, const ReadAt& read, Volume& volume);

} // namespace VolumeReader
