#include "cli/Interrupt.h"

#include <csignal>
#include <cstdio>

#ifdef _WIN32
#include <io.h>
#define isatty _isatty
#define fileno _fileno
#else
#include <unistd.h>
#endif

namespace {

std::atomic<bool> g_interrupted{false};
std::atomic<int> g_guards{0};
std::atomic<bool> g_saving{false};

extern "C" void OnInterrupt(int)
{
    g_interrupted.store(true);
    if (g_guards.load() > 0 || g_saving.load()) {
        std::signal(SIGINT, OnInterrupt); // some systems reset the handler on delivery
        return;
    }
    // Nothing to finish: end as an uncaught Ctrl+C would.
    std::signal(SIGINT, SIG_DFL);
    std::raise(SIGINT);
}

} // namespace

void InterruptGuard::InstallHandler()
{
    std::signal(SIGINT, OnInterrupt);
}

InterruptGuard::InterruptGuard()
{
    g_interrupted.store(false);
    g_guards.fetch_add(1);
}

InterruptGuard::~InterruptGuard()
{
    g_guards.fetch_sub(1);
}

bool InterruptGuard::Interrupted()
{
    // A Ctrl+C during a save cancels nothing: the save finishes and counts.
    return g_interrupted.load() && !g_saving.load();
}

void InterruptGuard::BeginSave()
{
    g_saving.store(true);
}

ProgressLine::ProgressLine(const char* what) : m_what(what), m_terminal(isatty(fileno(stderr)) != 0)
{
}

ProgressLine::~ProgressLine()
{
    Done();
}

void ProgressLine::Show(int percent)
{
    if (!m_terminal || percent == m_last)
        return;
    m_last = percent;
    std::fprintf(stderr, "\r%s: %3d%%", m_what, percent);
    std::fflush(stderr);
}

void ProgressLine::Spin()
{
    if (!m_terminal)
        return;
    static const char kTurns[] = "|/-\\";
    m_last = 0; // something is drawn: Done ends the line
    std::fprintf(stderr, "\r%s: %c", m_what, kTurns[m_turn]);
    m_turn = (m_turn + 1) % 4;
    std::fflush(stderr);
}

void ProgressLine::Done()
{
    if (m_terminal && m_last >= 0) {
        std::fprintf(stderr, "\n");
        std::fflush(stderr);
    }
    m_last = -1;
}
