#include "settings/CStdioFileEx.h"

#include <QDir>
#include <QFile>
#include <QtEndian>

#include <cstring>

namespace {

constexpr unsigned char kUtf16Mark[] = {0xFF, 0xFE};
constexpr unsigned char kUtf8Mark[] = {0xEF, 0xBB, 0xBF};

std::FILE* OpenStream(const QString& path, const char* mode)
{
#ifdef Q_OS_WIN
    const QString nativePath = QDir::toNativeSeparators(path);
    const QString wideMode = QString::fromLatin1(mode);
    return _wfopen(reinterpret_cast<const wchar_t*>(nativePath.utf16()),
                   reinterpret_cast<const wchar_t*>(wideMode.utf16()));
#else
    return std::fopen(QFile::encodeName(path).constData(), mode);
#endif
}

// The system's narrow encoding. Qt 6 takes the local 8-bit encoding to be UTF-8 on
// Linux and macOS and the ANSI code page on Windows, which is exactly the rule here.
QString DecodeNarrow(const QByteArray& bytes, bool utf8Mark)
{
    return utf8Mark ? QString::fromUtf8(bytes) : QString::fromLocal8Bit(bytes);
}

QByteArray EncodeNarrow(const QString& text)
{
    return text.toLocal8Bit();
}

} // namespace

CStdioFileEx::~CStdioFileEx()
{
    Close();
}

bool CStdioFileEx::Open(const QString& path, unsigned flags)
{
    Close();
    const bool writing = (flags & (ModeWrite | ModeReadWrite)) != 0;
    const bool reading = !writing || (flags & ModeReadWrite) != 0;
    const bool truncate = (flags & ModeCreate) != 0 && (flags & ModeNoTruncate) == 0;

    if (!writing) {
        m_file = OpenStream(path, "rb");
    } else if (truncate) {
        m_file = OpenStream(path, reading ? "w+b" : "wb");
    } else {
        // Keep the contents: open the existing file, create it only when allowed.
        m_file = OpenStream(path, "r+b");
        if (!m_file && (flags & ModeCreate) != 0)
            m_file = OpenStream(path, "w+b");
    }
    if (!m_file)
        return false;

    if (writing) {
        m_unicode = (flags & ModeUnicode) != 0;
    } else {
        unsigned char head[2] = {0, 0};
        const size_t got = std::fread(head, 1, sizeof head, m_file);
        m_unicode = got == sizeof head && std::memcmp(head, kUtf16Mark, sizeof head) == 0;
        std::rewind(m_file);
    }
    return true;
}

bool CStdioFileEx::Close()
{
    if (!m_file)
        return true;
    const bool hadError = std::ferror(m_file) != 0;
    const bool closed = std::fclose(m_file) == 0;
    m_file = nullptr;
    m_unicode = false;
    m_utf8Mark = false;
    m_firstRead = true;
    m_firstWrite = true;
    m_lastDirection = Direction::None;
    return closed && !hadError;
}

// A stream open for update must be repositioned between reading and writing.
void CStdioFileEx::SwitchTo(Direction direction)
{
    if (m_lastDirection != Direction::None && m_lastDirection != direction)
        std::fseek(m_file, 0, SEEK_CUR);
    m_lastDirection = direction;
}

void CStdioFileEx::SkipByteOrderMark()
{
    if (std::ftell(m_file) != 0)
        return;
    unsigned char head[3] = {0, 0, 0};
    const size_t got = std::fread(head, 1, sizeof head, m_file);
    long skip = 0;
    if (m_unicode && got >= 2 && std::memcmp(head, kUtf16Mark, 2) == 0) {
        skip = 2;
    } else if (!m_unicode && got == 3 && std::memcmp(head, kUtf8Mark, 3) == 0) {
        // A file with a UTF-8 mark is UTF-8 whatever the system's narrow encoding is.
        skip = 3;
        m_utf8Mark = true;
    }
    std::fseek(m_file, skip, SEEK_SET);
}

bool CStdioFileEx::ReadString(QString& line)
{
    line.clear();
    if (!m_file)
        return false;
    SwitchTo(Direction::Read);
    if (m_firstRead) {
        m_firstRead = false;
        SkipByteOrderMark();
    }
    return m_unicode ? ReadWideLine(line) : ReadNarrowLine(line);
}

bool CStdioFileEx::ReadNarrowLine(QString& line)
{
    QByteArray bytes;
    bool any = false;
    int ch = 0;
    while ((ch = std::getc(m_file)) != EOF) {
        any = true;
        if (ch == '\n')
            break;
        bytes.append(static_cast<char>(ch));
    }
    if (!any)
        return false;
    if (bytes.endsWith('\r'))
        bytes.chop(1);
    line = DecodeNarrow(bytes, m_utf8Mark);
    return true;
}

bool CStdioFileEx::ReadWideLine(QString& line)
{
    bool any = false;
    unsigned char unit[2];
    // A lone byte at the very end is not a character and is dropped.
    while (std::fread(unit, 1, sizeof unit, m_file) == sizeof unit) {
        any = true;
        const char16_t ch = qFromLittleEndian<quint16>(unit);
        if (ch == u'\n')
            break;
        line.append(QChar(ch));
    }
    if (!any)
        return false;
    if (line.endsWith(QLatin1Char('\r')))
        line.chop(1);
    return true;
}

bool CStdioFileEx::IsEmptyFile()
{
    const long position = std::ftell(m_file);
    std::fseek(m_file, 0, SEEK_END);
    const long size = std::ftell(m_file);
    std::fseek(m_file, position, SEEK_SET);
    return size == 0;
}

bool CStdioFileEx::WriteString(const QString& text)
{
    if (!m_file)
        return false;
    SwitchTo(Direction::Write);
    if (m_firstWrite) {
        m_firstWrite = false;
        if (m_unicode && IsEmptyFile() &&
            std::fwrite(kUtf16Mark, 1, sizeof kUtf16Mark, m_file) != sizeof kUtf16Mark)
            return false;
    }

    QByteArray bytes;
    if (m_unicode) {
        bytes.resize(text.size() * 2);
        qToLittleEndian<quint16>(text.utf16(), text.size(), bytes.data());
    } else {
        bytes = EncodeNarrow(text);
    }
    if (bytes.isEmpty())
        return true;
    return std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), m_file) ==
           static_cast<size_t>(bytes.size());
}

void CStdioFileEx::SeekToEnd()
{
    if (!m_file)
        return;
    std::fseek(m_file, 0, SEEK_END);
    m_lastDirection = Direction::None;
}

bool CStdioFileEx::Flush()
{
    if (!m_file)
        return false;
    return std::fflush(m_file) == 0 && std::ferror(m_file) == 0;
}
