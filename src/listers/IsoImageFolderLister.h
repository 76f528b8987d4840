#pragma once

#include "listers/ContainerLister.h"

#include <QByteArray>
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
class IsoImageFolderLister final : public ContainerLister<QByteArray>
{
public:
    /// Which names the listing gives.
    enum class Naming { Unknown, RockRidge, Joliet, Iso9660 };

    explicit IsoImageFolderLister(const QString& imagePath);
    ~IsoImageFolderLister() override;
    Q_DISABLE_COPY_MOVE(IsoImageFolderLister)

    /// The names the image is read with; Unknown until a listing has opened it.
    Naming Names() const { return m_naming; }

private:
    struct Image;

    int OpenContainer() override;
    // The path libcdio knows the root by.
    QByteArray RootKey() const override;
    // Reads the folder libcdio knows by inside ("/", "/A/B" in the image's bytes).
    int ReadFolder(const QByteArray& inside, Folder* listing) const override;

    std::unique_ptr<Image> m_image;
    Naming m_naming = Naming::Unknown;
};
