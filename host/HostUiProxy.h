#pragma once
// HostUiProxy: the host's side of UiProxy for a program on a terminal. Progress
// is a bar on one line when the stream is a terminal, and plain status lines
// otherwise (a log file should not fill with carriage returns). Status and
// error lines go to the same stream; an error names the module whose execution
// raised it. The proxy also keeps, per module, the time spent executing and
// the errors reported, for the host's summary and statistics.
//
// Calls come from the host's thread and the update thread; one mutex orders
// them.
#include "core/network/UiProxy.h"
#include "core/network/VbModuleId.h"

#include <chrono>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace host {

class HostUiProxy : public core::UiProxy {
public:
    struct ModuleReport {
        std::string name;
        double executeSeconds = 0.0;
        std::vector<std::string> errors;
    };

    // Installs itself as the library's proxy; `terminal` asks for the bar.
    HostUiProxy(std::ostream& stream, bool terminal);
    ~HostUiProxy() override;

    // Whether standard error is a terminal.
    static bool StderrIsTerminal();
    // "ok", "failed", ... for a module status.
    static const char* StatusName(int status);

    void ModuleStatusChanged(const core::VoModule* module, int status) override;
    void StatusMsg(const char* format, ...) override __attribute__((format(printf, 2, 3)));
    void ErrorMsg(const shr::Exception& error) override;
    void MessageBoxA(const char* text, const char* caption) override;
    void PushProgress(const char* text, bool flag) override;
    void PopProgress() override;
    void ProgressText(const char* text) override;
    void Progress(double fraction) override;
    // Reads the file again into the point-set or lattice source.
    void ReloadDataFile(core::VoModule& module, const shr::GString& path) override;

    // What was recorded for a module; an empty report if nothing was.
    ModuleReport Report(const core::VbModuleId& id) const;
    // Errors of the passes themselves, not raised by a module's execution.
    std::vector<std::string> PassErrors() const;

private:
    void WriteLine(const std::string& line);
    void DrawBar();
    void ClearBar();

    std::ostream& m_Stream;
    const bool m_Terminal;
    mutable std::mutex m_Mutex;
    std::vector<std::string> m_ProgressTexts; // the stack of pushed texts
    double m_Fraction = 0.0;
    bool m_BarShown = false;
    std::map<core::VbModuleId, ModuleReport> m_Reports;
    std::map<core::VbModuleId, std::chrono::steady_clock::time_point> m_Started;
    std::vector<std::string> m_PassErrors;
};

} // namespace host
