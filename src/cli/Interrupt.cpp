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
void (*g_previous)(int) = SIG_DFL;

extern "C" void OnInterrupt(int)
{
    g_interrupted.store(true);
}

} // namespace

InterruptGuard::InterruptGuard()
{
    g_interrupted.store(false);
    g_previous = std::signal(SIGINT, OnInterrupt);
}

InterruptGuard::~InterruptGuard()
{
    std::signal(SIGINT, g_previous == SIG_ERR ? SIG_DFL : g_previous);
}

bool InterruptGuard::Interrupted()
{
    return g_interrupted.load();
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

void ProgressLine::Done()
{
    if (m_terminal && m_last >= 0) {
        std::fprintf(stderr, "\n");
        std::fflush(stderr);
    }
    m_last = -1;
}
