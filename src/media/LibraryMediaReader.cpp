#include "media/LibraryMediaReader.h"

#include "media/OggDuration.h"
#include "media/PictureDetails.h"
#include "media/TagLibMediaStream.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QMimeType>
#include <QSet>

#include <taglib/audioproperties.h>
#include <taglib/fileref.h>
#include <taglib/infotag.h>
#include <taglib/tag.h>
#include <taglib/tfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisproperties.h>
#include <taglib/wavfile.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <mutex>

namespace {

using Stream = MediaInfoFile::Stream;

// As much of the start of a file as Qt's MIME magic reads when it opens the file itself.
constexpr qint64 kSniffLength = 16384;

// A positive count of milliseconds as whole seconds, rounded.
CNullable<int> SecondsFromMilliseconds(double milliseconds)
{
    if (!(milliseconds > 0) || milliseconds / 1000 > std::numeric_limits<int>::max())
        return {};
    return static_cast<int>(std::lround(milliseconds / 1000));
}

// Rounded to a whole number; NULL unless that is at least 1.
CNullable<int> Positive(double value)
{
    if (!(value >= 0.5) || value > std::numeric_limits<int>::max())
        return {};
    return static_cast<int>(std::lround(value));
}

// Bits per second as kbit/s, rounded; NULL when that is not at least 1.
CNullable<int> KilobitsFromBits(double bitsPerSecond)
{
    return Positive(bitsPerSecond / 1000);
}

// The rate of the whole file over its length, when nothing better is known.
CNullable<int> AverageKilobits(qint64 bytes, double milliseconds)
{
    if (!(milliseconds > 0))
        return {};
    return KilobitsFromBits(bytes * 8.0 / (milliseconds / 1000));
}

CNullable<int> Positive(int value)
{
    if (value <= 0)
        return {};
    return value;
}

CNullable<QString> NonEmpty(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return {};
    return trimmed;
}

CNullable<QString> NonEmpty(const TagLib::String& text)
{
    return NonEmpty(QString::fromUtf8(text.toCString(true)));
}

// The first run of four digits: the year of "2019", "2019-05-01" or "UTC 2019-05-01".
CNullable<int> YearIn(const QString& date)
{
    int run = 0;
    for (int i = 0; i < date.size(); ++i) {
        run = date.at(i).isDigit() ? run + 1 : 0;
        const bool runEnds = i + 1 == date.size() || !date.at(i + 1).isDigit();
        if (run == 4 && runEnds)
            return Positive(date.mid(i - 3, 4).toInt());
    }
    return {};
}

// A number that leads a text such as "7" or "7/12".
CNullable<int> LeadingNumber(const QString& text)
{
    int end = 0;
    while (end < text.size() && text.at(end).isDigit())
        ++end;
    return Positive(text.left(end).toInt());
}

CNullable<int> MediaInfoNumber(const MediaInfoFile& file, Stream stream, const char* field)
{
    double value = 0;
    if (!file.Number(stream, field, value))
        return {};
    return Positive(value);
}

TagLib::FileRef OpenWithTagLib(const QString& path)
{
#ifdef _WIN32
    return TagLib::FileRef(reinterpret_cast<const wchar_t*>(path.utf16()), true,
                           TagLib::AudioProperties::Fast);
#else
    const QByteArray name = QFile::encodeName(path);
    return TagLib::FileRef(name.constData(), true, TagLib::AudioProperties::Fast);
#endif
}

// TagLib is asked only about the extensions it has a reader for. For any other name it
// would guess from the content, and it takes a Matroska file holding FLAC for a bare
// FLAC stream, giving the sound without the container's tags; MediaInfoLib knows those.
bool TagLibKnowsExtension(const QString& path)
{
    static const QSet<QString> known = [] {
        QSet<QString> extensions;
        for (const TagLib::String& extension : TagLib::FileRef::defaultFileExtensions())
            extensions.insert(QString::fromUtf8(extension.toCString(true)).toLower());
        return extensions;
    }();
    return known.contains(QFileInfo(path).suffix().toLower());
}

// TagLib's MPEG reader looks for the first audio frame through the whole file, at a few
// megabytes a second, so a large file that only bears an audio name (text, zeros, a
// download never finished) would hold the import up for seconds. Qt's MIME magic looks
// at the first bytes only; what it finds to be text, empty or of no known kind goes to
// MediaInfoLib, which gives up on such content quickly.
bool ContentMayBeAudio(const QMimeType& type)
{
    return !type.isDefault() && !type.inherits(QStringLiteral("text/plain")) &&
           type.name() != QLatin1String("application/x-zerosize");
}

// A WAV file's RIFF INFO list, which TagLib keeps beside the ID3v2 tag that FileRef
// shows: what the ID3v2 tag leaves NULL is taken from it.
void FillFromInfoTag(TagLib::RIFF::WAV::File& wav, MusicInfo& music)
{
    if (!wav.hasInfoTag())
        return;
    TagLib::RIFF::Info::Tag* info = wav.InfoTag();
    const auto field = [info](const char* id) {
        return QString::fromUtf8(info->fieldText(id).toCString(true)).trimmed();
    };
    const auto fill = [](auto& value, const auto& found) {
        if (value.IsNull())
            value = found;
    };
    fill(music.Artist, NonEmpty(info->artist()));
    fill(music.Title, NonEmpty(info->title()));
    fill(music.Album, NonEmpty(info->album()));
    fill(music.Genre, NonEmpty(info->genre()));
    fill(music.Comments, NonEmpty(info->comment()));
    fill(music.Year, YearIn(field("ICRD")));
    fill(music.TrackNumber, LeadingNumber(field("IPRT")));
    fill(music.TrackNumber, LeadingNumber(field("ITRK")));
}

// Audio properties and tags as TagLib reads them; false when TagLib does not know the
// format or finds no audio in the file.
bool ReadTagLibFacts(const TagLib::FileRef& ref, MusicInfo& music)
{
    if (ref.isNull() || !ref.file()->isValid())
        return false;
    const TagLib::AudioProperties* audio = ref.audioProperties();
    if (!audio || (audio->sampleRate() <= 0 && audio->lengthInMilliseconds() <= 0))
        return false;

    music.Duration = SecondsFromMilliseconds(audio->lengthInMilliseconds());
    music.Bitrate = Positive(audio->bitrate());
    // Vorbis states the rate its encoder aimed at, which ffprobe and MediaInfo give as the
    // stream's. TagLib measures the pages instead when it can, headers left out, which in
    // a short file is far from it, and falls back on the stated rate when it cannot (a
    // film's sound, a chained file): the stated one is the same for every file.
    if (const auto* vorbis = dynamic_cast<const TagLib::Vorbis::Properties*>(audio)) {
        if (vorbis->bitrateNominal() > 0)
            music.Bitrate = KilobitsFromBits(vorbis->bitrateNominal());
    }
    music.ChannelsNumber = Positive(audio->channels());
    music.SamplingRate = Positive(audio->sampleRate());

    if (const TagLib::Tag* tag = ref.tag()) {
        music.Artist = NonEmpty(tag->artist());
        music.Title = NonEmpty(tag->title());
        music.Album = NonEmpty(tag->album());
        music.Year = Positive(static_cast<int>(tag->year()));
        music.TrackNumber = Positive(static_cast<int>(tag->track()));
        music.Genre = NonEmpty(tag->genre());
        music.Comments = NonEmpty(tag->comment());
    }
    if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(ref.file()))
        FillFromInfoTag(*wav, music);
    if (music.Comments.IsNull()) {
        // Some taggers (ffmpeg among them) keep the comment in a user text frame,
        // which only the property map shows.
        const TagLib::PropertyMap properties = ref.file()->properties();
        const auto comment = properties.find("COMMENT");
        if (comment != properties.end() && !comment->second.isEmpty())
            music.Comments = NonEmpty(comment->second.front());
    }
    return true;
}

} // namespace

LibraryMediaReader::LibraryMediaReader(FileAccess access) : m_access(access)
{
    PictureDetails::InitialiseLibraries();
}

LibraryMediaReader::~LibraryMediaReader() = default;

MediaRecord LibraryMediaReader::Read(const QString& path, int categoryId)
{
    MediaRecord record;
    bool found = false;
    try {
        found = ReadCategory(path, categoryId, record);
    } catch (...) {
        // A library that gives up on a damaged file by throwing leaves no row; the file
        // itself is still catalogued.
        found = false;
    }
    m_mediaInfo.Close();
    m_file.Close();
    if (!found)
        return MediaRecord();
    return record;
}

bool LibraryMediaReader::ReadCategory(const QString& path, int categoryId, MediaRecord& record)
{
    if (categoryId != CategoryIds::Film && categoryId != CategoryIds::Music &&
        categoryId != CategoryIds::Picture)
        return false;
    // Shared, the file is opened here once for all; by name, each library opens it when
    // it comes to it (MediaInfoLib through m_file, opened again for it).
    const bool shared = m_access == FileAccess::Shared;
    if (shared && !m_file.Open(path))
        return false;

    switch (categoryId) {
    case CategoryIds::Film:
        if (!m_file.IsOpen() && !m_file.Open(path))
            return false;
        record.kind = MediaRecord::Kind::Film;
        return ReadFilm(record.film);
    case CategoryIds::Music:
        record.kind = MediaRecord::Kind::Music;
        return ReadMusic(path, record.music);
    default:
        record.kind = MediaRecord::Kind::Picture;
        return shared ? PictureDetails::Read(m_file, record.picture)
                      : PictureDetails::ReadByName(path, record.picture);
    }
}

bool LibraryMediaReader::ReadFilm(FilmInfo& film)
{
    if (!m_mediaInfo.Open(m_file))
        return false;
    const bool hasVideo = m_mediaInfo.Count(Stream::Video) > 0;
    if (!hasVideo && m_mediaInfo.Count(Stream::Audio) == 0)
        return false;

    double value = 0;
    double milliseconds = 0;
    if (m_mediaInfo.Number(Stream::General, "Duration", value) ||
        m_mediaInfo.Number(Stream::Video, "Duration", value))
        milliseconds = value;
    else if (const std::optional<double> seconds =
                 OggDuration::Read(m_file, OggDuration::Prefer::Video))
        milliseconds = *seconds * 1000; // Theora, of which MediaInfoLib reads no length
    film.Duration = SecondsFromMilliseconds(milliseconds);
    film.Width = MediaInfoNumber(m_mediaInfo, Stream::Video, "Width");
    film.Height = MediaInfoNumber(m_mediaInfo, Stream::Video, "Height");
    // The video stream's own rate where the container tells it; otherwise the rate of
    // the whole file, which is what most containers without it (MPEG-TS, Matroska from
    // many muxers) give.
    if (m_mediaInfo.Number(Stream::Video, "BitRate", value) ||
        m_mediaInfo.Number(Stream::General, "OverallBitRate", value))
        film.Bitrate = KilobitsFromBits(value);
    else
        film.Bitrate = AverageKilobits(m_file.Size(), milliseconds);
    film.Codec = NonEmpty(m_mediaInfo.Text(Stream::Video, "Format"));
    return true;
}

bool LibraryMediaReader::ReadMusic(const QString& path, MusicInfo& music)
{
    if (ReadMusicWithTagLib(path, music))
        return true;
    music = MusicInfo();
    if (!m_file.IsOpen() && !m_file.Open(path))
        return false;
    return ReadMusicWithMediaInfo(music);
}

bool LibraryMediaReader::ReadMusicWithTagLib(const QString& path, MusicInfo& music)
{
    if (!TagLibKnowsExtension(path))
        return false;
    if (m_access == FileAccess::ByName) {
        const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchContent);
        if (!ContentMayBeAudio(type) || !ReadTagLibFacts(OpenWithTagLib(path), music))
            return false;
        ReadOggLength(path, music);
        return true;
    }
    // The sniff looks at the bytes TagLib reads first anyway, from the same block.
    if (!ContentMayBeAudio(QMimeDatabase().mimeTypeForData(m_file.Head(kSniffLength))))
        return false;
    TagLibMediaStream stream(m_file);
    const TagLib::FileRef ref(&stream, true, TagLib::AudioProperties::Fast);
    if (!ReadTagLibFacts(ref, music))
        return false;
    ReadOggLength(path, music);
    return true;
}

void LibraryMediaReader::ReadOggLength(const QString& path, MusicInfo& music)
{
    // FLAC in Ogg as ffmpeg writes it leaves the sample count of its header at 0, so
    // TagLib has no length for it; the last page's granule position has.
    if (!music.Duration.IsNull())
        return;
    if (!m_file.IsOpen() && !m_file.Open(path))
        return;
    const std::optional<double> seconds = OggDuration::Read(m_file, OggDuration::Prefer::Audio);
    if (!seconds)
        return;
    music.Duration = SecondsFromMilliseconds(*seconds * 1000);
    if (music.Bitrate.IsNull())
        music.Bitrate = AverageKilobits(m_file.Size(), *seconds * 1000);
}

bool LibraryMediaReader::ReadMusicWithMediaInfo(MusicInfo& music)
{
    if (!m_mediaInfo.Open(m_file) || m_mediaInfo.Count(Stream::Audio) == 0)
        return false;
    double value = 0;
    if (m_mediaInfo.Number(Stream::General, "Duration", value) ||
        m_mediaInfo.Number(Stream::Audio, "Duration", value))
        music.Duration = SecondsFromMilliseconds(value);
    if (m_mediaInfo.Number(Stream::Audio, "BitRate", value) ||
        m_mediaInfo.Number(Stream::General, "OverallBitRate", value))
        music.Bitrate = KilobitsFromBits(value);
    music.ChannelsNumber = MediaInfoNumber(m_mediaInfo, Stream::Audio, "Channel(s)");
    music.SamplingRate = MediaInfoNumber(m_mediaInfo, Stream::Audio, "SamplingRate");

    // The common tag names; Matroska files written by some muxers keep theirs under the
    // container's own upper-case names, which MediaInfoLib passes through as they are.
    const auto tag = [this](std::initializer_list<const char*> names) {
        for (const char* name : names) {
            QString text = m_mediaInfo.Text(Stream::General, name);
            if (!text.trimmed().isEmpty())
                return text;
        }
        return QString();
    };
    music.Artist = NonEmpty(tag({"Performer", "ARTIST"}));
    music.Title = NonEmpty(tag({"Title", "Track", "TITLE"}));
    music.Album = NonEmpty(tag({"Album", "ALBUM"}));
    music.Year = YearIn(tag({"Recorded_Date", "Released_Date", "DATE"}));
    music.TrackNumber = LeadingNumber(tag({"Track/Position", "PART_NUMBER"}));
    music.Genre = NonEmpty(tag({"Genre", "GENRE"}));
    music.Comments = NonEmpty(tag({"Comment", "COMMENT"}));
    return true;
}
