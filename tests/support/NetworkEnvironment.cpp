// Linked whole into every test program that uses this library: the update
// thread is started before the first test and stopped after the last.
#include "core/network/VoNetwork.h"

#include <gtest/gtest.h>

namespace {

class NetworkEnvironment : public ::testing::Environment {
public:
    void SetUp() override { core::VoNetwork::Instance().Init(); }
    void TearDown() override { core::VoNetwork::Instance().Release(); }
};

const ::testing::Environment* const s_Environment = ::testing::AddGlobalTestEnvironment(new NetworkEnvironment);

} // namespace
