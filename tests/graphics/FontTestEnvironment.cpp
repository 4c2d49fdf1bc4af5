// Scenes are built before anything is drawn: the scene-graph library and the
// font node classes must be ready before the first test makes a node.
#include "FontTestSupport.h"

#include <gtest/gtest.h>

namespace {

class FontEnvironment : public testing::Environment {
public:
    void SetUp() override { fonttest::EnsureFontClasses(); }
};

const testing::Environment* const s_Fonts = testing::AddGlobalTestEnvironment(new FontEnvironment);

} // namespace
