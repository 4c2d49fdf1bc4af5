#pragma once
// A data source and a recording host for the expression module tests, which
// drive the modules through the network as a host does: edit a row, run a
// pass, wait, look at the output.
#include "core/data/VdData.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/SimplePropertyCollection.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

namespace exprtest {

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

class ErrorProxy : public core::UiProxy {
public:
    void ErrorMsg(const shr::Exception& error) override
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Errors.push_back(error.Message());
    }
    std::vector<std::string> Errors()
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Errors;
    }
    void Clear()
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Errors.clear();
    }

private:
    std::mutex m_Mutex;
    std::vector<std::string> m_Errors;
};

class ExpressionModuleTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    static core::VoNetwork& network() { return core::VoNetwork::Instance(); }
    static void RunPass();
    template <class Module>
    Module* Add(Module* module)
    {
        network().AddNode(module, true);
        return module;
    }
    void Link(core::VoModule* destination, core::VoModule* source, int input)
    {
        ASSERT_TRUE(network().ConnectNodes(*destination, source, input, true));
    }
    // Lists the module's rows, sets each (id, text) as the host would, and runs a pass.
    void Edit(core::VoModule* module, const std::vector<std::pair<int, const char*>>& rows);
    // The last error the host was told of, or "".
    std::string LastError();

    std::unique_ptr<ErrorProxy> proxy;
    core::SimplePropertyCollection list;
};

} // namespace exprtest
