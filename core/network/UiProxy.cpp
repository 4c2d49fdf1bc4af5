#include "core/network/UiProxy.h"

#include "core/data/VdData.h"
#include "shr/Exception.h"

#include <cstdio>

namespace core {

std::atomic<UiProxy*> UiProxy::m_pUiProxy{nullptr};

UiProxy::UiProxy() { m_pUiProxy = this; }

UiProxy::UiProxy(DefaultTag) {}

UiProxy::~UiProxy() { m_pUiProxy = nullptr; }

UiProxy& UiProxy::DefaultInstance()
{
    static UiProxy instance{DefaultTag()};
    return instance;
}

UiProxy* UiProxy::Instance()
{
    UiProxy* proxy = m_pUiProxy;
    return proxy ? proxy : &DefaultInstance();
}

void UiProxy::ModuleStatusChanged(const VoModule*, int) {}
void UiProxy::StatusMsg(const char*, ...) {}
void UiProxy::ErrorMsg(const shr::Exception&) {}

// Without a window system the message goes to standard error.
void UiProxy::MessageBoxA(const char* text, const char* caption)
{
    std::fprintf(stderr, "%s: %s\n", caption ? caption : "Fenrak", text ? text : "");
}

void UiProxy::PushProgress(const char*, bool) {}
void UiProxy::PopProgress() {}
void UiProxy::ProgressText(const char*) {}
void UiProxy::Progress(double) {}
void UiProxy::UpdatePropertyList(const VoModule*, int, bool) {}
void UiProxy::BeforeUpdate() {}
void UiProxy::AfterUpdate() {}
// The request came with a reference for the view to hold; without a view it
// is given back at once, or the data would never be freed.
void UiProxy::CreateDataView(const VdData* data, const shr::GString&)
{
    if (data)
        data->DecRef();
}
void UiProxy::ReloadDataFile(VoModule&, const shr::GString&) {}
void UiProxy::DoCommand(const shr::CommandOptions&) {}

void UiProxy::ErrorMsg(const char* file, int line, const char* text)
{
    ErrorMsg(shr::Exception("Core", file, line, 0, text));
}

} // namespace core
