// shelfwise-mkdb: builds a catalogue file from SQL scripts at build time.
//
//   shelfwise-mkdb OUTPUT.db3 VERSION SCRIPT.sql [SCRIPT.sql ...]
//
// Every "@VERSION@" in the scripts is replaced by VERSION (the program's major.minor).
// The output is written beside its final place and renamed over it, so an
// interrupted build never leaves a half-made catalogue behind.
#include <sqlite3.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

bool ReadFile(const std::string& path, std::string& text)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream buffer;
    buffer << in.rdbuf();
    text = buffer.str();
    return true;
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (size_t pos = text.find(from); pos != std::string::npos;
         pos = text.find(from, pos + to.size()))
        text.replace(pos, from.size(), to);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::cerr << "usage: shelfwise-mkdb OUTPUT.db3 VERSION SCRIPT.sql [SCRIPT.sql ...]\n";
        return 2;
    }
    const std::string output = argv[1];
    const std::string version = argv[2];
    const std::string temporary = output + ".tmp";
    std::remove(temporary.c_str());

    sqlite3* db = nullptr;
    if (sqlite3_open(temporary.c_str(), &db) != SQLITE_OK) {
        std::cerr << "shelfwise-mkdb: cannot create " << temporary << ": " << sqlite3_errmsg(db)
                  << "\n";
        sqlite3_close(db);
        return 1;
    }
    for (int i = 3; i < argc; ++i) {
        std::string sql;
        if (!ReadFile(argv[i], sql)) {
            std::cerr << "shelfwise-mkdb: cannot read " << argv[i] << "\n";
            sqlite3_close(db);
            std::remove(temporary.c_str());
            return 1;
        }
        ReplaceAll(sql, "@VERSION@", version);
        char* error = nullptr;
        if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
            std::cerr << "shelfwise-mkdb: " << argv[i] << ": " << (error ? error : "error") << "\n";
            sqlite3_free(error);
            sqlite3_close(db);
            std::remove(temporary.c_str());
            return 1;
        }
    }
    sqlite3_close(db);
    if (std::rename(temporary.c_str(), output.c_str()) != 0) {
        std::cerr << "shelfwise-mkdb: cannot write " << output << "\n";
        std::remove(temporary.c_str());
        return 1;
    }
    return 0;
}
