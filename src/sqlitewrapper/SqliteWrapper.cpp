#include "sqlitewrapper/SqliteWrapper.h"

#include "sqlitewrapper/ArchiveEntryRows.h"
#include "sqlitewrapper/Transaction.h"

#include "common/Strings.h"
#include "sqlitewrapper/RowMappers.h"

const QString CSqliteWrapper::kImplementationFile = QStringLiteral("SqliteWrapper.cpp");
const QString CSqliteWrapper::kHeaderFile = QStringLiteral("SqliteWrapper.h");

CSqliteWrapper::~CSqliteWrapper()
{
    StopRecording();
    if (m_db)
        sqlite3_close(m_db);
}

std::string CSqliteWrapper::InaccessibleMessage()
{
    return Strings::LoadString(Strings::IDS_DATABASE_INACCESSIBLE).toLocal8Bit().toStdString();
}

namespace {

// Library-wide settings, made once before the first connection opens. The memory
// statistics SQLite keeps by default take a global lock around every allocation; the
// program never reads them, and an import allocates for every statement it parses.
void ConfigureLibrary()
{
    static const bool configured = [] {
        sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
        return true;
    }();
    Q_UNUSED(configured);
}

} // namespace

void CSqliteWrapper::Open(const QString& path, bool fatal)
{
    OpenWith(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, fatal);
}

void CSqliteWrapper::OpenForReading(const QString& path)
{
    OpenWith(path, SQLITE_OPEN_READONLY, false);
}

void CSqliteWrapper::OpenWith(const QString& path, int flags, bool fatal)
{
    Close();
    ConfigureLibrary();
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(SqlText::ToUtf8(path).c_str(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const std::string message = db ? sqlite3_errmsg(db) : "out of memory";
        // A handle is returned even on failure; it must still be released.
        sqlite3_close(db);
        throw CSqliteWrapperError(message, rc, kImplementationFile, 538, fatal);
    }
    // Parsing a long statement (the multi-row inserts of an import) makes thousands of
    // small allocations; a larger lookaside takes most of them off the heap.
    sqlite3_db_config(db, SQLITE_DBCONFIG_LOOKASIDE, nullptr, 256, 4096);
    ArchiveEntryRows::Register(db);
    m_db = db;
    Execute(QStringLiteral("PRAGMA temp_store = MEMORY"));
    LoadCategories();
    LoadFileExtensions();
}

void CSqliteWrapper::Interrupt()
{
    if (m_db)
        sqlite3_interrupt(m_db);
}

void CSqliteWrapper::Close()
{
    if (!m_db)
        return;
    // A session must end before its connection does.
    StopRecording();
    const int rc = sqlite3_close(m_db);
    if (rc != SQLITE_OK)
        throw CSqliteWrapperError(sqlite3_errmsg(m_db), rc, kImplementationFile, 595, false);
    m_db = nullptr;
}

void CSqliteWrapper::Execute(const QString& sql)
{
    ExecuteUtf8(SqlText::ToUtf8(sql));
}

void CSqliteWrapper::ExecuteUtf8(const std::string& sql)
{
    if (!m_db)
        throw CSqliteWrapperError(InaccessibleMessage(), 0, kImplementationFile, 974, true);
    char* errmsg = nullptr;
    const int rc = sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, &errmsg);
    if (rc != SQLITE_OK) {
        const std::string message = errmsg ? errmsg : "";
        sqlite3_free(errmsg);
        throw CSqliteWrapperError(message, rc, kImplementationFile, 988, true);
    }
    sqlite3_free(errmsg);
}

void CSqliteWrapper::CheckSingleStatement(const QString& sql, bool readOnly) const
{
    // Raised as the statement's own failure would be: a refused search is the same
    // database error as a broken one.
    const QString& file = readOnly ? kHeaderFile : kImplementationFile;
    const int line = readOnly ? 623 : 988;
    if (!m_db)
        throw CSqliteWrapperError(InaccessibleMessage(), 0, kImplementationFile,
                                  readOnly ? 609 : 974, true);
    const std::string text = SqlText::ToUtf8(sql);
    sqlite3_stmt* statement = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v2(m_db, text.c_str(), -1, &statement, &tail);
    if (rc != SQLITE_OK)
        throw CSqliteWrapperError(sqlite3_errmsg(m_db), rc, file, line, true);
    const bool writes = statement && !sqlite3_stmt_readonly(statement);
    sqlite3_finalize(statement);
    if (!statement)
        throw CSqliteWrapperError("refused: no statement to run", SQLITE_ERROR, file, line, true);
    if (readOnly && writes)
        throw CSqliteWrapperError("refused: a search may only read", SQLITE_ERROR, file, line,
                                  true);
    // Whatever follows may be blanks and comments only, which prepare to no statement.
    sqlite3_stmt* next = nullptr;
    rc = tail && *tail ? sqlite3_prepare_v2(m_db, tail, -1, &next, nullptr) : SQLITE_OK;
    sqlite3_finalize(next);
    if (rc != SQLITE_OK || next)
        throw CSqliteWrapperError("refused: more than one statement", SQLITE_ERROR, file, line,
                                  true);
}

void CSqliteWrapper::ExecuteSingleStatement(const QString& sql)
{
    CheckSingleStatement(sql, false);
    Execute(sql);
}

void CSqliteWrapper::ExecuteInTransaction(const std::vector<QString>& statements)
{
    CTransaction transaction(*this);
    for (const QString& sql : statements)
        Execute(sql);
    transaction.Commit();
}

void CSqliteWrapper::RollbackTransaction()
{
    Execute(QStringLiteral("ROLLBACK TRANSACTION"));
}

void CSqliteWrapper::SkipDiskSync()
{
    Execute(QStringLiteral("PRAGMA synchronous = OFF"));
}

void CSqliteWrapper::Compact()
{
    Execute(QStringLiteral("VACUUM"));
}

bool CSqliteWrapper::InTransaction() const
{
    return m_db && sqlite3_get_autocommit(m_db) == 0;
}

int CSqliteWrapper::LastInsertId() const
{
    return m_db ? static_cast<int>(sqlite3_last_insert_rowid(m_db)) : 0;
}

void CSqliteWrapper::LoadCategories()
{
    std::vector<RowMappers::CategoryRow> rows;
    QueryRows(QStringLiteral("SELECT * FROM Categories"), rows, &RowMappers::Categories);
    m_categories.clear();
    for (const auto& row : rows)
        m_categories[row.CategoryID] = row.Category;
}

void CSqliteWrapper::LoadFileExtensions()
{
    std::vector<RowMappers::ExtensionRow> rows;
    QueryRows(QStringLiteral("SELECT * FROM FileExtensions"), rows, &RowMappers::Extensions);
    m_extensions.clear();
    for (const auto& row : rows)
        m_extensions[row.Name] = row.CategoryID;
}

CategoryRecord CSqliteWrapper::GetCategory(int categoryId) const
{
    const auto it = m_categories.find(categoryId);
    return it != m_categories.end() ? it->second : CategoryRecord();
}

std::vector<QString> CSqliteWrapper::GetCategoryExtensions(int categoryId) const
{
    std::vector<QString> names;
    for (const auto& [name, category] : m_extensions) {
        if (category == categoryId)
            names.push_back(name);
    }
    return names;
}

QString CSqliteWrapper::ExtensionOf(const QString& fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    return (dot < 0 ? fileName : fileName.mid(dot + 1)).toLower();
}

QString CSqliteWrapper::NormaliseExtension(const QString& typed)
{
    QString extension = typed.trimmed();
    while (extension.startsWith(QLatin1Char('.')))
        extension.remove(0, 1);
    return extension.trimmed().toLower();
}

int CSqliteWrapper::CategoryForFile(const QString& fileName) const
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot < 0)
        return CategoryIds::General;
    const auto it = m_extensions.find(fileName.mid(dot + 1).toLower());
    return it != m_extensions.end() ? it->second : CategoryIds::General;
}
