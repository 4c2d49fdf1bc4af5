#pragma once
// The fixture of the source and info module tests: a host that records the
// reload and worksheet requests, and rows listed with their labels.
#include "NetworkFixture.h"
#include "RecordingList.h"

#include "core/properties/VbPropertyEvent.h"

#include <memory>

namespace sourcetest {

using SourceProxy = testsupport::HostRequestProxy;
using LabelledList = testsupport::RecordingList;

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
