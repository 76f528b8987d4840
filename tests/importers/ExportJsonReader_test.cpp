// Our JSON export read back a unit at a time: escapes (a surrogate pair among them), media
// details and members the reader does not know passed over, nesting at any depth, units
// lying directly in the storage, and the line of what does not parse.
#include "importers/ExportJsonReader.h"
#include "importers/ImportSink.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace {

// What the reader hands over, one line per call.
class CallLog final : public CImportSink
{
public:
    void BeginDisc(const QString& label, const QDateTime& created) override
    {
        Lines << QStringLiteral("disc %1 %2").arg(label, created.toString(Qt::ISODate));
    }
    void Item(const ImportedItem& item) override
    {
        Lines << QStringLiteral("%1 %2 %3 %4 [%5]")
                     .arg(item.IsFolder ? QStringLiteral("folder") : QStringLiteral("file"),
                          item.Path.join(QLatin1Char('|')))
                     .arg(item.Size)
                     .arg(item.Modified.toString(Qt::ISODate), item.Notes);
    }
    void SetDiscNotes(const QString& notes) override { Lines << QStringLiteral("notes ") + notes; }
    void EndDisc() override { Lines << QStringLiteral("end"); }

    QStringList Lines;
};

QStringList Read(const QByteArray& json)
{
    QByteArray bytes = json;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    CallLog log;
    CExportJsonReader().Read(buffer, log);
    return log.Lines;
}

} // namespace

TEST(ExportJsonReader, ReadsNestedUnitsWithEscapesAndPassesOverWhatItDoesNotKnow)
{
    const QByteArray json =
        "[\n"
        "{\"path\":\"Box \\\"A\\\"\",\"name\":\"Box \\\"A\\\"\",\"type\":\"Disc\",\"size\":7,"
        "\"added\":\"2019-01-02T03:04:05\",\"notes\":\"line 1\\nline 2\",\"storage\":\"S\","
        "\"extra\":{\"a\":[1,{\"b\":null}],\"c\":\"}\"},\"children\":[\n"
        "  {\"path\":\"Box \\\"A\\\"/caf\\u00e9\",\"type\":\"Folder\",\"storage\":\"S\","
        "\"children\":[\n"
        "    {\"path\":\"Box \\\"A\\\"/caf\\u00e9/\\ud83d\\ude00.mp3\",\"type\":\"File\","
        "\"size\":7,\"modified\":\"2020-05-06T07:08:09\",\"duration\":3.5,\"artist\":\"X\","
        "\"storage\":\"S\",\"notes\":null}]}]},\n"
        "{\"path\":\"loose.txt\",\"type\":\"File\",\"size\":1,\"storage\":\"S\"}\n"
        "]\n";
    EXPECT_EQ(Read(json), (QStringList{
                              "disc Box \"A\" 2019-01-02T03:04:05",
                              "notes line 1\nline 2",
                              QStringLiteral("folder café -1  []"),
                              QStringLiteral("file café|😀.mp3 7 2020-05-06T07:08:09 []"),
                              "end",
                              "file loose.txt 1  []",
                          }));
    EXPECT_EQ(Read("[\n]\n"), QStringList());
}

TEST(ExportJsonReader, WhatDoesNotParseIsReportedWithItsLine)
{
    const struct
    {
        QByteArray json;
        int line;
    } broken[] = {
        {"[\n{\"path\":\"D\",\"type\":\"Disc\",\"storage\":\"S\"}\n{\"path\":\"E\"}]", 3},
        {"[\n{\"path\":\"D\",\n\"type\":\"Disc\",\"storage\":\"S\",\"size\":tall}]", 3},
        {"[\n{\"path\":\"D\n\"}]", 2},
        {"[\n{\"path\":\"D\",\"type\":\"Disc\",\"storage\":\"S\"}", 2},
        {"{\"path\":\"D\"}", 1},
        {"[\n{\"path\":\"D\",\"type\":\"Gizmo\",\"storage\":\"S\"}]", 2},
        {"[\n{\"path\":\"D\",\"type\":\"Disc\",\"storage\":\"S\"}]\n]", 3},
    };
    for (const auto& b : broken) {
        try {
            Read(b.json);
            ADD_FAILURE() << "read: " << b.json.toStdString();
        } catch (const ImportError& error) {
            EXPECT_EQ(error.Line, b.line)
                << b.json.toStdString() << ": " << error.Message.toStdString();
        }
    }
}
