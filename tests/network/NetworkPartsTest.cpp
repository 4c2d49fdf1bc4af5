// The network's parts: progress display, the host proxy, core errors, the
// module registry and module ids.
#include "ScriptedModule.h"

#include "core/network/CoreError.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbProgress.h"

#include <functional>
#include <limits>
#include <tuple>

using namespace core;
using namespace testsupport;

namespace {

const VbModuleInfo s_Source("Test\\NetTestSource", TestModule::GetClassTypeId(), 0, 2, "", 3);
const VbModuleInfo s_Filter("Test\\NetTestFilter", nullptr, 14, 2, "Filters", -1);
const VbModuleInfo s_Geom("Test\\NetTestGeom", nullptr, 16, 16, nullptr, -1);
const VbModuleInfo s_Info("Test\\NetTestInfo", nullptr, 63, 0, "Shows", -1);
const VbModuleInfo s_Underscore("Other\\NetTest_b", nullptr, 1, 1, "Points", -1);
const VbModuleInfo s_Lower("Other\\NetTesta", nullptr, 0, 1, "Points", -1);

// The test infos among the results, in their order.
std::vector<std::string> Ours(const std::vector<const VbModuleInfo*>& infos)
{
    std::vector<std::string> names;
    for (const VbModuleInfo* info : infos)
        if (info->UiName().compare(0, 7, "NetTest") == 0)
            names.push_back(info->UiName());
    return names;
}

using ProgressTest = ScriptedNetworkTest;

TEST_F(ProgressTest, DisplayRules)
{
    const long never = std::numeric_limits<int32_t>::max();
    const struct {
        const char* name;
        bool flag;
        long delay, interval;
        std::vector<double> updates;
        const char* textBefore; // set before the first update
        const char* textAfter;  // set after it
        std::vector<std::string> events;
        std::vector<double> shown;
    } cases[] = {
        {"within the delay nothing shows", true, never, never, {0.1, 0.5, 0.9}, nullptr, nullptr, {}, {}},
        {"fractions are clamped", true, -1, -1, {1.7, -0.2, 0.25}, nullptr, nullptr, {"push:Work:1", "pop"},
         {1.0, 0.0, 0.25}},
        {"text set before the display is pushed", true, -1, -1, {0.5}, "Renamed", nullptr,
         {"push:Renamed:1", "pop"}, {0.5}},
        {"text after the display goes to the host; within the interval nothing shows", false, -1, never,
         {0.25, 0.5}, nullptr, "Phase two", {"push:Work:0", "text:Phase two", "pop"}, {0.25}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        proxy->events.clear();
        proxy->fractions.clear();
        {
            VbProgress progress("Work", c.flag, c.delay, c.interval);
            if (c.textBefore)
                progress.SetText(c.textBefore);
            for (double fraction : c.updates) {
                EXPECT_TRUE(progress.Update(fraction));
                if (c.textAfter && fraction == c.updates.front())
                    progress.SetText(c.textAfter);
            }
        }
        EXPECT_EQ(c.events, proxy->events);
        EXPECT_EQ(c.shown, proxy->fractions);
    }
}

TEST(UiProxyTest, TheLatestProxyIsActiveUntilAnyIsDestroyed)
{
    UiProxy* fallback = UiProxy::Instance();
    {
        RecordingProxy older;
        {
            RecordingProxy newer;
            EXPECT_EQ(&newer, UiProxy::Instance());
        }
        EXPECT_EQ(fallback, UiProxy::Instance()) << "destroying any proxy leaves the default";
    }
    // A worksheet request takes a reference for the view; with no view to hold
    // it, the default proxy gives it back, so the data can still be freed
    // (checked by the address sanitizer).
    const VdData* data = new TestData;
    data->AddRef(); // the module's port
    data->AddRef(); // the request, as a source module makes it
    fallback->CreateDataView(data, "Points");
    data->DecRef();

    // An error with a call site reaches the host as a Core error of code 0.
    struct Capture : RecordingProxy {
        void ErrorMsg(const shr::Exception& error) override { texts.push_back(error.Describe()); }
        std::vector<std::string> texts;
    } capture;
    capture.UiProxy::ErrorMsg("Module.cpp", 17, "Went wrong");
    EXPECT_EQ(std::vector<std::string>{"Core error 0 (Module.cpp:17): Went wrong"}, capture.texts);
}

TEST(CoreErrorTest, CodesGiveTheirTextsAndTheCallSite)
{
    const std::tuple<int, std::function<void()>, std::string> cases[] = {
        {0, [] { CORE_THROW(0, "Free text %d", 3); }, "Free text 3"},
        {31, [] { CORE_THROW(31, 'Z', 250.0, 0.5); },
         "Too many labels for the Z axis (250).\nIncrease the label increment to at least 0.5"},
        {1, [] { CORE_THROW(1); }, std::string("Internal Error.  An internal inconsistency has been detected.\nPlease "
                                               "report this to Corvant at ") + kSupportAddress},
    };
    for (const auto& [code, action, text] : cases) {
        const Raised raised = RaisedBy(action);
        EXPECT_EQ(text, raised.message) << code;
        EXPECT_EQ(code, raised.code);
        EXPECT_EQ("Core", raised.component);
        EXPECT_NE(std::string::npos, raised.file.find("NetworkPartsTest.cpp")) << "the call site's file";
    }
    EXPECT_NO_THROW(CORE_THROW(47));
    EXPECT_NO_THROW(CORE_THROW(-1));
    for (int code = 2; code <= kLastCoreErrorCode; ++code)
        EXPECT_NE(nullptr, CoreErrorFormat(code)) << code;
}

TEST(RegistryTest, LookupMatchesCompatibilityAndCreation)
{
    const VbModuleRegistry& registry = VbModuleRegistry::Instance();
    EXPECT_EQ(&s_Filter, registry.Construct("NetTestFilter"));
    EXPECT_EQ(nullptr, registry.Construct("Test\\NetTestFilter"));
    EXPECT_EQ(nullptr, registry.Construct("nettestfilter")) << "names are case-sensitive";
    EXPECT_FALSE(registry.CanConstruct("NetTestNothing"));
    EXPECT_THROW(registry.Construct(""), shr::Exception);
    EXPECT_THROW(registry.CanConstruct(""), shr::Exception);
    const std::vector<const VbModuleInfo*> all(registry.begin(), registry.end());
    EXPECT_EQ((std::vector<std::string>{"NetTestFilter", "NetTestGeom", "NetTestInfo", "NetTestSource", "NetTest_b",
                                        "NetTesta"}),
              Ours(all));

    // Bad registrations change nothing.
    const size_t before = registry.size();
    EXPECT_THROW((void)new VbModuleInfo("", nullptr, 0, 0, "", -1), shr::Exception);
    EXPECT_THROW((void)new VbModuleInfo("Elsewhere\\NetTestGeom", nullptr, 0, 0, "", -1), shr::Exception)
        << "the last component is the key, whatever the category";
    EXPECT_THROW(VbModuleRegistry::Instance().Register(nullptr), shr::Exception);
    EXPECT_EQ(before, registry.size());

    // Matches by source type, compatibility and creation.
    const std::pair<unsigned int, std::vector<std::string>> matches[] = {
        {0, {"NetTestSource", "NetTesta"}},
        {16, {"NetTestGeom", "NetTestInfo"}},
        {2, {"NetTestFilter", "NetTestInfo"}},
        {1, {"NetTestInfo", "NetTest_b"}},
    };
    for (const auto& [mask, expected] : matches) {
        std::vector<const VbModuleInfo*> result{&s_Geom};
        registry.MatchSourceType(mask, result);
        EXPECT_EQ(&s_Geom, result.front()) << "the result is appended to, not cleared";
        result.erase(result.begin());
        EXPECT_EQ(expected, Ours(result)) << "mask " << mask;
    }
    EXPECT_TRUE(VbModuleRegistry::IsCompatible(&s_Source, &s_Filter));
    EXPECT_FALSE(VbModuleRegistry::IsCompatible(&s_Filter, &s_Geom));
    EXPECT_FALSE(VbModuleRegistry::IsCompatible(&s_Info, &s_Info)) << "no outputs: compatible with nothing";
    EXPECT_FALSE(VbModuleRegistry::IsCompatible(nullptr, &s_Info));
    EXPECT_EQ("No help available", s_Geom.HelpString());

    std::unique_ptr<VoModule> made = s_Source.CreateInstance();
    ASSERT_TRUE(made);
    EXPECT_EQ(TestModule::GetClassTypeId(), made->GetTypeId());
    EXPECT_TRUE(made->Id().IsBad());
    EXPECT_THROW(s_Filter.CreateInstance(), shr::Exception);
}

TEST(ModuleIdTest, ArithmeticAndText)
{
    VbModuleId id(VbModuleId::Maximum());
    EXPECT_THROW(++id, shr::Exception);
    EXPECT_EQ(VbModuleId::Maximum(), id);
    VbModuleId below(VbModuleId::Maximum().Value() - 1);
    EXPECT_EQ(VbModuleId::Maximum(), ++below);
    EXPECT_TRUE(VbModuleId(-1) < VbModuleId::Bad());

    const struct {
        const char* text;
        bool accepted;
        int64_t value;
    } cases[] = {{"42", true, 42}, {" -7 ", true, -7}, {"", false, 9}, {"4x", false, 9}, {"99999999999999999999", false, 9}};
    for (const auto& c : cases) {
        VbModuleId parsed(9);
        EXPECT_EQ(c.accepted, parsed.FromString(c.text)) << c.text;
        EXPECT_EQ(c.value, parsed.Value()) << c.text;
    }
    EXPECT_EQ("-1234567", VbModuleId(-1234567).ToString());
}

} // namespace
