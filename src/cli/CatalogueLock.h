#pragma once

#include <QString>

// An exclusive advisory lock on a catalogue file, held from Open to Save by an editing
// command so that two runs on one catalogue never lose each other's changes. Waits
// for the lock. Save replaces the file, so after locking the lock is checked to be on
// the file that the path names now.
class CatalogueLock final
{
public:
    CatalogueLock() = default;
    ~CatalogueLock();
    CatalogueLock(const CatalogueLock&) = delete;
    CatalogueLock& operator=(const CatalogueLock&) = delete;

    // False when the file cannot be opened (it is then reported by the caller).
    bool Acquire(const QString& path);
    void Release();

private:
    int m_fd = -1;
};
