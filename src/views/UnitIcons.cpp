#include "views/UnitIcons.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QMimeDatabase>

// The icons are compiled into a static library, and nothing refers to their data: without
// this explicit registration the linker would leave them out of the program. Registering
// more than once is harmless. Q_INIT_RESOURCE has to be used outside any namespace.
static void RegisterBundledIcons()
{
    static const bool registered = [] {
        Q_INIT_RESOURCE(icons);
        return true;
    }();
    Q_UNUSED(registered);
}

QIcon CUnitIcons::ThemeIcon(const char* freedesktopName)
{
    RegisterBundledIcons();
    const QString name = QString::fromLatin1(freedesktopName);
    QIcon bundled(QStringLiteral(":/icons/") + name + QStringLiteral(".svg"));
    if (name.startsWith(QLatin1String("shelfwise")))
        return bundled;
    return QIcon::fromTheme(name, bundled);
}

CUnitIcons::Index CUnitIcons::BaseIndex(const UnitListItem& unit, FileIconsStyle style)
{
    if (unit.IsArchive)
        return Archive;
    switch (unit.Kind) {
    case UnitKind::Disc:
        return Disc;
    case UnitKind::Folder:
    case UnitKind::ArchiveFolder:
        return Folder;
    case UnitKind::File:
    case UnitKind::ArchiveFile:
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
    // The freedesktop name of each icon, in the order of Index.
    static const char* const names[] = {
        "drive-multidisk",   // Storage
        "media-optical",     // Disc
        "folder",            // Folder
        "text-x-generic",    // File
        "text-x-generic",    // Custom
        "video-x-generic",   // Film
        "audio-x-generic",   // Music
        "image-x-generic",   // Picture
        "package-x-generic", // Archive
    };
    return ThemeIcon(names[index]);
}

QIcon CUnitIcons::Icon(const UnitListItem& unit, FileIconsStyle style)
{
    const bool isFile = unit.Kind == UnitKind::File || unit.Kind == UnitKind::ArchiveFile;
    if (isFile && !unit.IsArchive && style == FileIconsStyle::Explorer)
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
