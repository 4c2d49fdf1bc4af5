// The well data module in a network, as a host drives it: its rows per well
// and per log, the Import it sends, tops edited by row, wells deleted through
// the context menu, paths computed with one message for the wells that could
// not be, and its stored form.
#include "NetworkFixture.h"
#include "WellTestSupport.h"

#include "core/network/ContextMenuOptions.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/wells/VdWellData.h"
#include "core/wells/VoWellData.h"
#include "core/wells/WellPathCalculators.h"
#include "shr/CommandOptions.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace core;

namespace {

using welltest::ExpectError;

// Records the commands the library sends to the host, and its errors.
class RecordingProxy : public testsupport::ErrorProxy {
public:
    void DoCommand(const shr::CommandOptions& command) override
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        commands.push_back(command);
    }
    std::vector<shr::CommandOptions> commands;
};

// A well with a survey of three stations, a top unless `top` is false, and a log.
std::shared_ptr<Well> SurveyedWell(const char* name, bool top = true)
{
    auto well = std::make_shared<Well>(name);
    if (top)
        well->Top(shr::Point3<double>(100, 200, 300.5));
    for (const auto& station : {WellTrajectoryPoint(0, 0, 0), WellTrajectoryPoint(0, 0, 100),
                                WellTrajectoryPoint(90, 30, 200)})
        well->AddTrajectoryPoint(station);
    well->AddLog(welltest::MakeLog("GR", {LogEntry(10, 50)}));
    return well;
}

VdWellData* ThreeWells()
{
    auto* wells = new VdWellData;
    wells->AddWell(SurveyedWell("A"));
    wells->AddWell(SurveyedWell("B"));
    wells->AddWell(SurveyedWell("C", false));
    return wells;
}

class WellDataModuleTest : public testsupport::NetworkFixture {
protected:
    VoWellData* Module(VdWellData* wells)
    {
        VoWellData* module = Add(new VoWellData(wells));
        module->Name("Wells 1");
        Rows(module);
        return module;
    }
    void Rows(VoWellData* module)
    {
        list.RemoveAll();
        module->UpdateProperties(list);
    }
    void Event(VoWellData* module, int id, const boost::any& value)
    {
        network().ModifyNode(*module, list, VbPropertyEvent(id, value), true, false);
    }
    static std::string Text(const boost::any& value) { return boost::any_cast<shr::GString>(value); }

    RecordingProxy proxy;
};

TEST_F(WellDataModuleTest, RowsPerWellAndPerLog)
{
    VoWellData* empty = Module(nullptr);
    EXPECT_EQ(list.StringValue(VoWellData::IdNumWells), "0");
    EXPECT_FALSE(list.Enabled(VoWellData::IdComputePaths));
    EXPECT_EQ(empty->OutputWellData(), nullptr);

    VoWellData* module = Module(ThreeWells());
    EXPECT_EQ(list.StringValue(VoWellData::IdNumWells), "3");
    EXPECT_TRUE(list.Enabled(VoWellData::IdPathMethod) && list.Enabled(VoWellData::IdComputePaths));
    // Blocks of six from 7 in name order; the logs' rows after all blocks.
    const struct {
        int id;
        const char* value;
        const char* payload;
    } rows[] = {
        {8, "100, 200, 300.5", "Well=A"}, {11, "300.5", "Well=A"}, {12, "1", "Well=A"},
        {14, "100, 200, 300.5", "Well=B"}, {20, "Not set", "Well=C"}, {22, "Not set", "Well=C"},
        {25, "GR", "Well=A;Log=GR"},        {27, "GR", "Well=C;Log=GR"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(list.StringValue(row.id), row.value) << row.id;
        EXPECT_EQ(Text(list.UserData(row.id)), row.payload) << row.id;
    }
    EXPECT_FALSE(list.IsProp(28));
    EXPECT_EQ(module->PathMethods()[size_t(module->PathMethod())], "Minimum curvature");
}

TEST_F(WellDataModuleTest, AddDataSendsImportWithItsOptionsInOrder)
{
    VoWellData* module = Module(ThreeWells());
    Event(module, VoWellData::IdAddData, true);
    ASSERT_EQ(proxy.commands.size(), 1u);
    EXPECT_EQ(proxy.commands[0].Command(), "Import");
    const std::vector<shr::CommandOptions::Option> expected = {
        {"FilterDataType", "32769"}, {"EnablePointImport", "false"}, {"ImportAsWells", "true"},
        {"CreateModule", "false"},   {"TargetName", "Wells 1"},      {"UndoRedoEnabled", "false"},
        {"XCol", "1"},               {"YCol", "2"},                  {"ZCol", "3"},
        {"MDCol", "4"},
    };
    EXPECT_EQ(proxy.commands[0].Options(), expected);
}

// The host names the well by the event's payload; the module finds the well's
// own row by steps of six from the first well's.
TEST_F(WellDataModuleTest, TopEditsReachTheNamedWell)
{
    auto* wells = new VdWellData;
    wells->AddWell(SurveyedWell("A", false));
    wells->AddWell(SurveyedWell("B"));
    VoWellData* module = Module(wells);
    ASSERT_TRUE(module->TrajectoryAvailable());
    list.StringValue(16, "-12.25"); // B's Y
    Event(module, VoWellData::IdYTop, shr::GString("Well=B"));
    EXPECT_EQ(wells->Well("B")->Top(), shr::Point3<double>(100, -12.25, 300.5));
    EXPECT_EQ(list.StringValue(14), "100, -12.25, 300.5");

    // Clearing a coordinate of the only computable well leaves nothing to compute.
    list.StringValue(15, "");
    Event(module, VoWellData::IdXTop, shr::GString("Well=B"));
    EXPECT_FALSE(wells->Well("B")->HasTop());
    EXPECT_EQ(list.StringValue(14), "Not set");
    EXPECT_FALSE(list.Enabled(VoWellData::IdComputePaths));

    list.StringValue(17, "12 m");
    ExpectError([&] { module->PropertyEvent(list, VbPropertyEvent(VoWellData::IdZTop, shr::GString("Well=B"))); },
                "Invalid numeric value.");
    // A payload that names no well changes nothing.
    list.StringValue(9, "5");
    Event(module, VoWellData::IdXTop, shr::GString("Well=Z"));
    EXPECT_FALSE(wells->Well("A")->HasTop());
}

TEST_F(WellDataModuleTest, ContextMenuDeletesAWell)
{
    VoWellData* module = Module(ThreeWells());
    const auto menu = module->ContextMenu(VbPropertyEvent(14, shr::GString("Well=B")));
    ASSERT_EQ(menu->size(), 1u);
    const auto& entry = *menu->begin();
    EXPECT_EQ(entry.first, "Delete B");
    EXPECT_EQ(entry.second.ToString(),
              "ModifyModule WellDataDeleteWell=Well=B ModuleId=" + module->Id().ToString() + " UndoRedoEnabled=false");
    for (int id : {int(VoWellData::IdAddData), VoWellData::ContextMenuEnd})
        EXPECT_TRUE(module->ContextMenu(VbPropertyEvent(id, shr::GString("Well=B")))->empty()) << id;

    // The host answers the entry by setting the row of the delete key.
    list.AnyValue(VoWellData::IdDeleteWell, shr::GString("Well=Q"), true);
    Event(module, VoWellData::IdDeleteWell, shr::GString("Well=Q"));
    EXPECT_EQ(module->OutputWellData()->size(), 3u);
    list.AnyValue(VoWellData::IdDeleteWell, shr::GString("Well=B"), true);
    Event(module, VoWellData::IdDeleteWell, shr::GString("Well=B"));
    EXPECT_FALSE(module->OutputWellData()->Well("B"));
    ExpectError([&] { VoWellData::DeleteWell("", &module->OutputWells()); },
                "Name of well to delete must be non-empty.");
}

TEST_F(WellDataModuleTest, PathsOfTheWellsThatCanHaveThem)
{
    VoWellData* module = Module(ThreeWells());
    for (int method = 0; method < 4; ++method) {
        proxy.Clear();
        list.SetCombo(VoWellData::IdPathMethod, unsigned(method));
        Event(module, VoWellData::IdPathMethod, unsigned(method));
        Event(module, VoWellData::IdComputePaths, true);
        // Each label finds its calculator: the path is the one it makes.
        const char* keys[] = {"AverageAngle", "BalancedTangential", "MinimumCurvature", "Tangential"};
        const auto expected = SurveyedWell("A");
        WellPathGeneratorFactory::Construct(keys[method])->Generate(*expected);
        const auto a = module->OutputWellData()->Well("A");
        EXPECT_TRUE(std::equal(a->path_begin(), a->path_end(), expected->path_begin(), expected->path_end())) << method;
        EXPECT_EQ(module->OutputWellData()->Well("B")->path_size(), 3u);
        EXPECT_TRUE(module->OutputWellData()->Well("C")->path_empty());
        EXPECT_EQ(proxy.Errors(), std::vector<std::string>{"Failed to compute paths for one or more wells.\n"
                                                           "Each well must have a valid top and trajectory "
                                                           "(directional survey)."});
    }
    module->PathMethod(4);
    ExpectError([&] { module->ComputePaths(); }, "Invalid path computation algorithm requested.");
}

TEST_F(WellDataModuleTest, StoredForm)
{
    VoWellData* module = Module(ThreeWells());
    module->PathMethod(3);
    const std::vector<unsigned char> bytes = testsupport::Store(*module);
    VoWellData loaded;
    EXPECT_EQ(testsupport::Load(loaded, bytes), 0u);
    EXPECT_EQ(loaded.PathMethods()[size_t(loaded.PathMethod())], "Tangential");
    ASSERT_NE(loaded.OutputWellData(), nullptr);
    EXPECT_EQ(loaded.OutputWellData()->size(), 3u);
    EXPECT_EQ(loaded.OutputWellData()->Well("C")->log_size(), 1u);

    // A method that no row has is a damaged document, which changes nothing.
    // (The well data's own failures are the well tests'.)
    VoWellData fresh;
    module->PathMethod(7);
    EXPECT_THROW(testsupport::Load(fresh, testsupport::Store(*module)), shr::Exception);
    EXPECT_EQ(fresh.PathMethod(), 2);
    EXPECT_EQ(fresh.OutputWellData(), nullptr);
}

} // namespace
