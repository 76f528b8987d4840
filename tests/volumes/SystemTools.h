#pragma once

#include <QString>
#include <QStringList>

// The system tools the volume tests make their images with (mkudffs, mkfs.fat, mkntfs,
// xorriso) and read them back with (udfinfo, blkid), some of which live in sbin.

namespace SystemTools {

/// The tool's full path; empty when it is not installed.
QString Find(const QString& name);

/// Runs a tool to its end: its standard output (empty, not null, when it printed
/// nothing), or a null string when it could not run or failed.
QString Run(const QString& tool, const QStringList& arguments);

} // namespace SystemTools
