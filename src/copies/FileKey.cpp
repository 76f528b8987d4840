#include "copies/FileKey.h"

#include <QByteArray>

#include <cstring>

namespace {

constexpr quint64 kOffset = 14695981039346656037uLL;
constexpr quint64 kPrime = 1099511628211uLL;

// FNV-1a over bytes, continuing from hash.
quint64 Mix(quint64 hash, const char* bytes, size_t length)
{
    for (size_t i = 0; i < length; ++i) {
        hash ^= static_cast<unsigned char>(bytes[i]);
        hash *= kPrime;
    }
    return hash;
}

// Spreads the last bytes' effect over every bit (the finaliser of MurmurHash3), so that
// names differing in one letter sort far apart.
quint64 Finish(quint64 hash)
{
    hash ^= hash >> 33;
    hash *= 0xff51afd7ed558ccduLL;
    hash ^= hash >> 33;
    hash *= 0xc4ceb9fe1a85ec53uLL;
    hash ^= hash >> 33;
    return hash;
}

quint64 HashFolded(const std::string& folded, qint64 size, const char* modified)
{
    quint64 hash = Mix(kOffset, folded.data(), folded.size());
    // A separator no UTF-8 text holds, so that name and size cannot run into each other.
    hash = Mix(hash, "\xff", 1);
    const auto bytes = static_cast<quint64>(size);
    for (int shift = 0; shift < 64; shift += 8) {
        const char byte = static_cast<char>((bytes >> shift) & 0xff);
        hash = Mix(hash, &byte, 1);
    }
    if (modified)
        hash = Mix(Mix(hash, "\xff", 1), modified, std::strlen(modified));
    return Finish(hash);
}

} // namespace

std::string FileKey::FoldedName(const char* utf8Name)
{
    std::string folded(utf8Name);
    bool ascii = true;
    for (char& c : folded) {
        if ((static_cast<unsigned char>(c) & 0x80) != 0) {
            ascii = false;
            break;
        }
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    if (ascii)
        return folded;
    // ASCII letters fold to the same lower case letters in both ways.
    const QByteArray bytes = QString::fromUtf8(utf8Name).toCaseFolded().toUtf8();
    return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

quint64 FileKey::Hash(const char* utf8Name, qint64 size, const char* modified)
{
    // Short names fit std::string's own buffer; longer ones (most photos' names are
    // 12 to 20 bytes) are folded into a buffer that each thread keeps, so that the pass
    // over millions of files allocates nothing.
    thread_local std::string folded;
    folded.assign(utf8Name);
    for (char& c : folded) {
        if ((static_cast<unsigned char>(c) & 0x80) != 0)
            return HashFolded(FoldedName(utf8Name), size, modified);
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return HashFolded(folded, size, modified);
}

quint64 FileKey::Hash(const QString& name, qint64 size, const QString* modified)
{
    const QByteArray date = modified ? modified->toUtf8() : QByteArray();
    return HashFolded(FoldedName(name.toUtf8().constData()), size,
                      modified ? date.constData() : nullptr);
}
