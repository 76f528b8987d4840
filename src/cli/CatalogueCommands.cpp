// Catalogue and storage commands: new, storages, add-storage, ls, show, rename, notes,
// move, delete, vacuum.
#include "cli/CliContext.h"
#include "cli/Table.h"
#include "common/FormatSize.h"
#include "common/Strings.h"
#include "document/CatalogueCheck.h"
#include "document/UnitProperties.h"
#include "errorlog/ErrorLog.h"

#include <QFileInfo>

using SqlText::Format;

namespace {

const QString kUnit = QStringLiteral("--unit");
const QString kNotes = QStringLiteral("--notes");

// The storage name checks of the add-storage and rename dialogs. Empty with no
// message when the name may be used.
QString StorageNameProblem(CliContext& ctx, const QString& name, int exceptId)
{
    if (name.isEmpty())
        return Strings::LoadString(Strings::IDS_STORAGE_NAME_EMPTY);
    for (const StorageRecord& storage : ctx.Doc().Storages()) {
        if (storage.StorageID != exceptId && storage.StorageName == name)
            return Format(Strings::LoadString(Strings::IDS_STORAGE_NAME_EXISTS), {name});
    }
    return QString();
}

// The target of a command: --unit ID, or the first positional as a storage.
bool ResolveTarget(CliContext& ctx, int storagePosition, int& id, bool& isStorage,
                   UnitListItem& unit)
{
    if (ctx.Args.Has(kUnit)) {
        isStorage = false;
        if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit))
            return false;
        id = unit.UnitID;
        return true;
    }
    isStorage = true;
    return ctx.ResolveStorage(ctx.Args.Positionals().at(storagePosition), id);
}

void AddUnitRows(CliContext& ctx, Table& table, const std::vector<UnitListItem>& units)
{
    for (const UnitListItem& u : units)
        table.AddRow({u.UnitID, u.UnitName, UnitProperties::UnitKindName(u.Kind),
                      ctx.CategoryName(u.CategoryID), u.UnitSize, FormatSize(u.UnitSize)});
}

int New(CliContext& ctx)
{
    const QString path = QFileInfo(ctx.Args.Positionals().at(0)).absoluteFilePath();
    CShelfwiseDoc doc(true);
    if (!doc.OnNewDocument() || ctx.Prompter().CloseRequested())
        return ExitStatus::Error;
    doc.OnSaveDocument(path);
    if (!doc.LastSaveReachedFile())
        return ExitStatus::Error; // the document has said why
    return ExitStatus::Success;
}

int Storages(CliContext& ctx)
{
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), false))
        return ExitStatus::Error;
    Table table({"id", "name", "notes", "folders", "discs", "files", "size", "sizeText"});
    for (const StorageRecord& s : ctx.Doc().Storages())
        table.AddRow({s.StorageID, s.StorageName, s.StorageNotes, s.FoldersNumber, s.DiscsNumber,
                      s.FilesNumber, s.StorageSize, FormatSize(s.StorageSize)});
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

int AddStorage(CliContext& ctx)
{
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), true))
        return ExitStatus::Error;
    const QString name = ctx.Args.Positionals().at(1).trimmed();
    const QString problem = StorageNameProblem(ctx, name, -1);
    if (!problem.isEmpty())
        return ctx.Fail(problem);
    const int id = ctx.Doc().AddStorage(name, ctx.Args.Value(kNotes));
    return ctx.FinishAdding(id, name);
}

int List(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (ctx.Args.Has(kUnit) && args.size() > 1)
        return ctx.UsageError(QStringLiteral("ls FILE [STORAGE | --unit ID]"));
    if (!ctx.OpenCatalogue(args.at(0), false))
        return ExitStatus::Error;
    Table table({"id", "name", "type", "category", "size", "sizeText"});
    std::vector<UnitListItem> units;
    if (ctx.Args.Has(kUnit) || args.size() > 1) {
        int id = 0;
        bool isStorage = true;
        UnitListItem unit;
        if (!ResolveTarget(ctx, 1, id, isStorage, unit))
            return ExitStatus::Error;
        if (!ctx.Doc().Guard([&] { ctx.Db().GetSubunits(units, id, isStorage); }))
            return ExitStatus::Error;
        AddUnitRows(ctx, table, units);
    } else {
        std::vector<StorageListItem> storages;
        if (!ctx.Doc().Guard([&] { ctx.Db().GetStorageList(storages); }))
            return ExitStatus::Error;
        for (const StorageListItem& s : storages) {
            const StorageRecord record = ctx.Db().GetStorage(s.StorageID);
            table.AddRow({s.StorageID, s.StorageName, QStringLiteral("Storage"), QString(),
                          record.StorageSize, FormatSize(record.StorageSize)});
        }
    }
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

int Show(CliContext& ctx)
{
    if (ctx.Args.Has(kUnit) == (ctx.Args.Positionals().size() == 2))
        return ctx.UsageError(QStringLiteral("show FILE (STORAGE | --unit ID)"));
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), false))
        return ExitStatus::Error;
    int id = 0;
    bool isStorage = true;
    UnitListItem unit;
    if (!ResolveTarget(ctx, 1, id, isStorage, unit))
        return ExitStatus::Error;
    std::vector<UnitProperties::Tab> tabs;
    if (!ctx.Doc().Guard([&] { tabs = UnitProperties::Collect(ctx.Db(), id, isStorage); }))
        return ExitStatus::Error;
    Table table({"field", "value"});
    table.AddRow({QStringLiteral("Id"), id});
    table.AddRow({QStringLiteral("Type"),
                  isStorage ? QStringLiteral("Storage") : UnitProperties::UnitKindName(unit.Kind)});
    if (!isStorage)
        table.AddRow({QStringLiteral("Category"), ctx.CategoryName(unit.CategoryID)});
    for (const auto& tab : tabs) {
        for (const auto& field : tab.Fields) {
            QString label = field.Label;
            if (label.endsWith(QLatin1Char(':')))
                label.chop(1);
            table.AddRow({label, field.Value});
        }
    }
    table.PrintFields(ctx.Json);
    return ExitStatus::Success;
}

// The start of rename and notes: FILE (STORAGE | --unit ID) TEXT, the catalogue opened
// for an edit and the target resolved. Returns -1 to go on, else the exit status.
int OpenEditTarget(CliContext& ctx, const char* usage, int& id, bool& isStorage)
{
    const QStringList& args = ctx.Args.Positionals();
    if (args.size() != (ctx.Args.Has(kUnit) ? 2 : 3))
        return ctx.UsageError(QString::fromLatin1(usage));
    if (!ctx.OpenCatalogue(args.at(0), true))
        return ExitStatus::Error;
    UnitListItem unit;
    return ResolveTarget(ctx, 1, id, isStorage, unit) ? -1 : ExitStatus::Error;
}

int Rename(CliContext& ctx)
{
    int id = 0;
    bool isStorage = true;
    const int status =
        OpenEditTarget(ctx, "rename FILE (STORAGE | --unit ID) NEWNAME", id, isStorage);
    if (status >= 0)
        return status;
    // As in the window: blanks around a name are dropped, and blanks alone are no name.
    const QString name = ctx.Args.Positionals().last().trimmed();
    if (isStorage) {
        const QString problem = StorageNameProblem(ctx, name, id);
        if (!problem.isEmpty())
            return ctx.Fail(problem);
        return ctx.Finish(ctx.Doc().RenameStorage(id, name));
    }
    if (name.isEmpty())
        return ctx.Fail(Strings::LoadString(Strings::IDS_UNIT_NAME_EMPTY));
    return ctx.Finish(ctx.Doc().RenameUnit(id, name, nullptr));
}

int Notes(CliContext& ctx)
{
    int id = 0;
    bool isStorage = true;
    const int status = OpenEditTarget(ctx, "notes FILE (STORAGE | --unit ID) TEXT", id, isStorage);
    if (status >= 0)
        return status;
    const QString text = ctx.Args.Positionals().last();
    return ctx.Finish(isStorage ? ctx.Doc().UpdateStorageNotes(id, text)
                                : ctx.Doc().SetUnitNotes(id, text));
}

int Move(CliContext& ctx)
{
    if (!ctx.Args.Has(kUnit) || !ctx.Args.Has(QStringLiteral("--to-storage")))
        return ctx.UsageError(QStringLiteral("move FILE --unit ID --to-storage STORAGE"));
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), true))
        return ExitStatus::Error;
    UnitListItem unit;
    int storageId = 0;
    if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit) ||
        !ctx.ResolveStorage(ctx.Args.Value(QStringLiteral("--to-storage")), storageId))
        return ExitStatus::Error;
    if (!ctx.Doc().IsTopLevelUnit(unit.UnitID))
        return ctx.Fail(QStringLiteral("Only a disc, folder or file that lies directly in a "
                                       "storage can be moved to another storage."));
    int current = 0;
    if (!ctx.Doc().Guard([&] { current = ctx.Db().GetUnitStorageId(unit.UnitID); }))
        return ExitStatus::Error;
    if (current == storageId)
        return ExitStatus::Success; // already there: nothing to do
    return ctx.Finish(ctx.Doc().MoveUnitToStorage(unit.UnitID, storageId));
}

int Delete(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (args.size() != (ctx.Args.Has(kUnit) ? 1 : 2))
        return ctx.UsageError(QStringLiteral("delete FILE (STORAGE | --unit ID)"));
    if (!ctx.OpenCatalogue(args.at(0), true))
        return ExitStatus::Error;
    int id = 0;
    bool isStorage = true;
    UnitListItem unit;
    if (!ResolveTarget(ctx, 1, id, isStorage, unit))
        return ExitStatus::Error;
    QString name = unit.UnitName;
    if (isStorage)
        name = ctx.Db().GetStorage(id).StorageName;
    if (!ctx.Doc().DeleteItem(nullptr, name, id, isStorage))
        return ctx.Prompter().Unanswered() || ctx.Prompter().ErrorsShown() ? ExitStatus::Error
                                                                           : ExitStatus::Success;
    return ctx.Finish(true);
}

int Vacuum(CliContext& ctx)
{
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), true))
        return ExitStatus::Error;
    if (!ctx.Prompter().AskYesNo(Strings::IDS_COMPRESS_QUESTION, UserPrompter::Icon::Question))
        return ctx.Prompter().Unanswered() ? ExitStatus::Error : ExitStatus::Success;
    return ctx.Finish(ctx.Doc().CompressDatabase());
}

int Check(CliContext& ctx)
{
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), false))
        return ExitStatus::Error;
    std::vector<CatalogueDisagreement> found;
    if (!ctx.Doc().Guard([&] { found = CCatalogueCheck(ctx.Db()).Run(); }))
        return ExitStatus::Error;
    Table table({"problem"});
    for (const CatalogueDisagreement& d : found)
        table.AddRow({CCatalogueCheck::Describe(d)});
    if (ctx.Json || !found.empty())
        table.Print(ctx.Json);
    return found.empty() ? ExitStatus::Success : ExitStatus::Error;
}

} // namespace

std::vector<CliCommand> CatalogueCommands()
{
    using Arg = CliArgument;
    const Arg file = Arg::Positional("FILE");
    const Arg unit = Arg::Option(kUnit, {"ID"});
    const Arg storageOrUnit = Arg::Positional("STORAGE").Or(unit);
    return {
        {"new", "creates a new catalogue from the template", {file}, &New},
        {"storages", "lists the storages with their counts and sizes", {file}, &Storages},
        {"add-storage",
         "adds a storage",
         {file, Arg::Positional("NAME"), Arg::Option(kNotes, {"TEXT"}).Optional()},
         &AddStorage},
        {"ls",
         "lists the storages, a storage's top units or a unit's children",
         {file, storageOrUnit.Optional()},
         &List},
        {"show", "shows every property of a storage or unit", {file, storageOrUnit}, &Show},
        {"rename",
         "renames a storage or unit",
         {file, storageOrUnit, Arg::Positional("NEWNAME")},
         &Rename},
        {"notes", "sets the description", {file, storageOrUnit, Arg::Positional("TEXT")}, &Notes},
        {"move",
         "moves a unit that lies directly in a storage to another storage",
         {file, unit, Arg::Option("--to-storage", {"STORAGE"})},
         &Move},
        {"delete", "deletes a storage or unit", {file, storageOrUnit}, &Delete},
        {"vacuum", "compresses the catalogue", {file}, &Vacuum},
        {"check", "recomputes every stored counter and lists disagreements", {file}, &Check},
    };
}
