#include "listers/ImageWalk.h"

#include "acquisition/SubunitQueue.h"
#include "acquisition/SubunitsSearcher.h"

std::string Text(const Tree& tree)
{
    QString text;
    for (const auto& [path, what] : tree)
        text += path + QStringLiteral(": ") + what + QLatin1Char('\n');
    return text.toStdString();
}

Tree WalkImage(const QString& image, FolderLister& lister,
               const std::function<QString(const SubunitInfo&, const QString&)>& describe,
               std::map<QString, FindData>* found)
{
    SubunitQueue queue;
    SubunitsSearcher searcher(queue, &lister);
    searcher.Start(image, nullptr, false);
    searcher.Wait();
    std::map<quint32, QString> paths; // parents come first: the walk is breadth-first
    Tree tree;
    while (queue.Size() > 0) {
        const SubunitInfoPtr info = queue.Pop();
        const QString relative = info->Path().mid(image.size() + 1);
        paths[info->ID] = relative;
        tree[relative] = describe(*info, paths[info->ParentID]);
        if (found)
            (*found)[relative] = info->Data;
    }
    return tree;
}

int ListNames(FolderLister& lister, const QString& path, QStringList* names)
{
    return lister.List(
        path, [&](const FolderIdentity&) { return true; },
        [&](const FindData& data) {
            names->append(data.FileName);
            return true;
        });
}
