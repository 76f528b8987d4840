#pragma once

#include "sqlitewrapper/ExportRecord.h"

#include <QIODevice>
#include <QString>
#include <QStringList>

#include <vector>

// Writes the units of an export as the exporter walks them, straight to a device, so
// that an export of any size holds one row at a time. The exporter calls, for every
// unit, StartUnit, then for a disc, folder or archive StartChildren and EndChildren
// around its children, then EndUnit; Begin before the first unit and End after the
// last. Writers that list units flat ignore the nesting.
class CExportWriter
{
public:
    explicit CExportWriter(QIODevice& out) : m_out(out) {}
    virtual ~CExportWriter() = default;
    CExportWriter(const CExportWriter&) = delete;
    CExportWriter& operator=(const CExportWriter&) = delete;

    virtual void Begin() {}
    // path: the unit's path in its storage ("Holiday 2019/DCIM/IMG_0001.jpg").
    virtual void StartUnit(const ExportRecord& unit, const QString& path,
                           const QString& storage) = 0;
    virtual void StartChildren() {}
    virtual void EndChildren() {}
    virtual void EndUnit() {}
    virtual void End() {}

    // The column names, in order: the header of a CSV file and the keys of a JSON
    // object.
    static const QStringList& FieldNames();
    // A stored date ("YYYY-MM-DD HH:MM:SS", local time) in ISO 8601
    // ("YYYY-MM-DDTHH:MM:SS"); empty stays empty.
    static QString IsoDate(const QString& stored);

protected:
    // One value of a unit, in FieldNames' order: a text, a number, or nothing.
    struct Value
    {
        enum class Kind { Null, Text, Number } kind = Kind::Null;
        QString text;
    };
    static std::vector<Value> Values(const ExportRecord& unit, const QString& path,
                                     const QString& storage);
    // The fields from duration on are the media details, then an archive's format.
    static constexpr int kFirstMediaField = 10;

    void Write(const QString& text);
    void Write(const char* text);

private:
    QIODevice& m_out;
};
