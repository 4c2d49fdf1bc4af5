#include "python/src/PythonUiProxy.h"

namespace pyfenrak {

// Null text keeps the current text; a negative fraction keeps the fraction.
void PythonUiProxy::Note(const char* text, double fraction)
{
    std::lock_guard<std::mutex> lock(m_ProgressMutex);
    if (text)
        m_Text = text;
    if (fraction >= 0.0)
        m_Fraction = fraction > 1.0 ? 1.0 : fraction;
    m_Changed = true;
}

void PythonUiProxy::PushProgress(const char* text, bool flag)
{
    HostUiProxy::PushProgress(text, flag);
    Note(text ? text : "", 0.0);
}

void PythonUiProxy::PopProgress()
{
    HostUiProxy::PopProgress();
    Note(nullptr, 1.0);
}

void PythonUiProxy::ProgressText(const char* text)
{
    HostUiProxy::ProgressText(text);
    Note(text ? text : "", -1.0);
}

void PythonUiProxy::Progress(double fraction)
{
    HostUiProxy::Progress(fraction);
    Note(nullptr, fraction);
}

bool PythonUiProxy::TakeProgress(std::string& text, double& fraction)
{
    std::lock_guard<std::mutex> lock(m_ProgressMutex);
    if (!m_Changed)
        return false;
    m_Changed = false;
    text = m_Text;
    fraction = m_Fraction;
    return true;
}

} // namespace pyfenrak
