#pragma once
// CTimer: a wall-clock stopwatch. Ticks divided by Frequency() give seconds.
#include <chrono>
#include <cstdint>

namespace shr {

class CTimer {
public:
    CTimer();
    void Start();
    // Ticks since the last Start (or construction); the timer keeps running.
    int64_t Stop() const;
    static int64_t Frequency() { return 1000000000; } // ticks per second
    double Seconds() const { return static_cast<double>(Stop()) / static_cast<double>(Frequency()); }

private:
    std::chrono::steady_clock::time_point m_Start;
};

} // namespace shr
