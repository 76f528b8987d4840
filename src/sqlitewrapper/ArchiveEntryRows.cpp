#include "sqlitewrapper/ArchiveEntryRows.h"

#include <sqlite3.h>

#include <charconv>
#include <cstring>
#include <string>
#include <string_view>

namespace {

enum Column { kUnitId, kParentId, kName, kType, kSize, kModified, kCategory, kRowsArgument };

struct Table
{
    sqlite3_vtab base{};
};

// What a cursor reads, apart from SQLite's part of it.
struct Reading
{
    std::string text; // the argument, kept: SQLite's value lasts only as long as xFilter
    size_t next = 0;  // where the line after the current one starts
    sqlite3_int64 rowid = 0;
    bool atEnd = true;
    // The current line's fields.
    sqlite3_int64 numbers[kRowsArgument] = {};
    std::string name;
    std::string_view type;
    std::string_view modified;
};

// SQLite's cursor first, so that SQLite's pointer is one to this.
struct Cursor
{
    sqlite3_vtab_cursor base{};
    Reading* reading = nullptr;
};

bool ReadNumber(std::string_view field, sqlite3_int64& value)
{
    const char* end = field.data() + field.size();
    const auto [ptr, error] = std::from_chars(field.data(), end, value);
    return error == std::errc() && ptr == end;
}

void Unescape(std::string_view field, std::string& out)
{
    out.clear();
    for (size_t i = 0; i < field.size(); ++i) {
        char c = field[i];
        if (c == '\\' && i + 1 < field.size()) {
            const char code = field[++i];
            c = code == 't' ? '\t' : code == 'n' ? '\n' : code == '0' ? '\0' : code;
        }
        out.push_back(c);
    }
}

// Reads the line at cursor->next; false when it does not read.
bool ReadLine(Reading* cursor)
{
    const std::string_view text(cursor->text);
    if (cursor->next >= text.size()) {
        cursor->atEnd = true;
        return true;
    }
    size_t end = text.find('\n', cursor->next);
    if (end == std::string_view::npos)
        end = text.size();
    std::string_view line = text.substr(cursor->next, end - cursor->next);
    cursor->next = end + 1;
    std::string_view fields[kRowsArgument];
    for (int i = 0; i < kRowsArgument; ++i) {
        const size_t tab = line.find('\t');
        if ((tab == std::string_view::npos) != (i == kRowsArgument - 1))
            return false;
        fields[i] = line.substr(0, tab);
        line = tab == std::string_view::npos ? std::string_view() : line.substr(tab + 1);
    }
    for (const int number : {kUnitId, kParentId, kSize, kCategory}) {
        if (!ReadNumber(fields[number], cursor->numbers[number]))
            return false;
    }
    Unescape(fields[kName], cursor->name);
    cursor->type = fields[kType];
    cursor->modified = fields[kModified];
    ++cursor->rowid;
    return true;
}

int Connect(sqlite3* db, void*, int, const char* const*, sqlite3_vtab** vtab, char**)
{
    const int rc = sqlite3_declare_vtab(
        db, "CREATE TABLE x(UnitID INTEGER, ParentUnitID INTEGER, UnitName TEXT, UnitType TEXT, "
            "UnitSize INTEGER, DateModified TEXT, CategoryID INTEGER, rows HIDDEN)");
    if (rc != SQLITE_OK)
        return rc;
    *vtab = &(new Table)->base;
    return SQLITE_OK;
}

int Disconnect(sqlite3_vtab* vtab)
{
    delete reinterpret_cast<Table*>(vtab);
    return SQLITE_OK;
}

// Only one plan: the text given as the function's argument.
int BestIndex(sqlite3_vtab*, sqlite3_index_info* info)
{
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& constraint = info->aConstraint[i];
        if (constraint.iColumn == kRowsArgument && constraint.op == SQLITE_INDEX_CONSTRAINT_EQ &&
            constraint.usable) {
            info->aConstraintUsage[i].argvIndex = 1;
            info->aConstraintUsage[i].omit = 1;
            info->estimatedCost = 1;
            return SQLITE_OK;
        }
    }
    return SQLITE_CONSTRAINT;
}

Reading* ReadingOf(sqlite3_vtab_cursor* base)
{
    return reinterpret_cast<Cursor*>(base)->reading;
}

int Open(sqlite3_vtab*, sqlite3_vtab_cursor** base)
{
    auto* cursor = new Cursor;
    cursor->reading = new Reading;
    *base = &cursor->base;
    return SQLITE_OK;
}

int Close(sqlite3_vtab_cursor* base)
{
    auto* cursor = reinterpret_cast<Cursor*>(base);
    delete cursor->reading;
    delete cursor;
    return SQLITE_OK;
}

int Next(sqlite3_vtab_cursor* base)
{
    if (ReadLine(ReadingOf(base)))
        return SQLITE_OK;
    sqlite3_free(base->pVtab->zErrMsg);
    base->pVtab->zErrMsg = sqlite3_mprintf("an archive entry row does not read");
    return SQLITE_CORRUPT_VTAB;
}

int Filter(sqlite3_vtab_cursor* base, int, const char*, int argc, sqlite3_value** argv)
{
    Reading* cursor = ReadingOf(base);
    const auto* text =
        argc > 0 ? reinterpret_cast<const char*>(sqlite3_value_text(argv[0])) : nullptr;
    cursor->text.assign(text ? text : "");
    cursor->next = 0;
    cursor->rowid = 0;
    cursor->atEnd = false;
    return Next(base);
}

int Eof(sqlite3_vtab_cursor* base)
{
    return ReadingOf(base)->atEnd ? 1 : 0;
}

void ResultText(sqlite3_context* context, std::string_view text)
{
    sqlite3_result_text(context, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

int ColumnValue(sqlite3_vtab_cursor* base, sqlite3_context* context, int column)
{
    const Reading* cursor = ReadingOf(base);
    switch (column) {
    case kName:
        ResultText(context, cursor->name);
        break;
    case kType:
        ResultText(context, cursor->type);
        break;
    case kModified:
        if (cursor->modified.empty())
            sqlite3_result_null(context);
        else
            ResultText(context, cursor->modified);
        break;
    case kRowsArgument:
        sqlite3_result_null(context);
        break;
    default:
        sqlite3_result_int64(context, cursor->numbers[column]);
        break;
    }
    return SQLITE_OK;
}

int Rowid(sqlite3_vtab_cursor* base, sqlite3_int64* rowid)
{
    *rowid = ReadingOf(base)->rowid;
    return SQLITE_OK;
}

sqlite3_module MakeModule()
{
    sqlite3_module module{};
    // No xCreate: the table exists only as the function of its own name.
    module.xConnect = &Connect;
    module.xBestIndex = &BestIndex;
    module.xDisconnect = &Disconnect;
    module.xOpen = &Open;
    module.xClose = &Close;
    module.xFilter = &Filter;
    module.xNext = &Next;
    module.xEof = &Eof;
    module.xColumn = &ColumnValue;
    module.xRowid = &Rowid;
    return module;
}

const sqlite3_module kModule = MakeModule();

} // namespace

int ArchiveEntryRows::Register(sqlite3* db)
{
    return sqlite3_create_module(db, "ArchiveEntryRows", &kModule, nullptr);
}
