#pragma once

#include "listers/FolderLister.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QtGlobal>

#include <memory>

// Lists the folders inside an ISO 9660 disc image file, so that an image can be
// catalogued like the disc it was made from without mounting it. Reads the image with
// libcdio's iso9660 library.
//
// Paths: the image's own path stands for the root of the disc and "<image>/A/B" for the
// folder A/B inside it, as the scanner builds them; a relative path and the image path
// it was given resolve alike.
//
// Names: Rock Ridge names when the primary tree carries them (full length, any
// character, as the disc's author wrote them), else Joliet names, else the plain
// ISO 9660 names in their recorded case without the ";1" version. Times: the Rock Ridge
// modification and creation times when recorded, else the directory record's time;
// both carry their own offset from UTC, and FindData gets UTC. A folder's identity is
// the logical sector where its directory begins, so a damaged image whose folders point
// back at an ancestor cannot make the scanner go round. A Rock Ridge symbolic link is
// listed as a link (FindData::kLink, size 0, its text), as a folder on a disk lists
// one: never followed, for its target may lie outside the image.
//
// Errors are errno values (Windows error codes on Windows): a missing image or folder,
// an image that cannot be opened, an image without an ISO 9660 volume (a UDF-only image
// among them), a directory that cannot be read. Nothing is given then. libcdio's log
// goes quiet for the whole process on first use: its default handler writes to stdout
// and exits on errors.
class IsoImageFolderLister final : public FolderLister
{
public:
    /// Which names the listing gives.
    enum class Naming { Unknown, RockRidge, Joliet, Iso9660 };

    explicit IsoImageFolderLister(const QString& imagePath);
    ~IsoImageFolderLister() override;
    Q_DISABLE_COPY_MOVE(IsoImageFolderLister)

    int List(const QString& path, const OpenedCallback& opened,
             const EntryCallback& entry) override;

    /// Opens the image (once): 0, or the error listings would give, e.g. for a file
    /// without an ISO 9660 volume.
    int Open() { return OpenImage(); }

    /// The names the image is read with; Unknown until a listing has opened it.
    Naming Names() const { return m_naming; }

private:
    struct Image;
    struct Directory;

    // Opens the image on first use: 0, or the error.
    int OpenImage();
    // The path libcdio knows the folder by ("/", "/A/B" in the image's bytes): 0, or
    // the error. Resolves folders the scanner has not been given yet one level at a
    // time.
    int ImagePath(const QString& relative, QByteArray* inside);
    // Reads the folder at inside: 0, or the error.
    int ReadDirectory(const QByteArray& inside, Directory* directory) const;

    QString m_imagePath; // absolute and clean
    std::unique_ptr<Image> m_image;
    Naming m_naming = Naming::Unknown;
    // Folders already listed or resolved: relative path -> libcdio path.
    QHash<QString, QByteArray> m_folders;
};
