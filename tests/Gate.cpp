#include "Gate.h"

void Gate::Pass()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_arrived;
    m_opened.wait(lock, [this] { return m_open; });
}

void Gate::Open()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_open = true;
    }
    m_opened.notify_all();
}

int Gate::Arrived() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_arrived;
}
