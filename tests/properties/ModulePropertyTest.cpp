// A module's rows in a plain list, edited the way a host edits them: the new
// value goes into the list, the event through VoNetwork::ModifyNode into the
// module's PropertyEvent, and the next pass runs the module again.
#include "core/network/VbModuleInfo.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbLabelFormat.h"
#include "core/properties/VbPropertyEvent.h"

#include <gtest/gtest.h>

#include <string>

using namespace core;

namespace {

// Labels one number; its label format brings rows 10 to 14.
class LabelModule : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(LabelModule)
public:
    enum { HeaderId = 1, InputId = 2, ValueId = 3, FormatId = 10 };
    static const VbModuleInfo s_ModuleInfo;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override
    {
        if (event.Id() == ValueId)
            list.GetValue(ValueId, value);
        else if (event.Id() > FormatId && event.Id() <= FormatId + 4)
            format.PropertyEvent(Id(), list, event, FormatId);
        else
            return;
        SetModified();
    }

    double value = 1.5;
    VbLabelFormat format{VbLabelFormat::Fixed, 2};
    int executions = 0;
    std::string label;

private:
    void UpdatePropertiesImpl(VbPropList& list) override
    {
        list.AddHeader(Id(), HeaderId, NameAndId(), "General", "", "");
        list.Indent();
        list.AddStatic(Id(), InputId, "Input", "The input this module is connected to.", "Nothing");
        list.AddDouble(Id(), "LabelTestValue", ValueId, "Value", "The number to label.", value, ValCheckNone, 0, 0,
                       0);
        list.Outdent();
        format.GetProperties(Id(), list, "LabelTest", FormatId);
    }
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer>) override
    {
        ++executions;
        label = format.Format(value);
        return ModuleOk;
    }
};

SHR_IMPLEMENT_CREATABLE_TYPE(LabelModule, VoModule)
const VbModuleInfo LabelModule::s_ModuleInfo("Test Modules\\LabelModule", LabelModule::GetClassTypeId(), 0, 0,
                                             "Labels a number", -1);

class ModulePropertyTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        network().Init();
        network().DeleteAllNodes();
        module = new LabelModule;
        network().AddNode(module, true);
        module->UpdateProperties(list);
        RunPass();
    }
    void TearDown() override
    {
        network().WaitUntilDone(2000);
        network().DeleteAllNodes();
    }
    static VoNetwork& network() { return VoNetwork::Instance(); }
    static void RunPass()
    {
        network().Update();
        network().WaitUntilDone(2000);
    }
    void Edit(int id) { network().ModifyNode(*module, list, VbPropertyEvent(id, list.AnyValue(id)), true, false); }

    LabelModule* module = nullptr;
    SimplePropertyCollection list;
};

// Stops the update thread once all tests have run.
class NetworkEnvironment : public ::testing::Environment {
public:
    void TearDown() override { VoNetwork::Instance().Release(); }
};

const ::testing::Environment* const g_Environment = ::testing::AddGlobalTestEnvironment(new NetworkEnvironment);

} // namespace

TEST_F(ModulePropertyTest, AnEditReachesTheModuleAndRunsItAgain)
{
    ASSERT_EQ(module->executions, 1);
    EXPECT_EQ(module->label, "1.50");
    EXPECT_EQ(list.StringValue(LabelModule::InputId), "Nothing");

    struct Row {
        const char* what;
        int id;
        const char* text;
        const char* label;
    } rows[] = {
        {"own row", LabelModule::ValueId, "2.25", "2.25"},
        {"format type", LabelModule::FormatId + 1, "1", "2.25E+00"},
        {"format digits", LabelModule::FormatId + 2, "4", "2.2500E+00"},
        {"format postfix", LabelModule::FormatId + 4, " km", "2.2500E+00 km"},
    };
    int executions = module->executions;
    for (const Row& row : rows) {
        ASSERT_TRUE(list.StringValue(row.id, row.text)) << row.what;
        Edit(row.id);
        EXPECT_EQ(module->GetStatus(), VoModule::ModuleStale) << row.what;
        RunPass();
        EXPECT_EQ(module->executions, ++executions) << row.what;
        EXPECT_EQ(module->label, row.label) << row.what;
    }

    Edit(LabelModule::InputId);
    RunPass();
    EXPECT_EQ(module->executions, executions) << "a row the module does not take changes nothing";

    module->UpdateProperties(list);
    EXPECT_EQ(list.StringValue(LabelModule::FormatId + 2), "4") << "listing again shows the module's state";
    EXPECT_EQ(list.size(), 8u);
}
