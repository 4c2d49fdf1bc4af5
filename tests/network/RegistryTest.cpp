#include "NetworkTestSupport.h"

#include "core/network/VbModuleRegistry.h"

#include <locale>

using namespace core;

namespace nettest {
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

TEST(RegistryTest, LookupByLastPathComponent)
{
    const VbModuleRegistry& registry = VbModuleRegistry::Instance();
    EXPECT_EQ(&s_Filter, registry.Construct("NetTestFilter"));
    EXPECT_EQ(nullptr, registry.Construct("Test\\NetTestFilter"));
    EXPECT_EQ(nullptr, registry.Construct("nettestfilter")) << "names are case-sensitive";
    EXPECT_TRUE(registry.CanConstruct("NetTestGeom"));
    EXPECT_FALSE(registry.CanConstruct("NetTestNothing"));
    EXPECT_THROW(registry.Construct(""), shr::Exception);
    EXPECT_THROW(registry.CanConstruct(""), shr::Exception);
}

TEST(RegistryTest, NamesAreInByteOrder)
{
    std::vector<const VbModuleInfo*> all(VbModuleRegistry::Instance().begin(), VbModuleRegistry::Instance().end());
    EXPECT_EQ((std::vector<std::string>{"NetTestFilter", "NetTestGeom", "NetTestInfo", "NetTestSource", "NetTest_b",
                                        "NetTesta"}),
              Ours(all));
}

TEST(RegistryTest, MatchSourceTypeAppendsInNameOrder)
{
    struct Case {
        unsigned int mask;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {0, {"NetTestSource", "NetTesta"}},
        {16, {"NetTestGeom", "NetTestInfo"}},
        {2, {"NetTestFilter", "NetTestInfo"}},
        {1, {"NetTestInfo", "NetTest_b"}},
    };
    for (const Case& c : cases) {
        std::vector<const VbModuleInfo*> result{&s_Geom};
        VbModuleRegistry::Instance().MatchSourceType(c.mask, result);
        EXPECT_EQ(&s_Geom, result.front()) << "the result is appended to, not cleared";
        result.erase(result.begin());
        EXPECT_EQ(c.expected, Ours(result)) << "mask " << c.mask;
    }
}

TEST(RegistryTest, ClassLevelCompatibility)
{
    EXPECT_TRUE(VbModuleRegistry::IsCompatible(&s_Source, &s_Filter));
    EXPECT_FALSE(VbModuleRegistry::IsCompatible(&s_Filter, &s_Geom));
    EXPECT_FALSE(VbModuleRegistry::IsCompatible(&s_Info, &s_Info)) << "no outputs: compatible with nothing";
    EXPECT_FALSE(VbModuleRegistry::IsCompatible(nullptr, &s_Info));
    EXPECT_FALSE(VbModuleRegistry::IsCompatible(&s_Source, nullptr));
}

TEST(RegistryTest, InfoFieldsAndCreation)
{
    EXPECT_EQ("No help available", s_Source.HelpString());
    EXPECT_EQ("No help available", s_Geom.HelpString());
    EXPECT_EQ("Filters", s_Filter.HelpString());
    EXPECT_EQ(3, s_Source.ResourceId());
    EXPECT_NE(nullptr, s_Source.Module());
    EXPECT_EQ(s_Source.Module(), TestModule::s_ModuleInfo.Module()) << "same binary, same handle";

    std::unique_ptr<VoModule> made = s_Source.CreateInstance();
    ASSERT_TRUE(made);
    EXPECT_EQ(TestModule::GetClassTypeId(), made->GetTypeId());
    EXPECT_TRUE(made->Id().IsBad());
    EXPECT_THROW(s_Filter.CreateInstance(), shr::Exception);
}

TEST(RegistryTest, BadRegistrationsChangeNothing)
{
    const size_t before = VbModuleRegistry::Instance().size();
    EXPECT_THROW((void)new VbModuleInfo("", nullptr, 0, 0, "", -1), shr::Exception);
    EXPECT_THROW((void)new VbModuleInfo("Elsewhere\\NetTestGeom", nullptr, 0, 0, "", -1), shr::Exception)
        << "the last component is the key, whatever the category";
    EXPECT_THROW(VbModuleRegistry::Instance().Register(nullptr), shr::Exception);
    EXPECT_EQ(before, VbModuleRegistry::Instance().size());
}

TEST(ModuleIdTest, Arithmetic)
{
    VbModuleId id(VbModuleId::Maximum());
    EXPECT_THROW(++id, shr::Exception);
    EXPECT_EQ(VbModuleId::Maximum(), id);
    VbModuleId below(VbModuleId::Maximum().Value() - 1);
    EXPECT_EQ(VbModuleId::Maximum(), ++below);
    EXPECT_EQ(INT64_MAX - 1, VbModuleId::Maximum().Value());
    EXPECT_TRUE(VbModuleId().IsBad());
    EXPECT_TRUE(VbModuleId(1) < VbModuleId(2));
    EXPECT_TRUE(VbModuleId(-1) < VbModuleId::Bad());
}

TEST(ModuleIdTest, Text)
{
    struct Case {
        const char* text;
        bool accepted;
        int64_t value;
    };
    const Case cases[] = {
        {"42", true, 42}, {" -7 ", true, -7}, {"", false, 9}, {"4x", false, 9}, {"99999999999999999999", false, 9},
    };
    for (const Case& c : cases) {
        VbModuleId id(9);
        EXPECT_EQ(c.accepted, id.FromString(c.text)) << c.text;
        EXPECT_EQ(c.value, id.Value()) << c.text;
    }
    EXPECT_EQ("-1234567", VbModuleId(-1234567).ToString());
}

} // namespace
} // namespace nettest
