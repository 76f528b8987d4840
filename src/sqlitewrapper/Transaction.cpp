#include "sqlitewrapper/Transaction.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <utility>

CTransaction::CTransaction(CSqliteWrapper& db) : m_db(&db)
{
    m_db->Execute(QStringLiteral("BEGIN TRANSACTION"));
}

CTransaction::~CTransaction()
{
    if (!m_db || !m_db->InTransaction())
        return;
    try {
        m_db->RollbackTransaction();
    } catch (const CSqliteWrapperError&) {
        // A destructor cannot raise; the error that ended the scope is the one reported.
    }
}

CTransaction::CTransaction(CTransaction&& other) noexcept : m_db(std::exchange(other.m_db, nullptr))
{
}

CTransaction& CTransaction::operator=(CTransaction&& other) noexcept
{
    if (this != &other) {
        CTransaction ended(std::move(*this));
        m_db = std::exchange(other.m_db, nullptr);
    }
    return *this;
}

void CTransaction::Commit()
{
    CSqliteWrapper* db = m_db;
    if (!db)
        return;
    if (db->InTransaction())
        db->Execute(QStringLiteral("COMMIT TRANSACTION"));
    m_db = nullptr;
}

void CTransaction::Rollback()
{
    CSqliteWrapper* db = std::exchange(m_db, nullptr);
    if (db && db->InTransaction())
        db->RollbackTransaction();
}
