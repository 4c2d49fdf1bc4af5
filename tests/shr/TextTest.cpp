// String helpers, command lines and paths.
#include "shr/CommandOptions.h"
#include "shr/Exception.h"
#include "shr/Path.h"
#include "shr/StringUtil.h"

#include <gtest/gtest.h>

#include <climits>

using namespace shr;

TEST(StringUtil, IntegerConversionsAcceptWholeNumbersOnly)
{
    struct Row {
        const char* text;
        bool ok;
        int value;
    } rows[] = {
        {"42", true, 42},     {"  -7 ", true, -7},      {"0x1F", true, 31},    {"+3", true, 3},
        {"", false, 0},       {"   ", false, 0},        {"12abc", false, 0},   {"1.5", false, 0},
        {"2147483647", true, INT_MAX}, {"2147483648", false, 0}, {"-2147483649", false, 0},
    };
    for (const Row& row : rows) {
        int value = -99;
        EXPECT_EQ(StringToInt(row.text, value), row.ok) << row.text;
        EXPECT_EQ(value, row.ok ? row.value : -99) << "target must stay unchanged on failure: " << row.text;
    }
    unsigned int u = 5;
    EXPECT_FALSE(StringToUnsigned("-1", u));
    EXPECT_EQ(u, 5u);
    EXPECT_TRUE(StringToUnsigned("4294967295", u));
    EXPECT_EQ(u, 4294967295u);
    int64_t big = 0;
    EXPECT_TRUE(StringToInt64("-9223372036854775808", big));
    EXPECT_EQ(big, INT64_MIN);
    EXPECT_FALSE(StringToInt64("9223372036854775808", big));
}

TEST(StringUtil, DoubleAndBoolConversions)
{
    double d = 0;
    EXPECT_TRUE(StringToDouble(" -3.5e2 ", d));
    EXPECT_EQ(d, -350.0);
    EXPECT_FALSE(StringToDouble("3.5x", d));
    EXPECT_FALSE(StringToDouble("1e999", d)) << "overflow is an error, not infinity";
    EXPECT_EQ(d, -350.0);

    const char* text = "  2.5 rest";
    const char* end = nullptr;
    ASSERT_TRUE(ParseDouble(text, &d, &end));
    EXPECT_EQ(d, 2.5);
    EXPECT_STREQ(end, " rest");
    EXPECT_FALSE(ParseDouble("abc", &d, &end));

    // (text, value: -1 when refused); the target starts as the opposite.
    const std::pair<const char*, int> bools[] = {{"true", 1}, {"TRUE", 1}, {"Yes", 1}, {"on", 1}, {"1", 1},
                                                 {"false", 0}, {"No", 0},  {"OFF", 0}, {"0", 0},  {"maybe", -1}};
    for (const auto& [text, value] : bools) {
        bool b = value != 1;
        EXPECT_EQ(StringToBool(text, b), value >= 0) << text;
        EXPECT_EQ(b, value == 1 || value < 0) << text;
    }
    EXPECT_EQ(BoolToString(false), "false");
}

TEST(StringUtil, FormattingTokensAndTrimming)
{
    std::string longText(1000, 'x');
    EXPECT_EQ(ToString("%s|%d", longText.c_str(), 5), longText + "|5") << "longer than the small buffer";

    std::vector<std::string> pieces;
    EXPECT_EQ(BreakIntoSubstrings(" a  b\tc ", pieces), 3u);
    EXPECT_EQ(pieces, (std::vector<std::string>{"a", "b", "c"}));
    pieces.clear();
    EXPECT_EQ(BreakIntoSubstrings("x,,y;z", pieces, ",;"), 3u);
    EXPECT_EQ(pieces, (std::vector<std::string>{"x", "y", "z"}));

    std::string token;
    const char* rest = ParseString(R"(  "a \"b\" c" tail)", token);
    ASSERT_NE(rest, nullptr);
    EXPECT_EQ(token, "a \"b\" c");
    EXPECT_EQ(ParseString(rest, token), rest + 5);
    EXPECT_EQ(token, "tail");
    EXPECT_EQ(ParseString("\"open", token), nullptr);
    ParseString(R"("c:\\dir")", token);
    EXPECT_EQ(token, "c:\\dir");

    std::string s = " \t padded \n";
    TrimRight(s);
    EXPECT_EQ(s, " \t padded");
    Trim(s);
    EXPECT_EQ(s, "padded");
}

TEST(CommandOptions, RoundTripsThroughTextKeepingOrder)
{
    CommandOptions command;
    command.SetCommand("Import");
    command.Set("FilterDataType", "32769");
    command.Set("TargetName", "Well data \"A\"");
    command.Set("Empty", "");
    command.Set("FilterDataType", "1"); // replaces in place

    const GString text = command.ToString();
    EXPECT_EQ(text, R"(Import FilterDataType=1 TargetName="Well data \"A\"" Empty="")");
    const CommandOptions parsed(text);
    EXPECT_EQ(parsed, command);
    EXPECT_EQ(parsed.Options()[1].first, "TargetName");

    GString value;
    EXPECT_TRUE(parsed.Get("TargetName", value));
    EXPECT_EQ(value, "Well data \"A\"");

    EXPECT_THROW(CommandOptions("Import novalue"), Exception);
    EXPECT_THROW(CommandOptions("Import a=\"unterminated"), Exception);
}

TEST(Path, SplitsOnBothSeparators)
{
    struct Row {
        const char* path;
        const char* name;
        const char* nameExt;
        const char* ext;
        const char* dirWith;
        const char* dirWithout;
    } rows[] = {
        {"/data/maps/Rainbow.clr", "Rainbow", "Rainbow.clr", ".clr", "/data/maps/", "/data/maps"},
        {"Data Source\\TestLattice", "TestLattice", "TestLattice", "", "Data Source\\", "Data Source"},
        {"C:\\maps\\grey.map", "grey", "grey.map", ".map", "C:\\maps\\", "C:\\maps"},
        {"C:file.txt", "file", "file.txt", ".txt", "C:", "C:"},
        {"/root.txt", "root", "root.txt", ".txt", "/", "/"},
        {"dir/.hidden", ".hidden", ".hidden", "", "dir/", "dir"},
        {"a.b/c", "c", "c", "", "a.b/", "a.b"},
    };
    for (const Row& row : rows) {
        CPath path(row.path);
        EXPECT_EQ(path.GetName(), row.name) << row.path;
        EXPECT_EQ(path.GetNameAndExtension(), row.nameExt) << row.path;
        EXPECT_EQ(path.GetExtension(), row.ext) << row.path;
        EXPECT_EQ(path.GetDriveAndDirectory(true), row.dirWith) << row.path;
        EXPECT_EQ(path.GetDriveAndDirectory(false), row.dirWithout) << row.path;
    }
}
