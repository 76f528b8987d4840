#pragma once

#include "importers/ListReader.h"

#include <QStringList>

class QJsonObject;

// catcli's catalogue: one JSON document, a tree of nodes, each an object with "name",
// "type" and "children". The root is of type "top"; below it each "storage" node is an
// indexed disc (its "ts" the time it was indexed, seconds since 1970, UTC; its "attr"
// the description given when it was indexed, kept as the disc's notes), and inside
// a storage "dir" and "file" nodes with "size" in bytes and "maccess" (modification
// time, seconds since 1970 as a number, possibly with a fraction, UTC). Nodes of other
// types ("meta" with the catalogue's own facts, "arc" for entries inside archives) are
// passed over: an archive's entries do not become files of their own here.
class CCatcliReader final : public CListReader
{
public:
    QString Name() const override;
    bool Recognises(const QByteArray& head, const QString& fileName) const override;
    void Read(QIODevice& in, CImportSink& sink) const override;

private:
    static void ReadNode(const QJsonObject& node, const QStringList& folders, CImportSink& sink);
};
