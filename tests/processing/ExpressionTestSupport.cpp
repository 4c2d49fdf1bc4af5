#include "ExpressionTestSupport.h"

#include "core/properties/VbPropertyEvent.h"

namespace exprtest {

SHR_IMPLEMENT_CREATABLE_TYPE(DataSource, core::VoModule)
const core::VbModuleInfo DataSource::s_ModuleInfo("Test Modules\\ExpressionDataSource", DataSource::GetClassTypeId(),
                                                  0, 15, "Offers test data", -1);

DataSource::DataSource(core::VdData* data, unsigned int type)
{
    AddOutput("Output Data", type)->Data(data);
}

void ExpressionModuleTest::SetUp()
{
    network().Init();
    network().DeleteAllNodes();
    proxy = std::make_unique<ErrorProxy>();
}

void ExpressionModuleTest::TearDown()
{
    network().WaitUntilDone(5000);
    network().DeleteAllNodes();
    proxy.reset();
}

void ExpressionModuleTest::RunPass()
{
    network().Update();
    network().WaitUntilDone(20000);
}

void ExpressionModuleTest::Edit(core::VoModule* module, const std::vector<std::pair<int, const char*>>& rows)
{
    list.RemoveAll();
    module->UpdateProperties(list);
    for (const auto& row : rows) {
        ASSERT_TRUE(list.IsProp(row.first)) << row.first;
        ASSERT_TRUE(list.StringValue(row.first, row.second)) << row.first << " " << row.second;
        network().ModifyNode(*module, list, core::VbPropertyEvent(row.first, list.AnyValue(row.first)), true, false);
    }
    RunPass();
}

std::string ExpressionModuleTest::LastError()
{
    const std::vector<std::string> errors = proxy->Errors();
    return errors.empty() ? std::string() : errors.back();
}

} // namespace exprtest

namespace {

// Stops the update thread once all tests have run.
class NetworkEnvironment : public ::testing::Environment {
public:
    void TearDown() override { core::VoNetwork::Instance().Release(); }
};

const ::testing::Environment* const g_Environment = ::testing::AddGlobalTestEnvironment(new NetworkEnvironment);

} // namespace
