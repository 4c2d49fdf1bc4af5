#pragma once
// VbProgress: progress display and abort test for one long computation, made on
// its stack. Update answers false once the network wants the pass to stop; the
// display is pushed only after `delay` milliseconds of wall-clock time, and
// refreshed at most every `interval` milliseconds after that. A computation
// shorter than the delay shows nothing. The destructor balances its own push.
#include "shr/GString.h"

#include <cstddef>
#include <cstdint>

namespace core {

class VbProgress {
public:
    // Bit 0 of `flags` goes to UiProxy::PushProgress. Modules use (text, 0, 500, 100).
    VbProgress(const char* text, unsigned short flags, long delay, long interval);
    ~VbProgress();
    VbProgress(const VbProgress&) = delete;
    VbProgress& operator=(const VbProgress&) = delete;

    void SetText(const char* text);
    // False when the computation is to stop; `fraction` is shown clamped to 0..1.
    bool Update(double fraction);
    bool Update(size_t done, size_t total);

private:
    static int64_t NowMilliseconds();

    unsigned short m_Flags;
    shr::GString m_Text;
    long m_Delay;
    long m_Interval;
    int64_t m_StartClock;
    int64_t m_LastClock;
    bool m_Shown = false;
};

} // namespace core
