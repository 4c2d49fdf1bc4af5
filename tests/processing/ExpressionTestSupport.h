#pragma once
// The fixture of the processing module tests: the modules run through the
// network as a host drives them, with the host's error reports recorded.
#include "NetworkFixture.h"

#include <memory>
#include <string>

namespace exprtest {

using testsupport::DataSource;
using testsupport::ErrorProxy;

class ExpressionModuleTest : public testsupport::NetworkFixture {
protected:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        proxy = std::make_unique<ErrorProxy>();
    }
    void TearDown() override
    {
        NetworkFixture::TearDown();
        proxy.reset();
    }
    // The last error the host was told of, or "".
    std::string LastError() { return proxy->LastError(); }

    std::unique_ptr<ErrorProxy> proxy;
};

} // namespace exprtest
