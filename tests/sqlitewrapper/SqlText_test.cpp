#include "sqlitewrapper/Nullable.h"
#include "sqlitewrapper/SqlText.h"

#include <gtest/gtest.h>

using namespace SqlText;

TEST(SqlText, FormatFillsEachSpecifierOnceAndNeverRescansValues)
{
    EXPECT_EQ(Format("A %s B %d C '%c' D %lu E %lld %%", {"x", -3, 'F', 4294967295u, 5000000000LL}),
              QStringLiteral("A x B -3 C 'F' D 4294967295 E 5000000000 %"));
    // A value that itself holds specifiers is written as it is.
    EXPECT_EQ(Format("LIKE '%%%s%%' AND %d", {"50%_%d%s", 7}),
              QStringLiteral("LIKE '%50%_%d%s%' AND 7"));
    // The two-step fill used for sub-selects.
    const QString step = Format("IN (%s)", {"SELECT x WHERE y IN (%s) AND c = %d"});
    EXPECT_EQ(Format(step, {"1,2", 3}), QStringLiteral("IN (SELECT x WHERE y IN (1,2) AND c = 3)"));
}

TEST(SqlText, StringsBecomeSingleQuotedLiteralsAndOnlyOptionalNullIsNull)
{
    EXPECT_EQ(QuoteSqlString(QStringLiteral("Tom's \"best\" disc")),
              QStringLiteral("'Tom''s \"best\" disc'"));
    EXPECT_EQ(QuoteSqlString(QStringLiteral("x'; DELETE FROM Units; --")),
              QStringLiteral("'x''; DELETE FROM Units; --'"));
    EXPECT_EQ(QuoteSqlString(QStringLiteral("NULL")), QStringLiteral("'NULL'"));
    EXPECT_EQ(QuoteSqlString(QString()), QStringLiteral("''"));
    EXPECT_EQ(QuoteOptionalSqlString(QStringLiteral("NULL")), QStringLiteral("NULL"));
    EXPECT_EQ(QuoteOptionalSqlString(QStringLiteral("null")), QStringLiteral("'null'"));
    EXPECT_EQ(EscapeSqlQuotes(QStringLiteral("a'b''")), QStringLiteral("a''b''''"));
}

TEST(SqlText, DatesAreQuotedTextWithoutMilliseconds)
{
    const QDateTime when(QDate(2012, 3, 7), QTime(14, 5, 9, 987));
    EXPECT_EQ(FormatSqlDate(when), QStringLiteral("'2012-03-07 14:05:09'"));
    EXPECT_EQ(FormatDateText(QDateTime(QDate(987, 1, 2), QTime(0, 0))),
              QStringLiteral("0987-01-02 00:00:00"));
}

TEST(SqlText, Utf8RoundTripAndNullPointer)
{
    const QString name = QStringLiteral("Žluťoučký kůň – 日本");
    EXPECT_EQ(FromUtf8(ToUtf8(name).c_str()), name);
    EXPECT_TRUE(FromUtf8(nullptr).isEmpty());
    EXPECT_TRUE(ToUtf8(QString()).empty());
}

TEST(Nullable, ToSqlTextByTypeAndNullReadRaises)
{
    EXPECT_EQ(CNullable<int>().ToSqlText(), QStringLiteral("NULL"));
    EXPECT_EQ(CNullable<int>(-42).ToSqlText(), QStringLiteral("-42"));
    EXPECT_EQ(CNullable<qint64>(5000000000LL).ToSqlText(), QStringLiteral("5000000000"));
    EXPECT_EQ(CNullable<QString>(QStringLiteral("a b")).ToSqlText(), QStringLiteral("a b"));
    EXPECT_EQ(CNullable<QChar>(QLatin1Char('F')).ToSqlText(), QStringLiteral("'F'"));
    EXPECT_THROW(CNullable<double>(1.5).ToSqlText(), std::exception);

    CNullable<QString> value;
    try {
        value.Value();
        FAIL() << "reading a null value must raise";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), "Attempt to get null value.");
    }
    value = QStringLiteral("set");
    EXPECT_EQ(value.Value(), QStringLiteral("set"));
    value.SetNull();
    EXPECT_TRUE(value.IsNull());
}
