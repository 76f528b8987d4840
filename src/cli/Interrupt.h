#pragma once

#include <atomic>

// Ctrl+C. The handler is installed once for the whole run. By default Ctrl+C ends the
// process at once with the usual status 130: nothing has been written to a catalogue
// then (a working copy left behind is removed by a later run). While a guard lives,
// Ctrl+C only sets a flag, so a long command can cancel its worker, roll back and exit
// 130 itself. Once a save has begun, Ctrl+C is noted and ignored: the save runs to its
// end and the command reports what really happened.
class InterruptGuard final
{
public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    static void InstallHandler();
    static bool Interrupted();
    // From now until the process ends, Ctrl+C never stops it.
    static void BeginSave();
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
    // For work that cannot tell how far it is: the next turn of a spinner.
    void Spin();
    void Done();

private:
    const char* m_what;
    bool m_terminal;
    int m_last = -1;
    int m_turn = 0;
};
