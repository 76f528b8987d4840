#include "listers/ArchiveLister.h"

#include "listers/DiscImageLister.h"
#include "listers/UdfImageFolderLister.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <set>

// libarchive is a Linux dependency for now: a build without it opens no archive, and
// still reads disc images.
#if __has_include(<archive.h>)
#include <archive.h>
#include <archive_entry.h>
#define SHELFWISE_HAVE_LIBARCHIVE 1
#endif

namespace {

using Clock = std::chrono::steady_clock;

// What a reading may not exceed, shared by an archive and those read from inside it.
struct Limits
{
    Clock::time_point Deadline;
    const std::atomic<int>* Cancel = nullptr;
    int Entries = 0;
    bool TimedOut = false;
    bool Cancelled = false;

    // Checked before each block and each entry: true when the reading must stop.
    bool Stop()
    {
        if (Cancel && Cancel->load(std::memory_order_relaxed) == 1)
            Cancelled = true;
        else if (Clock::now() > Deadline)
            TimedOut = true;
        return Cancelled || TimedOut;
    }
};

QString TooManyEntries()
{
    return QStringLiteral("The archive holds more than %1 entries").arg(ArchiveLister::kMaxEntries);
}

QString TookTooLong()
{
    return QStringLiteral("Reading the archive took longer than %1 s")
        .arg(ArchiveLister::kTimeLimitMs / 1000);
}

QString Encrypted()
{
    return QStringLiteral("The archive is encrypted");
}

QString Extension(const QString& fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : fileName.mid(dot + 1).toLower();
}

#ifdef SHELFWISE_HAVE_LIBARCHIVE

constexpr qint64 kBlockBytes = 64 * 1024;

// The archive file, read through callbacks so that a reading that runs past its time
// (a long compressed stream to be skipped) stops within one block.
struct FileSource
{
    QFile File;
    QByteArray Buffer;
    Limits* Limit = nullptr;
};

la_ssize_t ReadFileBlock(archive* a, void* data, const void** block)
{
    auto* source = static_cast<FileSource*>(data);
    if (source->Limit->Stop()) {
        archive_set_error(a, ECANCELED, "stopped");
        return -1;
    }
    const qint64 read = source->File.read(source->Buffer.data(), source->Buffer.size());
    if (read < 0) {
        archive_set_error(a, EIO, "%s", source->File.errorString().toUtf8().constData());
        return -1;
    }
    *block = source->Buffer.constData();
    return static_cast<la_ssize_t>(read);
}

la_int64_t SeekFile(archive*, void* data, la_int64_t offset, int whence)
{
    auto* source = static_cast<FileSource*>(data);
    qint64 target = offset;
    if (whence == SEEK_CUR)
        target += source->File.pos();
    else if (whence == SEEK_END)
        target += source->File.size();
    if (target < 0 || !source->File.seek(target))
        return ARCHIVE_FATAL;
    return source->File.pos();
}

la_int64_t SkipFile(archive* a, void* data, la_int64_t request)
{
    auto* source = static_cast<FileSource*>(data);
    const qint64 from = source->File.pos();
    const qint64 to = std::min(source->File.size(), from + request);
    if (to <= from || SeekFile(a, data, to, SEEK_SET) < 0)
        return 0;
    return to - from;
}

// An archive inside another, read from the outer one's data stream.
struct NestedSource
{
    archive* Outer = nullptr;
    QByteArray Buffer;
    Limits* Limit = nullptr;
};

la_ssize_t ReadNestedBlock(archive* a, void* data, const void** block)
{
    auto* source = static_cast<NestedSource*>(data);
    if (source->Limit->Stop()) {
        archive_set_error(a, ECANCELED, "stopped");
        return -1;
    }
    const la_ssize_t read = archive_read_data(source->Outer, source->Buffer.data(),
                                              static_cast<size_t>(source->Buffer.size()));
    if (read < 0) {
        archive_set_error(a, EIO, "%s", archive_error_string(source->Outer));
        return -1;
    }
    *block = source->Buffer.constData();
    return read;
}

struct ArchiveFree
{
    void operator()(archive* a) const { archive_read_free(a); }
};
using ArchivePtr = std::unique_ptr<archive, ArchiveFree>;

ArchivePtr NewReader()
{
    ArchivePtr a(archive_read_new());
    // Every format but "raw", which would take any compressed file for an archive of one
    // entry; "empty" takes an empty file, which is then no archive either.
    archive_read_support_filter_all(a.get());
    archive_read_support_format_all(a.get());
    return a;
}

QString EntryPath(archive_entry* entry)
{
    if (const char* utf8 = archive_entry_pathname_utf8(entry))
        return QString::fromUtf8(utf8);
    if (const char* local = archive_entry_pathname(entry))
        return QString::fromLocal8Bit(local);
    return QString();
}

struct HeaderReading
{
    bool IsArchive = false;
    QString Format;
    QString Error;
    std::vector<ArchiveLister::NestedError> NestedErrors;
};

HeaderReading ReadHeaders(archive* a, int depth, Limits& limits, ArchiveContents& contents);

// Reads the archive held by the entry the outer reader stands at.
HeaderReading ReadNested(archive* outer, Limits& limits, ArchiveContents& inner)
{
    NestedSource source;
    source.Outer = outer;
    source.Buffer.resize(kBlockBytes);
    source.Limit = &limits;
    ArchivePtr a = NewReader();
    archive_read_set_callback_data(a.get(), &source);
    archive_read_set_read_callback(a.get(), &ReadNestedBlock);
    if (archive_read_open1(a.get()) != ARCHIVE_OK) {
        HeaderReading reading;
        reading.Error = QString::fromUtf8(archive_error_string(a.get()));
        return reading;
    }
    return ReadHeaders(a.get(), 1, limits, inner);
}

HeaderReading ReadHeaders(archive* a, int depth, Limits& limits, ArchiveContents& contents)
{
    HeaderReading reading;
    bool first = true;
    archive_entry* entry = nullptr;
    for (;;) {
        if (limits.Stop())
            break;
        const int result = archive_read_next_header(a, &entry);
        if (result == ARCHIVE_EOF)
            break;
        if (result < ARCHIVE_WARN) {
            // No format took the file on its first header: it is no archive.
            if (first && (archive_format(a) == 0 || archive_format(a) == ARCHIVE_FORMAT_EMPTY))
                return reading;
            reading.IsArchive = true;
            if (!limits.Stop())
                reading.Error = QString::fromUtf8(archive_error_string(a));
            break;
        }
        if (first) {
            first = false;
            reading.IsArchive = archive_format(a) != ARCHIVE_FORMAT_EMPTY;
        }
        if (archive_entry_is_encrypted(entry)) {
            reading.Error = Encrypted();
            return reading;
        }
        if (++limits.Entries > ArchiveLister::kMaxEntries) {
            reading.Error = TooManyEntries();
            return reading;
        }
        const QString path = EntryPath(entry);
        const bool isFolder = archive_entry_filetype(entry) == AE_IFDIR;
        const quint64 size =
            archive_entry_size_is_set(entry) ? static_cast<quint64>(archive_entry_size(entry)) : 0;
        const qint64 written = archive_entry_mtime_is_set(entry)
                                   ? static_cast<qint64>(archive_entry_mtime(entry)) * 1000 +
                                         archive_entry_mtime_nsec(entry) / 1000000
                                   : FindData::kNoTime;
        const int index = contents.Add(-1, path, isFolder, size, written);
        if (index < 0 || isFolder || depth >= ArchiveLister::kNestedDepth ||
            !ArchiveLister::HasArchiveName(path) || ArchiveLister::HasDiscImageName(path))
            continue;
        ArchiveContents inner;
        const HeaderReading nested = ReadNested(a, limits, inner);
        if (limits.Cancelled || limits.TimedOut || limits.Entries > ArchiveLister::kMaxEntries)
            reading.Error = limits.TimedOut ? TookTooLong() : TooManyEntries();
        if (limits.Cancelled || !reading.Error.isEmpty())
            return reading;
        if (!nested.Error.isEmpty())
            reading.NestedErrors.push_back({path, nested.Error});
        else if (nested.IsArchive)
            contents.AddNested(index, nested.Format, inner);
    }
    if (limits.TimedOut)
        reading.Error = TookTooLong();
    else if (reading.Error.isEmpty() && archive_read_has_encrypted_entries(a) > 0)
        reading.Error = Encrypted();
    if (const char* name = archive_format_name(a))
        reading.Format = QString::fromUtf8(name);
    // A compressed tar says how: "GNU tar format, gzip". The last filter is the file.
    if (archive_filter_count(a) > 1 && archive_filter_name(a, 0))
        reading.Format += QStringLiteral(", ") + QString::fromUtf8(archive_filter_name(a, 0));
    return reading;
}

#endif

} // namespace

bool ArchiveLister::HasArchiveName(const QString& fileName)
{
    static const QSet<QString> kExtensions = {
        QStringLiteral("zip"),  QStringLiteral("jar"),  QStringLiteral("war"),
        QStringLiteral("ear"),  QStringLiteral("apk"),  QStringLiteral("epub"),
        QStringLiteral("docx"), QStringLiteral("xlsx"), QStringLiteral("pptx"),
        QStringLiteral("odt"),  QStringLiteral("ods"),  QStringLiteral("odp"),
        QStringLiteral("odg"),  QStringLiteral("cbz"),  QStringLiteral("cbr"),
        QStringLiteral("7z"),   QStringLiteral("rar"),  QStringLiteral("tar"),
        QStringLiteral("tgz"),  QStringLiteral("tbz"),  QStringLiteral("tbz2"),
        QStringLiteral("txz"),  QStringLiteral("tzst"), QStringLiteral("tlz"),
        QStringLiteral("gz"),   QStringLiteral("bz2"),  QStringLiteral("xz"),
        QStringLiteral("zst"),  QStringLiteral("lz"),   QStringLiteral("lzma"),
        QStringLiteral("z"),    QStringLiteral("cpio"), QStringLiteral("cab"),
        QStringLiteral("xar"),  QStringLiteral("pkg"),  QStringLiteral("lha"),
        QStringLiteral("lzh"),  QStringLiteral("iso"),  QStringLiteral("udf"),
        QStringLiteral("img"),
    };
    // A file compressed on its own (a manual page, a changelog: /usr holds 25,000 .gz)
    // is no archive, and asking libarchive would unpack its first block each time; a
    // compressed tar or cpio says so in its name (.tar.gz), or takes .tgz and the like.
    static const QSet<QString> kCompressions = {
        QStringLiteral("gz"), QStringLiteral("bz2"),  QStringLiteral("xz"), QStringLiteral("zst"),
        QStringLiteral("lz"), QStringLiteral("lzma"), QStringLiteral("z")};
    const QString extension = Extension(fileName);
    if (kCompressions.contains(extension)) {
        const QString stem = fileName.left(fileName.size() - extension.size() - 1);
        return stem.endsWith(QLatin1String(".tar"), Qt::CaseInsensitive) ||
               stem.endsWith(QLatin1String(".cpio"), Qt::CaseInsensitive);
    }
    return kExtensions.contains(extension);
}

bool ArchiveLister::HasDiscImageName(const QString& fileName)
{
    const QString extension = Extension(fileName);
    return extension == QLatin1String("iso") || extension == QLatin1String("udf") ||
           extension == QLatin1String("img");
}

bool ArchiveLister::Available()
{
#ifdef SHELFWISE_HAVE_LIBARCHIVE
    return true;
#else
    return false;
#endif
}

ArchiveLister::Listing ArchiveLister::Read(const QString& path, const std::atomic<int>* cancel)
{
    Listing listing;
    if (HasDiscImageName(path)) {
        ReadDiscImage(path, cancel, &listing);
        return listing;
    }
#ifdef SHELFWISE_HAVE_LIBARCHIVE
    Limits limits;
    limits.Deadline = Clock::now() + std::chrono::milliseconds(kTimeLimitMs);
    limits.Cancel = cancel;
    FileSource source;
    source.File.setFileName(path);
    source.Buffer.resize(kBlockBytes);
    source.Limit = &limits;
    if (!source.File.open(QIODevice::ReadOnly)) {
        listing.Error = source.File.errorString();
        return listing;
    }
    ArchivePtr a = NewReader();
    archive_read_set_callback_data(a.get(), &source);
    archive_read_set_read_callback(a.get(), &ReadFileBlock);
    archive_read_set_seek_callback(a.get(), &SeekFile);
    archive_read_set_skip_callback(a.get(), &SkipFile);
    if (archive_read_open1(a.get()) != ARCHIVE_OK) {
        // Too short or unreadable for any format to bid: no archive.
        return listing;
    }
    HeaderReading reading = ReadHeaders(a.get(), 0, limits, listing.Contents);
    if (limits.Cancelled || !reading.IsArchive) {
        listing.Contents.Clear();
        return listing;
    }
    listing.Error = reading.Error;
    listing.NestedErrors = std::move(reading.NestedErrors);
    if (!listing.Error.isEmpty()) {
        listing.Contents.Clear();
        return listing;
    }
    listing.IsArchive = true;
    listing.Format = reading.Format;
#else
    Q_UNUSED(cancel)
#endif
    return listing;
}

void ArchiveLister::ReadDiscImage(const QString& path, const std::atomic<int>* cancel,
                                  Listing* listing)
{
    int error = 0;
    const std::unique_ptr<FolderLister> lister = DiscImageLister::Open(path, &error);
    if (!lister) {
        // A .img that holds no disc's file system (a disk's or a firmware's) is no archive.
        if (error != DiscImageLister::kNotAnImage)
            listing->Error = qt_error_string(error);
        return;
    }
    Limits limits;
    limits.Deadline = Clock::now() + std::chrono::milliseconds(kTimeLimitMs);
    limits.Cancel = cancel;
    const QString root = DiscImageLister::CleanImagePath(path);
    std::deque<std::pair<QString, int>> pending{{root, -1}};
    std::set<quint64> entered;
    ArchiveContents& contents = listing->Contents;
    while (!pending.empty() && listing->Error.isEmpty()) {
        const QString folderPath = pending.front().first;
        const int folder = pending.front().second;
        pending.pop_front();
        const auto opened = [&entered](const FolderIdentity& identity) {
            return !identity.Known || entered.insert(identity.Inode).second;
        };
        const auto entry = [&](const FindData& data) {
            if (limits.Stop())
                return false;
            if (++limits.Entries > kMaxEntries) {
                listing->Error = TooManyEntries();
                return false;
            }
            const int index = contents.Add(folder, data.FileName, data.IsDirectory(), data.Size,
                                           data.LastWriteTime);
            if (data.IsDirectory() && index >= 0)
                pending.emplace_back(folderPath + QLatin1Char('/') + data.FileName, index);
            return true;
        };
        const int listed = lister->List(folderPath, opened, entry);
        if (listed != 0 && listing->Error.isEmpty())
            listing->Error = qt_error_string(listed);
        if (limits.TimedOut)
            listing->Error = TookTooLong();
        if (limits.Cancelled)
            listing->Error.clear();
        if (limits.Cancelled)
            break;
    }
    if (!listing->Error.isEmpty() || limits.Cancelled) {
        contents.Clear();
        return;
    }
    listing->IsArchive = true;
    listing->Format = dynamic_cast<UdfImageFolderLister*>(lister.get())
                          ? QStringLiteral("UDF")
                          : QStringLiteral("ISO 9660");
}
