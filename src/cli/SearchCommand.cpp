// search: the criteria of the search dialog as options, the results list's sorting.
#include "cli/CliContext.h"
#include "cli/Table.h"
#include "common/FormatSize.h"
#include "common/Strings.h"
#include "document/UnitProperties.h"

#include <algorithm>
#include <cstdio>

namespace {

QString Opt(const char* name)
{
    return QString::fromLatin1(name);
}

bool ParseOperator(const QString& text, char& op)
{
    if (text != QLatin1String("<") && text != QLatin1String("=") && text != QLatin1String(">"))
        return false;
    op = text.at(0).toLatin1();
    return true;
}

bool ParseNumber(const QString& text, qint64 maximum, qint64& value)
{
    bool ok = false;
    value = text.toLongLong(&ok);
    return ok && value >= 0 && value <= maximum;
}

// "YYYY-MM-DD" is a whole day: from its first second, to its last.
bool ParseDate(const QString& text, bool isEnd, QDateTime& when)
{
    when = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (when.isValid())
        return true;
    const QDate day = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
    if (!day.isValid())
        return false;
    when = QDateTime(day, isEnd ? QTime(23, 59, 59) : QTime(0, 0, 0));
    return true;
}

int CategoryIdNamed(CliContext& ctx, const char* name)
{
    for (const auto& [id, category] : ctx.Db().Categories()) {
        if (category.Name == QLatin1String(name))
            return id;
    }
    return -2; // a mode whose category is missing finds nothing
}

// Width, height or duration: OP N, only in the modes whose controls are enabled.
bool ParseMediaTest(CliContext& ctx, const char* option, bool& use, char& op, int& value,
                    QString& error)
{
    if (!ctx.Args.Has(Opt(option)))
        return true;
    qint64 number = 0;
    if (!ParseOperator(ctx.Args.Value(Opt(option), 0), op) ||
        !ParseNumber(ctx.Args.Value(Opt(option), 1), 2147483647LL, number)) {
        error = QStringLiteral("%1 takes an operator (<, = or >) and a number").arg(option);
        return false;
    }
    use = true;
    value = static_cast<int>(number);
    return true;
}

// Fills the criteria; a usage error text when the options do not fit together.
QString Gather(CliContext& ctx, SearchCriteria& c)
{
    const CommandLine& a = ctx.Args;
    c.Text = a.Value(Opt("--text"));
    c.SearchNotes = a.Has(Opt("--notes"));
    if (a.Has(Opt("--size"))) {
        qint64 number = 0;
        if (!ParseOperator(a.Value(Opt("--size"), 0), c.SizeOperator) ||
            !ParseNumber(a.Value(Opt("--size"), 1), 1000000000LL, number))
            return QStringLiteral("--size takes an operator (<, = or >), a number from 0 to "
                                  "1000000000 and a unit");
        const QString unit = a.Value(Opt("--size"), 2);
        const qint64 factor = unit == QLatin1String("Bytes")    ? 1
                              : unit == QLatin1String("KBytes") ? 1024
                              : unit == QLatin1String("MBytes") ? 1048576
                              : unit == QLatin1String("GBytes") ? 1073741824
                                                                : 0;
        if (factor == 0)
            return QStringLiteral("the size unit is one of Bytes, KBytes, MBytes, GBytes");
        c.UseSize = true;
        c.Size = number * factor;
    }
    if (a.Has(Opt("--date"))) {
        const QString field = a.Value(Opt("--date"), 0);
        c.DateField = field == QLatin1String("added")      ? SearchCriteria::DateAdded
                      : field == QLatin1String("created")  ? SearchCriteria::DateCreated
                      : field == QLatin1String("modified") ? SearchCriteria::DateModified
                                                           : -1;
        if (c.DateField < 0 || !ParseDate(a.Value(Opt("--date"), 1), false, c.DateFrom) ||
            !ParseDate(a.Value(Opt("--date"), 2), true, c.DateTo))
            return QStringLiteral("--date takes added, created or modified and two dates "
                                  "YYYY-MM-DD or \"YYYY-MM-DD HH:MM:SS\"");
        c.UseDate = true;
    }

    const QString mode = a.Value(Opt("--category"));
    const bool music = mode == QLatin1String("music");
    const bool pictures = mode == QLatin1String("pictures");
    const bool films = mode == QLatin1String("films");
    if (mode.isEmpty() || mode == QLatin1String("all"))
        c.CategoryID = CategoryIds::All;
    else if (music)
        c.CategoryID = CategoryIdNamed(ctx, "Music");
    else if (pictures)
        c.CategoryID = CategoryIdNamed(ctx, "Picture");
    else if (films)
        c.CategoryID = CategoryIdNamed(ctx, "Film");
    else if (!ctx.ResolveCategory(mode, c.CategoryID) ||
             !ctx.Db().GetCategory(c.CategoryID).IsCustom)
        return QStringLiteral("--category takes all, music, pictures, films or a custom category");

    for (const char* tag : {"--title", "--artist", "--album", "--year", "--genre"}) {
        if (a.Has(Opt(tag)) && !music)
            return QStringLiteral("%1 needs --category music").arg(tag);
    }
    if (a.Has(Opt("--title")))
        c.Title = a.Value(Opt("--title"));
    if (a.Has(Opt("--artist")))
        c.Artist = a.Value(Opt("--artist"));
    if (a.Has(Opt("--album")))
        c.Album = a.Value(Opt("--album"));
    if (a.Has(Opt("--genre")))
        c.Genre = a.Value(Opt("--genre"));
    if (a.Has(Opt("--year"))) {
        bool ok = false;
        const int year = a.Value(Opt("--year")).toInt(&ok);
        if (!ok)
            return QStringLiteral("--year takes a number");
        c.Year = year;
    }
    if ((a.Has(Opt("--width")) || a.Has(Opt("--height"))) && !pictures && !films)
        return QStringLiteral("--width and --height need --category pictures or films");
    if (a.Has(Opt("--duration")) && !films)
        return QStringLiteral("--duration needs --category films");
    QString error;
    if (!ParseMediaTest(ctx, "--width", c.UseWidth, c.WidthOperator, c.Width, error) ||
        !ParseMediaTest(ctx, "--height", c.UseHeight, c.HeightOperator, c.Height, error) ||
        !ParseMediaTest(ctx, "--duration", c.UseDuration, c.DurationOperator, c.Duration, error))
        return error;
    return QString();
}

// The results list's comparisons: names without regard to case, categories and types
// by their numbers, sizes as 64-bit values.
bool SortResults(const QString& column, bool descending, std::vector<UnitListItem>& items)
{
    std::function<bool(const UnitListItem&, const UnitListItem&)> less;
    if (column == QLatin1String("name"))
        less = [](const UnitListItem& x, const UnitListItem& y) {
            return x.UnitName.compare(y.UnitName, Qt::CaseInsensitive) < 0;
        };
    else if (column == QLatin1String("category"))
        less = [](const UnitListItem& x, const UnitListItem& y) {
            return x.CategoryID < y.CategoryID;
        };
    else if (column == QLatin1String("size"))
        less = [](const UnitListItem& x, const UnitListItem& y) { return x.UnitSize < y.UnitSize; };
    else if (column == QLatin1String("type"))
        less = [](const UnitListItem& x, const UnitListItem& y) { return x.Kind < y.Kind; };
    else
        return false;
    if (descending)
        std::stable_sort(items.begin(), items.end(),
                         [&](const UnitListItem& x, const UnitListItem& y) { return less(y, x); });
    else
        std::stable_sort(items.begin(), items.end(), less);
    return true;
}

int Search(CliContext& ctx)
{
    const QString sort = ctx.Args.Value(Opt("--sort"));
    if (ctx.Args.Has(Opt("--descending")) && sort.isEmpty())
        return ctx.UsageError(QStringLiteral("--descending needs --sort"));
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), false))
        return ExitStatus::Error;
    SearchCriteria criteria;
    if (ctx.Args.Has(Opt("--storage")) &&
        !ctx.ResolveStorage(ctx.Args.Value(Opt("--storage")), criteria.StorageID))
        return ExitStatus::Error;
    const QString problem = Gather(ctx, criteria);
    if (ctx.Prompter().ErrorsShown())
        return ExitStatus::Error;
    if (!problem.isEmpty())
        return ctx.UsageError(problem);

    std::vector<UnitListItem> results;
    if (!ctx.Doc().Guard([&] { ctx.Db().SearchUnits(criteria, results); }))
        return ExitStatus::Error;
    if (!sort.isEmpty() && !SortResults(sort, ctx.Args.Has(Opt("--descending")), results))
        return ctx.UsageError(QStringLiteral("--sort takes name, category, size or type"));
    if (results.empty()) {
        ctx.Prompter().ShowMessage(Strings::IDS_NO_MATCHES, UserPrompter::Icon::Information);
        if (ctx.Json)
            Table({}).Print(true);
        return ExitStatus::Success;
    }
    Table table({"id", "name", "category", "size", "sizeText", "type"});
    for (const UnitListItem& u : results)
        table.AddRow({u.UnitID, u.UnitName, ctx.CategoryName(u.CategoryID), u.UnitSize,
                      FormatSize(u.UnitSize), UnitProperties::UnitKindName(u.Kind)});
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> SearchCommands()
{
    using Arg = CliArgument;
    const auto text = [](const char* option) { return Arg::Option(option, {"TEXT"}).Optional(); };
    const auto measure = [](const char* option) {
        return Arg::Option(option, {"OP", "N"}).Optional();
    };
    // The modes of the advanced search, or one custom category: the built-in categories
    // are what the modes stand for, and the search refuses them.
    const Arg::Value mode = Arg::Value::OneOf({"all", "music", "pictures", "films"})
                                .Or("CATEGORY", CliKind::CustomCategory);
    const Arg::Value order = Arg::Value::OneOf({"name", "category", "size", "type"});
    return {{"search",
             "finds units by name, notes, size, storage, date, category and media details",
             {Arg::Positional("FILE"), text("--text"), Arg::Option("--notes").Optional(),
              Arg::Option("--size", {"OP", "NUMBER", "UNIT"}).Optional(),
              Arg::Option("--storage", {"STORAGE"}).Optional(),
              Arg::Option("--date", {"FIELD", "FROM", "TO"}).Optional().OnNewLine(),
              Arg::Option("--category", {mode}).Optional(), text("--title").OnNewLine(),
              text("--artist"), text("--album"), Arg::Option("--year", {"N"}).Optional(),
              text("--genre"), measure("--width").OnNewLine(), measure("--height"),
              measure("--duration"), Arg::Option("--sort", {order}).Optional().OnNewLine(),
              Arg::Option("--descending").Optional()},
             &Search,
             "--text finds the units whose name holds TEXT, with --notes also those whose\n"
             "notes hold it. Texts are taken as typed, apostrophes included; * or % stands\n"
             "for any run of characters, ? or _ for any one character.\n"
             "\n"
             "OP is one of <, = and >; UNIT one of Bytes, KBytes, MBytes and GBytes.\n"
             "FIELD is added, created or modified; FROM and TO are YYYY-MM-DD (a whole\n"
             "day: from 00:00:00, to 23:59:59) or \"YYYY-MM-DD HH:MM:SS\".\n"
             "\n"
             "--category chooses the mode of the advanced search: all categories, music\n"
             "only, pictures only, films only, or one custom category. The tags (--title,\n"
             "--artist, --album, --year, --genre) need music; --width and --height need\n"
             "pictures or films; --duration needs films.\n"
             "\n"
             "--sort orders the results as the results list does, --descending reverses\n"
             "it. Without a match the command says \"No matches found. Try another\n"
             "search.\" on stderr and ends with status 0."}};
}
