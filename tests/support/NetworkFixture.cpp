#include "NetworkFixture.h"

#include "core/properties/VbPropertyEvent.h"

#include <chrono>
#include <thread>

namespace testsupport {

SHR_IMPLEMENT_CREATABLE_TYPE(DataSource, core::VoModule)
const core::VbModuleInfo DataSource::s_ModuleInfo("Test Modules\\TestDataSource", DataSource::GetClassTypeId(), 0, 15,
                                                  "Offers test data", -1);

DataSource::DataSource(core::VdData* data, unsigned int type)
{
    AddOutput("Output Data", type)->Data(data);
}

void ErrorProxy::ErrorMsg(const shr::Exception& error)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Errors.push_back(error.Message());
}

void ErrorProxy::ModuleStatusChanged(const core::VoModule* module, int status)
{
    if (module == watched && status == core::VoModule::ModuleExecuting)
        executing = true;
}

std::vector<std::string> ErrorProxy::Errors()
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Errors;
}

std::string ErrorProxy::LastError()
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Errors.empty() ? std::string() : m_Errors.back();
}

void ErrorProxy::Clear()
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Errors.clear();
}

void NetworkFixture::SetUp()
{
    network().Init();
    network().DeleteAllNodes();
}

void NetworkFixture::TearDown()
{
    network().WaitUntilDone(5000);
    network().DeleteAllNodes();
}

void NetworkFixture::RunPass()
{
    network().Update();
    network().WaitUntilDone(30000);
}

bool NetworkFixture::AbortWhileExecuting(core::VoModule& module, ErrorProxy& proxy)
{
    proxy.executing = false;
    proxy.watched = &module;
    network().Update();
    for (int wait = 0; wait < 20000 && !proxy.executing; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(proxy.executing) << "the module did not start";
    network().AbortIfBusy(true);
    network().WaitUntilDone(30000);
    return proxy.executing && module.GetStatus() != core::VoModule::ModuleOk;
}

void NetworkFixture::Edit(core::VoModule* module, const std::vector<std::pair<int, const char*>>& rows)
{
    list.RemoveAll();
    module->UpdateProperties(list);
    for (const auto& row : rows) {
        ASSERT_TRUE(list.IsProp(row.first)) << row.first;
        ASSERT_TRUE(list.StringValue(row.first, row.second)) << row.first << " " << row.second;
        Send(*module, list, row.first);
    }
    RunPass();
}

void NetworkFixture::Send(core::VoModule& module, core::VbPropList& rows, int id, bool restoring)
{
    network().ModifyNode(module, rows, core::VbPropertyEvent(id, rows.AnyValue(id)), true, restoring);
}

} // namespace testsupport
