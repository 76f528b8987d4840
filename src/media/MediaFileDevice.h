#pragma once

#include <QIODevice>

class MediaFile;

/// A read-only, random-access QIODevice over an open MediaFile, for Qt's image readers
/// and XML reader. Unbuffered: the file's blocks already are the buffer.
class MediaFileDevice final : public QIODevice
{
public:
    explicit MediaFileDevice(MediaFile& file);
    ~MediaFileDevice() override;

    /// Opens for reading only (any other mode fails), at the start of the file.
    bool open(OpenMode mode) override;
    bool isSequential() const override;
    qint64 size() const override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 maxSize) override;

private:
    MediaFile& m_file;
};
