// Command output as scripts read it: tab-separated lines under a header, or JSON.
#include "cli/Table.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <functional>

namespace {

QString Printed(const std::function<void()>& print)
{
    testing::internal::CaptureStdout();
    print();
    return QString::fromStdString(testing::internal::GetCapturedStdout());
}

QJsonDocument PrintedJson(const std::function<void()>& print)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(Printed(print).toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    return document;
}

} // namespace

TEST(Table, LinesAreTabSeparatedAndACellNeverBreaksItsLine)
{
    Table table({"id", "name", "size"});
    table.AddRow({7, "Tab\there", qint64(5) << 32});
    table.AddRow({8, "two\r\nlines \"quoted\"", QVariant()});
    EXPECT_EQ(Printed([&] { table.Print(false); }),
              "id\tname\tsize\n7\tTab here\t21474836480\n8\ttwo  lines \"quoted\"\t\n");
    EXPECT_EQ(Printed([] { Table({"id", "name"}).Print(false); }), "id\tname\n");
}

TEST(Table, JsonKeepsTextsAndNumbersAsTheyAre)
{
    const QString awkward = "Anna's \"box\"\t\\ two\nlines ü";
    Table table({"id", "name", "Serial Number:", "notes"});
    table.AddRow({7, awkward, qint64(1) << 40, QVariant()});
    table.AddRow({8}); // a short row has only the keys it has values for
    const QJsonArray rows = PrintedJson([&] { table.Print(true); }).array();
    ASSERT_EQ(rows.size(), 2);
    const QJsonObject first = rows[0].toObject();
    EXPECT_EQ(first.keys(), (QStringList{"id", "name", "notes", "serialNumber"}));
    EXPECT_EQ(first["id"].toInteger(), 7);
    EXPECT_EQ(first["name"].toString(), awkward);
    EXPECT_EQ(first["serialNumber"].toInteger(), qint64(1) << 40);
    EXPECT_TRUE(first["notes"].isNull());
    EXPECT_EQ(rows[1].toObject(), (QJsonObject{{"id", 8}}));
    EXPECT_TRUE(PrintedJson([] { Table({"id"}).Print(true); }).isArray());

    // A listing of fields is one object; as text it is the plain table.
    Table fields({"field", "value"});
    fields.AddRow({"Name:", awkward});
    fields.AddRow({"Date added (UTC):", 42});
    fields.AddRow({"lonely"});
    EXPECT_EQ(PrintedJson([&] { fields.PrintFields(true); }).object(),
              (QJsonObject{{"name", awkward}, {"dateAddedUTC", 42}}));
    EXPECT_EQ(
        Printed([&] { fields.PrintFields(false); }),
        "field\tvalue\nName:\tAnna's \"box\" \\ two lines ü\nDate added (UTC):\t42\nlonely\n");
}
