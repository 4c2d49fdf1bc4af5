#include "shr/Logger.h"

#include "shr/StringUtil.h"

#include <cstdarg>
#include <cstdio>

namespace shr {

CLogger g_Logger;

CLogger::CLogger() : m_MaxLevel(4) {}

void CLogger::Send(int level, const GString& text)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (level > m_MaxLevel)
        return;
    if (m_Sink)
        m_Sink(level, text);
    else
        std::fprintf(stderr, "fenrak[%d]: %s\n", level, text.c_str());
}

void CLogger::SendVA(int level, const char* format, ...)
{
    if (level > GetMaxLevel())
        return;
    std::string text;
    va_list args;
    va_start(args, format);
    FormatStringVA(text, format, args);
    va_end(args);
    Send(level, text);
}

void CLogger::SetMaxLevel(int level)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_MaxLevel = level;
}

int CLogger::GetMaxLevel() const
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_MaxLevel;
}

void CLogger::SetSink(Sink sink)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Sink = std::move(sink);
}

} // namespace shr
