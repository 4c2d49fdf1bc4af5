#pragma once
// What the module tests of several areas share: a data source, a host proxy
// that records errors, a fixture that drives modules through the network as a
// host does (add, link, edit rows, run a pass, wait).
#include "core/data/VdData.h"
#include "core/graphics/SceneTransform.h"
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

#include <atomic>
#include <memory>
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

// Records the errors the library reports, and notes when the `watched`
// module starts executing; both come from the update thread.
class ErrorProxy : public core::UiProxy {
public:
    void ErrorMsg(const shr::Exception& error) override;
    void ModuleStatusChanged(const core::VoModule* module, int status) override;
    std::vector<std::string> Errors();
    // The last error reported, or "".
    std::string LastError();
    void Clear();

    std::atomic<const core::VoModule*> watched{nullptr};
    std::atomic<bool> executing{false};

protected:
    std::mutex m_Mutex;

private:
    std::vector<std::string> m_Errors;
};

// Records, besides the errors, the reload and worksheet requests that source
// modules send the host.
class HostRequestProxy : public ErrorProxy {
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

// Starts the network empty and empties it again afterwards.
class NetworkFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    static core::VoNetwork& network() { return core::VoNetwork::Instance(); }
    // One pass, waited for.
    static void RunPass();
    // Starts a pass and aborts it once `module` executes, as `proxy` sees.
    // False when the module did not start or had finished before the abort.
    static bool AbortWhileExecuting(core::VoModule& module, ErrorProxy& proxy);

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

// Keeps the host's error reports too, in a Proxy made for each test; a test
// may put a proxy of its own in `proxy` (resetting the old one first:
// removing a proxy reinstates the default one).
template <class Proxy>
class ProxyNetworkTest : public NetworkFixture {
protected:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        proxy = std::make_unique<Proxy>();
    }
    void TearDown() override
    {
        NetworkFixture::TearDown();
        proxy.reset();
    }
    // The last error the host was told of, or "".
    std::string LastError() { return proxy->LastError(); }

    std::unique_ptr<Proxy> proxy;
};
class ReportingNetworkTest : public ProxyNetworkTest<ErrorProxy> {};

// Feeds modules data of any kind, each from a source of its own.
class DataNetworkTest : public ReportingNetworkTest {
protected:
    // `module` fed with `data` from a new source; both owned by the network.
    template <class Module>
    Module* Feed(core::VdData* data, Module* module, int input = 0)
    {
        auto* source = Add(new DataSource(data, data->GetType()));
        if (module->Id().IsBad())
            Add(module);
        Link(module, source, input);
        return module;
    }
    // The module's first output as `Data`, or null.
    template <class Data = core::VdLattice>
    static const Data* Output(const core::VoModule* module)
    {
        return dynamic_cast<const Data*>(module->GetOutput(0)->Data());
    }
};

// For modules that draw: the scene is not shifted (scene coordinates are the
// data's), and the host's error reports are kept.
class UnshiftedSceneFixture : public NetworkFixture {
protected:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        network().SetTransformOnlyUseIfYouAreAUnitTest(core::SceneTransform(0, 0, true));
    }

    ErrorProxy proxy;
};

} // namespace testsupport
