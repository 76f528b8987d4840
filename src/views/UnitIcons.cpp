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
    QStyle* style = QApplication::style();
    switch (index) {
    case Storage:
        return QIcon::fromTheme(QStringLiteral("drive-multidisk"),
                                style->standardIcon(QStyle::SP_DriveHDIcon));
    case Disc:
        return QIcon::fromTheme(QStringLiteral("media-optical"),
                                style->standardIcon(QStyle::SP_DriveCDIcon));
    case Folder:
        return QIcon::fromTheme(QStringLiteral("folder"), style->standardIcon(QStyle::SP_DirIcon));
    case Film:
        return QIcon::fromTheme(QStringLiteral("video-x-generic"),
                                style->standardIcon(QStyle::SP_MediaPlay));
    case Music:
        return QIcon::fromTheme(QStringLiteral("audio-x-generic"),
                                style->standardIcon(QStyle::SP_MediaVolume));
    case Picture:
        return QIcon::fromTheme(QStringLiteral("image-x-generic"),
                                style->standardIcon(QStyle::SP_FileIcon));
    case File:
    case Custom:
        break;
    }
    return QIcon::fromTheme(QStringLiteral("text-x-generic"),
                            style->standardIcon(QStyle::SP_FileIcon));
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
