#pragma once

#include "volumes/VolumeReader.h"

#include <QByteArray>

#include <algorithm>

// A volume held in memory, read as VolumeReader reads a drive or an image: a read that
// reaches past the bytes fails, as it does at the end of a device.
inline VolumeReader::ReadAt MemoryReader(const QByteArray& bytes)
{
    return [bytes](qint64 offset, char* buffer, qint64 length) {
        if (offset < 0 || offset + length > bytes.size())
            return false;
        std::copy_n(bytes.constData() + offset, length, buffer);
        return true;
    };
}
