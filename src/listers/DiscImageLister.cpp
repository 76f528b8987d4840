#include "listers/DiscImageLister.h"

#include "listers/IsoImageFolderLister.h"
#include "listers/UdfImageFolderLister.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cdio/logging.h>

#include <mutex>

namespace {

#ifdef _WIN32
constexpr Qt::CaseSensitivity kPathCase = Qt::CaseInsensitive;
#else
constexpr Qt::CaseSensitivity kPathCase = Qt::CaseSensitive;
#endif

void IgnoreLibraryMessage(cdio_log_level_t, const char*)
{
}

} // namespace

namespace DiscImageLister {

std::unique_ptr<FolderLister> Open(const QString& imagePath, int* error)
{
    // A mounted UDF-bridge disc shows its UDF tree: the image does the same.
    auto udf = std::make_unique<UdfImageFolderLister>(imagePath);
    const int udfError = udf->Open();
    if (udfError == 0) {
        if (error)
            *error = 0;
        return udf;
    }
    auto iso = std::make_unique<IsoImageFolderLister>(imagePath);
    const int isoError = iso->Open();
    if (error)
        *error = isoError;
    if (isoError != 0)
        return nullptr;
    return iso;
}

int CheckImageFile(const QString& imagePath)
{
    const QFileInfo info(imagePath);
    if (!info.exists())
        return kNotFound;
    if (!info.isFile())
        return kNotAnImage;
    QFile probe(imagePath);
    if (!probe.open(QIODevice::ReadOnly))
        return kAccessDenied;
    return 0;
}

QString CleanImagePath(const QString& imagePath)
{
    return QDir::cleanPath(QFileInfo(imagePath).absoluteFilePath());
}

bool RelativePath(const QString& cleanImage, const QString& path, QString* relative)
{
    // Names inside the image never hold a slash and are never "." or "..", so cleaning
    // the whole path changes only the part that leads to the image.
    const QString clean =
        QDir::cleanPath(QFileInfo(QDir::fromNativeSeparators(path)).absoluteFilePath());
    if (clean.compare(cleanImage, kPathCase) == 0) {
        relative->clear();
        return true;
    }
    const QString prefix = cleanImage + QLatin1Char('/');
    if (!clean.startsWith(prefix, kPathCase))
        return false;
    *relative = clean.mid(prefix.size());
    return true;
}

QByteArray NativePath(const QString& cleanImage)
{
#ifdef _WIN32
    return cleanImage.toUtf8();
#else
    return QFile::encodeName(cleanImage);
#endif
}

void QuietLibrary()
{
    static std::once_flag once;
    std::call_once(once, [] { cdio_log_set_handler(&IgnoreLibraryMessage); });
}

} // namespace DiscImageLister
