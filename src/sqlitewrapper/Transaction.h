#pragma once

class CSqliteWrapper;

// An explicit transaction on a catalogue that rolls back unless it is committed: the
// constructor begins it, Commit() ends it, and leaving the scope any other way (an
// error, an early return) undoes what was written. An addition's transaction begins on
// the worker and is committed on the main thread after the user has seen the result,
// so the object can be moved to whoever finishes it.
//
// A statement inside may already have ended the transaction (SQLite rolls back on
// some errors); Commit and the rollback then do nothing.
class CTransaction final
{
public:
    explicit CTransaction(CSqliteWrapper& db);
    ~CTransaction();
    CTransaction(CTransaction&& other) noexcept;
    CTransaction& operator=(CTransaction&& other) noexcept;
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;

    /// Makes the changes permanent. Raises CSqliteWrapperError when SQLite refuses;
    /// the transaction is then rolled back by the destructor.
    void Commit();
    /// Undoes the changes now rather than at the end of the scope. Raises
    /// CSqliteWrapperError when SQLite refuses.
    void Rollback();
    /// True until Commit or Rollback (or a move) ends this object's part.
    bool IsActive() const { return m_db != nullptr; }

private:
    CSqliteWrapper* m_db;
};
