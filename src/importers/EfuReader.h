#pragma once

#include "importers/ListReader.h"

#include <QDateTime>
#include <QStringList>

// Everything's file lists ("efu"): CSV with the header "Filename,Size,Date Modified,
// Date Created,Attributes", of which only Filename is required; the columns are found
// by name. Filenames are full Windows paths ("C:\Music\a.mp3"): the first part (the
// drive, a UNC path's server and share, or a relative list's first folder) becomes the
// disc, backslashes separate folders. Dates are FILETIME numbers (100-nanosecond steps
// since 1601-01-01 UTC; 0 or empty for none) or ISO 8601; attribute bit 0x10 marks a
// folder.
class CEfuReader final : public CListReader
{
public:
    QString Name() const override { return QStringLiteral("efu"); }
    bool Recognises(const QByteArray& head, const QString& fileName) const override;
    void Read(QIODevice& in, CImportSink& sink) const override;

    // A filename's disc and the parts below it; the disc is empty for a relative name
    // with a single part.
    static QStringList SplitPath(const QString& fileName, QString& disc);
    // A FILETIME number or ISO 8601 text; invalid when empty or 0. ok is false when the
    // text is neither.
    static QDateTime ParseDate(const QString& text, bool& ok);
};
