#pragma once

#include "volumes/VolumeInfo.h"

#include <QString>
#include <QStringList>

class DriveSystem;

/// The names the add-disc dialog offers for a new disc.
namespace DiscNames {

/// Up to two suggestions: first the volume's label (even an empty one), then, when the
/// disc's root holds exactly one file and no folder (a disc carrying one film, say),
/// that file's name without its extension. A root that cannot be listed, or is empty,
/// offers the label alone, and so does one file named by an extension only (".nfo").
QStringList ProposeDiscNames(const VolumeInfo& volume, const QString& root);

/// The same, reading the volume first (on the calling thread).
QStringList ProposeDiscNames(DriveSystem& drives, const QString& root);

/// A file name without its extension: from its last dot, unless a blank follows that
/// dot ("Film.avi" -> "Film", "a.tar.gz" -> "a.tar", "Vol. 2" -> "Vol. 2").
QString RemoveExtension(const QString& fileName);

} // namespace DiscNames
