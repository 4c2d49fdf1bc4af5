// Scenes are built before anything is drawn: the scene-graph library must be
// ready before the first test makes a node.
#include "render/CoinInit.h"

#include <gtest/gtest.h>

namespace {

class CoinEnvironment : public testing::Environment {
public:
    void SetUp() override { render::EnsureCoinInit(); }
};

const testing::Environment* const s_Coin = testing::AddGlobalTestEnvironment(new CoinEnvironment);

} // namespace
