// Category and extension commands: categories, add-category, delete-category,
// extensions, map-extension, unmap-extension, set-category.
#include "cli/CliContext.h"
#include "cli/Table.h"
#include "common/Strings.h"

using SqlText::Format;

namespace {

// A question the window asks; an unanswered one makes the command fail.
bool Ask(CliContext& ctx, const QString& question)
{
    return ctx.Prompter().AskYesNo(question, UserPrompter::Icon::Question);
}

int Declined(CliContext& ctx)
{
    return ctx.Prompter().Unanswered() ? ExitStatus::Error : ExitStatus::Success;
}

int Categories(CliContext& ctx)
{
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), false))
        return ExitStatus::Error;
    Table table({"id", "name", "custom", "extensions"});
    for (const auto& [id, category] : ctx.Db().Categories()) {
        QStringList extensions;
        for (const QString& ext : ctx.Db().GetCategoryExtensions(id))
            extensions << ext;
        table.AddRow({id, category.Name, category.IsCustom ? 1 : 0, extensions.join(' ')});
    }
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

int AddCategory(CliContext& ctx)
{
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), true))
        return ExitStatus::Error;
    const QString name = ctx.Args.Positionals().at(1);
    if (name.trimmed().isEmpty())
        return ctx.Fail(QStringLiteral("A category needs a name."));
    const int id = ctx.Doc().AddCategory(name);
    return ctx.FinishAdding(id, name);
}

int DeleteCategory(CliContext& ctx)
{
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), true))
        return ExitStatus::Error;
    int id = 0;
    if (!ctx.ResolveCategory(ctx.Args.Positionals().at(1), id))
        return ExitStatus::Error;
    if (!ctx.Db().GetCategory(id).IsCustom)
        return ctx.Fail(QStringLiteral("The category \"%1\" is built in and cannot be deleted.")
                            .arg(ctx.CategoryName(id)));
    if (!Ask(ctx, Strings::LoadString(Strings::IDS_DELETE_CATEGORY_QUESTION)))
        return Declined(ctx);
    return ctx.Finish(ctx.Doc().DeleteCategory(id));
}

int Extensions(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (!ctx.OpenCatalogue(args.at(0), false))
        return ExitStatus::Error;
    int only = 0;
    if (args.size() > 1 && !ctx.ResolveCategory(args.at(1), only))
        return ExitStatus::Error;
    Table table({"extension", "category"});
    for (const auto& [ext, category] : ctx.Db().FileExtensions()) {
        if (only == 0 || category == only)
            table.AddRow({ext, ctx.CategoryName(category)});
    }
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

int MapExtension(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (!ctx.OpenCatalogue(args.at(0), true))
        return ExitStatus::Error;
    const QString ext = CSqliteWrapper::NormaliseExtension(args.at(1));
    int category = 0;
    if (!ctx.ResolveCategory(args.at(2), category))
        return ExitStatus::Error;
    if (ext.isEmpty())
        return ctx.Fail(QStringLiteral("An extension needs at least one character."));
    if (category == ctx.Doc().FallbackCategoryId())
        return ctx.Fail(QStringLiteral("Files fall back to \"%1\" by themselves; no extension is "
                                       "mapped to it.")
                            .arg(ctx.CategoryName(category)));
    if (!ctx.Doc().MapExtension(ext, category))
        return ExitStatus::Error;
    bool ok = true;
    if (Ask(ctx, Strings::LoadString(Strings::IDS_CHANGE_EXTENSION_CATEGORY_QUESTION)))
        ok = ctx.Doc().SetExtensionFilesCategory(ext, category);
    if (ctx.Prompter().Unanswered())
        return ExitStatus::Error;
    return ctx.Finish(ok);
}

int UnmapExtension(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (!ctx.OpenCatalogue(args.at(0), true))
        return ExitStatus::Error;
    const QString ext = CSqliteWrapper::NormaliseExtension(args.at(1));
    const auto& map = ctx.Db().FileExtensions();
    const auto it = map.find(ext);
    if (it == map.end())
        return ctx.Fail(
            QStringLiteral("No category is associated with the extension %1.").arg(ext));
    const QString categoryName = ctx.CategoryName(it->second);
    if (!Ask(ctx, Strings::LoadString(Strings::IDS_DELETE_EXTENSION_QUESTION)))
        return Declined(ctx);
    if (!ctx.Doc().UnmapExtension(ext))
        return ExitStatus::Error;
    bool ok = true;
    if (Ask(ctx, Format(Strings::LoadString(Strings::IDS_DROP_EXTENSION_CATEGORY_QUESTION),
                        {ext, categoryName})))
        ok = ctx.Doc().DropExtensionFilesCategory(ext);
    if (ctx.Prompter().Unanswered())
        return ExitStatus::Error;
    return ctx.Finish(ok);
}

int SetCategory(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (!ctx.Args.Has(QStringLiteral("--unit")))
        return ctx.UsageError(
            QStringLiteral("set-category FILE --unit ID CATEGORY [--all-with-extension]"));
    if (!ctx.OpenCatalogue(args.at(0), true))
        return ExitStatus::Error;
    UnitListItem unit;
    int category = 0;
    if (!ctx.ResolveUnit(ctx.Args.Value(QStringLiteral("--unit")), unit) ||
        !ctx.ResolveCategory(args.at(1), category))
        return ExitStatus::Error;
    if (unit.Kind != UnitKind::File)
        return ctx.Fail(QStringLiteral("Only a file's category can be changed."));
    if (ctx.Args.Has(QStringLiteral("--all-with-extension")))
        return ctx.Finish(ctx.Doc().SetFileExtensionCategory(unit.UnitName, category));
    return ctx.Finish(ctx.Doc().SetUnitCategory(unit.UnitID, category));
}

} // namespace

std::vector<CliCommand> CategoryCommands()
{
    using Arg = CliArgument;
    const Arg file = Arg::Positional("FILE");
    const Arg category = Arg::Positional("CATEGORY");
    const Arg extension = Arg::Positional("EXT");
    return {
        {"categories", "lists the categories with their extensions", {file}, &Categories},
        {"add-category", "adds a custom category", {file, Arg::Positional("NAME")}, &AddCategory},
        {"delete-category", "deletes a custom category", {file, category}, &DeleteCategory},
        {"extensions", "lists the extension map", {file, category.Optional()}, &Extensions},
        {"map-extension",
         "maps an extension to a category",
         {file, extension, category},
         &MapExtension},
        {"unmap-extension", "removes an extension's mapping", {file, extension}, &UnmapExtension},
        {"set-category",
         "changes a file's category, or that of every file with its extension",
         {file, Arg::Option("--unit", {"ID"}), category,
          Arg::Option("--all-with-extension").Optional()},
         &SetCategory},
    };
}
