// The lattice, point and geometry sources, driven through the network as a
// host drives them: rows edited, passes run, documents stored and read back.
#include "SourceTestSupport.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdPoints.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvInterface.h"
#include "core/processing/VoGeomSrc.h"
#include "core/processing/VoLatticeSrc.h"
#include "core/processing/VoPointsSrc.h"
#include "core/processing/VoSampleLattice.h"
#include "shr/Archive.h"

#include <Inventor/nodes/SoCube.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoTranslation.h>

#include <functional>

using namespace core;
using namespace sourcetest;

namespace {

constexpr int XMin = 108, XMax = 109, YMin = 111, YMax = 112, ZMin = 114, ZMax = 115;

VdUniformLattice* MakeUniform(unsigned int ni, unsigned int nj, unsigned int nk)
{
    const unsigned int dims[3] = {ni, nj, nk};
    return new VdUniformLattice(shr::Double, dims, nullptr, 1);
}

// 3 x 2 x 1 nodes on the planes u = 0, 1, 4; v = 2, 3; w = 5, in each kind
// (the uniform one on u = 0, 2, 4).
VdLattice* MakeKind(int kind)
{
    const unsigned int dims[3] = {3, 2, 1};
    const double u[3] = {0, 1, 4}, v[2] = {2, 3}, w[1] = {5};
    if (kind == 0) {
        auto* lattice = new VdUniformLattice(shr::Double, dims, nullptr, 1);
        lattice->SetUVWBounds(shr::Box3d(0, 2, 5, 4, 3, 5));
        return lattice;
    }
    if (kind == 1)
        return new VdRectilinearLattice(shr::Double, dims, nullptr, 1, u, v, w);
    float coords[18];
    for (unsigned int n = 0; n < 6; ++n) {
        coords[3 * n] = static_cast<float>(u[n % 3]);
        coords[3 * n + 1] = static_cast<float>(v[n / 3]);
        coords[3 * n + 2] = static_cast<float>(w[0]);
    }
    auto* lattice = new VdCurvilinearLattice(shr::Float, shr::Double, dims, coords, nullptr, 1);
    const_cast<VdArray&>(lattice->GetCoords()).SetBlank(1, 0);
    lattice->SetModifiedCoords();
    return lattice;
}

// A cube of side 2 centred on (1000, 2000, 0).
InvSmartPtr<SoNode> MakeFarCube()
{
    auto* group = new SoSeparator;
    auto* move = new SoTranslation;
    move->translation.setValue(1000.0f, 2000.0f, 0.0f);
    group->addChild(move);
    group->addChild(new SoCube);
    return InvSmartPtr<SoNode>(group);
}

const char* const kDocument = "/documents/scene.fdc";

std::vector<unsigned char> Store(VoModule& module)
{
    return testsupport::Store(module, shr::Archive::CurrentVersion, kDocument);
}

// A failed load leaves the objects it made to the caller, as a host would be left them.
void Load(VoModule& module, const std::vector<unsigned char>& bytes, size_t cut = 0)
{
    shr::Archive archive(bytes.data(), bytes.size() - cut, kDocument);
    try {
        module.Serialize(archive);
    } catch (const shr::Exception&) {
        for (shr::CTypedObject* object : archive.CreatedObjects())
            delete object;
        throw;
    }
}

} // namespace

TEST_F(SourceModuleTest, LatticeLimitsAreCheckedAxisByAxis)
{
    struct Case {
        unsigned int dims[3];
        std::vector<std::pair<int, const char*>> edits;
        const char* error; // "" for success
    } cases[] = {
        {{1, 1, 1}, {}, ""},
        {{2, 1, 1}, {{XMax, "0"}}, "The minimum X limit must be less than the maximum."},
        {{2, 2, 1}, {{ZMax, "-1"}}, "The minimum Z limit must be less than or equal to the maximum."},
        {{2, 2, 2}, {{YMax, "-5"}}, "The minimum Y limit must be less than the maximum."},
        {{2, 1, 2}, {{YMin, "3"}, {YMax, "3"}}, ""},
    };
    for (const Case& c : cases) {
        proxy->Clear();
        network().DeleteAllNodes();
        VdUniformLattice* lattice = MakeUniform(c.dims[0], c.dims[1], c.dims[2]);
        const shr::Box3d original = lattice->GetUVWBounds();
        auto* source = Add(new VoLatticeSrc(lattice, "grid.lat"));
        Edit(source, c.edits);
        const std::string where = std::to_string(c.dims[0]) + "x" + std::to_string(c.dims[1]) + "x" +
                                  std::to_string(c.dims[2]);
        EXPECT_EQ(LastError(), c.error) << where;
        if (*c.error) {
            EXPECT_EQ(source->GetStatus(), VoModule::ModuleFailed) << where;
            EXPECT_EQ(lattice->GetUVWBounds(), original) << "a failure leaves the lattice alone, " << where;
        } else {
            EXPECT_EQ(source->GetStatus(), VoModule::ModuleOk) << where;
            EXPECT_EQ(lattice->GetUVWBounds(), source->UserLimits()) << where;
        }
    }
}

TEST_F(SourceModuleTest, ScalingMovesEveryKindOfLatticeInPlace)
{
    // New limits X 10..18, Y 0..10, Z 7..9: Z has one node and no extent, so
    // its factor is 1 and the plane moves to the new minimum.
    const double u[3] = {10, 12, 18}, v[2] = {0, 10}, w = 7;
    const double uniformU[3] = {10, 14, 18};
    for (int kind = 0; kind < 3; ++kind) {
        network().DeleteAllNodes();
        VdLattice* lattice = MakeKind(kind);
        auto* source = Add(new VoLatticeSrc(lattice, ""));
        Edit(source, {{XMin, "10"}, {XMax, "18"}, {YMin, "0"}, {YMax, "10"}, {ZMin, "7"}, {ZMax, "9"}});
        ASSERT_EQ(LastError(), "") << kind;
        ASSERT_EQ(source->GetLattice(), lattice) << "no copy is made";
        for (unsigned int j = 0; j < 2; ++j)
            for (unsigned int i = 0; i < 3; ++i) {
                const shr::Vec3d p = lattice->IJKToUVW(i, j, 0);
                EXPECT_EQ(p, shr::Vec3d(kind == 0 ? uniformU[i] : u[i], v[j], w))
                    << "kind " << kind << " node " << i << "," << j;
            }
        if (auto* curvilinear = dynamic_cast<VdCurvilinearLattice*>(lattice)) {
            EXPECT_FALSE(curvilinear->GetCoords().IsBlank(1, 0)) << "written coordinates are no longer blank";
        }
    }
}

TEST_F(SourceModuleTest, ResetGoesBackToTheDataLimits)
{
    struct Case {
        bool changeFirst;   // XMin edited to -3 before the reset
        bool restoring;     // the reset comes as a restored value
        const char* xMinRow; // the row after the reset
    } cases[] = {
        {true, false, "0"},    // written back
        {false, false, "99"},  // unchanged limits: nothing written, the stray text stays
        {true, true, "-3"},    // a restore leaves the rows alone
    };
    for (const Case& c : cases) {
        network().DeleteAllNodes();
        auto* source = Add(new VoLatticeSrc(MakeUniform(2, 2, 2), ""));
        std::unique_ptr<LabelledList> rows = Rows(*source);
        if (c.changeFirst) {
            rows->StringValue(XMin, "-3");
            Send(*source, *rows, XMin);
            EXPECT_EQ(rows->Comment(107), "(-3, 1)");
        } else {
            rows->StringValue(XMin, "99");
        }
        const int64_t before = source->ModifiedTime();
        Send(*source, *rows, VoLatticeSrc::IdResetLimits, c.restoring);
        EXPECT_EQ(rows->Text(XMin), c.xMinRow) << c.restoring;
        EXPECT_EQ(source->UserLimits(), source->DataLimits()) << c.restoring;
        EXPECT_GT(source->ModifiedTime(), before) << "the reset always marks the module modified";
    }
}

TEST_F(SourceModuleTest, FilePathAndWorksheetRequestsGoToTheHost)
{
    const unsigned int dims[3] = {2, 2, 2};
    struct Case {
        VoModule* module;
        int fileId;
        int showId; // 0: no worksheet
    } cases[] = {
        {new VoLatticeSrc(shr::Int16, dims, nullptr, 2, "old.lat"), VoLatticeSrc::IdFileName, VoLatticeSrc::IdShowData},
        {new VoPointsSrc(shr::Double, shr::Float, 4, nullptr, nullptr, 1, "old.pts"), VoPointsSrc::IdFileName,
         VoPointsSrc::IdShowData},
        {new VoGeomSrc(false, InvSmartPtr<SoNode>(new SoCube), "old.iv"), VoGeomSrc::IdFileName, 0},
    };
    for (const Case& c : cases) {
        host().reloads.clear();
        host().views.clear();
        VoModule* module = Add(c.module);
        module->Name("Source");
        std::unique_ptr<LabelledList> rows = Rows(*module);
        EXPECT_EQ(rows->Text(c.fileId).rfind("old.", 0), 0u);
        rows->StringValue(c.fileId, "/data/new.file");
        Send(*module, *rows, c.fileId);
        ASSERT_EQ(host().reloads.size(), 1u);
        EXPECT_EQ(host().reloads[0].first, module);
        EXPECT_EQ(host().reloads[0].second, "/data/new.file");
        EXPECT_EQ(Rows(*module)->Text(c.fileId), "/data/new.file");
        if (!c.showId)
            continue;
        const int64_t before = module->ModifiedTime();
        Send(*module, *rows, c.showId);
        ASSERT_EQ(host().views.size(), 1u);
        EXPECT_EQ(host().views[0].first, module->GetOutput(0)->Data());
        EXPECT_EQ(host().views[0].second, "Source");
        EXPECT_EQ(module->ModifiedTime(), before) << "a worksheet changes nothing";
    }
}

namespace {

// A source's part of a document as a version before 113 wrote it: the module
// base with one unlinked output, then the source's own fields from `body`.
std::vector<unsigned char> OldDocument(int version, const std::function<void(shr::Archive&)>& body)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, kDocument, version);
    testsupport::WriteOldModulePart(archive, "Old", 1);
    archive.SyncCheck();
    body(archive);
    archive.Close();
    return bytes;
}

void TransferTemporary(shr::Archive& archive, shr::CTypedObject* object)
{
    archive.TransferObject(object);
    delete object;
}

void WriteName(shr::Archive& archive, int version, const char* name)
{
    std::string text(name);
    if (version >= 107)
        archive.Transfer(text);
}

const char* Expected(int version, const char* name) { return version >= 107 ? name : ""; }

} // namespace

TEST_F(SourceModuleTest, SourcesRoundTripThroughEveryVersionGate)
{
    const double coords[6] = {1, 2, 3, 4, 5, 6};
    const float values[2] = {7.5f, -1.0f};
    struct Case {
        const char* name;
        std::function<VoModule*()> make;                  // as the current version stores it
        std::function<void(shr::Archive&, int)> writeOld; // as an older version wrote it
        std::function<void(VoModule&, int)> check;        // the loaded source
    } cases[] = {
        {"lattice",
         [] {
             auto* source = new VoLatticeSrc(MakeKind(1), "survey.lat");
             source->SetUserLimits(shr::Box3d(-1, -2, 5, 3, 4, 5));
             return source;
         },
         [](shr::Archive& archive, int version) {
             TransferTemporary(archive, MakeKind(1));
             const unsigned char zero = 0;
             testsupport::Put(archive, zero, zero, shr::Box3d(0, 2, 5, 4, 3, 5), shr::Box3d(-1, -2, 5, 3, 4, 5));
             WriteName(archive, version, "survey.lat");
         },
         [](VoModule& module, int version) {
             auto& source = static_cast<VoLatticeSrc&>(module);
             EXPECT_EQ(source.FileName(), Expected(version, "survey.lat"));
             EXPECT_EQ(source.DataLimits(), shr::Box3d(0, 2, 5, 4, 3, 5));
             EXPECT_EQ(source.UserLimits(), shr::Box3d(-1, -2, 5, 3, 4, 5));
             const auto* lattice = dynamic_cast<const VdRectilinearLattice*>(source.GetLattice());
             ASSERT_NE(lattice, nullptr);
             EXPECT_EQ(lattice->GetUCoords(), std::vector<double>({0, 1, 4}));
         }},
        {"points", [&] { return new VoPointsSrc(shr::Double, shr::Float, 2, coords, values, 1, "wells.pts"); },
         [&](shr::Archive& archive, int version) {
             WriteName(archive, version, "wells.pts");
             TransferTemporary(archive, new VdPoints(shr::Double, shr::Float, 2, coords, values, 1));
         },
         [](VoModule& module, int version) {
             auto& source = static_cast<VoPointsSrc&>(module);
             EXPECT_EQ(source.FileName(), Expected(version, "wells.pts"));
             ASSERT_NE(source.GetPoints(), nullptr);
             EXPECT_EQ(source.GetPoints()->GetUVWBounds(), shr::Box3d(1, 2, 3, 4, 5, 6));
             EXPECT_EQ(source.GetPoints()->DataMinMax(0), std::make_pair(-1.0, 7.5));
         }},
        {"geometry",
         [] {
             auto* source = new VoGeomSrc(true, MakeFarCube(), "model.iv");
             LabelledList rows;
             source->UpdateProperties(rows);
             rows.StringValue(VoGeomSrc::IdDrawStyle, "2");
             source->PropertyEvent(rows, VbPropertyEvent(VoGeomSrc::IdDrawStyle, boost::any()));
             return source;
         },
         [](shr::Archive& archive, int version) {
             WriteName(archive, version, "model.iv");
             testsupport::Put(archive, uint32_t(2), uint32_t(0)); // the draw style, no geometry
         },
         [](VoModule& module, int version) {
             auto& source = static_cast<VoGeomSrc&>(module);
             EXPECT_EQ(source.FileName(), Expected(version, "model.iv"));
             EXPECT_EQ(source.GetDrawStyle(), 2u);
             if (version == shr::Archive::CurrentVersion) {
                 ASSERT_TRUE(source.GetGeom());
                 EXPECT_EQ(InvBoundingBox(source.GetGeom()), InvBoundingBox(MakeFarCube()));
             } else {
                 EXPECT_FALSE(source.GetGeom()) << "length 0 is no geometry";
             }
         }},
    };
    for (const Case& c : cases)
        for (int version : {int(shr::Archive::CurrentVersion), 112, 107, 106}) {
            SCOPED_TRACE(std::string(c.name) + " " + std::to_string(version));
            std::unique_ptr<VoModule> stored(c.make());
            const std::vector<unsigned char> bytes =
                version == shr::Archive::CurrentVersion
                    ? Store(*stored)
                    : OldDocument(version, [&](shr::Archive& archive) { c.writeOld(archive, version); });
            // A module that held something else before: loading replaces it.
            std::unique_ptr<VoModule> loaded(c.make());
            Load(*loaded, bytes);
            c.check(*loaded, version);
        }
}

TEST_F(SourceModuleTest, TruncatedDocumentsLeaveTheSourcesAsTheyWere)
{
    const double coords[3] = {1, 2, 3};
    const std::function<VoModule*()> makers[] = {
        [] { return new VoLatticeSrc(MakeKind(2), "a.lat"); },
        [&] { return new VoPointsSrc(shr::Double, shr::Double, 1, coords, coords, 3, "a.pts"); },
    };
    for (const auto& make : makers) {
        std::unique_ptr<VoModule> stored(make());
        const std::vector<unsigned char> bytes = Store(*stored);
        std::unique_ptr<VoModule> target(make());
        const VdData* before = target->GetOutput(0)->Data();
        EXPECT_THROW(Load(*target, bytes, 6), shr::Exception);
        EXPECT_EQ(target->GetOutput(0)->Data(), before);
    }
    VoGeomSrc stored(false, MakeFarCube(), "a.iv");
    VoGeomSrc target(false, InvSmartPtr<SoNode>(new SoCube), "b.iv");
    const InvSmartPtr<SoNode> before = target.GetGeom();
    EXPECT_THROW(Load(target, Store(stored), 6), shr::Exception);
    EXPECT_EQ(target.GetGeom().get(), before.get());
    EXPECT_EQ(target.FileName(), "b.iv");
}

