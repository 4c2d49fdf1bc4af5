#pragma once
// A host for the source and info module tests: it records the reload and
// worksheet requests besides the errors, and lists rows with their labels.
#include "NetworkFixture.h"

#include "core/data/VdData.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbPropertyEvent.h"

#include <boost/any.hpp>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace sourcetest {

class SourceProxy : public testsupport::ErrorProxy {
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

class SourceModuleTest : public testsupport::ReportingNetworkTest {
protected:
    void SetUp() override
    {
        ReportingNetworkTest::SetUp();
        // The old proxy goes first: removing any proxy reinstates the default one.
        proxy.reset();
        proxy = std::make_unique<SourceProxy>();
    }
    SourceProxy& host() { return static_cast<SourceProxy&>(*proxy); }
    bool AbortWhileExecuting(core::VoModule& module) { return NetworkFixture::AbortWhileExecuting(module, host()); }
    // The module's rows, listed afresh.
    static std::unique_ptr<LabelledList> Rows(core::VoModule& module)
    {
        auto rows = std::make_unique<LabelledList>();
        module.UpdateProperties(*rows);
        return rows;
    }
};

} // namespace sourcetest
