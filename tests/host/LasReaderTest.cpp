// Log files as logging companies write them, and broken ones.
#include "host/LasReader.h"

#include "shr/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using host::LasFile;
using host::LasReader;
using ::testing::HasSubstr;

namespace {

const char* const kHeader = "~VERSION INFORMATION\n"
                            " VERS.   2.0 : CWLS LOG ASCII STANDARD - VERSION 2.0\n"
                            " WRAP.   NO  : ONE LINE PER DEPTH STEP\n"
                            "~WELL INFORMATION\n"
                            "#MNEM.UNIT   DATA          : DESCRIPTION\n"
                            " STRT.M      1500.0        : START DEPTH\n"
                            " STOP.M      1501.0        : STOP DEPTH\n"
                            " STEP.M      0.5           : STEP\n"
                            " NULL.       -999.25       : NULL VALUE\n"
                            " WELL.       A-1 ST        : WELL\n"
                            " DATE.       13/12/1986 10:30 : LOG DATE\n"
                            "~CURVE INFORMATION\n"
                            " DEPT.M                    : DEPTH\n"
                            " GR  .GAPI   07 310 01 00  : GAMMA RAY\n"
                            " RT  .OHMM                 : DEEP RESISTIVITY\n"
                            "~PARAMETER INFORMATION\n"
                            " BHT .DEGC   35.5          : BOTTOM HOLE TEMPERATURE\n"
                            "~OTHER\n"
                            " Free text: anything goes here.\n";

std::string Las(const std::string& data, const std::string& header = kHeader)
{
    return header + "~A  DEPT     GR      RT\n" + data;
}

std::string ErrorOf(const std::string& text)
{
    try {
        LasReader::Parse(text, "a1.las");
    } catch (const shr::Exception& error) {
        return error.Message();
    }
    return "no error";
}

std::string Replace(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(LasReaderTest, SectionsOfAnUnwrappedFile)
{
    const LasFile file = LasReader::Parse(
        Las("1500.0  45.1  -999.25\n1500.5  +50.2   12.5\r\n\n# a comment\n1501.0  55.3  1.25E+01\n"), "a1.las");
    EXPECT_EQ(file.wellName, "A-1 ST");
    const host::LasItem* date = file.WellItem("date");
    ASSERT_TRUE(date);
    EXPECT_EQ(date->value, "13/12/1986 10:30") << "the last colon starts the description";
    EXPECT_EQ(date->description, "LOG DATE");
    ASSERT_EQ(file.curves.size(), 3u);
    EXPECT_EQ(file.curves[1].item.unit, "GAPI");
    EXPECT_EQ(file.curves[1].item.value, "07 310 01 00");
    EXPECT_EQ(file.curves[2].values, (std::vector<double>{-999.25, 12.5, 12.5}));
    EXPECT_EQ(file.parameters.at(0).value, "35.5");
}

TEST(LasReaderTest, QuirksOfTheHeaderAndWrappedData)
{
    // Wrapped: each depth on a line of its own, its values on the lines after.
    const std::string wrapped = Las("1500.0\n 45.1\n -999.25\n1500.5\n 50.2 12.5\n",
                                    Replace(kHeader, "WRAP.   NO", "WRAP.   YES"));
    const LasFile file = LasReader::Parse(wrapped, "w.las");
    EXPECT_TRUE(file.wrapped);
    EXPECT_EQ(file.curves[0].values, (std::vector<double>{1500.0, 1500.5}));
    EXPECT_EQ(file.curves[2].values, (std::vector<double>{-999.25, 12.5}));

    // Feet, a unit on STRT only, a colon right after the unit.
    std::string feet = Replace(kHeader, " DEPT.M                    : DEPTH", " DEPT.:DEPTH");
    feet = Replace(feet, " STRT.M ", " STRT.FT ");
    EXPECT_EQ(LasReader::Parse(Las("1500 1 2\n"), "m.las").depthUnit, host::LengthUnit::Metre);
    EXPECT_EQ(LasReader::Parse(Las("1500 1 2\n", feet), "f.las").depthUnit, host::LengthUnit::Foot);

    // Version 1.2 keeps the well's name in the description; UWI stands in for a missing one.
    std::string old = Replace(kHeader, "VERS.   2.0", "VERS.   1.2");
    old = Replace(old, " WELL.       A-1 ST        : WELL", " WELL.       WELL          : ANY ET AL 12-34");
    EXPECT_EQ(LasReader::Parse(Las("1500 1 2\n", old), "o.las").wellName, "ANY ET AL 12-34");
    const std::string unnamed =
        Replace(kHeader, " WELL.       A-1 ST        : WELL", " WELL.   : WELL\n UWI .  100123401234W500 : UWI");
    EXPECT_EQ(LasReader::Parse(Las("1500 1 2\n", unnamed), "u.las").wellName, "100123401234W500");
    EXPECT_TRUE(LasReader::IsLas("\xEF\xBB\xBF# comment\n\n~V\n"));
    EXPECT_FALSE(LasReader::IsLas("well,x,y\n"));
}

TEST(LasReaderTest, BrokenFilesNameTheFileAndLine)
{
    const std::string wrapped = Replace(kHeader, "WRAP.   NO", "WRAP.   YES");
    const struct {
        std::string text;
        const char* message;
    } cases[] = {
        {kHeader, "a1.las: no ~A (data) section"},
        {Las("1500 1 2\n1500.5 1\n"), "a1.las: line 22: 2 values where the ~C section defines 3 curves"},
        {Las("1500 1 2 3\n"), "a1.las: line 21: more than 3 values"},
        {Las("1500 1 x2\n"), "a1.las: line 21: column 3 (\"RT\"): \"x2\" is not a number"},
        {Las("1500 1 nan\n"), "a1.las: line 21: column 3 (\"RT\"): \"nan\" is not a number"},
        {Las("-999.25 1 2\n"), "a1.las: line 21: column 1 (\"DEPT\"): the depth is the NULL value"},
        {Las("1500 1 2\n", Replace(kHeader, "-999.25       : NULL", "-999,25       : NULL")),
         "a1.las: line 9: the NULL value \"-999,25\" is not a number"},
        {Las("1500 1 2\n", Replace(kHeader, " STRT.M      1500.0", " STRT.M      start")),
         "a1.las: line 6: the STRT value \"start\" is not a number"},
        {Las("1500 1 2\n", Replace(kHeader, "VERS.   2.0", "VERS.   3.0")), "a1.las: line 2: version \"3.0\""},
        {Las("1500 1 2\n", Replace(kHeader, "WRAP.   NO", "WRAP.   MAYBE")), "a1.las: line 3: WRAP must be"},
        {Las("1500 1 2\n", Replace(kHeader, " DEPT.M ", " TIME.S ")), "a1.las: line 13: the index curve \"TIME\""},
        {Las("1500 1 2\n", Replace(kHeader, " BHT .DEGC   35.5", " BHT  DEGC   35")),
         "a1.las: line 17: \"BHT  DEGC   35"},
        {Las("1500.0\n 45.1\n", wrapped), "a1.las: line 21: the depth on this line has 2 of its 3 values"},
        {Las("1500.0 45.1\n 2\n", wrapped), "a1.las: line 21: 2 values on a line that starts a depth"},
        {Las(""), "a1.las: no data in the ~A section"},
        {Las("1500 1 2\n~O\n"), "a1.las: line 22: a section after the ~A section"},
        {std::string("~W\n STRT.M 1 :\n~C\n DEPT.M :\n~A\n1\n"), "a1.las: no VERS line in a ~V section"},
        {std::string("junk\n~V\n"), "a1.las: line 1: text before the first section"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(ErrorOf(c.text), HasSubstr(c.message)) << c.text;
}

} // namespace
