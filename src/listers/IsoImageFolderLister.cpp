#include "listers/IsoImageFolderLister.h"

#include "listers/DiscImageLister.h"

#include <QDate>
#include <QDateTime>
#include <QTime>

#include <cdio/iso9660.h>
#include <cdio/rock.h>

#include <algorithm>
#include <ctime>
#include <vector>

namespace {

using DiscImageLister::kDamaged;
using DiscImageLister::kNotAFolder;
using DiscImageLister::kNotAnImage;
using DiscImageLister::kNotFound;

struct FileListDeleter
{
    void operator()(CdioList_t* list) const { iso9660_filelist_free(list); }
};
using FileList = std::unique_ptr<CdioList_t, FileListDeleter>;

struct StatDeleter
{
    void operator()(iso9660_stat_t* stat) const { iso9660_stat_free(stat); }
};
using StatPtr = std::unique_ptr<iso9660_stat_t, StatDeleter>;

bool IsDirectory(const iso9660_stat_t& stat)
{
    return stat.type == iso9660_stat_t::_STAT_DIR;
}

// Rock Ridge records POSIX file modes, whatever system reads the disc.
constexpr quint32 kPosixTypeMask = 0170000;
constexpr quint32 kPosixLink = 0120000;

// The target of a Rock Ridge symbolic link, as readlink gives it on a mounted disc;
// null for anything else.
QExplicitlySharedDataPointer<const LinkText> RockRidgeLink(const iso9660_stat_t& stat)
{
    if ((stat.rr.st_mode & kPosixTypeMask) != kPosixLink)
        return {};
    const int length = stat.rr.psz_symlink ? stat.rr.i_symlink : 0;
    return LinkText::Make(QString::fromUtf8(stat.rr.psz_symlink, qMax(0, length)));
}

// An instant given as a calendar time in some zone, offset in minutes east of UTC.
qint64 UtcMilliseconds(int year, int month, int day, int hour, int minute, int second,
                       int offsetMinutes)
{
    const QDate date(year, month, day);
    const QTime time(hour, minute, second);
    // Year 0 is how the long form says "no time".
    if (year < 1 || !date.isValid() || !time.isValid())
        return FindData::kNoTime;
    return QDateTime(date, time, Qt::UTC).toMSecsSinceEpoch() - offsetMinutes * 60000LL;
}

int Digits(const char* text, int count)
{
    int value = 0;
    for (int i = 0; i < count; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

// A Rock Ridge time stamp: the short form of directory records or the 17-byte long
// form, each with its offset from UTC in quarter hours.
qint64 RockRidgeTime(const iso_rock_time_t& stamp)
{
    if (!stamp.b_used)
        return FindData::kNoTime;
    if (!stamp.b_longdate) {
        const iso9660_dtime_t& t = stamp.t.dtime;
        return UtcMilliseconds(1900 + t.dt_year, t.dt_month, t.dt_day, t.dt_hour, t.dt_minute,
                               t.dt_second, t.dt_gmtoff * 15);
    }
    const iso9660_ltime_t& t = stamp.t.ltime;
    const qint64 whole = UtcMilliseconds(
        Digits(t.lt_year, 4), Digits(t.lt_month, 2), Digits(t.lt_day, 2), Digits(t.lt_hour, 2),
        Digits(t.lt_minute, 2), Digits(t.lt_second, 2), t.lt_gmtoff * 15);
    const int hundredths = Digits(t.lt_hsecond, 2);
    return whole == FindData::kNoTime || hundredths < 0 ? whole : whole + hundredths * 10;
}

// libcdio hands the directory record's time over converted to this process's local
// time, with the daylight-saving flag set: mktime turns it back into the same instant.
qint64 RecordTime(const struct tm& local)
{
    if (local.tm_mday == 0) // a record libcdio could not read
        return FindData::kNoTime;
    struct tm copy = local;
    const time_t seconds = std::mktime(&copy);
    return seconds == static_cast<time_t>(-1) ? FindData::kNoTime
                                              : static_cast<qint64>(seconds) * 1000;
}

// A name as a listing shows it. Rock Ridge names are taken as written; Joliet and plain
// ISO 9660 names lose their ";1" version. Plain names keep their recorded case, as
// Windows shows them (the translation lower-cases only when told the volume has no
// Joliet level).
QString DisplayName(const QByteArray& raw, bool exact, bool directory)
{
    if (exact)
        return QString::fromUtf8(raw);
    QByteArray translated(raw.size() + 1, '\0');
    const int length = iso9660_name_translate_ext(raw.constData(), translated.data(), 1);
    translated.truncate(qMax(0, length));
    // "README." is a name without an extension, written without its version.
    if (!directory && translated.size() > 1 && translated.endsWith('.'))
        translated.chop(1);
    return QString::fromUtf8(translated);
}

QByteArray JoinImagePath(const QByteArray& folder, const QByteArray& name)
{
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

} // namespace

struct IsoImageFolderLister::Image
{
    iso9660_t* Handle = nullptr;

    Image() = default;
    ~Image() { Close(); }
    Q_DISABLE_COPY_MOVE(Image)

    void Close()
    {
        if (Handle)
            iso9660_close(Handle);
        Handle = nullptr;
    }
};

IsoImageFolderLister::IsoImageFolderLister(const QString& imagePath) : ContainerLister(imagePath)
{
}

IsoImageFolderLister::~IsoImageFolderLister() = default;

int IsoImageFolderLister::OpenContainer()
{
    if (m_image)
        return 0;
    if (const int error = DiscImageLister::CheckImageFile(ContainerPath()))
        return error;
    DiscImageLister::QuietLibrary();
    const QByteArray native = DiscImageLister::NativePath(ContainerPath());
    auto image = std::make_unique<Image>();
    // Rock Ridge lives in the primary tree only: look there first. Its names are the
    // full ones; Joliet's are cut to 64 characters and barred from a few.
    image->Handle = iso9660_open_ext(native.constData(), ISO_EXTENSION_ROCK_RIDGE);
    if (!image->Handle)
        return kNotAnImage;
    bool rockRidge = false;
    if (const FileList root{iso9660_ifs_readdir(image->Handle, "/")}) {
        for (CdioListNode_t* node = _cdio_list_begin(root.get()); node;
             node = _cdio_list_node_next(node)) {
            const auto* stat = static_cast<const iso9660_stat_t*>(_cdio_list_node_data(node));
            rockRidge = rockRidge || (stat && stat->rr.b3_rock == yep);
        }
    }
    if (rockRidge) {
        m_naming = Naming::RockRidge;
    } else {
        image->Close();
        image->Handle = iso9660_open_ext(
            native.constData(),
            static_cast<iso_extension_mask_t>(ISO_EXTENSION_JOLIET | ISO_EXTENSION_ROCK_RIDGE));
        if (!image->Handle)
            return kNotAnImage;
        m_naming =
            iso9660_ifs_get_joliet_level(image->Handle) > 0 ? Naming::Joliet : Naming::Iso9660;
    }
    m_image = std::move(image);
    return 0;
}

QByteArray IsoImageFolderLister::RootKey() const
{
    return QByteArrayLiteral("/");
}

int IsoImageFolderLister::ReadFolder(const QByteArray& inside, Folder* listing) const
{
    iso9660_t* handle = m_image->Handle;
    const StatPtr self(iso9660_ifs_stat(handle, inside.constData()));
    if (!self)
        return kNotFound;
    if (!IsDirectory(*self))
        return kNotAFolder;
    const FileList list(iso9660_ifs_readdir(handle, inside.constData()));
    if (!list)
        return kDamaged;
    listing->Opened = true;
    listing->Identity = static_cast<quint32>(self->lsn);
    QByteArray lastRaw; // of the last file entry, whose further extents may follow

    for (CdioListNode_t* node = _cdio_list_begin(list.get()); node;
         node = _cdio_list_node_next(node)) {
        const auto* stat = static_cast<const iso9660_stat_t*>(_cdio_list_node_data(node));
        if (!stat)
            continue;
        const QByteArray raw(stat->filename);
        if (raw.isEmpty() || raw == "." || raw == "..")
            continue;
        const bool folder = IsDirectory(*stat);
        // A file of 4 GiB or more is recorded in several extents, each with a record
        // of the same name, one after the other.
        if (!folder && !listing->Entries.empty() && raw == lastRaw) {
            Entry& last = listing->Entries.back();
            if (!last.Data.IsDirectory()) {
                last.Data.Size += stat->size;
                continue;
            }
        }

        Entry item;
        if (folder)
            item.Folder = JoinImagePath(inside, raw);
        FindData& data = item.Data;
        const bool rockRidge = m_naming == Naming::RockRidge && stat->rr.b3_rock == yep;
        data.FileName = DisplayName(raw, rockRidge, folder);
        if (data.FileName.isEmpty())
            continue;
        data.Attributes = folder ? FindData::kDirectory : 0;
        data.Size = folder ? 0 : stat->size;
        if (rockRidge && !folder) {
            data.Link = RockRidgeLink(*stat);
            if (data.Link) {
                data.Attributes = FindData::kLink;
                data.Size = 0;
            }
        }
        data.LastWriteTime = rockRidge ? RockRidgeTime(stat->rr.modify) : FindData::kNoTime;
        if (data.LastWriteTime == FindData::kNoTime)
            data.LastWriteTime = RecordTime(stat->tm);
        data.CreationTime = rockRidge ? RockRidgeTime(stat->rr.create) : FindData::kNoTime;
        if (data.CreationTime == FindData::kNoTime)
            data.CreationTime = data.LastWriteTime;
        lastRaw = folder ? QByteArray() : raw;
        listing->Entries.push_back(std::move(item));
    }
    return 0;
}
