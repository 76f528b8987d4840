#pragma once

#include "importers/ListReader.h"

#include <QStringList>

struct JsCall;

// A Snap2HTML page: an HTML file whose script holds the listing as calls
//     D.p([...])
// one per folder, in the order the folders are shown. Two layouts are read, as the
// program's notes for developers describe them:
// - "V2" (Snap2HTML 2.5 on): [folder, parent id, "subfolder ids", file, ..., {snapshot}]
//   with a root folder's parent -1 and, last in the root's array, a JSON object with the
//   snapshot's "title" and "timestamp". Entries are "name*size*date" with size and date
//   in base 36 (a folder's size -1: it could not be read, said in its notes). More than
//   one root may follow; each starts a disc, and folder ids count from that root.
// - "V1" (2.0 to 2.14): ["full/path*0*date", file, ..., total size, "subfolder ids"]
//   with folders named by their full path (forward slashes) and numbers in base 10; the
//   first folder is the root.
// Dates are seconds since 1970 in UTC. Names are unescaped twice: the script's string
// escapes, then the HTML character references (&amp;, &#39;, ...) the page writes.
class CSnap2HtmlReader final : public CListReader
{
public:
    QString Name() const override;
    bool Recognises(const QByteArray& head, const QString& fileName) const override;
    void Read(QIODevice& in, CImportSink& sink) const override;

private:
    static void ReadVersion1(const std::vector<JsCall>& calls, CImportSink& sink);
    static void ReadVersion2(const std::vector<JsCall>& calls, CImportSink& sink);
};
