// The slice module: one node layer of each lattice kind across each axis, with
// values, blanks, coordinates and the user transform kept; the fallback to the
// middle layer; persistence.
#include "LatticeSupport.h"
#include "NetworkFixture.h"

#include "core/processing/VoLatticeSlice.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Mat4d.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using core::VdLattice;
using core::VoLatticeSlice;
using core::VoModule;
using LatticeSliceTest = testsupport::DataNetworkTest;

const unsigned int kDims[3] = {3, 4, 5};

// Two float components on the nodes of `kind` (the curvilinear grid sheared:
// no axis of it is a plane of constant coordinate): 100u + 10v + w, distinct
// at every node, and its negative; component 1 is blank where (i + j + k) is
// divisible by 4; scaled and moved by the user transform.
std::unique_ptr<VdLattice> MakeLattice(unsigned int kind)
{
    std::unique_ptr<VdLattice> lattice =
        testsupport::SpacedLattice(kind, kDims, shr::Float, 2, [](const shr::Vec3d& p, unsigned int c) {
            const double v = 100.0 * p.x + 10.0 * p.y + p.z;
            return c ? -v : v;
        });
    for (uint32_t n = 0; n < lattice->VertexCount(); ++n) {
        unsigned int i, j, k;
        lattice->IndexToIJK(n, i, j, k);
        if ((i + j + k) % 4 == 0)
            lattice->SetBlank(n, 1);
    }
    lattice->SetUserTransform(shr::Mat4d::MakeScale(2.0, 1.0, 0.5) * shr::Mat4d::MakeTranslation(1000.0, -50.0, 3.0));
    return lattice;
}

TEST_F(LatticeSliceTest, EveryKindAcrossEveryAxisKeepsValuesBlanksCoordinatesAndTransform)
{
    for (unsigned int kind : testsupport::kLatticeKinds) {
        for (unsigned int axis = 0; axis < 3; ++axis) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << " axis " << axis);
            network().DeleteAllNodes();
            std::unique_ptr<VdLattice> input = MakeLattice(kind);
            const VdLattice& in = *input;
            VoLatticeSlice* slice = Feed(input.release(), new VoLatticeSlice);
            const unsigned int index = kDims[axis] - 2;
            const std::string axisText = std::to_string(axis), indexText = std::to_string(index);
            Edit(slice, {{VoLatticeSlice::IdAxis, axisText.c_str()}, {VoLatticeSlice::IdIndex, indexText.c_str()}});
            ASSERT_EQ(slice->GetStatus(), VoModule::ModuleOk) << LastError();
            const VdLattice* out = Output(slice);
            ASSERT_NE(out, nullptr);

            EXPECT_EQ(out->GetType(), kind);
            EXPECT_EQ(out->ComponentCount(), 2u);
            EXPECT_EQ(out->DataType(), shr::Float);
            EXPECT_TRUE(out->HasUserTransform());
            EXPECT_EQ(out->GetUserTransform(), in.GetUserTransform());
            for (unsigned int a = 0; a < 3; ++a)
                EXPECT_EQ(out->GetDims()[a], a == axis ? 1u : kDims[a]);

            for (uint32_t n = 0; n < out->VertexCount(); ++n) {
                unsigned int ijk[3];
                out->IndexToIJK(n, ijk[0], ijk[1], ijk[2]);
                unsigned int src[3] = {ijk[0], ijk[1], ijk[2]};
                src[axis] = index;
                const uint32_t m = in.Index(src[0], src[1], src[2]);
                for (unsigned int c = 0; c < 2; ++c) {
                    EXPECT_EQ(testsupport::ElementValue(*out, n, c), testsupport::ElementValue(in, m, c));
                    EXPECT_EQ(out->IsBlank(n, c), in.IsBlank(m, c)) << n << " " << c;
                }
                const shr::Vec3d expected = in.IJKToXYZ(src[0], src[1], src[2]);
                EXPECT_TRUE(testsupport::Near(out->IJKToXYZ(ijk[0], ijk[1], ijk[2]), expected, 1e-9)) << n;
            }
        }
    }
}

TEST_F(LatticeSliceTest, AnIndexThatNoLongerFitsFallsBackToTheMiddleLayer)
{
    VoLatticeSlice* slice = Feed(MakeLattice(core::PortUniformLattice).release(), new VoLatticeSlice);
    // The default is the middle layer across Z.
    RunPass();
    EXPECT_EQ(slice->GetIndex(), 2);

    // Layer 4 across Z does not exist across X (3 nodes): the middle is 1.
    Edit(slice, {{VoLatticeSlice::IdIndex, "4"}});
    EXPECT_EQ(slice->GetIndex(), 4);
    Edit(slice, {{VoLatticeSlice::IdAxis, "0"}});
    EXPECT_EQ(slice->GetIndex(), 1);
    ASSERT_NE(Output(slice), nullptr);
    EXPECT_EQ(Output(slice)->GetDims()[0], 1u);

    // A thinner input: layer 2 across X goes back to the middle of 2 nodes.
    Edit(slice, {{VoLatticeSlice::IdIndex, "2"}});
    const unsigned int thin[3] = {2, 2, 2};
    const std::vector<float> values(8, 1.0f);
    Feed(new core::VdUniformLattice(shr::Float, thin, values.data(), 1), slice);
    RunPass();
    EXPECT_EQ(slice->GetIndex(), 1);
    EXPECT_EQ(slice->GetStatus(), VoModule::ModuleOk) << LastError();
}

TEST_F(LatticeSliceTest, RefusesAnIndexBeyondTheInputAndAnUnknownAxisInRowsAndDocuments)
{
    VoLatticeSlice* slice = Feed(MakeLattice(core::PortRectilinearLattice).release(), new VoLatticeSlice);
    RunPass();
    list.RemoveAll();
    slice->UpdateProperties(list);
    ASSERT_TRUE(list.StringValue(VoLatticeSlice::IdIndex, "5"));
    EXPECT_THROW(slice->PropertyEvent(list, core::VbPropertyEvent(VoLatticeSlice::IdIndex,
                                                                   list.AnyValue(VoLatticeSlice::IdIndex))),
                 shr::Exception);
    EXPECT_EQ(slice->GetIndex(), 2);
    EXPECT_THROW(slice->SetAxis(3), shr::Exception);
    EXPECT_EQ(slice->GetAxis(), static_cast<unsigned int>(VoLatticeSlice::AlongZ));
    EXPECT_THROW(VoLatticeSlice::Extract(*MakeLattice(core::PortUniformLattice), 1, 4), shr::Exception);

    VoLatticeSlice stored;
    stored.SetAxis(VoLatticeSlice::AlongY);
    stored.SetIndex(7);
    const std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(stored, {1, 5});

    // The axis is the eight bytes before the end's index.
    std::vector<unsigned char> corrupt = bytes;
    corrupt[corrupt.size() - 8] = 9;
    VoLatticeSlice target;
    EXPECT_THROW(testsupport::Load(target, corrupt), shr::Exception);
    EXPECT_EQ(target.GetAxis(), static_cast<unsigned int>(VoLatticeSlice::AlongZ));
}

} // namespace
