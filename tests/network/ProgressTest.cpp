#include "NetworkTestSupport.h"

#include "core/network/ContextMenuOptions.h"
#include "core/network/CoreError.h"
#include "core/network/Event.h"

#include <limits>

using namespace core;

namespace nettest {
namespace {

using ProgressTest = NetworkTest;

TEST_F(ProgressTest, DisplayRules)
{
    struct Case {
        const char* name;
        long delay;
        std::vector<double> updates;
        const char* textBeforeDisplay;
        std::vector<std::string> events;
        std::vector<double> shown;
    };
    const long never = std::numeric_limits<int32_t>::max();
    const Case cases[] = {
        {"within the delay nothing shows", never, {0.1, 0.5, 0.9}, nullptr, {}, {}},
        {"fractions are clamped", -1, {1.7, -0.2, 0.25}, nullptr, {"push:Work:1", "pop"}, {1.0, 0.0, 0.25}},
        {"text set before the display is pushed", -1, {0.5}, "Renamed", {"push:Renamed:1", "pop"}, {0.5}},
    };
    for (const Case& c : cases) {
        proxy->events.clear();
        proxy->fractions.clear();
        {
            VbProgress progress("Work", 1, c.delay, c.delay);
            if (c.textBeforeDisplay)
                progress.SetText(c.textBeforeDisplay);
            for (double fraction : c.updates)
                EXPECT_TRUE(progress.Update(fraction)) << c.name;
        }
        EXPECT_EQ(c.events, proxy->events) << c.name;
        EXPECT_EQ(c.shown, proxy->fractions) << c.name;
    }
}

TEST_F(ProgressTest, TextAfterTheDisplayGoesToTheHost)
{
    {
        VbProgress progress("Work", 0, -1, std::numeric_limits<int32_t>::max());
        EXPECT_TRUE(progress.Update(size_t(1), size_t(4)));
        progress.SetText("Phase two");
        EXPECT_TRUE(progress.Update(0.5)); // within the new interval: not shown
    }
    EXPECT_EQ((std::vector<std::string>{"push:Work:0", "text:Phase two", "pop"}), proxy->events);
    EXPECT_EQ((std::vector<double>{0.25}), proxy->fractions);
}

TEST(UiProxyTest, InstallationRules)
{
    UiProxy* fallback = UiProxy::Instance();
    {
        RecordingProxy older;
        EXPECT_EQ(&older, UiProxy::Instance());
        {
            RecordingProxy newer;
            EXPECT_EQ(&newer, UiProxy::Instance()) << "the latest created is active";
        }
        EXPECT_EQ(fallback, UiProxy::Instance()) << "destroying any proxy leaves the default";
        RecordingProxy third;
        {
            RecordingProxy fourth;
        }
        EXPECT_EQ(fallback, UiProxy::Instance());
    }
    EXPECT_EQ(fallback, UiProxy::Instance());
    // The default does nothing and does not fail.
    fallback->StatusMsg("%s", "quiet");
    fallback->ErrorMsg(__FILE__, __LINE__, "quiet");
    fallback->Progress(0.5);
}

// A worksheet request takes a reference for the view; with no host view to
// hold it, the default gives it back, so the data can still be freed.
TEST(UiProxyTest, TheDefaultDataViewGivesItsReferenceBack)
{
    static int live = 0;
    struct Counted : VdData {
        Counted() { ++live; }
        ~Counted() override { --live; }
        unsigned int GetType() const override { return 1; }
        const char* GetTypeName() const override { return "counted"; }
    };
    const VdData* data = new Counted;
    data->AddRef(); // the module's port
    data->AddRef(); // the request, as a source module makes it
    UiProxy::Instance()->CreateDataView(data, "Points");
    data->DecRef();
    EXPECT_EQ(live, 0);
}

TEST(UiProxyTest, ErrorMsgWithSiteBuildsACoreError)
{
    struct Capture : RecordingProxy {
        void ErrorMsg(const shr::Exception& error) override { captured.push_back(error); }
        std::vector<shr::Exception> captured;
    } capture;
    capture.UiProxy::ErrorMsg("Module.cpp", 17, "Went wrong");
    ASSERT_EQ(1u, capture.captured.size());
    const shr::Exception& e = capture.captured.front();
    EXPECT_EQ("Core", e.Component());
    EXPECT_EQ("Module.cpp", e.File());
    EXPECT_EQ(17, e.Line());
    EXPECT_EQ(0, e.Code());
    EXPECT_EQ("Went wrong", e.Message());
}

TEST(ContextMenuTest, KeepsOrderAndRefusesEmptyLabels)
{
    ContextMenuOptions options;
    options.Add({"Import", shr::CommandOptions("Import Kind=1")});
    options.Add({"Reload", shr::CommandOptions("Reload")});
    EXPECT_THROW(options.Add({"", shr::CommandOptions("Nothing")}), shr::Exception);
    ASSERT_EQ(2u, options.size());
    EXPECT_EQ("Import", options.begin()->first);
    EXPECT_EQ("Import", options.begin()->second.Command());
    EXPECT_EQ("Reload", options.rbegin()->first);
}

TEST(CoreErrorTest, Table)
{
    struct Case {
        int code;
        std::function<void()> raise;
        std::string text;
    };
    const Case cases[] = {
        {0, [] { CORE_THROW(0, "Free text %d", 3); }, "Free text 3"},
        {2, [] { CORE_THROW(2, 'X'); }, "The minimum X limit must be less than the maximum."},
        {5, [] { CORE_THROW(5, "Isosurface", "lattice"); }, "Type mismatch: Isosurface requires a lattice for input."},
        {31,
         [] { CORE_THROW(31, 'Z', 250.0, 0.5); },
         "Too many labels for the Z axis (250).\nIncrease the label increment to at least 0.5"},
        {43, [] { CORE_THROW(43, 12u, "map.txt"); }, "Line 12 in file 'map.txt' is out of order."},
        {46, [] { CORE_THROW(46); }, "Insufficient memory to perform operation"},
        {1,
         [] { CORE_THROW(1); },
         std::string("Internal Error.  An internal inconsistency has been detected.\nPlease report this to Corvant at ") +
             kSupportAddress},
    };
    for (const Case& c : cases) {
        try {
            c.raise();
            ADD_FAILURE() << "code " << c.code << " did not throw";
        } catch (const shr::Exception& e) {
            EXPECT_EQ(c.text, e.Message()) << c.code;
            EXPECT_EQ(c.code, e.Code());
            EXPECT_EQ("Core", e.Component());
            EXPECT_NE(std::string::npos, e.File().find("ProgressTest.cpp")) << "the call site's file";
            EXPECT_GT(e.Line(), 0);
        }
    }
    EXPECT_NO_THROW(CORE_THROW(47));
    EXPECT_NO_THROW(CORE_THROW(-1));
    for (int code = 2; code <= kLastCoreErrorCode; ++code)
        EXPECT_NE(nullptr, CoreErrorFormat(code)) << code;
}

TEST(EventTest, AutoResetLetsOneWaiterThroughManualResetAll)
{
    Event automatic(Event::Mode::AutoReset, true);
    EXPECT_TRUE(automatic.Wait(0));
    EXPECT_FALSE(automatic.Wait(0)) << "consumed by the first wait";
    Event manual(Event::Mode::ManualReset, true);
    EXPECT_TRUE(manual.Wait(0));
    EXPECT_TRUE(manual.Wait(0));
    manual.Reset();
    EXPECT_FALSE(manual.Wait(0));

    Event wake(Event::Mode::AutoReset, false);
    std::thread waiter([&] { wake.Wait(); });
    wake.Set();
    waiter.join();
    EXPECT_FALSE(wake.Wait(0));
}

} // namespace
} // namespace nettest
