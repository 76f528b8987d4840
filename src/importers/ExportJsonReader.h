#pragma once

#include "importers/ListReader.h"

// Our own JSON export ("json"), flat (one array of units) or nested (each disc and
// folder holding its own in "children"): recognised by an array whose first object
// has the export's path, type and storage keys. The list is read as it goes, a unit at
// a time.
class CExportJsonReader final : public CListReader
{
public:
    QString Name() const override { return QStringLiteral("json"); }
    bool Recognises(const QByteArray& head, const QString& fileName) const override;
    void Read(QIODevice& in, CImportSink& sink) const override;
};
