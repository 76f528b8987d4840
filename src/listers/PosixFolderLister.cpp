#include "listers/PosixFolderLister.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

#ifdef __linux__
#include <sys/vfs.h>
#endif

namespace {

struct DirCloser
{
    void operator()(DIR* dir) const { ::closedir(dir); }
};

// What one stat call tells of an entry.
struct EntryFacts
{
    bool Directory = false;
    bool Link = false;
    quint64 Size = 0;
    qint64 Created = FindData::kNoTime;
    qint64 Written = FindData::kNoTime;
};

qint64 Milliseconds(qint64 seconds, qint64 nanoseconds)
{
    // Nanoseconds are never negative, so times before 1970 come out right too.
    return seconds * 1000 + nanoseconds / 1000000;
}

// A birth time of exactly 0 is how some file systems and copies say they have none:
// 1970-01-01 would be a made-up creation date.
qint64 BirthTime(qint64 seconds, qint64 nanoseconds)
{
    return seconds == 0 && nanoseconds == 0 ? FindData::kNoTime
                                            : Milliseconds(seconds, nanoseconds);
}

// The facts of name itself (a link is not followed) inside the open folder dirFd: 0, or
// the errno of the failure.
int StatEntry(int dirFd, const char* name, EntryFacts* facts)
{
#ifdef STATX_BTIME
    struct statx extended = {};
    // Only what is stored: a network file system may then answer without asking the server.
    const unsigned int wanted = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME;
    if (::statx(dirFd, name, AT_NO_AUTOMOUNT | AT_SYMLINK_NOFOLLOW, wanted, &extended) == 0) {
        facts->Directory = S_ISDIR(extended.stx_mode);
        facts->Link = S_ISLNK(extended.stx_mode);
        facts->Size = extended.stx_size;
        if ((extended.stx_mask & STATX_BTIME) != 0)
            facts->Created = BirthTime(extended.stx_btime.tv_sec, extended.stx_btime.tv_nsec);
        facts->Written = Milliseconds(extended.stx_mtime.tv_sec, extended.stx_mtime.tv_nsec);
        return 0;
    }
    // A kernel older than statx, or a sandbox that refuses it: fall back to fstatat.
    if (errno != ENOSYS && errno != EPERM)
        return errno;
#endif
    struct stat plain = {};
    if (::fstatat(dirFd, name, &plain, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    facts->Directory = S_ISDIR(plain.st_mode);
    facts->Link = S_ISLNK(plain.st_mode);
    facts->Size = static_cast<quint64>(plain.st_size);
#ifdef __APPLE__
    facts->Created = BirthTime(plain.st_birthtimespec.tv_sec, plain.st_birthtimespec.tv_nsec);
    facts->Written = Milliseconds(plain.st_mtimespec.tv_sec, plain.st_mtimespec.tv_nsec);
#else
    facts->Written = Milliseconds(plain.st_mtim.tv_sec, plain.st_mtim.tv_nsec);
#endif
    return 0;
}

// The text of the link name inside dirFd, as readlink gives it; sizeHint is the size
// stat reported (the text's length on most file systems, 0 on some).
QExplicitlySharedDataPointer<const LinkText> ReadLink(int dirFd, const char* name, quint64 sizeHint)
{
    QByteArray text(static_cast<int>(qBound<quint64>(64, sizeHint + 1, 4096)), '\0');
    for (;;) {
        const ssize_t length = ::readlinkat(dirFd, name, text.data(), text.size());
        if (length < 0)
            return {};
        // A full buffer may have cut the text: try again with more room.
        if (length < text.size() || text.size() >= (1 << 20)) {
            text.truncate(static_cast<int>(length));
            return LinkText::Make(QFile::decodeName(text));
        }
        text.resize(text.size() * 2);
    }
}

// What readdir says of an entry's type, for an entry that cannot be stat'ed.
constexpr unsigned char kTypeUnknown = 0;
constexpr unsigned char kTypeFolder = 1;
constexpr unsigned char kTypeLink = 2;

// One entry of the folder being listed, between readdir and the stat.
struct NamedEntry
{
    QString Name;
    int NativeAt = 0; // where its bytes (ended by a zero) start in the folder's name buffer
    unsigned char Type = kTypeUnknown;
};

bool IsDotOrDotDot(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// The same join as SubunitInfo::Path(), so the scanner asks for exactly this text.
QString JoinPath(const QString& folder, const QString& name)
{
    const QChar separator = QDir::separator();
    return folder.endsWith(separator) ? folder + name : folder + separator + name;
}

QByteArray JoinNativePath(const QByteArray& folder, const QByteArray& name)
{
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

// Reads every name of dir into names, their bytes into nativeNames: 0, or the errno
// that broke the reading off (the names read before it are kept).
int ReadNames(DIR* dir, QByteArray* nativeNames, std::vector<NamedEntry>* names)
{
    for (;;) {
        // readdir tells the end from a failure only through errno.
        errno = 0;
        const dirent* found = ::readdir(dir); // NOLINT(concurrency-mt-unsafe): a stream of its own
        if (!found)
            return errno;
        if (IsDotOrDotDot(found->d_name))
            continue;
        NamedEntry& named = names->emplace_back();
        named.Name = QFile::decodeName(found->d_name);
        named.NativeAt = static_cast<int>(nativeNames->size());
        nativeNames->append(found->d_name, static_cast<qsizetype>(std::strlen(found->d_name)) + 1);
#if defined(_DIRENT_HAVE_D_TYPE) || defined(__APPLE__)
        named.Type = found->d_type == DT_DIR   ? kTypeFolder
                     : found->d_type == DT_LNK ? kTypeLink
                                               : kTypeUnknown;
#endif
    }
}

} // namespace

std::unique_ptr<FolderLister> FolderLister::CreatePlatformLister()
{
    return std::make_unique<PosixFolderLister>();
}

bool PosixFolderLister::IgnoresCase(const QString& path)
{
#ifdef __linux__
    bool exact = true;
    struct statfs facts = {};
    if (statfs(NativePath(path, &exact).constData(), &facts) != 0)
        return false;
    // The magic numbers of linux/magic.h; NTFS through FUSE (ntfs-3g) shows only as FUSE.
    switch (static_cast<unsigned long>(facts.f_type)) {
    case 0x4d44:     // FAT
    case 0x2011BAB0: // exFAT
    case 0x5346544e: // NTFS (ntfs3)
    case 0x9660:     // ISO 9660
    case 0x15013346: // UDF
        return true;
    default:
        return false;
    }
#else
    Q_UNUSED(path)
    return false;
#endif
}

QByteArray PosixFolderLister::NativePath(const QString& path, bool* exact) const
{
    const auto remembered = m_nativePaths.constFind(path);
    *exact = remembered == m_nativePaths.cend();
    return *exact ? QFile::encodeName(path) : *remembered;
}

int PosixFolderLister::List(const QString& path, const OpenedCallback& opened,
                            const EntryCallback& entry)
{
    bool exact = true;
    const QByteArray nativePath = NativePath(path, &exact);
    const int fd = ::open(nativePath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return errno;
    std::unique_ptr<DIR, DirCloser> dir(::fdopendir(fd));
    if (!dir) {
        const int error = errno;
        ::close(fd);
        return error;
    }

    FolderIdentity identity;
    struct stat folderStat = {};
    if (::fstat(fd, &folderStat) == 0) {
        identity.Device = static_cast<quint64>(folderStat.st_dev);
        identity.Inode = static_cast<quint64>(folderStat.st_ino);
        identity.Known = true;
    }
    if (!opened(identity))
        return 0;

    // The names first, then the facts in name order: the folder's names are all held at
    // once (their bytes in one buffer, each decoded once), its facts never.
    QByteArray nativeNames;
    std::vector<NamedEntry> names;
    const int readError = ReadNames(dir.get(), &nativeNames, &names);
    std::sort(names.begin(), names.end(), [](const NamedEntry& a, const NamedEntry& b) {
        return FolderLister::NameLess(a.Name, b.Name);
    });

    for (NamedEntry& named : names) {
        const char* const name = nativeNames.constData() + named.NativeAt;
        EntryFacts facts;
        const int error = StatEntry(fd, name, &facts);
        if (error == ENOENT)
            continue;

        FindData data;
        data.FileName = std::move(named.Name);
        if (error == 0) {
            data.Attributes = facts.Directory ? FindData::kDirectory
                              : facts.Link    ? FindData::kLink
                                              : 0;
            data.CreationTime = facts.Created;
            data.LastWriteTime = facts.Written;
            data.Size = facts.Directory || facts.Link ? 0 : facts.Size;
            if (facts.Link)
                data.Link = ReadLink(fd, name, facts.Size);
        } else {
            data.Attributes = named.Type == kTypeFolder ? FindData::kDirectory
                              : named.Type == kTypeLink ? FindData::kLink
                                                        : 0;
        }

        if (data.IsDirectory()) {
            const QByteArray nativeName(name);
            if (!exact || QFile::encodeName(data.FileName) != nativeName)
                m_nativePaths.insert(JoinPath(path, data.FileName),
                                     JoinNativePath(nativePath, nativeName));
        }
        if (!entry(data))
            return 0;
    }
    return readError;
}
