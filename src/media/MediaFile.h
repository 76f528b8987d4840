#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <memory>

#ifdef _WIN32
class QFile;
#endif

/// One media file opened once and read at any offset through a few cached blocks, so
/// that the libraries' many small reads and jumps (a tag header here, a frame header
/// there) cost a system call per block rather than one or two per read. The file is
/// read, never mapped: a read error on a damaged disc comes back as a failed read,
/// where a mapping would bring the process down with SIGBUS.
///
/// The blocks stay allocated from file to file. Not thread-safe: one object per reader.
class MediaFile final
{
public:
    /// Blocks are aligned to their size; a read of at least this many bytes goes to the
    /// file directly instead of through the blocks.
    static constexpr qint64 kBlockSize = 64 * 1024;
    static constexpr int kBlockCount = 4;

    MediaFile();
    ~MediaFile();
    MediaFile(const MediaFile&) = delete;
    MediaFile& operator=(const MediaFile&) = delete;

    /// Opens a regular file (symbolic links followed) for reading; false for anything
    /// else or when it cannot be opened. Closes the file open before.
    bool Open(const QString& path);
    void Close();
    bool IsOpen() const;

    const QString& Path() const { return m_path; }
    /// The name as the system spells it, for the libraries that want one.
    const QByteArray& NativePath() const { return m_nativePath; }
    /// The size when the file was opened.
    qint64 Size() const { return m_size; }

    /// Copies up to length bytes from offset into data: the number copied, fewer only at
    /// the end of the file (0 at or past it), or -1 when the system failed to read.
    /// After one failed system read the file is not asked again (a damaged disc may
    /// take seconds over each attempt); what the blocks already hold is still served.
    qint64 Read(qint64 offset, char* data, qint64 length);
    /// The first length bytes (fewer for a shorter file, none after a read error).
    QByteArray Head(qint64 length);
    /// Whether a read of this file has failed.
    bool HadReadError() const { return m_readError; }
    /// The system reads made since the file was opened.
    int SystemReads() const { return m_systemReads; }

private:
    struct Block
    {
        qint64 index = -1; // offset / kBlockSize; -1 when empty
        qint64 length = 0; // shorter than kBlockSize only at the end of the file
        quint64 lastUse = 0;
    };

    // The block holding offset, read in when needed; nullptr after a read error.
    const Block* LoadBlock(qint64 index);
    const char* DataOf(const Block& block) const;
    // Reads straight from the file, retrying short reads: bytes read or -1.
    qint64 ReadAt(qint64 offset, char* data, qint64 length);

    QString m_path;
    QByteArray m_nativePath;
    qint64 m_size = 0;
    bool m_readError = false;
    int m_systemReads = 0;
    quint64 m_useClock = 0;
    std::array<Block, kBlockCount> m_blocks;
    std::unique_ptr<char[]> m_blockData;
#ifdef _WIN32
    std::unique_ptr<QFile> m_file;
#else
    int m_fd = -1;
#endif
};
