#pragma once

#include <QString>

#include <vector>

/// The mounts of the process as /proc/self/mountinfo lists them: which device holds a
/// path, and where a device is mounted.
class MountTable final
{
public:
    struct Mount
    {
        QString DeviceNumber; // "major:minor"
        QString MountPoint;
        QString FileSystemType;
        QString Source; // "/dev/sr0", or a name such as "overlay"
    };

    /// Reads a mountinfo file; an unreadable one gives an empty table.
    static MountTable Load(const QString& mountInfoPath);
    /// Parses mountinfo text: one mount per line, octal escapes (\040) undone.
    static MountTable Parse(const QByteArray& text);

    const std::vector<Mount>& Mounts() const { return m_mounts; }

    /// The mount whose mount point holds the absolute path (the deepest one, and of
    /// mounts stacked on one point the last); nullptr when none does.
    const Mount* MountHolding(const QString& path) const;
    /// The first mount of the device with this "major:minor" number or source path.
    const Mount* MountOf(const QString& deviceNumber, const QString& devicePath) const;

private:
    std::vector<Mount> m_mounts;
};
