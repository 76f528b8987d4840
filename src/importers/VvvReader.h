#pragma once

#include "importers/ListReader.h"

#include <QStringList>

// The text export of Virtual Volumes View (File > Export...): one line per file or
// folder, fields split by a TAB (the separator people choose for it; a semicolon or a
// comma is accepted too), a first line naming the columns, one physical volume after
// the other. What is public about this export says no more than that, so the columns are
// taken by the names in that first line, capitals and spaces aside:
//   volume (required)            the volume's name; a new value starts a new disc
//   path / folder / physical path the folder inside the volume, / or \ between names
//   name / file name (required)  the file's name; empty on a folder's own line
//   ext / extension              joined to the name with a dot when the name lacks it
//   size / file size             bytes
//   date / modified / datetime   the modification time, local time, in one of the
//   (and time, when apart)       usual forms: 2024-05-31 18:04:05, 31/05/2024 18:04,
//                                31.05.2024 18:04:05, 2024/05/31 18:04:05
//   description / notes          kept as the item's notes
// Other columns are passed over. A field may be quoted with double quotes (doubled
// inside). A date in none of those forms is left out; a size that is not a number, a
// line with more fields than the header or an unclosed quote is an error.
class CVvvReader final : public CListReader
{
public:
    QString Name() const override;
    bool Recognises(const QByteArray& head, const QString& fileName) const override;
    void Read(QIODevice& in, CImportSink& sink) const override;

    // The field separator the header line uses: TAB, ';' or ','.
    static QChar Separator(const QString& header);
};
