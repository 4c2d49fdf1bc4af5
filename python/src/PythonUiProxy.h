#pragma once
// PythonUiProxy: the host's proxy as the Python module installs it. It keeps
// what the host's proxy keeps (per module its execution time, status lines
// and errors), writes nothing to a terminal, and holds the progress that the
// library last showed for the thread that waits for a pass to hand to a
// Python callback: the update thread must never call into Python.
#include "host/HostUiProxy.h"

#include <mutex>
#include <ostream>
#include <string>

namespace pyfenrak {

namespace PythonUiProxyPrivate {
// The stream the host's proxy writes its lines to: nowhere. A base of the
// proxy, so that it is made before the proxy takes it.
struct Discard {
    std::ostream discard{nullptr};
};
} // namespace PythonUiProxyPrivate

class PythonUiProxy : private PythonUiProxyPrivate::Discard, public host::HostUiProxy {
public:
    PythonUiProxy() : host::HostUiProxy(discard, false) {}

    void PushProgress(const char* text, bool flag) override;
    void PopProgress() override;
    void ProgressText(const char* text) override;
    void Progress(double fraction) override;

    // The progress shown, if it changed since the last call: the text of the
    // innermost computation and its fraction done.
    bool TakeProgress(std::string& text, double& fraction);

private:
    void Note(const char* text, double fraction);

    std::mutex m_ProgressMutex;
    std::string m_Text;
    double m_Fraction = 0.0;
    bool m_Changed = false;
};

} // namespace pyfenrak
