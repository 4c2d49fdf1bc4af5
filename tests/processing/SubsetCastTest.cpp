// Subsets and casts: ends on whole steps on every kind, the range messages
// and the quiet refusals, the mask; clipping, offset before scale, blanks,
// the range texts with "(truncated!)", the stretch, what every kind keeps,
// and the stored forms.
#include "LatticeSupport.h"
#include "NetworkFixture.h"

#include "core/data/VdPoints.h"
#include "core/processing/VoCast.h"
#include "core/processing/VoSubset.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Mat4d.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using core::VdLattice;
using core::VoCast;
using core::VoModule;
using core::VoSubset;
const auto& Value = testsupport::ElementValue;

double NodeField(const shr::Vec3d& p, unsigned int c) { return 100.0 * p.x + 10.0 * p.y + p.z + 1000.0 * c; }

class SubsetCastTest : public testsupport::DataNetworkTest {
protected:
    // The text of a static row as the module shows it now.
    std::string Row(VoModule& module, int id)
    {
        list.RemoveAll();
        module.UpdateProperties(list);
        return list.StringValue(id);
    }
};

// Rows count from 1: i from 1 to 11 by 4 takes nodes 0, 4, 8 (the end falls
// back onto the last whole step); j from 2 to 7 by 2 takes 1, 3, 5; k is the
// single layer 3; only the second component is ticked.
TEST_F(SubsetCastTest, SubsetEndsOnWholeStepsOnEveryKind)
{
    const unsigned int dims[3] = {12, 7, 5};
    const unsigned int taken[3][3] = {{0, 4, 8}, {1, 3, 5}, {2, 2, 2}};
    for (unsigned int kind : testsupport::kLatticeKinds) {
        SCOPED_TRACE(testing::Message() << "kind " << kind);
        network().DeleteAllNodes();
        std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(kind, dims, shr::Float, 2, NodeField);
        const VdLattice& in = *input;
        auto* subset = Feed(input.release(), new VoSubset);
        RunPass();
        Edit(subset, {{VoSubset::IdAuto, "0"}, {9, "1"}, {10, "11"}, {11, "4"}, {13, "2"}, {14, "7"}, {15, "2"},
                      {17, "3"}, {18, "3"}, {VoSubset::IdComponents + 1, "0"}});
        const VdLattice* out = Output(subset);
        ASSERT_NE(out, nullptr) << LastError();
        EXPECT_EQ(out->GetType(), kind);
        ASSERT_EQ(out->ComponentCount(), 1u);
        ASSERT_EQ(out->VertexCount(), 9u);
        EXPECT_EQ(Row(*subset, VoSubset::IdOutputSize), "(3 x 3 x 1)");
        for (uint32_t n = 0; n < 9; ++n) {
            unsigned int ijk[3];
            out->IndexToIJK(n, ijk[0], ijk[1], ijk[2]);
            const unsigned int i = taken[0][ijk[0]], j = taken[1][ijk[1]], k = taken[2][ijk[2]];
            EXPECT_EQ(Value(*out, n, 0), Value(in, in.Index(i, j, k), 1)) << n;
            const shr::Vec3d expected = in.IJKToXYZ(i, j, k), actual = out->IJKToXYZ(ijk[0], ijk[1], ijk[2]);
            for (int a = 0; a < 3; ++a)
                EXPECT_NEAR(actual[a], expected[a], 1e-9) << n;
        }
    }
}

TEST_F(SubsetCastTest, SubsetRangeMessagesAndQuietRefusals)
{
    const unsigned int dims[3] = {4, 5, 6};
    VoSubset::Range range;
    for (int a = 0; a < 3; ++a)
        range.last[a] = dims[a] - 1;
    struct Case {
        int axis, field; // field 0 first, 1 last, 2 step
        uint32_t value;
        const char* message;
    } cases[] = {
        {0, 0, 4, "iFirst must be greater than or equal to 1 and less than or equal to 4."},
        {1, 1, 5, "jLast must be greater than or equal to 1 and less than or equal to 5."},
        {2, 2, 0, "kStep must be greater than 0."},
        {1, 0, 3, ""}, // first 3 above last 2: no output, and no message
    };
    for (const Case& c : cases) {
        VoSubset::Range wrong = range;
        if (c.axis == 1 && c.field == 0)
            wrong.last[1] = 2;
        (c.field == 0 ? wrong.first : c.field == 1 ? wrong.last : wrong.step)[c.axis] = c.value;
        bool valid = true;
        EXPECT_EQ(testsupport::RaisedBy([&] { valid = VoSubset::Validate(wrong, dims); }).message, c.message);
        EXPECT_EQ(valid, *c.message != 0) << c.message;
    }
    EXPECT_TRUE(VoSubset::Validate(range, dims));

    // The rows, counting from 1, refuse 0 and what the input lacks; nothing changes.
    auto* subset = Feed(testsupport::SpacedLattice(core::PortUniformLattice, dims, shr::Float, 1, NodeField).release(),
                        new VoSubset);
    RunPass();
    list.RemoveAll();
    subset->UpdateProperties(list);
    for (const auto& row : std::vector<std::pair<int, const char*>>{{9, "0"}, {14, "6"}}) {
        ASSERT_TRUE(list.StringValue(row.first, row.second));
        EXPECT_THROW(subset->PropertyEvent(list, core::VbPropertyEvent(row.first, list.AnyValue(row.first))),
                     shr::Exception);
    }
    EXPECT_EQ(subset->GetRange().first[0], 0u);
    EXPECT_EQ(subset->GetRange().last[1], 4u);

    // A range that ends before it starts, or a mask without a ticked
    // component, gives no output and no failure.
    for (const auto& rows : std::vector<std::vector<std::pair<int, const char*>>>{
             {{VoSubset::IdAuto, "0"}, {9, "3"}, {10, "2"}}, {{VoSubset::IdComponents + 1, "0"}}}) {
        Edit(subset, {{VoSubset::IdAuto, "1"}, {VoSubset::IdComponents + 1, "1"}});
        ASSERT_NE(Output(subset), nullptr);
        Edit(subset, rows);
        EXPECT_EQ(subset->GetStatus(), VoModule::ModuleOk) << LastError();
        EXPECT_EQ(Output(subset), nullptr);
    }
}

TEST_F(SubsetCastTest, StoredFormsRoundTripAndRefuseWhatNoRowTakes)
{
    VoSubset stored;
    stored.Auto(false);
    VoSubset::Range range;
    range.first[1] = 2;
    range.last[2] = 9;
    range.step[0] = 3;
    stored.SetRange(range);
    stored.SetMask(2, false);
    const std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(stored);
    range.step[2] = 0;
    stored.SetRange(range);
    VoSubset zeroStep;
    EXPECT_THROW(testsupport::Load(zeroStep, testsupport::Store(stored)), shr::Exception);
    EXPECT_TRUE(zeroStep.Mask().empty());
    std::vector<unsigned char> longMask = bytes;
    longMask[longMask.size() - 3 - 4] = 21; // the mask's length, before its three entries
    VoSubset refused;
    EXPECT_THROW(testsupport::Load(refused, longMask), shr::Exception);

    VoCast cast;
    cast.OutputType(shr::Int16);
    cast.Offset(-2.5);
    cast.Scale(8.0);
    std::vector<unsigned char> badType = testsupport::ExpectRoundTrip(cast);
    badType[badType.size() - 16 - 4] = 9; // the output type, before offset and scale
    VoCast refusedCast;
    EXPECT_THROW(testsupport::Load(refusedCast, badType), shr::Exception);
    EXPECT_EQ(refusedCast.OutputType(), shr::Float);
}

// Values beyond the type saturate at its ends rather than wrap; the offset
// is added before the scale; blanks stay blank.
TEST_F(SubsetCastTest, CastClipsToTheTypeAndKeepsBlanks)
{
    const unsigned int dims[3] = {7, 1, 1};
    const float values[7] = {-5.0f, 0.0f, 100.7f, 255.2f, 300.0f, 1000.0f, 42.0f};
    auto* input = new core::VdUniformLattice(shr::Float, dims, values, 1);
    input->SetBlank(6, 0);
    auto* cast = Feed(input, new VoCast);
    const struct {
        const char* type;
        const char* offset;
        const char* scale;
        double expected[6];
    } cases[] = {
        {"1", "0", "1", {0, 0, 100, 255, 255, 255}},
        {"0", "0", "1", {-5, 0, 100, 127, 127, 127}},
        {"2", "10", "2", {10, 20, 221, 530, 620, 2020}},
        {"7", "0.5", "-1", {4.5, -0.5, -101.2, -255.7, -300.5, -1000.5}},
    };
    for (const auto& c : cases) {
        Edit(cast, {{VoCast::IdOutputType, c.type}, {VoCast::IdOffset, c.offset}, {VoCast::IdScale, c.scale}});
        const VdLattice* out = Output(cast);
        ASSERT_NE(out, nullptr) << LastError();
        EXPECT_EQ(out->DataType(), static_cast<shr::PrimType>(std::stoi(c.type)));
        for (uint32_t n = 0; n < 6; ++n)
            EXPECT_NEAR(Value(*out, n, 0), c.expected[n], 1e-4) << c.type << " " << n;
        EXPECT_TRUE(out->IsBlank(6, 0) && !out->IsBlank(5, 0));
    }
}

TEST_F(SubsetCastTest, CastRangeTextsAndTheStretch)
{
    const unsigned int dims[3] = {3, 1, 1};
    const double values[3] = {0.0, 400.0, 1000.0};
    auto* cast = Add(new VoCast);
    for (int id : {VoCast::IdInputType, VoCast::IdInputRange, VoCast::IdOutputRange})
        EXPECT_EQ(Row(*cast, id), "Not available");
    Feed(new core::VdUniformLattice(shr::Double, dims, values, 1), cast);
    RunPass();
    EXPECT_EQ(Row(*cast, VoCast::IdInputType), "64-bit float");
    EXPECT_EQ(Row(*cast, VoCast::IdInputRange), "0, 1000");

    const struct {
        const char* type;
        const char* scale;
        const char* text;
    } ranges[] = {
        {"1", "1", "0, 1000 (truncated!)"}, {"1", "0.25", "0, 250"}, {"3", "65", "0, 65000"},
        {"3", "66", "0, 66000 (truncated!)"}, {"7", "1", "0, 1000"},
        // A negative scale puts the larger value first; the test looks at the ends as they come.
        {"0", "-0.2", "-0, -200"},
    };
    for (const auto& r : ranges) {
        Edit(cast, {{VoCast::IdOutputType, r.type}, {VoCast::IdScale, r.scale}});
        EXPECT_EQ(Row(*cast, VoCast::IdOutputRange), r.text) << r.type << " " << r.scale;
    }

    // The stretch maps the range onto the whole integer type; floats keep their rows.
    const struct {
        const char* type;
        double low, high;
    } stretches[] = {{"1", 0, 255}, {"0", -128, 127}, {"3", 0, 65535}};
    for (const auto& s : stretches) {
        Edit(cast, {{VoCast::IdOutputType, s.type}, {VoCast::IdStretch, "1"}});
        const VdLattice* out = Output(cast);
        ASSERT_NE(out, nullptr) << LastError();
        EXPECT_EQ(std::make_pair(Value(*out, 0, 0), Value(*out, 2, 0)), std::make_pair(s.low, s.high)) << s.type;
        EXPECT_EQ(Row(*cast, VoCast::IdOutputRange).find("truncated"), std::string::npos);
    }
    Edit(cast, {{VoCast::IdOutputType, "7"}, {VoCast::IdOffset, "3"}, {VoCast::IdScale, "2"}, {VoCast::IdStretch, "1"}});
    EXPECT_EQ(std::make_pair(cast->Offset(), cast->Scale()), std::make_pair(3.0, 2.0));
    // A range without width has no stretch.
    double offset = 0, scale = 1;
    EXPECT_FALSE(VoCast::StretchParameters(shr::UInt8, 5.0, 5.0, offset, scale));
}

// The output keeps the kind, the positions, the labels and the user transform.
TEST_F(SubsetCastTest, CastKeepsEveryKindsShapeAndTransform)
{
    const shr::Mat4d moved = shr::Mat4d::MakeTranslation(1000.0, 2000.0, -30.0);
    const unsigned int dims[3] = {3, 4, 2};
    for (unsigned int kind : testsupport::kLatticeKinds) {
        network().DeleteAllNodes();
        std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(kind, dims, shr::Int16, 2, NodeField);
        input->SetUserTransform(moved);
        const VdLattice& in = *input;
        auto* cast = Feed(input.release(), new VoCast);
        RunPass();
        const VdLattice* out = Output(cast);
        ASSERT_NE(out, nullptr) << LastError();
        EXPECT_EQ(out->GetType(), kind);
        EXPECT_EQ(out->GetUserTransform(), moved);
        for (uint32_t n = 0; n < in.VertexCount(); ++n) {
            EXPECT_EQ(out->IndexToXYZ(n), in.IndexToXYZ(n)) << kind << " " << n;
            EXPECT_EQ(Value(*out, n, 1), Value(in, n, 1)) << kind << " " << n;
        }
    }
}

} // namespace
