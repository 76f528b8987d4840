#include "settings/CStdioFileEx.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QByteArray ReadBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList ReadLines(const QString& path, bool* unicode = nullptr)
{
    CStdioFileEx file;
    EXPECT_TRUE(file.Open(path, CStdioFileEx::ModeRead));
    if (unicode)
        *unicode = file.IsUnicode();
    QStringList lines;
    for (QString line; file.ReadString(line);)
        lines << line;
    return lines;
}

} // namespace

TEST(CStdioFileEx, EightBitTextKeepsLineEndsAsWrittenAndReadsLineByLine)
{
    QTemporaryDir dir;
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("Žluťoučký")));
    const QString path = dir.filePath(QStringLiteral("Žluťoučký/файл.txt"));
    CStdioFileEx file;
    EXPECT_FALSE(file.Open(path, CStdioFileEx::ModeRead));
    EXPECT_FALSE(file.Open(path, CStdioFileEx::ModeWrite)); // no ModeCreate
    ASSERT_TRUE(file.Open(path, CStdioFileEx::ModeWrite | CStdioFileEx::ModeCreate));
    EXPECT_TRUE(file.WriteString(QStringLiteral("kůň = 日\r\nplain\n\ncr\r\r\nlast")));
    EXPECT_TRUE(file.Flush());
    EXPECT_TRUE(file.Close());
#ifndef Q_OS_WIN
    EXPECT_EQ(ReadBytes(path),
              QByteArray("k\xC5\xAF\xC5\x88 = \xE6\x97\xA5\r\nplain\n\ncr\r\r\nlast"));
#endif
    bool unicode = true;
    EXPECT_EQ(ReadLines(path, &unicode),
              QStringList({QStringLiteral("kůň = 日"), "plain", "", "cr\r", "last"}));
    EXPECT_FALSE(unicode);

    // ModeCreate truncates; with ModeNoTruncate the text is kept and appended to.
    ASSERT_TRUE(file.Open(path, CStdioFileEx::ModeWrite | CStdioFileEx::ModeCreate));
    file.WriteString(QStringLiteral("one\r\n"));
    ASSERT_TRUE(file.Open(path, CStdioFileEx::ModeWrite | CStdioFileEx::ModeCreate |
                                    CStdioFileEx::ModeNoTruncate));
    file.SeekToEnd();
    file.WriteString(QStringLiteral("two"));
    file.Close();
    EXPECT_EQ(ReadBytes(path), QByteArray("one\r\ntwo"));
}

TEST(CStdioFileEx, Utf16OutputCarriesOneMarkAndReadsBack)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("wide.txt"));
    for (const QString& text : {QStringLiteral("A\r\n"), QStringLiteral("日\r\nz")}) {
        CStdioFileEx file;
        ASSERT_TRUE(file.Open(path, CStdioFileEx::ModeWrite | CStdioFileEx::ModeCreate |
                                        CStdioFileEx::ModeNoTruncate | CStdioFileEx::ModeUnicode));
        file.SeekToEnd();
        EXPECT_TRUE(file.WriteString(text));
    }
    EXPECT_EQ(ReadBytes(path), QByteArray("\xFF\xFE"
                                          "A\0\r\0\n\0\xE5\x65\r\0\n\0z\0",
                                          16));
    bool unicode = false;
    EXPECT_EQ(ReadLines(path, &unicode), QStringList({"A", QStringLiteral("日"), "z"}));
    EXPECT_TRUE(unicode);

    // A UTF-8 mark is skipped; a stray byte after UTF-16 text is dropped.
    QFile raw(path);
    ASSERT_TRUE(raw.open(QIODevice::WriteOnly));
    raw.write("\xEF\xBB\xBF"
              "caf\xC3\xA9\r\nx");
    raw.close();
    EXPECT_EQ(ReadLines(path), QStringList({QStringLiteral("café"), "x"}));
    ASSERT_TRUE(raw.open(QIODevice::WriteOnly));
    raw.write(QByteArray("\xFF\xFEk\0\n\0!", 7));
    raw.close();
    EXPECT_EQ(ReadLines(path), QStringList({"k"}));
}
