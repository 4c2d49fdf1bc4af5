#pragma once
// What the well tests share: error texts, and logs made from a list of entries.
#include "TestSupport.h"

#include "core/wells/WellLog.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>

namespace welltest {

// `call` raises an error with exactly this message.
inline void ExpectError(const std::function<void()>& call, const char* message)
{
    EXPECT_EQ(testsupport::RaisedBy(call).message, message);
}

inline std::shared_ptr<core::WellLog> MakeLog(const char* name, std::initializer_list<core::LogEntry> entries)
{
    auto log = std::make_shared<core::WellLog>(core::LogInit{name, core::WellLog::DefaultNullValue});
    for (const core::LogEntry& entry : entries)
        log->Append(entry);
    return log;
}

} // namespace welltest
