#ifdef _WIN32

#include "listers/FolderLister.h"

#include <windows.h>
#include <winioctl.h>

#include <cstring>
#include <vector>

namespace {

// FILETIME counts 100-nanosecond steps from 1601-01-01 UTC.
constexpr qint64 kFileTimeOf1970 = Q_INT64_C(116444736000000000);

// The reparse points that are links to somewhere else: symbolic links, and junctions
// and volume mount points (both tagged as mount points). Other tags (cloud files,
// deduplicated files) are ordinary files and folders with extra storage behind them.
constexpr DWORD kSymbolicLinkTag = 0xA000000CUL;
constexpr DWORD kMountPointTag = 0xA0000003UL;
constexpr DWORD kMaxReparseData = 16 * 1024;
static_assert(FindData::kLink == FILE_ATTRIBUTE_REPARSE_POINT,
              "a link keeps the bit the system marks it with");

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

QString JoinPath(const QString& folder, const QString& name)
{
    if (folder.endsWith(QLatin1Char('\\')) || folder.endsWith(QLatin1Char('/')))
        return folder + name;
    return folder + QLatin1Char('\\') + name;
}

bool IsLink(const WIN32_FIND_DATAW& found)
{
    // With the reparse-point bit set, dwReserved0 holds the reparse tag.
    return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (found.dwReserved0 == kSymbolicLinkTag || found.dwReserved0 == kMountPointTag);
}

quint16 Read16(const std::vector<unsigned char>& data, size_t at)
{
    quint16 value = 0;
    std::memcpy(&value, data.data() + at, sizeof value);
    return value;
}

// length bytes of UTF-16 text at at; empty when they lie outside the first size bytes.
QString PathText(const std::vector<unsigned char>& data, size_t size, size_t at, size_t length)
{
    if (length == 0 || at + length > size)
        return QString();
    QString text(static_cast<qsizetype>(length / 2), Qt::Uninitialized);
    std::memcpy(text.data(), data.data() + at, text.size() * sizeof(QChar));
    return text;
}

// The target of the symbolic link or mount point at path, as the system shows it: its
// print name, else its substitute name without the "\??\" of the NT form. Null when
// the reparse data cannot be read.
//
// The data is read by offsets, in the layout of REPARSE_DATA_BUFFER (declared only by the
// driver kit): the tag (32 bits), the data length and a reserved word (16 bits each),
// then the substitute name's offset and length and the print name's offset and length
// (16 bits each, bytes into the path buffer), and for a symbolic link 32 bits of flags;
// the path buffer follows.
QExplicitlySharedDataPointer<const LinkText> ReadLinkTarget(const QString& path)
{
    const HANDLE handle = ::CreateFileW(
        Wide(path), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return {};
    std::vector<unsigned char> data(kMaxReparseData);
    DWORD size = 0;
    const BOOL read = ::DeviceIoControl(handle, FSCTL_GET_REPARSE_POINT, nullptr, 0, data.data(),
                                        kMaxReparseData, &size, nullptr);
    ::CloseHandle(handle);
    if (!read || size < 16)
        return {};
    DWORD tag = 0;
    std::memcpy(&tag, data.data(), sizeof tag);
    size_t paths = 16;
    if (tag == kSymbolicLinkTag)
        paths += 4;
    else if (tag != kMountPointTag)
        return {};
    QString text = PathText(data, size, paths + Read16(data, 12), Read16(data, 14));
    if (text.isEmpty()) {
        text = PathText(data, size, paths + Read16(data, 8), Read16(data, 10));
        if (text.startsWith(QLatin1String("\\??\\")))
            text.remove(0, 4);
    }
    return text.isEmpty() ? QExplicitlySharedDataPointer<const LinkText>() : LinkText::Make(text);
}

// The folder's volume serial number and file index. A chosen root that is a link or
// junction is opened through to its target, so the identity is that of the folder listed.
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
// the system gives them, but for the links: a symbolic link, junction or volume mount
// point is listed as itself (FindData::kLink, never a folder, size 0, its target when
// the reparse data can be read) and so never entered. Other reparse points (cloud and
// deduplicated files) are ordinary entries.
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
        data.Attributes = found.dwFileAttributes & ~FindData::kLink;
        data.CreationTime = Milliseconds(found.ftCreationTime);
        data.LastWriteTime = Milliseconds(found.ftLastWriteTime);
        data.Size = data.IsDirectory()
                        ? 0
                        : (static_cast<quint64>(found.nFileSizeHigh) << 32) | found.nFileSizeLow;
        data.FileName = name;
        if (IsLink(found)) {
            data.Attributes = (data.Attributes & ~FindData::kDirectory) | FindData::kLink;
            data.Size = 0;
            data.Link = ReadLinkTarget(JoinPath(path, name));
        }
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
