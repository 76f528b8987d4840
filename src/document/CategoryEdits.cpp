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
    if (!Guard([&] { id = m_db.AddCategory(name); }))
        return 0;
    MarkChanged();
    return id;
}

bool CShelfwiseDoc::DeleteCategory(int categoryId)
{
    if (!Guard([&] { m_db.DeleteCategory(categoryId); }))
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
    if (!Guard([&] { m_db.AddFileExtension(ext, categoryId); }))
        return false;
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::UnmapExtension(const QString& extension)
{
    if (!Guard([&] { m_db.DeleteFileExtension(extension); }))
        return false;
    MarkChanged();
    return true;
}
