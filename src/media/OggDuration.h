#pragma once

#include <optional>

class MediaFile;

// The length of an Ogg file from its pages' granule positions, for the streams whose
// headers do not give it (Theora films, FLAC in Ogg as ffmpeg writes it): the opening
// pages name each stream's codec and its rate, and the last page of the chosen stream
// tells how far it got. Reads the first and the last 64 KiB of the file at most.
//
// Granule positions count samples for Vorbis, Speex and FLAC, 48 kHz samples after the
// pre-skip for Opus, and for Theora the frame of the last key frame shifted left by the
// ident header's shift, plus the frames since.
namespace OggDuration {

enum class Prefer { Video, Audio };

/// Seconds of the first stream of the preferred kind (or of any kind when there is
/// none), nothing when the file is not Ogg or its pages do not tell.
std::optional<double> Read(MediaFile& file, Prefer prefer);

} // namespace OggDuration
