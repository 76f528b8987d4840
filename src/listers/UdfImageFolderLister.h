#pragma once

#include "listers/ContainerLister.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <memory>

// Lists the folders inside a UDF disc image file (DVD-Video, Blu-ray, a disc written by
// Windows, the UDF side of a UDF-bridge disc) without mounting it. libcdio's udf library
// opens the image (anchor at block 256, 2,048-byte blocks) and reads its blocks; the
// volume's partitions (through UdfLayout, which the volume reader shares) and the
// folders' file entries and identifier descriptors are read here, because that library
// reads neither extended file entries (UDF 2.0 and later), nor folders held inside their
// file entry or in several extents, nor 8-bit names beyond ASCII, and trusts every length
// it finds on the disc.
//
// Paths: the image's own path stands for the root of the disc and "<image>/A/B" for the
// folder A/B inside it, as the scanner builds them. Names are the UDF names as the disc
// records them. Times: a file entry's modification time, and the creation time an
// extended file entry holds (kNoTime from a plain file entry), in UTC. A symbolic link
// is listed as a link (FindData::kLink, size 0, the text its path components spell),
// never followed. A folder's
// identity is where its file entry lies, so a damaged image whose folders point back at
// an ancestor cannot make the scanner go round.
//
// Errors are errno values (Windows error codes on Windows): a missing image or folder,
// an image without a UDF volume this lister can read (a virtual partition of a
// write-once disc among them), a folder whose descriptors lie outside the image or are
// damaged. Entries whose own file entry cannot be read are left out of their folder's
// listing, which then ends with the error; a folder among them is still listed, so that
// its own listing reports it.
class UdfImageFolderLister final : public ContainerLister<quint64>
{
public:
    explicit UdfImageFolderLister(const QString& imagePath);
    ~UdfImageFolderLister() override;
    Q_DISABLE_COPY_MOVE(UdfImageFolderLister)

private:
    struct Volume;

    int OpenContainer() override;
    // Where the root folder's file entry lies.
    quint64 RootKey() const override;
    // Reads the folder whose file entry lies at location.
    int ReadFolder(const quint64& location, Folder* listing) const override;

    std::unique_ptr<Volume> m_volume;
};
