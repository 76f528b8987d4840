#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>

// A line-oriented text file for the settings file, the error log and the report.
// Reads UTF-16 (little-endian, with byte-order mark) or 8-bit text, and writes either.
// 8-bit text is the system's narrow encoding: UTF-8 without a byte-order mark on Linux
// and macOS, the ANSI code page on Windows; a UTF-8 mark is skipped when reading.
// The file is always binary: lines end exactly as the caller writes them.
class CStdioFileEx final
{
public:
    enum OpenFlag : unsigned {
        ModeRead = 0x0000,
        ModeWrite = 0x0001,
        ModeReadWrite = 0x0002,
        ModeCreate = 0x1000,     // create, truncating an existing file...
        ModeNoTruncate = 0x2000, // ...unless this is given too
        ModeUnicode = 0x200000,  // write UTF-16 with a byte-order mark
    };

    CStdioFileEx() = default;
    ~CStdioFileEx();
    CStdioFileEx(const CStdioFileEx&) = delete;
    CStdioFileEx& operator=(const CStdioFileEx&) = delete;

    // False when the file cannot be opened. Opened for reading only, the first two
    // bytes decide between UTF-16 and 8-bit text.
    bool Open(const QString& path, unsigned flags);
    // False when data written earlier could not reach the file.
    bool Close();
    bool IsOpen() const { return m_file != nullptr; }
    bool IsUnicode() const { return m_unicode; }

    // The next line without its line feed and trailing carriage return; false at the
    // end of the file.
    bool ReadString(QString& line);
    // Writes the text as it stands (no line end is added). False when the write failed.
    bool WriteString(const QString& text);
    void SeekToEnd();
    // False when buffered data could not be written (a full disk, say).
    bool Flush();

private:
    enum class Direction { None, Read, Write };

    void SwitchTo(Direction direction);
    void SkipByteOrderMark();
    bool ReadNarrowLine(QString& line);
    bool ReadWideLine(QString& line);
    bool IsEmptyFile();

    std::FILE* m_file = nullptr;
    bool m_unicode = false;
    bool m_utf8Mark = false; // 8-bit text that began with a UTF-8 mark
    bool m_firstRead = true;
    bool m_firstWrite = true;
    Direction m_lastDirection = Direction::None;
};
