#pragma once
// HostUiProxy: the host's side of UiProxy for a program on a terminal. Progress
// is a bar on one line when the stream is a terminal, and plain status lines
// otherwise (a log file should not fill with carriage returns). Status lines
// (execution times) are diagnostics, shown from log level 4 on. Errors are not
// printed as they come: the proxy keeps them, per module, with the time spent
// executing, and the command reports each once, at the end.
//
// Calls come from the host's thread and the update thread; one mutex orders
// them.
#include "core/network/UiProxy.h"
#include "core/network/VbModuleId.h"
#include "host/WellImport.h"

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
        double executeSeconds = 0.0;         // every execution together
        double lastSeconds = 0.0;            // the latest execution
        std::vector<std::string> errors;     // raised by its executions
        std::vector<std::string> loadErrors; // its data file could not be read
        // Status lines and errors of the latest execution, in order.
        std::vector<std::string> messages;
    };
    // The log level from which status lines are shown.
    static constexpr int kStatusLevel = 4;

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
    // Reads the file again into the point-set or lattice source; a failure
    // is kept as the module's load error.
    void ReloadDataFile(core::VoModule& module, const shr::GString& path) override;
    // Answers a well data module's "Import" (see WellImport).
    void DoCommand(const shr::CommandOptions& command) override;
    WellImport& WellImports() { return m_WellImport; }

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
    WellImport m_WellImport;
};

} // namespace host
