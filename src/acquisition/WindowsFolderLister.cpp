#ifdef _WIN32

#include "acquisition/FolderLister.h"

#include <windows.h>

namespace {

// FILETIME counts 100-nanosecond steps from 1601-01-01 UTC.
constexpr qint64 kFileTimeOf1970 = Q_INT64_C(116444736000000000);

qint64 Milliseconds(const FILETIME& time)
{
    ULARGE_INTEGER value;
    value.LowPart = time.dwLowDateTime;
    value.HighPart = time.dwHighDateTime;
    // A file system without the time gives zero.
    if (value.QuadPart == 0)
        return FindData::kNoTime;
    return (static_cast<qint64>(value.QuadPart) - kFileTimeOf1970) / 10000;
}

const wchar_t* Wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

struct FindCloser
{
    void operator()(void* handle) const { ::FindClose(static_cast<HANDLE>(handle)); }
};

// The folder's volume serial number and file index. A junction is opened through to its
// target, so a junction back to an ancestor gives the ancestor's identity.
FolderIdentity Identify(const QString& path)
{
    FolderIdentity identity;
    const HANDLE handle =
        ::CreateFileW(Wide(path), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return identity;
    BY_HANDLE_FILE_INFORMATION information;
    if (::GetFileInformationByHandle(handle, &information)) {
        identity.Device = information.dwVolumeSerialNumber;
        identity.Inode =
            (static_cast<quint64>(information.nFileIndexHigh) << 32) | information.nFileIndexLow;
        identity.Known = true;
    }
    ::CloseHandle(handle);
    return identity;
}

// Lists a folder with FindFirstFileW / FindNextFileW. The attributes are passed on as
// the system gives them; junctions and other reparse points are listed through.
class WindowsFolderLister final : public FolderLister
{
public:
    int List(const QString& path, const OpenedCallback& opened,
             const EntryCallback& entry) override;
};

int WindowsFolderLister::List(const QString& path, const OpenedCallback& opened,
                              const EntryCallback& entry)
{
    QString pattern = path;
    if (!pattern.endsWith(QLatin1Char('\\')) && !pattern.endsWith(QLatin1Char('/')))
        pattern += QLatin1Char('\\');
    pattern += QLatin1Char('*');

    WIN32_FIND_DATAW found;
    const HANDLE handle = ::FindFirstFileW(Wide(pattern), &found);
    if (handle == INVALID_HANDLE_VALUE)
        return static_cast<int>(::GetLastError());
    const std::unique_ptr<void, FindCloser> closer(handle);
    if (!opened(Identify(path)))
        return 0;

    do {
        const QString name = QString::fromWCharArray(found.cFileName);
        if (name == QLatin1String(".") || name == QLatin1String(".."))
            continue;
        FindData data;
        data.Attributes = found.dwFileAttributes;
        data.CreationTime = Milliseconds(found.ftCreationTime);
        data.LastWriteTime = Milliseconds(found.ftLastWriteTime);
        data.Size = data.IsDirectory()
                        ? 0
                        : (static_cast<quint64>(found.nFileSizeHigh) << 32) | found.nFileSizeLow;
        data.FileName = name;
        if (!entry(data))
            return 0;
    } while (::FindNextFileW(handle, &found));

    const DWORD error = ::GetLastError();
    return error == ERROR_NO_MORE_FILES ? 0 : static_cast<int>(error);
}

} // namespace

std::unique_ptr<FolderLister> FolderLister::CreatePlatformLister()
{
    return std::make_unique<WindowsFolderLister>();
}

#endif // _WIN32
