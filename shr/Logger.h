#pragma once
// CLogger: the library's diagnostic log, with numbered levels. Levels in use:
// 1 exceptions that reach the update thread's loop, 4 execution and thread
// diagnostics, 8 dragger housekeeping. By default levels 1 to 4 go to standard
// error as "fenrak[<level>]: <text>"; a host raises or lowers the threshold, or
// installs its own sink to redirect or silence the log. Safe to call from any thread.
#include "shr/GString.h"

#include <functional>
#include <mutex>

namespace shr {

class CLogger {
public:
    using Sink = std::function<void(int level, const GString& text)>;

    CLogger();

    void Send(int level, const GString& text);
    void SendVA(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));

    // Messages of a level above the threshold are dropped. Default 4; 0 silences all.
    void SetMaxLevel(int level);
    int GetMaxLevel() const;
    // Replaces the sink; an empty function restores standard error.
    void SetSink(Sink sink);

private:
    mutable std::mutex m_Mutex;
    int m_MaxLevel;
    Sink m_Sink;
};

extern CLogger g_Logger;

} // namespace shr
