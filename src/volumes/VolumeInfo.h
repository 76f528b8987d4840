#pragma once

#include <QString>
#include <QtGlobal>

/// What a volume tells about itself: the disc record of the catalogue keeps all three.
/// An unreadable volume (no medium, no file system we know) is an empty label, serial 0
/// and size 0.
struct VolumeInfo
{
    /// As the volume reports it; at most 260 characters.
    QString Label;
    /// The serial number Windows shows for the volume, so a disc catalogued on one
    /// system is recognised on the other.
    quint32 SerialNumber = 0;
    /// The length of the volume in bytes.
    qint64 Size = 0;

    bool IsEmpty() const { return Label.isEmpty() && SerialNumber == 0 && Size == 0; }
};
