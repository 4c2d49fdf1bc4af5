#include "host/HostUiProxy.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/LatticeFile.h"
#include "host/PointSetLoader.h"
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/StringUtil.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>

namespace host {

namespace {

constexpr int kBarWidth = 30;

// The module whose status this thread changed last, and whether it failed: a
// module's status turns to failed just before its error is sent, and its
// status lines follow its status, on the same thread.
thread_local bool t_ModuleFailed = false;
thread_local core::VbModuleId t_LastModule;

} // namespace

HostUiProxy::HostUiProxy(std::ostream& stream, bool terminal) : m_Stream(stream), m_Terminal(terminal) {}

HostUiProxy::~HostUiProxy()
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    ClearBar();
}

bool HostUiProxy::StderrIsTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

const char* HostUiProxy::StatusName(int status)
{
    static const char* const names[] = {"stale", "ok", "executing", "aborted", "failed", "idle"};
    return status >= 0 && status < 6 ? names[status] : "unknown";
}

void HostUiProxy::ModuleStatusChanged(const core::VoModule* module, int status)
{
    if (!module)
        return;
    const auto now = std::chrono::steady_clock::now();
    std::lock_guard<std::mutex> lock(m_Mutex);
    ModuleReport& report = m_Reports[module->Id()];
    report.name = module->Name();
    const auto started = m_Started.find(module->Id());
    if (started != m_Started.end()) {
        report.lastSeconds = std::chrono::duration<double>(now - started->second).count();
        report.executeSeconds += report.lastSeconds;
        m_Started.erase(started);
    }
    if (status == core::VoModule::ModuleExecuting) {
        m_Started[module->Id()] = now;
        report.messages.clear();
    }
    t_ModuleFailed = status == core::VoModule::ModuleFailed;
    t_LastModule = module->Id();
}

void HostUiProxy::StatusMsg(const char* format, ...)
{
    // A line from a pass belongs to the module whose status the pass changed
    // last, and is kept with it whatever the log level.
    const bool fromModule = core::VoNetwork::Instance().IsUpdateThread() && !t_LastModule.IsBad();
    const bool shown = shr::g_Logger.GetMaxLevel() >= kStatusLevel;
    if (!fromModule && !shown)
        return;
    std::string text;
    va_list args;
    va_start(args, format);
    shr::FormatStringVA(text, format, args);
    va_end(args);
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (fromModule)
        m_Reports[t_LastModule].messages.push_back(text);
    if (shown)
        WriteLine(text);
}

void HostUiProxy::ErrorMsg(const shr::Exception& error)
{
    const bool fromModule = t_ModuleFailed;
    t_ModuleFailed = false;
    std::lock_guard<std::mutex> lock(m_Mutex);
    const std::string message = error.Message();
    if (!fromModule) {
        m_PassErrors.push_back(message);
        return;
    }
    ModuleReport& report = m_Reports[t_LastModule];
    report.errors.push_back(message);
    report.messages.push_back(message);
}

void HostUiProxy::MessageBoxA(const char* text, const char* caption)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    WriteLine(std::string(caption ? caption : "fenrak") + ": " + (text ? text : ""));
}

void HostUiProxy::PushProgress(const char* text, bool)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_ProgressTexts.emplace_back(text ? text : "");
    m_Fraction = 0.0;
    if (m_Terminal)
        DrawBar();
    else
        WriteLine(m_ProgressTexts.back() + "...");
}

void HostUiProxy::PopProgress()
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (!m_ProgressTexts.empty())
        m_ProgressTexts.pop_back();
    if (m_ProgressTexts.empty())
        ClearBar();
    else if (m_Terminal)
        DrawBar();
}

void HostUiProxy::ProgressText(const char* text)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_ProgressTexts.empty())
        m_ProgressTexts.emplace_back();
    m_ProgressTexts.back() = text ? text : "";
    if (m_Terminal)
        DrawBar();
    else
        WriteLine(m_ProgressTexts.back() + "...");
}

void HostUiProxy::Progress(double fraction)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Fraction = fraction < 0.0 ? 0.0 : fraction > 1.0 ? 1.0 : fraction;
    if (m_Terminal)
        DrawBar();
}

void HostUiProxy::ReloadDataFile(core::VoModule& module, const shr::GString& path)
{
    try {
        if (LatticeFileLoader::IsLatticeSource(module))
            LatticeFileLoader::Reload(module, path);
        else
            PointSetLoader::Reload(module, path);
        StatusMsg("reloaded %s", path.c_str());
    } catch (const shr::Exception& error) {
        std::lock_guard<std::mutex> lock(m_Mutex);
        ModuleReport& report = m_Reports[module.Id()];
        report.name = module.Name();
        report.loadErrors.push_back(error.Message());
    }
}

void HostUiProxy::DoCommand(const shr::CommandOptions& command)
{
    std::string message;
    if (m_WellImport.Answer(command, message) || message.empty())
        return;
    std::lock_guard<std::mutex> lock(m_Mutex);
    WriteLine("error: " + message);
}

HostUiProxy::ModuleReport HostUiProxy::Report(const core::VbModuleId& id) const
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Reports.find(id);
    return found == m_Reports.end() ? ModuleReport() : found->second;
}

std::vector<std::string> HostUiProxy::PassErrors() const
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_PassErrors;
}

// Under the mutex: a line of its own, below a bar that is redrawn after it.
void HostUiProxy::WriteLine(const std::string& line)
{
    const bool bar = m_BarShown;
    ClearBar();
    m_Stream << line << '\n';
    if (bar)
        DrawBar();
    m_Stream.flush();
}

void HostUiProxy::DrawBar()
{
    const int filled = static_cast<int>(m_Fraction * kBarWidth + 0.5);
    const std::string text = m_ProgressTexts.empty() ? std::string() : m_ProgressTexts.back();
    m_Stream << "\r[" << std::string(static_cast<size_t>(filled), '#')
             << std::string(static_cast<size_t>(kBarWidth - filled), ' ') << "] "
             << shr::ToString("%3d%% ", static_cast<int>(m_Fraction * 100.0 + 0.5)) << text << "\033[K";
    m_Stream.flush();
    m_BarShown = true;
}

void HostUiProxy::ClearBar()
{
    if (!m_BarShown)
        return;
    m_Stream << "\r\033[K";
    m_Stream.flush();
    m_BarShown = false;
}

} // namespace host
