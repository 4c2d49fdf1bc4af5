// The point-file reader against the shapes of files that survey and modelling
// packages write.
#include "host/PointFileReader.h"

#include "shr/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using host::PointFile;
using host::PointFileReader;
using ::testing::HasSubstr;

namespace {

PointFile Parse(const std::string& text, const host::PointFileOptions& options = host::PointFileOptions())
{
    return PointFileReader::Parse(text, "pts.csv", options);
}

std::vector<double> Coords(const PointFile& file)
{
    const auto* data = static_cast<const double*>(file.points->GetCoordPtr());
    return std::vector<double>(data, data + file.points->VertexCount() * 3);
}

// Values in point order; NaN where the point is blank.
std::vector<double> Values(const PointFile& file)
{
    const core::VdPoints& points = *file.points;
    std::vector<double> values;
    for (unsigned p = 0; p < points.VertexCount(); ++p) {
        for (unsigned c = 0; c < points.ComponentCount(); ++c) {
            const double value = *static_cast<const double*>(points.DataPtr(p, c));
            values.push_back(points.IsBlank(p, c) ? NAN : value);
        }
    }
    return values;
}

// Values against the expected ones, NaN standing for a blank.
void ExpectValues(const PointFile& file, const std::vector<double>& expected)
{
    const std::vector<double> values = Values(file);
    ASSERT_EQ(values.size(), expected.size());
    for (size_t i = 0; i < values.size(); ++i) {
        if (std::isnan(expected[i]))
            EXPECT_TRUE(std::isnan(values[i])) << i;
        else
            EXPECT_DOUBLE_EQ(values[i], expected[i]) << i;
    }
}

std::string LabelOf(const PointFile& file, unsigned index)
{
    const auto found = file.points->FindLabel(index);
    return found == file.points->labels_end() ? std::string() : std::string(found->second);
}

std::string ErrorOf(const std::string& text, const host::PointFileOptions& options = host::PointFileOptions())
{
    try {
        Parse(text, options);
    } catch (const shr::Exception& error) {
        return error.Message();
    }
    return "no error";
}

} // namespace

TEST(PointFileReader, SeparatorsQuotesAndLineEndsGiveTheSamePoints)
{
    struct Case {
        const char* what;
        std::string text;
    } cases[] = {
        {"comma", "x,y,z,grade\n1,2,3,0.5\n4,5,6,1.5\n"},
        {"tab", "x\ty\tz\tgrade\n1\t2\t3\t0.5\n4\t5\t6\t1.5\n"},
        {"semicolon, decimal comma", "x;y;z;grade\n1;2;3;0,5\n4;5;6;1,5\n"},
        {"blanks, aligned", "  x    y    z   grade\n  1    2    3   0.5\n  4    5    6   1.5   \n"},
        {"quoted fields", "\"x\",\"y\",\"z\",\"grade\"\n\"1\",\"2\",\"3\",\"0.5\"\n4, \"5\" ,6,1.5\n"},
        {"BOM, CRLF, comments, blank lines",
         "\xEF\xBB\xBF# exported survey\r\nx,y,z,grade\r\n\r\n1,2,3,0.5\r\n  # a remark\r\n4,5,6,1.5\r\n"},
        {"trailing separators", "x,y,z,grade,\n1,2,3,0.5,\n4,5,6,1.5,\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PointFile file = Parse(c.text);
        EXPECT_EQ(Coords(file), (std::vector<double>{1, 2, 3, 4, 5, 6}));
        EXPECT_EQ(Values(file), (std::vector<double>{0.5, 1.5}));
        EXPECT_EQ(file.valueNames, std::vector<std::string>{"grade"});
    }
}

// Survey and modelling names of the axes, and the shapes of public sample
// files: a 2-D survey with an identifier column, soil samples with local and
// geographic coordinates, a survey of one value.
TEST(PointFileReader, HeaderNamesChooseTheAxesAndIdentifiersAreNeverAxes)
{
    struct Case {
        const char* what;
        const char* text;
        std::vector<double> coords;
        std::vector<std::string> valueNames;
        const char* label;
    } cases[] = {
        {"survey names, out of order", "Au,Northing,Easting,Elevation\n7,20,10,30\n", {10, 20, 30}, {"Au"}, ""},
        {"short names", "E,N,RL,Cu\n10,20,30,7\n", {10, 20, 30}, {"Cu"}, ""},
        {"units in brackets", "Easting (m);Northing (m);Elev [m];Cu (%)\n10;20;30;7\n", {10, 20, 30}, {"Cu (%)"}, ""},
        {"depth points down", "X,Y,Depth,Cu\n10,20,30,7\n", {10, 20, -30}, {"Cu"}, ""},
        {"elevation wins over depth", "X,Y,Depth,Z,Cu\n10,20,5,30,7\n", {10, 20, 30}, {"Depth", "Cu"}, ""},
        {"unknown names: the first three numbers", "Hole,a,b,c,Cu\nDH1,10,20,30,7\n", {10, 20, 30}, {"Cu"}, "Hole"},
        {"no header at all", "10 20 30 7\n", {10, 20, 30}, {"column 4"}, ""},
        {"2-D survey with an Id", "Id,X,Y,Value\n1,10,20,0.5\n2,11,21,0.7\n", {10, 20, 0, 11, 21, 0}, {"Value"}, "Id"},
        {"one value", "x,y,thickness\n0,0,1.2\n1,0,1.4\n", {0, 0, 0, 1, 0, 0}, {"thickness"}, ""},
        {"local beside geographic", "Xloc,Yloc,long,lat,Cd,Zn\n100,200,-120.1,45.2,0.2,23\n",
         {100, 200, 0}, {"Cd", "Zn"}, ""},
        {"geographic alone", "Site,lat,lon,Pb\nA,45.2,-120.1,3\n", {-120.1, 45.2, 0}, {"Pb"}, "Site"},
        {"a numbered sample column", "No.,Easting,Northing,RL,Au\n7,1,2,3,0.4\n", {1, 2, 3}, {"Au"}, "No."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PointFile file = Parse(c.text);
        EXPECT_EQ(Coords(file), c.coords);
        EXPECT_EQ(file.valueNames, c.valueNames);
        EXPECT_EQ(file.labelName, c.label);
    }
}

TEST(PointFileReader, NoDataMarkersBecomeBlanks)
{
    ExpectValues(Parse("x,y,z,a,b\n"
                       "0,0,0,,1\n"
                       "1,0,0,NA,-999\n"
                       "2,0,0,NaN,-999.25\n"
                       "3,0,0,n/a,2\n"
                       "4,0,0,3,1e30\n"),
                 {NAN, 1, NAN, NAN, NAN, NAN, NAN, 2, 3, NAN});
}

TEST(PointFileReader, FirstTextColumnBecomesTheLabels)
{
    const PointFile file = Parse("Sample,x,y,z,Cu,Lith\n"
                                 "\"DH-1, top\",1,2,3,0.5,granite\n"
                                 "\"say \"\"hi\"\"\",4,5,6,1.5,basalt\n"
                                 ",7,8,9,2.5,shale\n");
    EXPECT_EQ(file.labelName, "Sample");
    EXPECT_EQ(file.valueNames, std::vector<std::string>{"Cu"}); // the second text column is dropped
    EXPECT_EQ(file.points->labels_size(), 2u);
    EXPECT_EQ(LabelOf(file, 0), "DH-1, top");
    EXPECT_EQ(LabelOf(file, 1), "say \"hi\"");
    EXPECT_EQ(LabelOf(file, 2), "");
}

TEST(PointFileReader, BadRowsNameTheLineAndColumn)
{
    struct Case {
        const char* what;
        const char* text;
        const char* message;
    } cases[] = {
        {"text in a number column", "x,y,z,grade\n1,2,3,0.5\n\n4,5,6,high\n",
         "pts.csv: line 4, column 4 (\"grade\"): \"high\" is not a number"},
        {"text in a coordinate column", "Name,X,Y,Z\nA,1,2,top\n",
         "pts.csv: line 2, column 4 (\"Z\"): \"top\" is not a number"},
        {"too few fields", "x,y,z,grade\n1,2,3,0.5\n4,5\n", "pts.csv: line 3: 2 fields where the header has 4"},
        {"too many fields", "x,y,z\n1,2,3,4,5\n", "pts.csv: line 2: 5 fields where the header has 3"},
        {"unterminated quote", "x,y,z,name\n1,2,3,\"open\n", "pts.csv: line 2, column 4: unterminated quote"},
        {"a point without a coordinate", "x,y,z\n1,2,3\n1,NA,3\n",
         "pts.csv: line 3, column 2 (\"y\"): a point needs a coordinate, found \"NA\""},
        {"no column for Y", "name,a\nA,1\n", "pts.csv: no number column for Y"},
        {"a header only", "# nothing yet\nx,y,z\n", "pts.csv: no points after the header"},
        {"an empty file", "\xEF\xBB\xBF\r\n", "pts.csv: no points in the file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_THAT(ErrorOf(c.text), HasSubstr(c.message));
    }
}

// A first cell below detection no longer turns the column into labels; the
// rule decides what such a cell becomes, and the cells are counted.
TEST(PointFileReader, BelowDetectionCellsFollowTheRule)
{
    const std::string soil = "Xloc,Yloc,long,lat,Cd,Zn\n"
                             "100,200,-120.1,45.2,<0.01,23\n"
                             "101,201,-120.2,45.3,0.05,BDL\n"
                             "102,202,-120.3,45.4,>2,ND\n";
    using Rule = host::PointFileOptions::BelowDetection;
    const std::pair<Rule, std::vector<double>> cases[] = {
        {Rule::Blank, {NAN, 23, 0.05, NAN, NAN, NAN}},
        {Rule::Half, {0.005, 23, 0.05, NAN, 2, NAN}},
        {Rule::Limit, {0.01, 23, 0.05, NAN, 2, NAN}},
    };
    for (const auto& c : cases) {
        host::PointFileOptions options;
        options.belowDetection = c.first;
        SCOPED_TRACE(host::PointFileOptions::RuleName(c.first));
        const PointFile file = Parse(soil, options);
        ExpectValues(file, c.second);
        EXPECT_EQ(file.censored, (std::vector<size_t>{2, 2}));
    }
    EXPECT_EQ(Parse(soil).Describe(), "X = Xloc, Y = Yloc, Z = 0 (2-D); values: Cd, Zn; labels: none; not used: long, "
                                      "lat; below detection (read as blank): Cd 2, Zn 2");
}

TEST(PointFileReader, ColumnsMappedByNameOrNumber)
{
    const std::string soil = "Id,Xloc,Yloc,long,lat,Cd,Zn,Note\n"
                             "S1,100,200,-120.1,45.2,0.2,23,river\n";
    host::PointFileOptions options;
    options.axes[0] = {host::ColumnChoice::Named, "long"};
    options.axes[1] = {host::ColumnChoice::Numbered, "", 5};
    options.axes[2] = {host::ColumnChoice::Named, "xloc"};
    options.valuesGiven = true;
    options.values = {{host::ColumnChoice::Named, "Zn"}, {host::ColumnChoice::Numbered, "", 3}};
    options.label = {host::ColumnChoice::Named, "Note"};
    const PointFile file = Parse(soil, options);
    EXPECT_EQ(Coords(file), (std::vector<double>{-120.1, 45.2, 100}));
    EXPECT_EQ(file.valueNames, (std::vector<std::string>{"Zn", "Yloc"}));
    EXPECT_EQ(LabelOf(file, 0), "river");

    host::PointFileOptions flat;
    flat.axes[2].kind = host::ColumnChoice::None;
    flat.label.kind = host::ColumnChoice::None;
    const PointFile map = Parse("E,N,RL,Cu,Id\n1,2,3,4,A\n", flat);
    EXPECT_EQ(Coords(map), (std::vector<double>{1, 2, 0}));
    EXPECT_EQ(map.valueNames, (std::vector<std::string>{"RL", "Cu"}));
    EXPECT_EQ(map.labelName, "");

    host::PointFileOptions wrong;
    wrong.axes[0] = {host::ColumnChoice::Named, "Xlocc"};
    EXPECT_THAT(ErrorOf(soil, wrong), HasSubstr("pts.csv: no column \"Xlocc\" (for x); the columns are Id, Xloc, Yloc"));
    wrong.axes[0] = {host::ColumnChoice::Numbered, "", 9};
    EXPECT_THAT(ErrorOf(soil, wrong), HasSubstr("pts.csv: column 9 (for x) is not in the file, which has 8"));
    wrong.axes[0] = {host::ColumnChoice::Named, "Note"};
    EXPECT_THAT(ErrorOf(soil, wrong), HasSubstr("pts.csv: column \"Note\" (for x) holds text, not numbers"));
}
