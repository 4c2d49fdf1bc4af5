// Gradients: quadratic fields on the three kinds, one-sided edges, blanks and
// axes of one node, element types and components, the curvilinear fit's
// refusals, parallel against sequential, and the stored form.
#include "LatticeSupport.h"
#include "NetworkFixture.h"

#include "core/data/LatticeUtility.h"
#include "core/processing/LatticeGradientEvaluator.h"
#include "core/processing/VoLatticeGradient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using core::VdLattice;
using core::VoLatticeGradient;
using core::VoModule;
const auto& Value = testsupport::ElementValue;

// f = x^2 + 2 y^2 - z^2 + x y, whose gradient is (2x + y, 4y + x, -2z).
double Quadratic(const shr::Vec3d& p, unsigned int c) { return p.x * p.x + 2 * p.y * p.y - p.z * p.z + p.x * p.y + c; }

class GradientTest : public testsupport::DataNetworkTest {};

// On the axis-aligned kinds each component is the divided difference between
// the neighbours on its axis (the node itself at an edge), which for this
// field is exactly (x_lo + x_hi) + y along X, and so on: the central value
// where the steps are even, the one-sided one at the edges. On the sheared
// curvilinear lattice the plane through a node and its six neighbours has
// the exact gradient wherever the neighbours lie in pairs about the node.
TEST_F(GradientTest, QuadraticFieldsOnEveryKind)
{
    const unsigned int dims[3] = {6, 5, 4};
    for (unsigned int kind : testsupport::kLatticeKinds) {
        SCOPED_TRACE(testing::Message() << "kind " << kind);
        network().DeleteAllNodes();
        std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(kind, dims, shr::Double, 1, Quadratic);
        auto* gradient = Feed(input.release(), new VoLatticeGradient);
        RunPass();
        const VdLattice* out = Output(gradient);
        ASSERT_NE(out, nullptr) << LastError();
        EXPECT_EQ(out->GetType(), kind);
        EXPECT_EQ(out->DataType(), shr::Double);
        for (uint32_t n = 0; n < out->VertexCount(); ++n) {
            unsigned int ijk[3];
            out->IndexToIJK(n, ijk[0], ijk[1], ijk[2]);
            const shr::Vec3d p = out->IJKToUVW(ijk[0], ijk[1], ijk[2]);
            shr::Vec3d expected(2 * p.x + p.y, 4 * p.y + p.x, -2 * p.z);
            bool inner = true;
            for (int a = 0; a < 3; ++a) {
                unsigned int lo[3] = {ijk[0], ijk[1], ijk[2]}, hi[3] = {ijk[0], ijk[1], ijk[2]};
                lo[a] = ijk[a] == 0 ? 0 : ijk[a] - 1;
                hi[a] = ijk[a] + 1 < dims[a] ? ijk[a] + 1 : ijk[a];
                inner = inner && lo[a] != ijk[a] && hi[a] != ijk[a];
                const double sum = out->IJKToUVW(lo[0], lo[1], lo[2])[a] + out->IJKToUVW(hi[0], hi[1], hi[2])[a];
                if (kind != core::PortCurvilinearLattice)
                    expected[a] = a == 0 ? sum + p.y : a == 1 ? 2 * sum + p.x : -sum;
            }
            if (kind == core::PortCurvilinearLattice && !inner)
                continue;
            for (unsigned int a = 0; a < 3; ++a) {
                ASSERT_FALSE(out->IsBlank(n, a)) << n;
                EXPECT_NEAR(Value(*out, n, a), expected[a], 1e-9) << n << " axis " << a;
            }
        }
    }
}

// One row of nodes 1.5 apart holding i^2 with blanks: the edges are one-
// sided, a blank neighbour makes the difference one-sided, a node between two
// blanks has none, and a blank node between two values has one. The axes of
// one node have no gradient.
TEST_F(GradientTest, EdgesBlanksAndAxesOfOneNode)
{
    const unsigned int dims[3] = {9, 1, 1};
    std::vector<double> values;
    for (unsigned int i = 0; i < dims[0]; ++i)
        values.push_back(double(i) * i);
    auto* input = new core::VdUniformLattice(shr::Double, dims, values.data(), 1);
    input->SetUVWBounds(shr::Box3d(0, 0, 0, 12, 0, 0));
    for (unsigned int i : {3u, 6u, 8u})
        input->SetBlank(i, 0);
    auto* gradient = Feed(input, new VoLatticeGradient);
    RunPass();
    const VdLattice* out = Output(gradient);
    ASSERT_NE(out, nullptr) << LastError();
    const double h = 1.5, blank = core::VdVertexData::BlankVal;
    // Values 0 1 4 [9] 16 25 [36] 49 [64].
    const double expected[9] = {1 / h, 4 / (2 * h), 3 / h, 12 / (2 * h), 9 / h, 9 / h, 24 / (2 * h), blank, blank};
    for (uint32_t n = 0; n < 9; ++n) {
        EXPECT_EQ(out->IsBlank(n, 0), expected[n] == blank) << n;
        EXPECT_DOUBLE_EQ(out->IsBlank(n, 0) ? blank : Value(*out, n, 0), expected[n]) << n;
        EXPECT_TRUE(out->IsBlank(n, 1) && out->IsBlank(n, 2)) << n;
        EXPECT_EQ(Value(*out, n, 1), 0.0);
    }
}

TEST_F(GradientTest, TypesComponentsAndRefusalsInRowsAndDocuments)
{
    // An integer input gives float gradients, of the chosen component.
    const unsigned int dims[3] = {4, 3, 3};
    auto* gradient = Feed(testsupport::SpacedLattice(core::PortUniformLattice, dims, shr::Int16, 2,
                                                 [](const shr::Vec3d& p, unsigned int c) { return (c + 1) * 4 * p.x; })
                              .release(),
                          new VoLatticeGradient);
    Edit(gradient, {{VoLatticeGradient::IdComponent, "2"}});
    const VdLattice* out = Output(gradient);
    ASSERT_NE(out, nullptr) << LastError();
    EXPECT_EQ(out->DataType(), shr::Float);
    EXPECT_NEAR(Value(*out, 5, 0), 8.0, 1e-6);

    // A component the input lacks fails the module and leaves no output.
    gradient->Component(3);
    gradient->SetModified();
    RunPass();
    EXPECT_EQ(gradient->GetStatus(), VoModule::ModuleFailed);
    EXPECT_EQ(LastError(), "Component index out of range.");
    EXPECT_EQ(Output(gradient), nullptr);

    // Curvilinear nodes with fewer than four valid points, or with points in
    // one plane, have no gradient.
    const unsigned int cube[3] = {3, 3, 3}, sheet[3] = {3, 3, 1};
    std::unique_ptr<VdLattice> lattice = testsupport::SpacedLattice(core::PortCurvilinearLattice, cube, shr::Float, 1, Quadratic);
    for (unsigned int n : {4u, 10u, 12u, 14u, 16u})
        lattice->SetBlank(n, 0); // the centre's neighbours below and in its layer
    const std::vector<double> coords(3 * 9, 0.0);
    core::VdCurvilinearLattice plane(shr::Double, shr::Float, sheet, coords.data(), nullptr, 1);
    for (const VdLattice* input : {static_cast<const VdLattice*>(lattice.get()), static_cast<const VdLattice*>(&plane)}) {
        std::unique_ptr<VdLattice> result = VoLatticeGradient::Compute(*input, 1, nullptr);
        const uint32_t node = input == &plane ? 4 : 13;
        for (unsigned int a = 0; a < 3; ++a)
            EXPECT_TRUE(result->IsBlank(node, a)) << node << " " << a;
    }

    // A document may not hold the component 0 that no row takes.
    VoLatticeGradient stored;
    stored.Component(4);
    std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(stored);
    std::memset(bytes.data() + bytes.size() - 4, 0, 4);
    VoLatticeGradient refused;
    EXPECT_THROW(testsupport::Load(refused, bytes), shr::Exception);
    EXPECT_EQ(refused.Component(), 1u);
}

// The nodes are independent: the parallel run equals one sequential pass,
// with and without blanks, over rows longer than the evaluator's runs.
TEST_F(GradientTest, ParallelEqualsSequentialBitForBit)
{
    const unsigned int dims[3] = {300, 12, 10};
    for (unsigned int kind : testsupport::kLatticeKinds) {
        for (bool blanks : {false, true}) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << (blanks ? " with blanks" : ""));
            std::unique_ptr<VdLattice> input = testsupport::SpacedLattice(kind, dims, shr::Float, 1, Quadratic);
            for (uint32_t n = 0; blanks && n < input->VertexCount(); n += 97)
                input->SetBlank(n, 0);
            std::unique_ptr<VdLattice> parallel = VoLatticeGradient::Compute(*input, 1, nullptr);
            std::unique_ptr<VdLattice> sequential = core::MakeLatticeLike(*input, shr::Float, 3);
            core::LatticeGradientEvaluator(*input, 0, *sequential)(
                tbb::blocked_range<unsigned int>(0, input->VertexCount()));
            ASSERT_EQ(std::memcmp(parallel->DataPtr(), sequential->DataPtr(), parallel->DataTotalSize()), 0);
            for (uint32_t n = 0; n < input->VertexCount(); ++n)
                for (unsigned int a = 0; a < 3; ++a)
                    ASSERT_EQ(parallel->IsBlank(n, a), sequential->IsBlank(n, a)) << n;
            if (kind != core::PortCurvilinearLattice) {
                EXPECT_NE(Value(*sequential, sequential->VertexCount() - 1, 1), 0.0) << "the last row is computed";
            }
        }
    }
}

} // namespace
