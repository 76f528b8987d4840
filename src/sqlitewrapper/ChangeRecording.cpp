// Recording and replaying the catalogue's changes with SQLite's session extension, the
// mechanism behind Undo. The build defines SHELFWISE_HAVE_SQLITE_SESSION (and the two
// macros that make sqlite3.h declare the extension) for this file only, and only when
// the SQLite it found has the extension; without it recording is unavailable.
#include "sqlitewrapper/SqliteWrapper.h"

#include <cstring>

namespace {

const QString kSourceFile = QStringLiteral("ChangeRecording.cpp");

} // namespace

#ifdef SHELFWISE_HAVE_SQLITE_SESSION

namespace {

// Any row that is not as the changeset expects means the catalogue is not in the state
// the change was recorded against: the whole changeset is abandoned.
int AbortOnConflict(void*, int, sqlite3_changeset_iter*)
{
    return SQLITE_CHANGESET_ABORT;
}

// The name index's tables are left out of every recording. Its FTS5 shadow tables and
// its list of waiting units follow Units through the triggers on Units, and those
// triggers run again when a changeset puts Units rows back: recorded too, the index's
// rows would be applied twice and break it.
int RecordsTable(void*, const char* table)
{
    const char* prefix = CSqliteWrapper::kNameIndexTablePrefix;
    return std::strncmp(table, prefix, std::strlen(prefix)) != 0 ? 1 : 0;
}

// Memory that SQLite allocated and the caller frees.
struct SqliteMemory
{
    void* Data = nullptr;
    ~SqliteMemory() { sqlite3_free(Data); }
};

} // namespace

bool CSqliteWrapper::CanRecordChanges()
{
    return true;
}

void CSqliteWrapper::StartRecording()
{
    if (!m_db)
        throw CSqliteWrapperError(InaccessibleMessage(), 0, kSourceFile, __LINE__, false);
    StopRecording();
    sqlite3_session* session = nullptr;
    int rc = sqlite3session_create(m_db, "main", &session);
    // Every table: those without a primary key (FileExtensions) are left out by the
    // extension itself.
    if (rc == SQLITE_OK) {
        sqlite3session_table_filter(session, &RecordsTable, nullptr);
        rc = sqlite3session_attach(session, nullptr);
    }
    if (rc != SQLITE_OK) {
        if (session)
            sqlite3session_delete(session);
        throw CSqliteWrapperError(sqlite3_errstr(rc), rc, kSourceFile, __LINE__, false);
    }
    m_session = session;
}

QByteArray CSqliteWrapper::TakeRecording()
{
    if (!m_session)
        return QByteArray();
    int size = 0;
    SqliteMemory changeset;
    const int rc = sqlite3session_changeset(m_session, &size, &changeset.Data);
    StopRecording();
    if (rc != SQLITE_OK)
        throw CSqliteWrapperError(sqlite3_errstr(rc), rc, kSourceFile, __LINE__, false);
    return QByteArray(static_cast<const char*>(changeset.Data), size);
}

void CSqliteWrapper::StopRecording()
{
    if (!m_session)
        return;
    sqlite3session_delete(m_session);
    m_session = nullptr;
}

void CSqliteWrapper::ApplyChangeset(const QByteArray& changeset, bool inverse)
{
    if (!m_db)
        throw CSqliteWrapperError(InaccessibleMessage(), 0, kSourceFile, __LINE__, false);
    if (changeset.isEmpty())
        return;
    // SQLite reads the buffer only; its interface is not const.
    void* data = const_cast<char*>(changeset.constData());
    int size = static_cast<int>(changeset.size());
#ifdef SQLITE_CHANGESETAPPLY_INVERT
    // Inverted while it is applied, without a second copy of a large changeset.
    const int rc =
        sqlite3changeset_apply_v2(m_db, size, data, nullptr, &AbortOnConflict, nullptr, nullptr,
                                  nullptr, inverse ? SQLITE_CHANGESETAPPLY_INVERT : 0);
#else
    SqliteMemory inverted;
    int rc = SQLITE_OK;
    if (inverse) {
        int invertedSize = 0;
        rc = sqlite3changeset_invert(size, data, &invertedSize, &inverted.Data);
        data = inverted.Data;
        size = invertedSize;
    }
    if (rc == SQLITE_OK)
        rc = sqlite3changeset_apply(m_db, size, data, nullptr, &AbortOnConflict, nullptr);
#endif
    if (rc == SQLITE_ABORT)
        throw CSqliteWrapperError("the catalogue no longer holds the rows this change expects", rc,
                                  kSourceFile, __LINE__, false);
    if (rc != SQLITE_OK)
        throw CSqliteWrapperError(sqlite3_errmsg(m_db), rc, kSourceFile, __LINE__, false);
}

#else // without the session extension

bool CSqliteWrapper::CanRecordChanges()
{
    return false;
}

void CSqliteWrapper::StartRecording()
{
    throw CSqliteWrapperError("this SQLite cannot record changes (no session extension)",
                              SQLITE_MISUSE, kSourceFile, __LINE__, false);
}

QByteArray CSqliteWrapper::TakeRecording()
{
    return QByteArray();
}

void CSqliteWrapper::StopRecording()
{
    m_session = nullptr;
}

void CSqliteWrapper::ApplyChangeset(const QByteArray& changeset, bool)
{
    if (!changeset.isEmpty())
        throw CSqliteWrapperError("this SQLite cannot apply changes (no session extension)",
                                  SQLITE_MISUSE, kSourceFile, __LINE__, false);
}

#endif
