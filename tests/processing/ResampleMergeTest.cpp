// Resampling and merging: exact trilinear values of a linear field on every
// lattice kind, the row-by-row form against Interpolate bit for bit, nearest
// picks and blanks outside, the merge rules with blanks, the automatic
// geometry, abort, and the stored forms.
#include "LatticeSupport.h"
#include "NetworkFixture.h"

#include "core/processing/LatticeGeometry.h"
#include "core/processing/LatticeMerger.h"
#include "core/processing/LatticeResampler.h"
#include "core/processing/VoLatticeMerge.h"
#include "core/processing/VoLatticeResample.h"
#include "shr/Mat4d.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstring>
#include <string>

namespace {

using core::LatticeGeometry;
using core::VdLattice;
using core::VoLatticeMerge;
using core::VoLatticeResample;
using core::VoModule;
const auto& Value = testsupport::ElementValue;

constexpr int XMin = LatticeGeometry::LimitsId + 1;
constexpr int XNum = LatticeGeometry::ResolutionId + 1;

double LinearField(const shr::Vec3d& p, unsigned int c) { return 2.0 * p.x - 3.0 * p.y + 0.5 * p.z + 7.0 + c; }

shr::Mat4d Turned()
{
    shr::Mat4d m = shr::Mat4d::MakeTranslation(500.0, -20.0, 3.0);
    m.RotateZ(0.5, shr::Mat4d::PreMultiply);
    return m;
}

// The rows that switch auto off and set the limits and node counts.
std::vector<std::pair<int, std::string>> GeometryRows(const shr::Box3d& box, const unsigned int* nodes)
{
    std::vector<std::pair<int, std::string>> rows = {{LatticeGeometry::AutoId, "0"}};
    for (int a = 0; a < 3; ++a) {
        rows.emplace_back(XMin + 3 * a, std::to_string(box.min[a]));
        rows.emplace_back(XMin + 3 * a + 1, std::to_string(box.max[a]));
        rows.emplace_back(XNum + a, std::to_string(nodes[a]));
    }
    return rows;
}

class ResampleMergeTest : public testsupport::DataNetworkTest {
protected:
    // Sends the rows as the host would, without a pass.
    void SetRows(VoModule* module, const std::vector<std::pair<int, std::string>>& rows)
    {
        list.RemoveAll();
        module->UpdateProperties(list);
        for (const auto& row : rows) {
            ASSERT_TRUE(list.StringValue(row.first, row.second)) << row.first;
            Send(*module, list, row.first);
        }
    }
    void EditRows(VoModule* module, const std::vector<std::pair<int, std::string>>& rows)
    {
        SetRows(module, rows);
        RunPass();
    }
};

TEST_F(ResampleMergeTest, ResamplingALinearFieldIsExactOnEveryKindWithOrWithoutATransform)
{
    const unsigned int dims[3] = {6, 5, 4};
    // Inside the nodes of every kind, the curvilinear one included.
    const shr::Box3d box(13.75, -0.55, 2.95, 15.75, 1.45, 3.45);
    const unsigned int nodes[3] = {7, 6, 5};
    for (unsigned int kind : testsupport::kLatticeKinds)
        for (bool turned : {false, true}) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << (turned ? " turned" : ""));
            network().DeleteAllNodes();
            std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(kind, dims, shr::Double, 2, LinearField);
            if (turned)
                input->SetUserTransform(Turned());
            auto* resample = Feed(input.release(), new VoLatticeResample);
            EditRows(resample, GeometryRows(box, nodes));
            const auto* out = Output<core::VdUniformLattice>(resample);
            ASSERT_NE(out, nullptr) << LastError();
            EXPECT_EQ(out->HasUserTransform(), turned);
            EXPECT_FALSE(out->HasBlanks());
            for (uint32_t n = 0; n < out->VertexCount(); ++n) {
                unsigned int i, j, k;
                out->IndexToIJK(n, i, j, k);
                for (unsigned int c = 0; c < 2; ++c)
                    ASSERT_NEAR(Value(*out, n, c), LinearField(out->IJKToUVW(i, j, k), c), 1e-9) << n;
            }
        }
}

// The row-by-row form of the resampler against VdLattice::Interpolate at
// every output node, with the storing rule: element types, both methods,
// blanks in the input, two components, and a box reaching past the input.
TEST_F(ResampleMergeTest, RowByRowFormGivesInterpolatesValuesBitForBit)
{
    const unsigned int dims[3] = {7, 6, 5};
    const unsigned int outDims[3] = {11, 9, 8};
    const auto wavy = [](const shr::Vec3d& p, unsigned int c) {
        return 100.0 * std::sin(p.x) * std::cos(0.3 * p.y) + 7.0 * p.z - 40.0 * c;
    };
    for (unsigned int kind : {core::PortUniformLattice, core::PortRectilinearLattice})
        for (shr::PrimType type : {shr::Float, shr::Double, shr::Int16})
            for (auto method : {VdLattice::INTERP_NEAREST, VdLattice::INTERP_LINEAR})
                for (bool blanks : {false, true}) {
                    SCOPED_TRACE(testing::Message() << kind << " " << type << " " << method << " " << blanks);
                    std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(kind, dims, type, 2, wavy);
                    for (uint32_t n = 0; blanks && n < input->VertexCount(); n += 7)
                        input->SetBlank(n, n % 3 == 0 ? 0 : 1);
                    const shr::Box3d in = input->GetUVWBounds();
                    LatticeGeometry geometry;
                    geometry.limits = shr::Box3d(in.min - shr::Vec3d(0.9, 0.2, 0.0), in.max + shr::Vec3d(0.3, 0.0, 0.4));
                    std::copy(outDims, outDims + 3, geometry.nodes);
                    std::unique_ptr<core::VdUniformLattice> output = geometry.MakeLattice(type, 2);
                    const core::LatticeResampler resampler(*input, *output, method);
                    ASSERT_TRUE(resampler.Separable());
                    ASSERT_TRUE(resampler.Run(nullptr));

                    std::unique_ptr<core::VdUniformLattice> expected = geometry.MakeLattice(type, 2);
                    double values[2];
                    std::bitset<VdLattice::MaxBlankBits> bits;
                    for (uint32_t n = 0; n < expected->VertexCount(); ++n) {
                        const unsigned int count = input->Interpolate(method, expected->IndexToXYZ(n), values, 0, 2, bits);
                        for (unsigned int c = 0; c < 2; ++c) {
                            if (count != 0 && values[c] == core::VdVertexData::BlankVal)
                                expected->SetBlank(n, c);
                            else
                                core::StoreElement(*expected, n, c, values[c]);
                        }
                    }
                    ASSERT_EQ(std::memcmp(output->DataPtr(), expected->DataPtr(), output->DataTotalSize()), 0);
                    int blankCount = 0;
                    for (uint32_t n = 0; n < output->VertexCount(); ++n)
                        for (unsigned int c = 0; c < 2; ++c) {
                            ASSERT_EQ(output->IsBlank(n, c), expected->IsBlank(n, c)) << n << " " << c;
                            blankCount += output->IsBlank(n, c);
                        }
                    EXPECT_GT(blankCount, 0) << "the box reaches past the input";
                }
}

// Nodes every half unit over an input of four nodes one unit apart: the
// nearest node rounds halves away from zero; beyond the last node, past the
// 0.0001 node tolerance, the output is blank.
TEST_F(ResampleMergeTest, NearestPicksTheRoundedNodeAndOutsideIsBlank)
{
    const unsigned int dims[3] = {4, 1, 1};
    const double values[4] = {10, 20, 30, 40};
    const unsigned int nodes[3] = {8, 1, 1};
    const struct {
        const char* method;
        double expected[7];
    } cases[] = {{"0", {10, 20, 20, 30, 30, 40, 40}}, {"1", {10, 15, 20, 25, 30, 35, 40}}};
    for (const auto& c : cases) {
        network().DeleteAllNodes();
        auto* resample = Feed(new core::VdUniformLattice(shr::Double, dims, values, 1), new VoLatticeResample);
        auto rows = GeometryRows(shr::Box3d(0, 0, 0, 3.5, 0, 0), nodes);
        rows.emplace_back(VoLatticeResample::IdMethod, c.method);
        EditRows(resample, rows);
        const VdLattice* out = Output(resample);
        ASSERT_NE(out, nullptr) << LastError();
        for (uint32_t n = 0; n < 8; ++n) // -1 for a blank
            EXPECT_EQ(out->IsBlank(n, 0) ? -1.0 : Value(*out, n, 0), n < 7 ? c.expected[n] : -1.0) << c.method << n;
    }
}

TEST_F(ResampleMergeTest, AutomaticGeometryFollowsTheInputs)
{
    // Resample: the input's own box, node counts and transform.
    const unsigned int dims[3] = {5, 4, 3};
    std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(core::PortCurvilinearLattice, dims, shr::Float, 1,
                                                              LinearField);
    input->SetUserTransform(Turned());
    const shr::Box3d uvw = input->GetUVWBounds();
    auto* resample = Feed(input.release(), new VoLatticeResample);
    RunPass();
    ASSERT_NE(Output(resample), nullptr) << LastError();
    EXPECT_EQ(Output<core::VdUniformLattice>(resample)->UVWBounds(), uvw);
    EXPECT_EQ(Output(resample)->GetUserTransform(), Turned());
    EXPECT_TRUE(std::equal(dims, dims + 3, Output(resample)->GetDims()));

    // Merge: tiles in one turned frame stay in it, at the finer tile's spacing;
    // the output holds the widest input's components in the promoted type.
    const unsigned int coarse[3] = {11, 2, 1}, fine[3] = {21, 3, 1};
    auto a = std::make_unique<core::VdUniformLattice>(shr::UInt8, coarse, nullptr, 1);
    a->SetUVWBounds(shr::Box3d(0, 0, 0, 10, 1, 0));
    auto* b = new core::VdUniformLattice(shr::Float, fine, nullptr, 2); // held by its source
    b->SetUVWBounds(shr::Box3d(10, 0, 0, 20, 1, 0));
    for (core::VdUniformLattice* tile : {a.get(), b})
        tile->SetUserTransform(Turned());
    auto* merge = Feed(a.release(), new VoLatticeMerge, 0);
    Feed(b, merge, 3);
    RunPass();
    const auto* merged = Output<core::VdUniformLattice>(merge);
    ASSERT_NE(merged, nullptr) << LastError();
    EXPECT_EQ(merged->UVWBounds(), shr::Box3d(0, 0, 0, 20, 1, 0));
    EXPECT_EQ(merged->GetUserTransform(), Turned());
    const unsigned int mergedDims[3] = {41, 3, 1};
    EXPECT_TRUE(std::equal(mergedDims, mergedDims + 3, merged->GetDims()));
    EXPECT_EQ(merged->DataType(), shr::Float);
    EXPECT_EQ(merged->ComponentCount(), 2u);

    // The transform is part of the stored form (stored here without the links).
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, "", shr::Archive::CurrentVersion);
    bool links = false;
    archive.ConnectionsFlag = &links;
    merge->Serialize(archive);
    VoLatticeMerge loaded;
    testsupport::Load(loaded, bytes);
    EXPECT_EQ(loaded.Transform(), Turned());

    // Tiles in different frames meet in the scene, without a transform.
    b->SetUserTransform(shr::Mat4d::MakeTranslation(0, 0, 5));
    merge->CalcAutoParameters();
    EXPECT_EQ(merge->Transform(), shr::Mat4d());
    EXPECT_NEAR(merge->Geometry().limits.max.z, 5.0, 1e-9);
}

// Four inputs on one geometry, by node: (1, 5, 3, 4), (2, blank, 8, 6) and
// all blank; the first input's second component is 7, 7 and blank.
TEST_F(ResampleMergeTest, EveryOverlapRuleWithBlanksAndWithAllInputsBlank)
{
    const unsigned int dims[3] = {3, 1, 1};
    const double columns[4][3] = {{1, 2, 0}, {5, 0, 0}, {3, 8, 0}, {4, 6, 0}};
    auto* merge = Add(new VoLatticeMerge);
    for (int s = 0; s < 4; ++s) {
        const unsigned int components = s == 0 ? 2 : 1;
        auto lattice = std::make_unique<core::VdUniformLattice>(shr::Double, dims, nullptr, components);
        for (uint32_t n = 0; n < 3; ++n) {
            core::StoreElement(*lattice, n, 0, columns[s][n]);
            if (n == 2 || (s == 1 && n == 1))
                lattice->SetBlank(n, 0);
        }
        if (s == 0) {
            core::StoreElement(*lattice, 0, 1, 7.0);
            core::StoreElement(*lattice, 1, 1, 7.0);
            lattice->SetBlank(2, 1);
        }
        Feed(lattice.release(), merge, s);
    }
    const double blank = core::VdVertexData::BlankVal;
    const struct {
        const char* rule;
        double first[3];  // component 1 at the three nodes
        double second[3]; // component 2
    } cases[] = {
        {"0", {3.25, 16.0 / 3.0, blank}, {7, 7, blank}}, {"1", {4, 3, 0}, {1, 1, 0}},
        {"2", {1, 2, blank}, {7, 7, blank}},             {"3", {4, 6, blank}, {7, 7, blank}},
        {"4", {5, 8, blank}, {7, 7, blank}},             {"5", {3.5, 6, blank}, {7, 7, blank}},
        {"6", {1, 2, blank}, {7, 7, blank}},
    };
    for (const auto& c : cases) {
        Edit(merge, {{VoLatticeMerge::IdMethod, "0"}, {VoLatticeMerge::IdOverlap, c.rule}});
        const VdLattice* out = Output(merge);
        ASSERT_NE(out, nullptr) << LastError();
        ASSERT_EQ(out->VertexCount(), 3u);
        for (uint32_t n = 0; n < 3; ++n)
            for (unsigned int comp = 0; comp < 2; ++comp) {
                const double expected = comp == 0 ? c.first[n] : c.second[n];
                SCOPED_TRACE(testing::Message() << "rule " << c.rule << " node " << n << " component " << comp);
                EXPECT_EQ(out->IsBlank(n, comp), expected == blank);
                EXPECT_DOUBLE_EQ(out->IsBlank(n, comp) ? blank : Value(*out, n, comp), expected);
            }
    }
}

TEST_F(ResampleMergeTest, ResamplingStopsWhenThePassIsAborted)
{
    const unsigned int dims[3] = {16, 16, 16};
    std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(core::PortUniformLattice, dims, shr::Float, 1,
                                                              LinearField);
    input->SetUserTransform(Turned()); // node by node through Interpolate: slow enough to stop
    const unsigned int nodes[3] = {400, 400, 100};
    auto* resample = Feed(input.release(), new VoLatticeResample);
    SetRows(resample, GeometryRows(shr::Box3d(10, -4, 2, 32, 26, 9), nodes));
    if (!AbortWhileExecuting(*resample, *proxy))
        GTEST_SKIP() << "the lattice was complete before the abort arrived";
    EXPECT_EQ(resample->GetStatus(), VoModule::ModuleAborted);
    EXPECT_EQ(Output(resample), nullptr);
}

TEST_F(ResampleMergeTest, StoredFormsRoundTripAndRefuseWhatNoRowAccepts)
{
    VoLatticeResample stored;
    stored.Method(0);
    stored.Geometry().autoLimits = false;
    stored.Geometry().limits = shr::Box3d(-1, -2, -3, 4, 5, 6);
    stored.Geometry().nodes[1] = 77;
    const std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(stored, {3, 30});
    // The limits close the form, X min, X max, Y min, ... 8 bytes each.
    double tail[6];
    std::memcpy(tail, bytes.data() + bytes.size() - sizeof tail, sizeof tail);
    EXPECT_EQ(std::vector<double>(tail, tail + 6), (std::vector<double>{-1, 4, -2, 5, -3, 6}));
    VoLatticeMerge merge;
    merge.Overlap(5);
    testsupport::ExpectRoundTrip(merge);

    // An overlap or node count that no row takes: refused, nothing taken.
    stored.Geometry().nodes[1] = 0;
    VoLatticeResample noNodes;
    EXPECT_THROW(testsupport::Load(noNodes, testsupport::Store(stored)), shr::Exception);
    EXPECT_TRUE(noNodes.Geometry().autoLimits);
    // The overlap is the one byte in which forms with overlaps 5 and 6 differ.
    std::vector<unsigned char> badOverlap = testsupport::Store(merge);
    merge.Overlap(6);
    const std::vector<unsigned char> six = testsupport::Store(merge);
    ASSERT_EQ(badOverlap.size(), six.size());
    const size_t at = std::mismatch(badOverlap.begin(), badOverlap.end(), six.begin()).first - badOverlap.begin();
    badOverlap[at] = 9;
    VoLatticeMerge refused;
    EXPECT_THROW(testsupport::Load(refused, badOverlap), shr::Exception);
    EXPECT_EQ(refused.Overlap(), 0u);
}

} // namespace
