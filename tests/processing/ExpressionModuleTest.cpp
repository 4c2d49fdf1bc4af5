// The function lattice, lattice math and the exclusion filter, driven through
// the network with their property rows.
#include "LatticeSupport.h"
#include "NetworkFixture.h"

#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/ExpressionLattice.h"
#include "core/processing/VoExclusionFilter.h"
#include "core/processing/VoFunctionLattice.h"
#include "core/processing/VoLatticeMath.h"
#include "shr/Archive.h"
#include "shr/StringUtil.h"
#include "tzexpr/CExpression.h"

#include <cmath>

using namespace core;
using ExpressionModuleTest = testsupport::DataNetworkTest;

namespace {

using Row = ExpressionLattice;
constexpr int XMin = Row::LimitsId + 1, XMax = Row::LimitsId + 2, ZMax = Row::LimitsId + 8;
constexpr int XNum = Row::ResolutionId + 1, YNum = Row::ResolutionId + 2, ZNum = Row::ResolutionId + 3;
constexpr int Expr1 = Row::ExprFirstId, Expr2 = Row::ExprFirstId + 1, Expr3 = Row::ExprFirstId + 2;

const auto& Value = testsupport::ElementValue;

// A double lattice of 3 x 3 x 3 nodes over 0..2 with component 1 = i + 10j +
// 100k (blank at the centre) and component 2 = 1000 + i + 3j + 9k.
VdUniformLattice* MakeInputA()
{
    const unsigned int dims[3] = {3, 3, 3};
    auto* lattice = new VdUniformLattice(shr::Double, dims, nullptr, 2);
    lattice->SetUVWBounds(shr::Box3d(0, 0, 0, 2, 2, 2));
    for (unsigned int k = 0; k < 3; ++k)
        for (unsigned int j = 0; j < 3; ++j)
            for (unsigned int i = 0; i < 3; ++i) {
                StoreElement(*lattice, lattice->Index(i, j, k), 0, i + 10.0 * j + 100.0 * k);
                StoreElement(*lattice, lattice->Index(i, j, k), 1, 1000.0 + i + 3.0 * j + 9.0 * k);
            }
    lattice->SetBlank(1, 1, 1, 0);
    lattice->DataModified();
    return lattice;
}

} // namespace

TEST_F(ExpressionModuleTest, FunctionLatticeNodesIndicesAndBlanks)
{
    auto* module = Add(new VoFunctionLattice);
    Edit(module, {{Row::OutTypeId, "8"},
                  {Row::OutCompsId, "3"},
                  {Expr1, "I + 10*j + 100*K"},
                  {Expr2, "   "},
                  {Expr3, "log(x - 1) + y*z"},
                  {XNum, "3"},
                  {YNum, "2"},
                  {ZNum, "2"},
                  {XMax, "4"},
                  {ZMax, "3"}});
    const VdUniformLattice* lattice = Output<VdUniformLattice>(module);
    ASSERT_NE(lattice, nullptr) << LastError();
    ASSERT_EQ(lattice->ComponentCount(), 3u);
    for (unsigned int n = 0; n < lattice->VertexCount(); ++n) {
        unsigned int i, j, k;
        lattice->IndexToIJK(n, i, j, k);
        const double x = 2.0 * i, y = j, z = 3.0 * k;
        EXPECT_EQ(Value(*lattice, n, 0), i + 10.0 * j + 100.0 * k) << n;
        EXPECT_TRUE(lattice->IsBlank(n, 1)) << "an empty expression blanks its component, node " << n;
        if (i == 0) {
            EXPECT_TRUE(lattice->IsBlank(n, 2)) << "log of a negative is no value, node " << n;
        } else {
            EXPECT_FALSE(lattice->IsBlank(n, 2)) << n;
            EXPECT_EQ(Value(*lattice, n, 2), std::log(x - 1) + y * z) << n;
        }
    }
}

TEST_F(ExpressionModuleTest, FunctionLatticeParseErrorsNameTheCodeWithoutTheAddedAssignment)
{
    struct Case {
        const char* text;
        const char* prefix;
    } cases[] = {
        {"x +", "Invalid function expression (24851):\n"},
        {"q * 2", "Invalid function expression (24850):\n"},
        {"sqrt(x", "Invalid function expression (24851):\n"},
        {"x $ 2", "Invalid function expression (24852):\n"},
    };
    auto* module = Add(new VoFunctionLattice);
    for (const Case& c : cases) {
        proxy->Clear();
        Edit(module, {{Expr1, c.text}});
        const std::string error = LastError();
        EXPECT_EQ(error.rfind(c.prefix, 0), 0u) << c.text << ": " << error;
        EXPECT_EQ(error.find("W = "), std::string::npos) << error;
        EXPECT_EQ(module->GetStatus(), VoModule::ModuleFailed) << c.text;
        EXPECT_EQ(Output<VdUniformLattice>(module), nullptr) << "a failure leaves no output";
    }
}

TEST_F(ExpressionModuleTest, LatticeMathSamplesItsInputsByIndex)
{
    const unsigned int dimsB[3] = {2, 2, 2};
    auto* latticeB = new VdUniformLattice(shr::Double, dimsB, nullptr, 1);
    for (unsigned int n = 0; n < 8; ++n)
        StoreElement(*latticeB, n, 0, 5.0);
    auto* math = Feed(MakeInputA(), new VoLatticeMath, 0);
    Feed(latticeB, math, 1);
    math->SampleByIndex(true);
    Edit(math, {{Row::OutTypeId, "8"}, {Row::OutCompsId, "2"}, {Expr1, "a"}, {Expr2, "A2 + B1"}, {XNum, "3"},
                {YNum, "3"}, {ZNum, "3"}});
    const VdUniformLattice* out = Output<VdUniformLattice>(math);
    ASSERT_NE(out, nullptr) << LastError();
    EXPECT_EQ(out->GetUVWBounds(), shr::Box3d(0, 0, 0, 2, 2, 2)) << "limits from the inputs";
    for (unsigned int n = 0; n < out->VertexCount(); ++n) {
        unsigned int i, j, k;
        out->IndexToIJK(n, i, j, k);
        const bool centre = i == 1 && j == 1 && k == 1;
        EXPECT_EQ(out->IsBlank(n, 0), centre) << "a blank input is no data, node " << n;
        if (!centre) {
            EXPECT_EQ(Value(*out, n, 0), i + 10.0 * j + 100.0 * k) << n;
        }
        const bool insideB = i < 2 && j < 2 && k < 2;
        EXPECT_EQ(out->IsBlank(n, 1), !insideB) << "a node outside B is no data, node " << n;
        if (insideB) {
            EXPECT_EQ(Value(*out, n, 1), 1005.0 + i + 3.0 * j + 9.0 * k) << n;
        }
    }
}

TEST_F(ExpressionModuleTest, LatticeMathMessages)
{
    struct Case {
        std::vector<std::pair<int, const char*>> rows;
        const char* message; // exact, or the prefix when `prefixOnly`
        bool prefixOnly;
    } cases[] = {
        {{{Expr1, "A1 + B"}}, "Invalid function expression (24850):\nInput 'B' is not currently connected.", false},
        {{{Expr1, "c2 * 2"}}, "Invalid function expression (24850):\nInput 'c2' is not currently connected.", false},
        {{{Expr1, "A3"}}, "Invalid function expression (24850):\nInput 'A3' is not currently connected.", false},
        {{{Expr1, "D + 1"}}, "Invalid function expression (24850):\n", true},
        {{{Expr1, "A +"}}, "Invalid function expression (24851):\n", true},
        {{{Expr1, "A"}, {Row::AutoId, "0"}, {XMin, "3"}, {XMax, "1"}},
         "The minimum X limit must be less than or equal to the maximum.", false},
        {{{XMin, "0"}, {ZNum, "0"}},
         "The number of nodes in the k direction must be greater than 0 and less than or equal to 10000", false},
        {{{ZNum, "10001"}},
         "The number of nodes in the k direction must be greater than 0 and less than or equal to 10000", false},
    };
    auto* math = Feed(MakeInputA(), new VoLatticeMath);
    for (const Case& c : cases) {
        proxy->Clear();
        Edit(math, c.rows);
        const std::string error = LastError();
        if (c.prefixOnly) {
            EXPECT_EQ(error.rfind(c.message, 0), 0u) << error;
            EXPECT_EQ(error.find("not currently connected"), std::string::npos) << error;
            EXPECT_EQ(error.find("W = "), std::string::npos) << error;
        } else {
            EXPECT_EQ(error, c.message);
        }
        EXPECT_EQ(math->GetStatus(), VoModule::ModuleFailed) << c.message;
    }
}

TEST_F(ExpressionModuleTest, LatticeMathRoundTripsThroughAnArchive)
{
    VoLatticeMath stored;
    stored.Settings().outType = shr::Int16;
    stored.Settings().outComps = 2;
    stored.Settings().expressions[1] = "A1 * 2";
    stored.Settings().limits = shr::Box3d(-1, -2, -3, 4, 5, 6);
    stored.Settings().nodes[2] = 7;
    stored.Settings().autoLimits = false;
    stored.SampleByIndex(true);
    stored.Nodata(-9999.0);
    const std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(stored, {1, 9, 60});
    VoLatticeMath loaded;
    testsupport::Load(loaded, bytes);
    EXPECT_EQ(loaded.Settings().expressions[1], "A1 * 2");
    EXPECT_EQ(loaded.Nodata(), -9999.0);
}

namespace {

// Six points at x = p (moved by 100 in X), z = 10p, with C1 = p (blank at
// point 4) and C2 = 100 - p; labels on points 1, 3 and 5.
VdPoints* MakePoints()
{
    std::vector<double> coords;
    std::vector<float> data;
    for (int p = 0; p < 6; ++p) {
        coords.insert(coords.end(), {double(p), 0.0, 10.0 * p});
        data.insert(data.end(), {float(p), 100.0f - float(p)});
    }
    auto* points = new VdPoints(shr::Double, shr::Float, 6, coords.data(), data.data(), 2);
    points->SetBlank(4, 0);
    for (unsigned int p : {1u, 3u, 5u})
        points->AddLabel({p, shr::ToString("P%u", p)});
    points->SetUserTransform(shr::Mat4d::MakeTranslation(100, 0, 0));
    return points;
}

} // namespace

TEST_F(ExpressionModuleTest, ExclusionFilterKeepsThePointsForWhichTheConditionDoesNotHold)
{
    struct Case {
        const char* text;
        std::vector<int> kept;
    } cases[] = {
        {"C1 > 2", {0, 1, 2, 4}},           // a blank value keeps its point
        {"X >= 103 or c2 > 99", {1, 2}},    // X after the transform
        {"n % 2 == 0", {1, 3, 5}},
        {"C > 3", {0, 1, 2, 3, 4}},         // C is the first component
        {"1 / (C1 - 2)", {2, 4}},           // no value (at 2) keeps the point
        {"Z < 0", {0, 1, 2, 3, 4, 5}},
    };
    auto* filter = Feed(MakePoints(), new VoExclusionFilter);
    for (const Case& c : cases) {
        Edit(filter, {{VoExclusionFilter::ExpressionId, c.text}});
        const auto* out = Output<VdPoints>(filter);
        ASSERT_NE(out, nullptr) << c.text << ": " << LastError();
        ASSERT_EQ(out->VertexCount(), c.kept.size()) << c.text;
        EXPECT_TRUE(out->HasUserTransform());
        for (unsigned int q = 0; q < c.kept.size(); ++q) {
            const int p = c.kept[q];
            EXPECT_EQ(Value(*out, q, 1), 100.0 - p) << c.text << " point " << q;
            EXPECT_EQ(out->IsBlank(q, 0), p == 4) << c.text << " point " << q;
            const auto label = out->FindLabel(q);
            EXPECT_EQ(label != out->labels_end(), p % 2 == 1) << c.text << " point " << q;
            if (label != out->labels_end()) {
                EXPECT_EQ(label->second, shr::ToString("P%d", p));
            }
        }
    }
}

TEST_F(ExpressionModuleTest, ExclusionFilterMessages)
{
    struct Case {
        const char* text;
        const char* prefix;
    } cases[] = {
        {"", "Exclusion filter must contain exactly one expression."},
        {" ; ", "Exclusion filter must contain exactly one expression."},
        {"x > 1; y > 2", "Exclusion filter must contain exactly one expression."},
        {"x >", "Invalid function expression (24851):\n"},
        {"W > 1", "Invalid function expression (24850):\n"},
        {"C3 > 1", "Invalid function expression (24850):\n"},
    };
    auto* filter = Feed(MakePoints(), new VoExclusionFilter);
    for (const Case& c : cases) {
        proxy->Clear();
        Edit(filter, {{VoExclusionFilter::ExpressionId, c.text}});
        const std::string error = LastError();
        EXPECT_EQ(error.rfind(c.prefix, 0), 0u) << c.text << ": " << error;
        EXPECT_EQ(error.find("B = "), std::string::npos) << error;
        EXPECT_EQ(filter->GetOutput(0)->Data(), nullptr) << c.text;
    }
}
