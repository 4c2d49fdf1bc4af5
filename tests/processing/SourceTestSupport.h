#pragma once
// A host for the source and info module tests: it records the reload and
// worksheet requests besides the errors, and lists rows with their labels.
#include "ExpressionTestSupport.h"

#include "core/data/VdData.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbPropertyEvent.h"

#include <boost/any.hpp>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace sourcetest {

class SourceProxy : public exprtest::ErrorProxy {
public:
    void ReloadDataFile(core::VoModule& module, const shr::GString& path) override
    {
        reloads.emplace_back(&module, path);
    }
    // The host owns the reference it is given; the test gives it back at once.
    void CreateDataView(const core::VdData* data, const shr::GString& name) override
    {
        views.emplace_back(data, name);
        data->DecRef();
    }

    // Raised from the update thread once `watched` starts executing.
    void ModuleStatusChanged(const core::VoModule* module, int status) override
    {
        if (module == watched && status == core::VoModule::ModuleExecuting)
            executing = true;
    }

    std::atomic<const core::VoModule*> watched{nullptr};
    std::atomic<bool> executing{false};
    std::vector<std::pair<core::VoModule*, std::string>> reloads;
    std::vector<std::pair<const core::VdData*, std::string>> views;
};

// A plain list that also keeps the label of each static row.
class LabelledList : public core::SimplePropertyCollection {
public:
    void AddStatic(const core::VbModuleId& module, int id, const char* label, const char* help,
                   const char* text) override
    {
        labels[id] = label;
        SimplePropertyCollection::AddStatic(module, id, label, help, text);
    }
    std::string Text(int id) const { return StringValue(id); }
    std::string Comment(int id) const
    {
        return boost::any_cast<core::VbHeaderProperty::ValueType>(AnyValue(id)).second;
    }
    double Number(int id) const
    {
        double value = 0;
        GetValue(id, value);
        return value;
    }

    std::map<int, std::string> labels;
};

class SourceModuleTest : public exprtest::ExpressionModuleTest {
protected:
    void SetUp() override
    {
        ExpressionModuleTest::SetUp();
        // The old proxy goes first: removing any proxy reinstates the default one.
        proxy.reset();
        proxy = std::make_unique<SourceProxy>();
    }
    SourceProxy& host() { return static_cast<SourceProxy&>(*proxy); }
    // Starts a pass and aborts it once `module` executes. False when the
    // module did not start or had finished before the abort came.
    bool AbortWhileExecuting(core::VoModule& module)
    {
        host().watched = &module;
        network().Update();
        for (int wait = 0; wait < 20000 && !host().executing; ++wait)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_TRUE(host().executing);
        network().AbortIfBusy(true);
        return host().executing && module.GetStatus() != core::VoModule::ModuleOk;
    }
    // The module's rows, listed afresh.
    static std::unique_ptr<LabelledList> Rows(core::VoModule& module)
    {
        auto rows = std::make_unique<LabelledList>();
        module.UpdateProperties(*rows);
        return rows;
    }
};

} // namespace sourcetest
