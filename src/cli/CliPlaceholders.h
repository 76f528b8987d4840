#pragma once

#include <QString>
#include <QStringList>

#include <vector>

// What a word of a command line is: what the bash completion offers for it and what the
// program does with it.
enum class CliKind {
    Catalogue,      // a catalogue file (.db3)
    Folder,         // a folder
    Path,           // any file or folder
    Storage,        // a storage of the catalogue on the line, by id or name
    Category,       // a category of that catalogue, by id or name
    CustomCategory, // a custom category of it (not one of the four built in)
    Setting,        // the key of a setting
    Choice,         // one of a few fixed words
    Number,         // a whole number
    Date,           // YYYY-MM-DD, or YYYY-MM-DD HH:MM:SS
    Text,           // anything: a name, a note, a text to find
    Command,        // the name of a command
};

// A name that a usage shows in place of what the user types (FILE, STORAGE), with
// what it stands for.
struct CliPlaceholder
{
    const char* name;
    CliKind kind;
    // The words of a choice (kind Choice); empty otherwise.
    QStringList choices;
    // What it means, as the manual page's ARGUMENTS say; nullptr for a placeholder that
    // the details of the commands using it explain.
    const char* meaning = nullptr;
    // The option that comes before it wherever it stands ("--unit" for ID), so that the
    // manual lists it with the option; nullptr when it stands alone.
    const char* option = nullptr;
};

// The one table of placeholders: each placeholder's meaning is defined here and nowhere
// else.
namespace CliPlaceholders {

/// Every placeholder, those with a meaning first, in the order the manual lists them.
const std::vector<CliPlaceholder>& All();

/// The placeholder of that name; throws std::logic_error when there is none, which
/// is a mistake in the command table.
const CliPlaceholder& Find(const QString& name);

} // namespace CliPlaceholders
