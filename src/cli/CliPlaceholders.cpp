#include "cli/CliPlaceholders.h"

#include <stdexcept>

namespace CliPlaceholders {

const std::vector<CliPlaceholder>& All()
{
    static const std::vector<CliPlaceholder> table{
        // The arguments most commands take, which the manual explains once.
        {"FILE", CliKind::Catalogue, {}, "The catalogue, a .db3 file."},
        {"STORAGE",
         CliKind::Storage,
         {},
         "A storage: its id (all digits, and an existing id) or its name (exact)."},
        {"ID",
         CliKind::Number,
         {},
         "A unit (a disc, folder or file) by its id, as ls and search print it.",
         "--unit"},
        {"CATEGORY", CliKind::Category, {}, "A category: its id or its name (exact)."},

        // Files and folders.
        {"PATH", CliKind::Path, {}},
        {"DRIVE", CliKind::Path, {}}, // a drive's mount point, or a disc image file
        {"OUT.html", CliKind::Path, {}},
        {"OUTPUT.png", CliKind::Path, {}},
        {"DIR", CliKind::Folder, {}},

        // The settings file.
        {"KEY", CliKind::Setting, {}},
        {"VALUE", CliKind::Text, {}},

        // The criteria of search.
        {"OP", CliKind::Choice, {"<", "=", ">"}},
        {"UNIT", CliKind::Choice, {"Bytes", "KBytes", "MBytes", "GBytes"}},
        {"FIELD", CliKind::Choice, {"added", "created", "modified"}},
        {"FROM", CliKind::Date, {}},
        {"TO", CliKind::Date, {}},
        {"NUMBER", CliKind::Number, {}},
        {"N", CliKind::Number, {}},
        {"BYTES", CliKind::Number, {}},

        // Names and texts.
        {"NAME", CliKind::Text, {}},
        {"NEWNAME", CliKind::Text, {}},
        {"TEXT", CliKind::Text, {}},
        {"WORD", CliKind::Text, {}},
        {"EXT", CliKind::Text, {}},

        // The first line of the synopsis.
        {"COMMAND", CliKind::Command, {}},
        {"ARGS", CliKind::Text, {}},
    };
    return table;
}

const CliPlaceholder& Find(const QString& name)
{
    for (const CliPlaceholder& placeholder : All()) {
        if (name == QLatin1String(placeholder.name))
            return placeholder;
    }
    throw std::logic_error("no placeholder " + name.toStdString() +
                           " in the table of placeholders");
}

} // namespace CliPlaceholders
