// The bundled icons: each one compiled in, well-formed and drawn at every size, and the
// only icons the window needs when the desktop has no icon theme.
#include "FakePrompter.h"

#include "app/ShelfwiseApp.h"
#include "settings/Settings.h"
#include "views/MainFrame.h"
#include "views/UnitIcons.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QImage>
#include <QTemporaryDir>
#include <QToolBar>
#include <QWidgetAction>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <iterator>
#include <utility>

namespace {

// Every icon in :/icons: the units', the toolbar's and the program's own.
const char* const kBundledNames[] = {
    "drive-multidisk",    "media-optical",   "folder",
    "text-x-generic",     "video-x-generic", "audio-x-generic",
    "image-x-generic",    "document-open",   "document-save",
    "folder-new",         "document-new",    "shelfwise-add-storage",
    "shelfwise-add-disc", "edit-find",       "go-up",
    "shelfwise",          "go-previous",     "go-next",
    "package-x-generic",
};

QString ResourcePath(const char* name)
{
    return QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name));
}

// The share of the pixels that are not fully transparent.
double Coverage(const QPixmap& pixmap)
{
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    int covered = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            covered += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
    }
    return double(covered) / qMax(1, image.width() * image.height());
}

// Well-formed, and nothing that depends on the renderer or the machine: no text (fonts
// differ), no links to other files or raster images, no filters (Qt ignores them).
QString SvgProblem(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot be read");
    QXmlStreamReader xml(&file);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("svg") ||
        !xml.attributes().hasAttribute(QLatin1String("viewBox")))
        return QStringLiteral("not an <svg> with a viewBox");
    do {
        for (const char* banned : {"text", "image", "filter", "use", "style", "script"}) {
            if (xml.name() == QLatin1String(banned))
                return QStringLiteral("has <%1>").arg(banned);
        }
        for (const QXmlStreamAttribute& attribute : xml.attributes()) {
            if (attribute.name().endsWith(QLatin1String("href")))
                return QStringLiteral("refers to %1").arg(attribute.value());
        }
        while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::StartElement) {
        }
    } while (!xml.atEnd());
    return xml.hasError() ? xml.errorString() : QString();
}

// An icon theme in a temporary folder, the only one Qt finds, with a plain red icon for
// each given name (no names: the desktop has no icons at all).
class ScratchIconTheme final
{
public:
    explicit ScratchIconTheme(const QStringList& redIcons = {})
        : m_paths(QIcon::themeSearchPaths()), m_name(QIcon::themeName()),
          m_fallbackName(QIcon::fallbackThemeName())
    {
        QDir(m_dir.path()).mkpath(QStringLiteral("scratch/32x32/places"));
        QFile index(m_dir.filePath(QStringLiteral("scratch/index.theme")));
        if (index.open(QIODevice::WriteOnly))
            index.write("[Icon Theme]\nName=Scratch\nDirectories=32x32/places\n\n"
                        "[32x32/places]\nSize=32\nType=Fixed\n");
        index.close();
        QImage red(32, 32, QImage::Format_ARGB32);
        red.fill(Qt::red);
        for (const QString& name : redIcons)
            red.save(m_dir.filePath(QStringLiteral("scratch/32x32/places/%1.png").arg(name)));
        QIcon::setThemeSearchPaths({m_dir.path()});
        QIcon::setThemeName(QStringLiteral("scratch"));
        QIcon::setFallbackThemeName(QStringLiteral("scratch"));
    }
    ~ScratchIconTheme()
    {
        QIcon::setThemeSearchPaths(m_paths);
        QIcon::setThemeName(m_name);
        QIcon::setFallbackThemeName(m_fallbackName);
    }

private:
    QTemporaryDir m_dir;
    QStringList m_paths;
    QString m_name;
    QString m_fallbackName;
};

QImage Image(const QIcon& icon)
{
    return icon.pixmap(32).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

TEST(Icons, EveryBundledIconIsWellFormedAndDrawnAtEverySize)
{
    // Registers the bundled icons, as the program's first use of them does.
    CUnitIcons::ThemeIcon("shelfwise");
    for (const char* name : kBundledNames) {
        SCOPED_TRACE(name);
        const QString path = ResourcePath(name);
        ASSERT_TRUE(QFile::exists(path));
        EXPECT_EQ(SvgProblem(path).toStdString(), "");

        const QIcon icon(path);
        ASSERT_FALSE(icon.isNull());
        for (int size : {16, 64}) {
            const QPixmap pixmap = icon.pixmap(size);
            ASSERT_FALSE(pixmap.isNull()) << size;
            EXPECT_EQ(pixmap.size(), QSize(size, size));
            // Every icon fills a good part of its square.
            EXPECT_GT(Coverage(pixmap), 0.2) << size;
        }
        // On a 200% screen the icon is drawn at twice the pixels, not scaled up.
        EXPECT_EQ(icon.pixmap(QSize(32, 32), 2.0).size(), QSize(64, 64));
    }
    // The resource holds no icon that is not accounted for here.
    EXPECT_EQ(QDir(QStringLiteral(":/icons")).entryList(QDir::Files).size(),
              qsizetype(std::size(kBundledNames)));
}

TEST(Icons, WithoutAnIconThemeTheWindowUsesTheBundledIcons)
{
    const ScratchIconTheme noTheme;
    const auto bundled = [](const char* name) { return Image(QIcon(ResourcePath(name))); };

    CUnitIcons icons;
    const std::pair<CUnitIcons::Index, const char*> units[] = {
        {CUnitIcons::Storage, "drive-multidisk"},
        {CUnitIcons::Disc, "media-optical"},
        {CUnitIcons::Folder, "folder"},
        {CUnitIcons::File, "text-x-generic"},
        {CUnitIcons::Custom, "text-x-generic"},
        {CUnitIcons::Film, "video-x-generic"},
        {CUnitIcons::Music, "audio-x-generic"},
        {CUnitIcons::Picture, "image-x-generic"},
        {CUnitIcons::Archive, "package-x-generic"}};
    for (const auto& [index, name] : units)
        EXPECT_EQ(Image(icons.Icon(index)), bundled(name)) << name;
    // A file type the desktop knows no icon for gets the plain file icon.
    UnitListItem file;
    file.Kind = UnitKind::File;
    file.UnitName = QStringLiteral("notes.qqzz");
    EXPECT_EQ(Image(icons.Icon(file, FileIconsStyle::Explorer)), bundled("text-x-generic"));
    // An archive keeps its own icon whatever the style; what lies inside it looks like
    // any folder or file.
    UnitListItem archive;
    archive.Kind = UnitKind::File;
    archive.IsArchive = true;
    archive.UnitName = QStringLiteral("photos.zip");
    EXPECT_EQ(Image(icons.Icon(archive, FileIconsStyle::Explorer)), bundled("package-x-generic"));
    UnitListItem entry;
    entry.Kind = UnitKind::ArchiveFolder;
    EXPECT_EQ(CUnitIcons::BaseIndex(entry, FileIconsStyle::Default), CUnitIcons::Folder);
    entry.Kind = UnitKind::ArchiveFile;
    entry.CategoryID = CategoryIds::Picture;
    EXPECT_EQ(CUnitIcons::BaseIndex(entry, FileIconsStyle::CategoryBased), CUnitIcons::Picture);

    QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini"));
    FakePrompter prompter;
    prompter.QueueYesNo(false);
    CShelfwiseApp app(&prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise")}));
    EXPECT_EQ(Image(QGuiApplication::windowIcon()), bundled("shelfwise"));
    const auto* toolbar = app.MainFrame()->findChild<QToolBar*>(QStringLiteral("toolbar"));
    ASSERT_NE(toolbar, nullptr);
    // The buttons; the find box is a widget of its own.
    QList<QAction*> buttons = toolbar->actions();
    buttons.removeIf([](QAction* action) { return qobject_cast<QWidgetAction*>(action); });
    ASSERT_EQ(buttons.size(), 10);
    QList<QImage> seen;
    for (const QAction* action : buttons) {
        SCOPED_TRACE(action->text().toStdString());
        const QPixmap pixmap = action->icon().pixmap(32);
        ASSERT_FALSE(pixmap.isNull());
        EXPECT_GT(Coverage(pixmap), 0.2);
        // Each button has an icon of its own.
        EXPECT_FALSE(seen.contains(pixmap.toImage()));
        seen.append(pixmap.toImage());
    }
}

TEST(Icons, TheDesktopThemeComesFirstExceptForTheProgramsOwnIcons)
{
    const ScratchIconTheme theme({QStringLiteral("folder"), QStringLiteral("shelfwise"),
                                  QStringLiteral("shelfwise-add-disc")});
    const QColor red(Qt::red);
    EXPECT_EQ(Image(CUnitIcons().Icon(CUnitIcons::Folder)).pixelColor(16, 16), red);
    EXPECT_EQ(Image(CUnitIcons::ThemeIcon("folder")).pixelColor(16, 16), red);
    // Names the theme lacks fall back to the bundle.
    EXPECT_EQ(Image(CUnitIcons::ThemeIcon("go-up")), Image(QIcon(ResourcePath("go-up"))));
    // The program's own icons are never replaced by the theme's namesakes.
    for (const char* own : {"shelfwise", "shelfwise-add-disc"})
        EXPECT_EQ(Image(CUnitIcons::ThemeIcon(own)), Image(QIcon(ResourcePath(own)))) << own;
}
