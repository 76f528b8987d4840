// thumbnail: writes the thumbnail a picture's unit keeps in the catalogue to a PNG file.
#include "cli/CliContext.h"
#include "media/Thumbnailer.h"
#include "sqlitewrapper/SqliteWrapper.h"

namespace {

const QString kUnit = QStringLiteral("--unit");

int Thumbnail(CliContext& ctx)
{
    if (!ctx.Args.Has(kUnit))
        return ctx.UsageError(QStringLiteral("thumbnail FILE --unit ID OUTPUT.png"));
    const QString output = ctx.Args.Positionals().at(1);
    if (!ctx.OpenForReading(ctx.Args.Positionals().at(0)))
        return ExitStatus::Error;
    UnitListItem unit;
    if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit))
        return ExitStatus::Error;
    ThumbnailRecord thumbnail;
    bool found = false;
    if (!ctx.Guard([&] { found = ctx.Db().GetThumbnail(unit.UnitID, thumbnail); }))
        return ExitStatus::Error;
    if (!found)
        return ctx.Fail(QStringLiteral("The unit %1 (\"%2\") has no thumbnail.")
                            .arg(unit.UnitID)
                            .arg(unit.UnitName));
    QString error;
    if (!Thumbnailer::WritePng(thumbnail, output, error))
        return ctx.Fail(QStringLiteral("Could not write \"%1\": %2").arg(output, error));
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> ThumbnailCommands()
{
    using Arg = CliArgument;
    return {{"thumbnail",
             "writes a picture's thumbnail to a PNG file",
             {Arg::Positional("FILE"), Arg::Option(kUnit, {"ID"}), Arg::Positional("OUTPUT.png")},
             &Thumbnail,
             "Writes the thumbnail kept for the picture ID (at most 160 x 160 pixels, the\n"
             "picture's shape) to OUTPUT.png as a PNG file, replacing it. A picture gets its\n"
             "thumbnail when it is added or updated with the KeepThumbnails setting on and\n"
             "without --no-thumbnails. When the unit has none, the command says so on\n"
             "stderr and ends with status 1."}};
}
