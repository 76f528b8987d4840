#include "drives/MountTable.h"

#include <QByteArrayList>
#include <QFile>

namespace {

// mountinfo writes blanks, tabs, newlines and backslashes in paths as \ooo.
QString Unescape(const QByteArray& field)
{
    QByteArray out;
    out.reserve(field.size());
    for (int i = 0; i < field.size(); ++i) {
        const char c = field.at(i);
        if (c == '\\' && i + 3 < field.size() && field.at(i + 1) >= '0' && field.at(i + 1) <= '3' &&
            field.at(i + 2) >= '0' && field.at(i + 2) <= '7' && field.at(i + 3) >= '0' &&
            field.at(i + 3) <= '7') {
            out += static_cast<char>((field.at(i + 1) - '0') * 64 + (field.at(i + 2) - '0') * 8 +
                                     (field.at(i + 3) - '0'));
            i += 3;
        } else {
            out += c;
        }
    }
    return QString::fromUtf8(out);
}

bool Holds(const QString& mountPoint, const QString& path)
{
    if (mountPoint == QLatin1String("/"))
        return path.startsWith(QLatin1Char('/'));
    return path == mountPoint ||
           (path.startsWith(mountPoint) && path.at(mountPoint.size()) == QLatin1Char('/'));
}

} // namespace

MountTable MountTable::Load(const QString& mountInfoPath)
{
    QFile file(mountInfoPath);
    // A proc file reports size 0: read it to its end rather than by its size.
    if (!file.open(QIODevice::ReadOnly))
        return MountTable();
    return Parse(file.readAll());
}

MountTable MountTable::Parse(const QByteArray& text)
{
    MountTable table;
    for (const QByteArray& line : text.split('\n')) {
        // id parent major:minor root mount-point options [optional...] - type source super
        const QByteArrayList fields = line.simplified().split(' ');
        const int separator = static_cast<int>(fields.indexOf(QByteArray("-")));
        if (fields.size() < 6 || separator < 6 || separator + 2 >= fields.size())
            continue;
        Mount mount;
        mount.DeviceNumber = QString::fromLatin1(fields.at(2));
        mount.MountPoint = Unescape(fields.at(4));
        mount.FileSystemType = Unescape(fields.at(separator + 1));
        mount.Source = Unescape(fields.at(separator + 2));
        table.m_mounts.push_back(mount);
    }
    return table;
}

const MountTable::Mount* MountTable::MountHolding(const QString& path) const
{
    const Mount* best = nullptr;
    for (const Mount& mount : m_mounts) {
        if (Holds(mount.MountPoint, path) &&
            (!best || mount.MountPoint.size() >= best->MountPoint.size()))
            best = &mount;
    }
    return best;
}

const MountTable::Mount* MountTable::MountOf(const QString& deviceNumber,
                                             const QString& devicePath) const
{
    for (const Mount& mount : m_mounts) {
        if ((!deviceNumber.isEmpty() && mount.DeviceNumber == deviceNumber) ||
            (!devicePath.isEmpty() && mount.Source == devicePath))
            return &mount;
    }
    return nullptr;
}
