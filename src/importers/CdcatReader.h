#pragma once

#include "importers/ListReader.h"

#include <QStringList>

class QXmlStreamReader;

// A catalogue of CdCat (Hyper's CD Catalogizer) as XML: what the program keeps, gzipped,
// in its .hcf files, and writes when it exports as XML. Public descriptions say little
// beyond "a gzipped XML file", so the reader takes what the element names make plain and
// passes over every other element (tags, archive contents, categories):
//   <catalog>                         the root
//     <media name= time=>             a disc; time when it was catalogued
//       <directory name= time=>       a folder, inside a medium or another folder
//       <file name= size= unit= time=> a file; size in the unit given (byte, Kb, Mb, Gb,
//                                     Tb, powers of 1024), in the unit attribute or
//                                     after the number; bytes when there is none
//       <comment>text</comment>       inside any of them: the disc's or item's notes
// Times are "yyyy-MM-dd hh:mm:ss" local time (a "T" between date and time is accepted).
// A gzip-compressed catalogue is decompressed first; as its bytes hide the XML, only the
// name (.hcf) makes such a file recognised.
class CCdcatReader final : public CListReader
{
public:
    QString Name() const override;
    bool Recognises(const QByteArray& head, const QString& fileName) const override;
    void Read(QIODevice& in, CImportSink& sink) const override;

private:
    // Reads the element xml stands on (a medium, folder or file) up to its end tag.
    static void ReadEntry(QXmlStreamReader& xml, const QStringList& folders, CImportSink& sink);
};
