#include "views/UnitIcons.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QApplication>
#include <QMimeDatabase>
#include <QStyle>

CUnitIcons::Index CUnitIcons::BaseIndex(const UnitListItem& unit, FileIconsStyle style)
{
    switch (unit.Kind) {
    case UnitKind::Disc:
        return Disc;
    case UnitKind::Folder:
        return Folder;
    case UnitKind::File:
        break;
    default:
        return Storage;
    }
    if (style != FileIconsStyle::CategoryBased)
        return File;
    switch (unit.CategoryID) {
    case CategoryIds::Film:
        return Film;
    case CategoryIds::Music:
        return Music;
    case CategoryIds::Picture:
        return Picture;
    default:
        return Custom;
    }
}

QIcon CUnitIcons::Icon(Index index) const
{
    // The freedesktop name of each icon, and the style's own icon where no theme has it.
    struct Source
    {
        const char* themeName;
        QStyle::StandardPixmap fallback;
    };
    static const Source sources[] = {
        {"drive-multidisk", QStyle::SP_DriveHDIcon}, // Storage
        {"media-optical", QStyle::SP_DriveCDIcon},   // Disc
        {"folder", QStyle::SP_DirIcon},              // Folder
        {"text-x-generic", QStyle::SP_FileIcon},     // File
        {"text-x-generic", QStyle::SP_FileIcon},     // Custom
        {"video-x-generic", QStyle::SP_MediaPlay},   // Film
        {"audio-x-generic", QStyle::SP_MediaVolume}, // Music
        {"image-x-generic", QStyle::SP_FileIcon},    // Picture
    };
    const Source& source = sources[index];
    return QIcon::fromTheme(QString::fromLatin1(source.themeName),
                            QApplication::style()->standardIcon(source.fallback));
}

QIcon CUnitIcons::Icon(const UnitListItem& unit, FileIconsStyle style)
{
    if (unit.Kind == UnitKind::File && style == FileIconsStyle::Explorer)
        return TypeIcon(unit.UnitName);
    return Icon(BaseIndex(unit, style));
}

QIcon CUnitIcons::TypeIcon(const QString& fileName)
{
    const QString extension = CSqliteWrapper::ExtensionOf(fileName);
    const auto cached = m_byExtension.constFind(extension);
    if (cached != m_byExtension.constEnd())
        return *cached;
    // By the name alone: the file is on a disc on the shelf, not on this machine.
    static const QMimeDatabase mimes;
    const QMimeType type =
        mimes.mimeTypeForFile(QStringLiteral("a.") + extension, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName());
    if (icon.isNull())
        icon = QIcon::fromTheme(type.genericIconName(), Icon(File));
    m_byExtension.insert(extension, icon);
    return icon;
}
