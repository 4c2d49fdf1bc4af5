#include "shr/Timer.h"

namespace shr {

CTimer::CTimer() : m_Start(std::chrono::steady_clock::now()) {}

void CTimer::Start() { m_Start = std::chrono::steady_clock::now(); }

int64_t CTimer::Stop() const
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - m_Start).count();
}

} // namespace shr
