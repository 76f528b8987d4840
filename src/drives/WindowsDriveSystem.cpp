#ifdef _WIN32
#include "drives/WindowsDriveSystem.h"

#include "errorlog/ErrorLog.h"
#include "volumes/VolumeReader.h"

#include <QFileInfo>

#include <cwchar>
#include <string>

#include <windows.h>
#include <winioctl.h>

namespace {

// The codes are spelled out: not every SDK header set defines all of them.
constexpr DWORD kCheckVerify = 0x2D4800;   // IOCTL_STORAGE_CHECK_VERIFY
constexpr DWORD kMediaRemoval = 0x2D4804;  // IOCTL_STORAGE_MEDIA_REMOVAL
constexpr DWORD kEjectMedia = 0x2D4808;    // IOCTL_STORAGE_EJECT_MEDIA
constexpr DWORD kLockVolume = 0x90018;     // FSCTL_LOCK_VOLUME
constexpr DWORD kDismountVolume = 0x90020; // FSCTL_DISMOUNT_VOLUME
constexpr DWORD kGetLengthInfo = 0x7405C;  // IOCTL_DISK_GET_LENGTH_INFO
constexpr DWORD kLabelBufferLength = MAX_PATH + 1;

// A device handle closed at the end of its scope.
class DeviceHandle final
{
public:
    explicit DeviceHandle(const std::wstring& devicePath)
        : m_handle(CreateFileW(devicePath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~DeviceHandle()
    {
        if (m_handle != INVALID_HANDLE_VALUE)
            CloseHandle(m_handle);
    }
    DeviceHandle(const DeviceHandle&) = delete;
    DeviceHandle& operator=(const DeviceHandle&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }

    // A control code without input or output; true when the driver carried it out.
    bool Control(DWORD code, void* input = nullptr, DWORD inputSize = 0, void* output = nullptr,
                 DWORD outputSize = 0) const
    {
        DWORD returned = 0;
        return DeviceIoControl(m_handle, code, input, inputSize, output, outputSize, &returned,
                               nullptr) != FALSE;
    }

private:
    HANDLE m_handle;
};

// Only the drive letter and the colon of a path count.
std::wstring DriveLetter(const QString& drivePath)
{
    return drivePath.left(2).toStdWString();
}

std::wstring DevicePath(const QString& drivePath)
{
    return L"\\\\.\\" + DriveLetter(drivePath);
}

// A path that names a file rather than a drive: a disc image, unless the file lies on
// a disc itself.
bool IsImageFile(const QString& drivePath)
{
    if (drivePath.size() <= 3 || !QFileInfo(drivePath).isFile())
        return false;
    const std::wstring root = DriveLetter(drivePath) + L"\\";
    return GetDriveTypeW(root.c_str()) != DRIVE_CDROM;
}

void SetMediaRemoval(const QString& drivePath, bool prevent)
{
    const DeviceHandle device(DevicePath(drivePath));
    if (!device.IsOpen())
        return;
    BYTE preventRemoval = prevent ? 1 : 0;
    device.Control(kMediaRemoval, &preventRemoval, sizeof preventRemoval);
}

} // namespace

std::vector<OpticalDrive> WindowsDriveSystem::ListOpticalDrives()
{
    std::vector<OpticalDrive> drives;
    const DWORD needed = GetLogicalDriveStringsW(0, nullptr);
    if (needed == 0)
        return drives;
    std::wstring buffer(needed + 1, L'\0');
    const DWORD written = GetLogicalDriveStringsW(needed, &buffer[0]);
    if (written == 0 || written > needed)
        return drives;
    // Roots such as "E:\", each ended by a zero, the list by a second zero.
    for (const wchar_t* root = buffer.c_str(); *root; root += wcslen(root) + 1) {
        if (GetDriveTypeW(root) != DRIVE_CDROM)
            continue;
        OpticalDrive drive;
        drive.MountPoint = QString::fromWCharArray(root);
        drive.Device = QString::fromStdWString(DevicePath(drive.MountPoint));
        drives.push_back(drive);
    }
    return drives;
}

VolumeInfo WindowsDriveSystem::ReadVolumeInfo(const QString& drivePath)
{
    VolumeInfo info;
    if (IsImageFile(drivePath)) {
        VolumeReader::Volume volume;
        QString error;
        if (!VolumeReader::ReadFile(drivePath, volume, error))
            return info;
        info.Label = volume.Label;
        info.SerialNumber = volume.SerialNumber;
        info.Size = volume.RecordedSize > 0 ? volume.RecordedSize : QFileInfo(drivePath).size();
        return info;
    }
    const std::wstring root = DriveLetter(drivePath) + L"\\";
    wchar_t label[kLabelBufferLength] = {};
    DWORD serial = 0;
    if (!GetVolumeInformationW(root.c_str(), label, kLabelBufferLength, &serial, nullptr, nullptr,
                               nullptr, 0))
        return info;
    info.Label = QString::fromWCharArray(label);
    info.SerialNumber = serial;
    info.Size = ReadVolumeLength(drivePath);
    return info;
}

qint64 WindowsDriveSystem::ReadVolumeLength(const QString& drivePath)
{
    if (IsImageFile(drivePath))
        return QFileInfo(drivePath).size();
    const DeviceHandle device(DevicePath(drivePath));
    if (!device.IsOpen())
        ErrorLog::Instance().ReportLastError(__LINE__, false, true);
    // The query is made even on a handle that failed to open; it then fails and is
    // reported as well.
    GET_LENGTH_INFORMATION length = {};
    if (!device.Control(kGetLengthInfo, nullptr, 0, &length, sizeof length)) {
        ErrorLog::Instance().ReportLastError(__LINE__, false, true);
        return 0;
    }
    return length.Length.QuadPart;
}

bool WindowsDriveSystem::IsMediaPresent(const QString& drivePath)
{
    if (IsImageFile(drivePath))
        return true;
    const DeviceHandle device(DevicePath(drivePath));
    return device.IsOpen() && device.Control(kCheckVerify);
}

bool WindowsDriveSystem::LockMedia(const QString& drivePath)
{
    if (IsImageFile(drivePath))
        return false;
    const DeviceHandle device(DevicePath(drivePath));
    if (!device.IsOpen())
        return false;
    BYTE preventRemoval = 1;
    device.Control(kMediaRemoval, &preventRemoval, sizeof preventRemoval);
    // The drive settles before the scan begins.
    Sleep(1000);
    return true;
}

void WindowsDriveSystem::UnlockMedia(const QString& drivePath)
{
    if (!IsImageFile(drivePath))
        SetMediaRemoval(drivePath, false);
}

void WindowsDriveSystem::EjectMedia(const QString& drivePath)
{
    if (IsImageFile(drivePath))
        return;
    const DeviceHandle device(DevicePath(drivePath));
    if (!device.IsOpen())
        return;
    device.Control(kLockVolume);
    device.Control(kDismountVolume);
    device.Control(kEjectMedia);
}

#endif // _WIN32
