#pragma once
// Event: a signalled/non-signalled flag that threads wait on. An auto-reset
// event lets exactly one waiter through per Set and falls back to
// non-signalled; a manual-reset event stays signalled, letting every waiter
// through, until Reset.
#include <condition_variable>
#include <mutex>

namespace core {

class Event {
public:
    enum class Mode { AutoReset, ManualReset };

    Event(Mode mode, bool signalled);
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void Set();
    void Reset();
    // Waits at most `milliseconds`; true if the event was signalled.
    bool Wait(unsigned long milliseconds);
    // Waits without time-out.
    void Wait();

private:
    void ConsumeLocked();

    const Mode m_Mode;
    bool m_Signalled;
    std::mutex m_Mutex;
    std::condition_variable m_Condition;
};

} // namespace core
