// The document's edits of categories and of the extension map.
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"

using SqlText::Format;

int CShelfwiseDoc::AddCategory(const QString& name)
{
    for (const auto& [id, category] : m_db.Categories()) {
        if (category.Name == name) {
            UserPrompter::Current().ShowMessage(
                Format(Strings::LoadString(Strings::IDS_CATEGORY_EXISTS), {name}),
                UserPrompter::Icon::Error);
            return 0;
        }
    }
    int id = 0;
    if (!Recorded(tr("Add Category \"%1\"").arg(name), EditSubject(),
                  [&] { id = m_db.AddCategory(name); }))
        return 0;
    MarkChanged();
    return id;
}

bool CShelfwiseDoc::DeleteCategory(int categoryId)
{
    const QString name = m_db.GetCategory(categoryId).Name;
    if (!Recorded(tr("Delete Category \"%1\"").arg(name), EditSubject(),
                  [&] { m_db.DeleteCategory(categoryId); }))
        return false;
    emit viewsNeedUpdate(nullptr);
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::MapExtension(const QString& extension, int categoryId)
{
    const QString ext = extension.toLower();
    const auto& map = m_db.FileExtensions();
    const auto it = map.find(ext);
    if (it != map.end()) {
        UserPrompter::Current().ShowMessage(
            Format(Strings::LoadString(Strings::IDS_EXTENSION_ALREADY_ASSOCIATED),
                   {ext, m_db.GetCategory(it->second).Name}),
            UserPrompter::Icon::Error);
        return false;
    }
    if (!Recorded(tr("Add Extension \"%1\"").arg(ext), EditSubject(),
                  [&] { m_db.AddFileExtension(ext, categoryId); }))
        return false;
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::UnmapExtension(const QString& extension)
{
    if (!Recorded(tr("Remove Extension \"%1\"").arg(extension), EditSubject(),
                  [&] { m_db.DeleteFileExtension(extension); }))
        return false;
    MarkChanged();
    return true;
}
