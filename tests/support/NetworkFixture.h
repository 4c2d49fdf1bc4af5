#pragma once
// What the module tests of several areas share: a data source, a host proxy
// that records errors, a fixture that drives modules through the network as a
// host does (add, link, edit rows, run a pass, wait).
#include "core/data/VdData.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/processing/VoLatticeSrc.h"
#include "core/properties/SimplePropertyCollection.h"
#include "shr/Exception.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace testsupport {

// Offers the data it was given on its one output.
class DataSource : public core::VoModule {
    SHR_DECLARE_CREATABLE_TYPE(DataSource)
public:
    static const core::VbModuleInfo s_ModuleInfo;
    const core::VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    explicit DataSource(core::VdData* data = nullptr, unsigned int type = 15);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<core::VgRenderer>) override { return ModuleOk; }
};

// Records the errors the library reports; they may come from the update thread.
class ErrorProxy : public core::UiProxy {
public:
    void ErrorMsg(const shr::Exception& error) override;
    std::vector<std::string> Errors();
    // The last error reported, or "".
    std::string LastError();
    void Clear();

protected:
    std::mutex m_Mutex;

private:
    std::vector<std::string> m_Errors;
};

// Starts the network empty and empties it again afterwards.
class NetworkFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    static core::VoNetwork& network() { return core::VoNetwork::Instance(); }
    // One pass, waited for.
    static void RunPass();

    // Adds `module` to the network, which owns it.
    template <class Module>
    Module* Add(Module* module)
    {
        network().AddNode(module, true);
        return module;
    }
    void Link(core::VoModule* destination, core::VoModule* source, int input = 0)
    {
        ASSERT_TRUE(network().ConnectNodes(*destination, source, input, true));
    }
    // A lattice source holding `lattice` feeding `module`; both owned by the network.
    template <class Module>
    Module* Feed(core::VdLattice* lattice, Module* module)
    {
        source = Add(new core::VoLatticeSrc(lattice, ""));
        Add(module);
        EXPECT_TRUE(network().ConnectNodes(*module, source, 0, true));
        return module;
    }
    // Lists the module's rows into `list`, sets each (id, text) as the host
    // would, and runs a pass.
    void Edit(core::VoModule* module, const std::vector<std::pair<int, const char*>>& rows);
    // Sends the value of row `id` in `rows` to the module as one edit.
    static void Send(core::VoModule& module, core::VbPropList& rows, int id, bool restoring = false);

    core::SimplePropertyCollection list;
    core::VoLatticeSrc* source = nullptr; // the latest made by Feed
};

} // namespace testsupport
