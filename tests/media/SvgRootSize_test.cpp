#include "media/MediaFile.h"
#include "media/MediaFileDevice.h"
#include "media/SvgRootSize.h"

#include <QDirIterator>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// The size of an SVG read from its root element must be the one Qt's SVG reader gives
// the same file, or no answer at all. Each document below is given to both, and so are
// the SVG files installed under /usr/share.

namespace {

struct Document
{
    const char* text;
    bool answered; // whether the root element alone must settle it
};

const Document kDocuments[] = {
    // Plain lengths: fractions cut off, px and pt taken as they are.
    {"<svg width='48' height='20.9'/>", true},
    {"<svg xmlns='http://www.w3.org/2000/svg' width='48px' height='20px' viewBox='0 0 9 9'/>",
     true},
    {"<?xml version='1.0'?>\n<!-- drawn by hand -->\n<svg width='48pt' height='20pt'/>", true},
    // Whole physical units at Qt's 90 dpi, each length its own unit.
    {"<svg width='10mm' height='20'/>", true},
    {"<svg width='7cm' height='3in'/>", true},
    {"<svg width='210mm' height='297mm' viewBox='0 0 210 297'/>", true},
    {"<svg width='999999mm' height='999cm'/>", true},
    // The viewBox, rounded half up, where a length is missing, empty or below a pixel.
    {"<svg viewBox='0 0 10.5 20.49'/>", true},
    {"<svg viewBox='-3,-4,10.5,2.5'/>", true},
    {"<svg width='12' height='' viewBox=' 0  0 7 5 '/>", true},
    {"<svg width='0.5' height='7' viewBox='0 0 30 40'/>", true},
    // Whatever follows the root's end tag is not read by Qt either.
    {"<svg width='48' height='20'><g><rect/></g></svg>garbage <a", true},
    {"<svg width='48' height='20'><style>rect { fill: red }</style><rect/></svg>", true},
    {"<!DOCTYPE svg [<!ENTITY w '31'>]><svg width='&w;' height='9'><g/></svg>", true},
    // Forms left to Qt: fractions of physical units, percentages, font units, exponents,
    // signs, upper-case units, a viewBox of other than four numbers, no size at all.
    {"<svg width='10.5mm' height='1cm'/>", false},
    {"<svg width='50%' height='20' viewBox='0 0 100 100'/>", false},
    {"<svg width='48em' height='20ex'/>", false},
    {"<svg width='48e1' height='2'/>", false},
    {"<svg width='+48' height='20'/>", false},
    {"<svg width='10MM' height='48PT'/>", false},
    {"<svg height='20' viewBox='0 0 10'/>", false},
    {"<svg height='20' viewBox='0 0 0 10'/>", false},
    {"<svg><rect width='10' height='10'/></svg>", false},
    {"<svg width='1234567' height='3'/>", false},
    // Documents Qt turns down, or might: broken XML, a root that is not <svg>, elements
    // that may make a cycle, a nested <svg>, markup inside <style>.
    {"<svg width='48' height='20'><g></svg>", false},
    {"<svg width='48' height='20'><g>", false},
    {"<g width='48' height='20'><svg width='3' height='4'/></g>", false},
    {"<svg width='48' height='20' xmlns:xlink='http://www.w3.org/1999/xlink'>"
     "<g id='a'><use xlink:href='#a'/></g></svg>",
     false},
    {"<svg width='48' height='20'><pattern id='p'/></svg>", false},
    {"<svg width='48' height='20'><svg width='5' height='6'/></svg>", false},
    {"<svg width='48' height='20'><style>a{}<b/></style></svg>", false},
    {"<svg width='48' width='20' height='20'/>", false},
};

// Qt's own answer, from the file by its name.
QSize QtSize(const QString& path)
{
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    return reader.size();
}

std::optional<QSize> RootSize(const QString& path)
{
    MediaFile file;
    if (!file.Open(path))
        return std::nullopt;
    MediaFileDevice device(file);
    if (!device.open(QIODevice::ReadOnly))
        return std::nullopt;
    return SvgRootSize::Read(device);
}

} // namespace

TEST(MediaDetailsSvg, RootSizeIsQtsSizeOrNoAnswer)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    int index = 0;
    for (const Document& document : kDocuments) {
        SCOPED_TRACE(document.text);
        QFile file(dir.filePath(QStringLiteral("%1.svg").arg(index++)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(document.text);
        file.close();

        const std::optional<QSize> root = RootSize(file.fileName());
        const QSize qt = QtSize(file.fileName());
        EXPECT_EQ(root.has_value(), document.answered);
        if (root) {
            EXPECT_TRUE(qt.isValid());
            EXPECT_EQ(root->width(), qt.width());
            EXPECT_EQ(root->height(), qt.height());
        }
    }
}

TEST(MediaDetailsSvg, DeepNestingIsLeftToQt)
{
    // Qt refuses a document with more than 2048 elements open at once.
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const auto& [depth, answered] : {std::pair(1000, true), std::pair(3000, false)}) {
        const QString path = dir.filePath(QStringLiteral("deep%1.svg").arg(depth));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("<svg width='4' height='5'>");
        for (int i = 0; i < depth; ++i)
            file.write("<g>");
        for (int i = 0; i < depth; ++i)
            file.write("</g>");
        file.write("</svg>");
        file.close();
        const std::optional<QSize> root = RootSize(path);
        EXPECT_EQ(root.has_value(), answered) << depth;
        EXPECT_EQ(QtSize(path).isValid(), answered) << depth;
    }
}

TEST(MediaDetailsSvg, MostInstalledSvgsAreSizedFromTheRootAsQtSizesThem)
{
    std::vector<QString> paths;
    QDirIterator it(QStringLiteral("/usr/share"), {QStringLiteral("*.svg")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        paths.push_back(it.next());
    if (paths.size() < 20)
        GTEST_SKIP() << "too few SVG files under /usr/share";
    // Every tenth of them, at most 150, spread over the sorted list.
    std::sort(paths.begin(), paths.end());
    const size_t step = std::max<size_t>(10, paths.size() / 150);
    int tried = 0;
    int answered = 0;
    for (size_t i = 0; i < paths.size(); i += step, ++tried) {
        const std::optional<QSize> root = RootSize(paths[i]);
        if (!root)
            continue;
        ++answered;
        EXPECT_EQ(*root, QtSize(paths[i])) << paths[i].toStdString();
    }
    EXPECT_GT(answered, tried / 2);
}
