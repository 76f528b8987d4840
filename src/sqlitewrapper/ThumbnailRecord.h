#pragma once

#include <QByteArray>

// A picture's small image as the catalogue keeps it (the Thumbnails table): the bytes
// of a PNG or JPEG file and the size of the image they hold, which fits 160 x 160.
struct ThumbnailRecord
{
    int Width = 0;
    int Height = 0;
    QByteArray Image;

    bool IsEmpty() const { return Image.isEmpty(); }
};
