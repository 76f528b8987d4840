#pragma once

#include "sqlitewrapper/Nullable.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <QtGlobal>

// A film's, a piece of music's or a picture's details as our own export lists them;
// null or empty where the list has none.
struct ImportedMedia
{
    CNullable<qint64> Duration;
    CNullable<qint64> Width;
    CNullable<qint64> Height;
    CNullable<qint64> Bitrate;
    QString Codec;
    QString Artist;
    QString Title;
    QString Album;
    CNullable<qint64> Year;
    CNullable<qint64> Track;
    QString Genre;

    bool IsEmpty() const
    {
        return Duration.IsNull() && Width.IsNull() && Height.IsNull() && Bitrate.IsNull() &&
               Codec.isEmpty() && Artist.isEmpty() && Title.isEmpty() && Album.isEmpty() &&
               Year.IsNull() && Track.IsNull() && Genre.isEmpty();
    }
};

// One folder or file read from another cataloguer's list (or from our own export),
// with what the list holds of it. Fields the list does not have stay unknown.
struct ImportedItem
{
    // The folders below the disc and then the item's own name: {"Photos", "2012",
    // "IMG_0001.jpg"}. Never empty.
    QStringList Path;
    bool IsFolder = false;
    qint64 Size = -1;   // bytes; -1 when the list does not say (a folder's is summed)
    QDateTime Modified; // invalid when the list does not say
    QDateTime Created;
    QString Notes;
    // What only our own export holds; the other lists leave these empty.
    QDateTime Added;  // when the unit was catalogued
    QString Category; // the category's name; empty: the category by extension
    ImportedMedia Media;
    // For an archive (a file whose entries follow it): its format ("ZIP").
    QString ArchiveFormat;
    // For an entry of an archive: how many parts of Path name the outermost archive
    // file; 0 for an item that lies in no archive.
    int ArchivePathLength = 0;
};

// What a reader of a list hands its discs and items to, in the list's order. An
// item's folders need not have come first: the receiver makes the ones missing.
class CImportSink
{
public:
    virtual ~CImportSink() = default;

    // Starts a disc (a volume, a drive, a scanned root); the items that follow are in
    // it. label: the disc's name as the list has it; created: when it was catalogued,
    // invalid when the list does not say.
    virtual void BeginDisc(const QString& label, const QDateTime& created) = 0;
    virtual void Item(const ImportedItem& item) = 0;
    // The notes of the disc begun last, for lists that keep notes on discs.
    virtual void SetDiscNotes(const QString& /*notes*/) {}
    // Ends the disc begun last: the items that follow lie in the storage itself, as do
    // those before the first BeginDisc (a folder or a file catalogued on its own).
    virtual void EndDisc() {}
};

// A list that cannot be read: where (line 1 upwards, 0 when the format has no
// lines to speak of) and why. Readers throw it; nothing of the list is kept then.
struct ImportError
{
    int Line = 0;
    QString Message;
};
