#include "core/network/Event.h"

#include <algorithm>
#include <chrono>

namespace core {

Event::Event(Mode mode, bool signalled) : m_Mode(mode), m_Signalled(signalled) {}

void Event::Set()
{
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Signalled = true;
    }
    if (m_Mode == Mode::AutoReset)
        m_Condition.notify_one();
    else
        m_Condition.notify_all();
}

void Event::Reset()
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Signalled = false;
}

void Event::ConsumeLocked()
{
    if (m_Mode == Mode::AutoReset)
        m_Signalled = false;
}

bool Event::Wait(unsigned long milliseconds)
{
    // Beyond some 24 days a wait is as good as endless; the bound keeps the
    // clock arithmetic from overflowing.
    const auto timeout = std::chrono::milliseconds(std::min<unsigned long>(milliseconds, 0x7FFFFFFFul));
    std::unique_lock<std::mutex> lock(m_Mutex);
    if (!m_Condition.wait_for(lock, timeout, [this] { return m_Signalled; }))
        return false;
    ConsumeLocked();
    return true;
}

void Event::Wait()
{
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Condition.wait(lock, [this] { return m_Signalled; });
    ConsumeLocked();
}

} // namespace core
