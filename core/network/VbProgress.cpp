#include "core/network/VbProgress.h"

#include "core/network/UiProxy.h"
#include "core/network/VoNetwork.h"

#include <algorithm>
#include <chrono>

namespace core {

VbProgress::VbProgress(const char* text, unsigned short flags, long delay, long interval)
    : m_Flags(flags), m_Text(text), m_Delay(delay), m_Interval(interval), m_StartClock(NowMilliseconds()),
      m_LastClock(m_StartClock)
{
}

VbProgress::~VbProgress()
{
    if (!m_Shown)
        return;
    try {
        UiProxy::Instance()->PopProgress();
    } catch (...) {
        // A destructor must not throw; the host's display is its own concern.
    }
}

int64_t VbProgress::NowMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void VbProgress::SetText(const char* text)
{
    if (m_Shown)
        UiProxy::Instance()->ProgressText(text);
    else
        m_Text = text;
}

bool VbProgress::Update(double fraction)
{
    if (VoNetwork::Instance().Aborted())
        return false;
    const int64_t now = NowMilliseconds();
    // The elapsed time is compared as a signed 32-bit number, as a wrapping
    // clock would give it.
    if (static_cast<int32_t>(static_cast<uint32_t>(now - m_LastClock)) <= m_Delay)
        return true;
    if (!m_Shown) {
        UiProxy::Instance()->PushProgress(m_Text.c_str(), (m_Flags & 1) != 0);
        m_Shown = true;
    }
    UiProxy::Instance()->Progress(std::min(1.0, std::max(0.0, fraction)));
    m_Delay = m_Interval;
    m_LastClock = now;
    return true;
}

bool VbProgress::Update(size_t done, size_t total)
{
    return Update(static_cast<double>(done) / static_cast<double>(total));
}

} // namespace core
