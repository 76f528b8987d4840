#pragma once

#include <atomic>

// Ctrl+C for long commands: while a guard lives, SIGINT sets a flag instead of
// ending the process, so the command can cancel its worker, roll back and exit 130.
class InterruptGuard final
{
public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    static bool Interrupted();
};

// A progress line on stderr, drawn only when stderr is a terminal.
class ProgressLine final
{
public:
    explicit ProgressLine(const char* what);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Show(int percent);
    void Done();

private:
    const char* m_what;
    bool m_terminal;
    int m_last = -1;
};
