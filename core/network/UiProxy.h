#pragma once
// UiProxy: everything the library has to say to the user goes out through this
// one object, which the host overrides: module status, status and error lines,
// progress, property-list refreshes and requests for the host to act.
//
// Installing: a host derives from UiProxy and creates one instance at start;
// the latest constructed instance is active. Destroying any instance leaves
// Instance() at the library's default, whose operations do nothing (the
// message box writes to standard error, and a data view's reference is given
// back).
//
// Calls arrive on the host's thread and on the update thread alike; the proxy
// does no marshalling. Overrides must not throw.
#include "shr/NonComparable.h"

#include <boost/noncopyable.hpp>

#include <atomic>

namespace shr {
class CommandOptions;
class Exception;
class GString;
} // namespace shr

namespace core {

class VdData;
class VoModule;

class UiProxy : private boost::noncopyable, private shr::NonComparable {
public:
    UiProxy();
    virtual ~UiProxy();

    // The installed proxy, or the default one.
    static UiProxy* Instance();

    virtual void ModuleStatusChanged(const VoModule* module, int status);
    virtual void StatusMsg(const char* format, ...);
    virtual void ErrorMsg(const shr::Exception& error);
    virtual void MessageBoxA(const char* text, const char* caption);
    virtual void PushProgress(const char* text, bool flag);
    virtual void PopProgress();
    virtual void ProgressText(const char* text);
    virtual void Progress(double fraction);
    // `property` -1 means every row; `rebuild` that the rows themselves changed.
    virtual void UpdatePropertyList(const VoModule* module, int property, bool rebuild);
    virtual void BeforeUpdate();
    virtual void AfterUpdate();
    // `data` comes with a reference taken for the view, which the view gives
    // back (DecRef) when it closes.
    virtual void CreateDataView(const VdData* data, const shr::GString& name);
    virtual void ReloadDataFile(VoModule& module, const shr::GString& path);
    virtual void DoCommand(const shr::CommandOptions& command);

    // Reports `text` as a "Core" error of code 0 raised at file:line.
    void ErrorMsg(const char* file, int line, const char* text);

private:
    struct DefaultTag {};
    explicit UiProxy(DefaultTag);
    static UiProxy& DefaultInstance();

    static std::atomic<UiProxy*> m_pUiProxy;
};

} // namespace core
