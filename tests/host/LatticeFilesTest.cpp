// Lattice files in: SEG-Y cubes and NetCDF grids, from files written here by
// hand and by the exporter.
#include "HostTestSupport.h"
#include "SegyFileMaker.h"

#include "core/data/MemoryBudget.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "host/HostError.h"
#include "host/LatticeFile.h"
#include "host/NetcdfGrid.h"

#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <netcdf.h>

#include <cmath>

using hosttest::ScratchFolder;
using hosttest::SegyCube;

namespace {

std::unique_ptr<core::VdLattice> ReadLattice(const std::string& path, host::FileOptions::Pairs options = {})
{
    return host::LatticeFile::Read(path, "cube", host::FileOptions(std::move(options), "cube"));
}

std::string ReadError(const std::string& path, host::FileOptions::Pairs options = {})
{
    try {
        ReadLattice(path, std::move(options));
    } catch (const shr::Exception& error) {
        EXPECT_TRUE(host::IsUserError(error)) << error.Describe();
        return error.Message();
    }
    return "no error";
}

double At(const core::VdLattice& lattice, unsigned i, unsigned j, unsigned k, unsigned c = 0)
{
    const void* p = lattice.DataPtr(i, j, k, c);
    return lattice.DataType() == shr::Float ? *static_cast<const float*>(p) : *static_cast<const double*>(p);
}

// Node (i, j, k) of a cube holds trace (j * crosslines + i) at sample
// (samples - 1 - k); the nodes of a trace left out are blank.
void ExpectCubeValues(const core::VdLattice& lattice, const SegyCube& cube)
{
    for (int j = 0; j < cube.inlines; ++j)
        for (int i = 0; i < cube.crosslines; ++i)
            for (int k = 0; k < cube.samples; ++k) {
                const int trace = j * cube.crosslines + i;
                const bool left = std::find(cube.skip.begin(), cube.skip.end(), trace) != cube.skip.end();
                SCOPED_TRACE(std::to_string(i) + " " + std::to_string(j) + " " + std::to_string(k));
                ASSERT_EQ(lattice.IsBlank(i, j, k, 0), left);
                if (!left) {
                    ASSERT_EQ(At(lattice, i, j, k), SegyCube::Value(trace, cube.samples - 1 - k));
                }
            }
}

TEST(SegyReader, SurveysBecomeUniformOrCurvilinearLattices)
{
    struct Case {
        const char* name;
        SegyCube cube;
        unsigned expectedType;
        bool transform;
    };
    SegyCube aligned;
    SegyCube rotated;
    rotated.ax = 20.0 * std::cos(0.5), rotated.ay = 20.0 * std::sin(0.5);
    rotated.bx = -10.0 * std::sin(0.5), rotated.by = 10.0 * std::cos(0.5);
    SegyCube mirrored = aligned; // crosslines running west: turned round to stay right-handed
    mirrored.ax = -25.0;
    SegyCube bent = aligned;
    bent.jitter = [](int trace) { return trace % 2 ? 6.0 : 0.0; };
    SegyCube little = aligned;
    little.littleEndian = true;
    SegyCube otherBytes = aligned;
    otherBytes.inlineByte = 9, otherBytes.crosslineByte = 21;
    SegyCube gap = aligned;
    gap.skip = {5};
    const Case cases[] = {{"aligned", aligned, 2, false},   {"rotated", rotated, 2, true},
                          {"mirrored", mirrored, 2, false},  {"bent", bent, 8, false},
                          {"little-endian", little, 2, false}, {"header bytes", otherBytes, 2, false},
                          {"a missing trace", gap, 2, false}};
    ScratchFolder folder;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = folder.Path(std::string(c.name) + ".sgy");
        c.cube.Write(path);
        host::FileOptions::Pairs options;
        if (c.cube.inlineByte != 189)
            options = {{"inlineByte", "9"}, {"crosslineByte", "21"}};
        const auto lattice = ReadLattice(path, options);
        ASSERT_EQ(lattice->GetType(), c.expectedType);
        EXPECT_EQ(lattice->HasUserTransform(), c.transform);
        const unsigned* dims = lattice->GetDims();
        EXPECT_EQ(dims[0], unsigned(c.cube.crosslines));
        EXPECT_EQ(dims[1], unsigned(c.cube.inlines));
        EXPECT_EQ(dims[2], unsigned(c.cube.samples));
        // Every trace is where its header puts it; Z is minus the time.
        const bool reversed = c.cube.ax < 0.0;
        for (int j = 0; j < c.cube.inlines; ++j) {
            for (int i = 0; i < c.cube.crosslines; ++i) {
                const int trace = j * c.cube.crosslines + i;
                const double jitter = c.cube.jitter ? c.cube.jitter(trace) : 0.0;
                const unsigned node = reversed ? unsigned(c.cube.crosslines - 1 - i) : unsigned(i);
                const shr::Vec3d xyz = lattice->IJKToXYZ(node, unsigned(j), 0u);
                EXPECT_NEAR(xyz.x, c.cube.originX + i * c.cube.ax + j * c.cube.bx + jitter, 0.006);
                EXPECT_NEAR(xyz.y, c.cube.originY + i * c.cube.ay + j * c.cube.by, 0.006);
                EXPECT_DOUBLE_EQ(xyz.z, -(100.0 + 4.0 * (c.cube.samples - 1)));
            }
        }
        if (!reversed)
            ExpectCubeValues(*lattice, c.cube);
    }
}

TEST(SegyReader, DamagedFilesAreRefusedWithThePosition)
{
    ScratchFolder folder;
    const std::vector<unsigned char> good = SegyCube().Bytes();
    auto truncated = good;
    truncated.resize(good.size() - 7);
    auto duplicate = good;
    std::copy_n(good.begin() + 3600 + 188, 8, duplicate.begin() + 3600 + 260 + 188); // trace 2 = trace 1
    auto inconsistent = good;
    inconsistent[3600 + 2 * 260 + 115] = 9; // trace 3 claims 9 samples
    auto noInterval = good;
    noInterval[3217] = noInterval[3216] = 0;
    for (size_t t = 0; t < 12; ++t)
        noInterval[3600 + t * 260 + 116] = noInterval[3600 + t * 260 + 117] = 0;
    const std::pair<std::string, std::string> cases[] = {
        {folder.Write("truncated.sgy", truncated), "neither a NetCDF grid nor a SEG-Y cube"},
        {folder.Write("duplicate.sgy", duplicate),
         "trace 2 (byte 3860): inline 100 crossline 200 already came in trace 1"},
        {folder.Write("inconsistent.sgy", inconsistent), "trace 3 (byte 4120): 9 samples, the file's traces have 5"},
        {folder.Write("interval.sgy", noInterval), "no sample interval in the headers"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(ReadError(c.first), testing::HasSubstr(c.second)) << c.first;
    EXPECT_THAT(ReadError(folder.Write("ok.sgy", good), {{"inlineByte", "10"}}),
                testing::HasSubstr("\"inlineByte\": byte 10 is not the start of a trace header field"));
    EXPECT_THAT(ReadError(folder.Path("ok.sgy"), {{"inlinebyte", "9"}}),
                testing::HasSubstr("takes no setting \"inlinebyte\""));
}

// ---- NetCDF

class NcFile {
public:
    explicit NcFile(const std::string& path) { EXPECT_EQ(nc_create(path.c_str(), NC_CLOBBER, &id), NC_NOERR); }
    ~NcFile() { nc_close(id); }
    int Dim(const char* name, size_t n)
    {
        int dim = -1;
        nc_def_dim(id, name, n, &dim);
        return dim;
    }
    int Var(const char* name, nc_type type, std::vector<int> dims)
    {
        int var = -1;
        nc_def_var(id, name, type, int(dims.size()), dims.data(), &var);
        return var;
    }
    void Text(int var, const char* name, const char* text) { nc_put_att_text(id, var, name, std::strlen(text), text); }
    int id = -1;
};

TEST(NetcdfGrid, FillScaleOffsetAndTurnedAxesAreRead)
{
    ScratchFolder folder;
    const std::string path = folder.Path("grid.nc");
    {
        NcFile nc(path);
        const int y = nc.Dim("y", 3), x = nc.Dim("x", 2);
        const int yv = nc.Var("y", NC_DOUBLE, {y}), xv = nc.Var("x", NC_DOUBLE, {x});
        const int z = nc.Var("z", NC_SHORT, {y, x});
        const short fill = -1, missing = -2;
        const float scale = 0.5f, offset = 10.0f;
        nc_put_att_short(nc.id, z, "_FillValue", NC_SHORT, 1, &fill);
        nc_put_att_short(nc.id, z, "missing_value", NC_SHORT, 1, &missing);
        nc_put_att_float(nc.id, z, "scale_factor", NC_FLOAT, 1, &scale);
        nc_put_att_float(nc.id, z, "add_offset", NC_FLOAT, 1, &offset);
        nc_enddef(nc.id);
        const double ys[] = {30, 20, 10}; // from the north: turned round on reading
        const double xs[] = {1, 3};
        const short values[] = {0, 2, -1, 4, 6, -2};
        nc_put_var_double(nc.id, yv, ys);
        nc_put_var_double(nc.id, xv, xs);
        nc_put_var_short(nc.id, z, values);
    }
    const auto lattice = ReadLattice(path);
    ASSERT_EQ(lattice->GetType(), 2u);
    EXPECT_EQ(lattice->DataType(), shr::Float);
    EXPECT_EQ(lattice->GetUVWBounds().min, shr::Vec3d(1, 10, 0));
    EXPECT_EQ(lattice->GetUVWBounds().max, shr::Vec3d(3, 30, 0));
    // Rows now run from the south: y = 10 holds the file's last row.
    EXPECT_TRUE(lattice->IsBlank(1, 0, 0, 0)); // missing_value
    EXPECT_EQ(At(*lattice, 0, 0, 0), 13.0);
    EXPECT_TRUE(lattice->IsBlank(0, 1, 0, 0)); // _FillValue
    EXPECT_EQ(At(*lattice, 1, 1, 0), 12.0);
    EXPECT_EQ(At(*lattice, 0, 2, 0), 10.0);
    EXPECT_EQ(At(*lattice, 1, 2, 0), 11.0);
}

// The older GMT layout: ranges and sizes as variables, rows from the north,
// pixel registration putting the nodes in the cells' centres.
TEST(NetcdfGrid, OlderGmtGridsAreRead)
{
    ScratchFolder folder;
    const std::string path = folder.Path("old.grd");
    {
        NcFile nc(path);
        const int side = nc.Dim("side", 2), size = nc.Dim("xysize", 6);
        const int xr = nc.Var("x_range", NC_DOUBLE, {side}), yr = nc.Var("y_range", NC_DOUBLE, {side});
        const int dimension = nc.Var("dimension", NC_INT, {side});
        const int z = nc.Var("z", NC_FLOAT, {size});
        const int pixel = 1;
        nc_put_att_int(nc.id, z, "node_offset", NC_INT, 1, &pixel);
        nc_enddef(nc.id);
        const double xs[] = {0, 30}, ys[] = {0, 20};
        const int n[] = {3, 2};
        const float values[] = {1, 2, 3, 4, NAN, 6};
        nc_put_var_double(nc.id, xr, xs);
        nc_put_var_double(nc.id, yr, ys);
        nc_put_var_int(nc.id, dimension, n);
        nc_put_var_float(nc.id, z, values);
    }
    const auto lattice = ReadLattice(path);
    EXPECT_EQ(lattice->GetUVWBounds().min, shr::Vec3d(5, 5, 0));
    EXPECT_EQ(lattice->GetUVWBounds().max, shr::Vec3d(25, 15, 0));
    EXPECT_EQ(At(*lattice, 0, 0, 0), 4.0); // the southern row, stored last
    EXPECT_TRUE(lattice->IsBlank(1, 0, 0, 0));
    EXPECT_EQ(At(*lattice, 2, 1, 0), 3.0);
}

// A rectilinear lattice of two components with blanks and a user transform,
// and a curvilinear one, through the exporter and back.
TEST(NetcdfGrid, ExportedLatticesReadBackEqual)
{
    const unsigned dims[3] = {3, 2, 2};
    std::vector<double> data(12 * 2);
    for (size_t n = 0; n < data.size(); ++n)
        data[n] = 0.25 * double(n) - 2.0;
    const double u[] = {0, 1, 5}, v[] = {-3, -1}, w[] = {100, 250};
    core::VdRectilinearLattice rectilinear(shr::Double, dims, data.data(), 2, u, v, w);
    rectilinear.SetBlank(4, 1);
    rectilinear.SetBlank(7, 0);
    shr::Mat4d turn;
    turn.RotateZ(0.3, shr::Mat4d::Order(0));
    rectilinear.SetUserTransform(turn);
    std::vector<double> nodes(12 * 3);
    for (size_t n = 0; n < nodes.size(); ++n)
        nodes[n] = double(n % 7) + 0.1 * double(n);
    core::VdCurvilinearLattice curvilinear(shr::Double, shr::Double, dims, nodes.data(), data.data(), 1);
    ScratchFolder folder;
    for (const core::VdLattice* lattice : {static_cast<const core::VdLattice*>(&rectilinear),
                                           static_cast<const core::VdLattice*>(&curvilinear)}) {
        SCOPED_TRACE(lattice->GetTypeName());
        const std::string path = folder.Path("out.nc");
        host::NetcdfGrid::Write(*lattice, path, "out.nc");
        const auto back = ReadLattice(path);
        ASSERT_EQ(back->GetType(), lattice->GetType());
        ASSERT_EQ(back->ComponentCount(), lattice->ComponentCount());
        EXPECT_TRUE(back->GetUserTransform().Equals(lattice->GetUserTransform(), 0.0));
        for (unsigned n = 0; n < 12; ++n) {
            unsigned i, j, k;
            lattice->IndexToIJK(n, i, j, k);
            EXPECT_EQ(back->IJKToUVW(i, j, k), lattice->IJKToUVW(i, j, k)) << n;
            for (unsigned c = 0; c < lattice->ComponentCount(); ++c) {
                ASSERT_EQ(back->IsBlank(n, c), lattice->IsBlank(n, c)) << n << " " << c;
                if (!lattice->IsBlank(n, c)) {
                    EXPECT_EQ(At(*back, i, j, k, c), At(*lattice, i, j, k, c)) << n << " " << c;
                }
            }
        }
    }
}

TEST(NetcdfGrid, DamagedFilesAreRefused)
{
    ScratchFolder folder;
    const unsigned dims[3] = {4, 4, 4};
    core::VdUniformLattice lattice(shr::Float, dims, nullptr, 1);
    host::NetcdfGrid::Write(lattice, folder.Path("whole.nc"), "whole.nc");
    const std::string bytes = hosttest::ReadText(folder.Path("whole.nc"));
    folder.Write("cut.nc", bytes.substr(0, bytes.size() - 4));
    EXPECT_THAT(ReadError(folder.Path("cut.nc")),
                testing::HasSubstr("cube: variable \"component_1\" runs past the end of the file"));
    folder.Write("head.nc", bytes.substr(0, 100));
    EXPECT_THAT(ReadError(folder.Path("head.nc")), testing::HasSubstr("cube: "));
    EXPECT_THAT(ReadError(folder.Path("whole.nc"), {{"variable", "nothing"}}),
                testing::HasSubstr("no variable \"nothing\""));
    // The first dimension, z, claims a million layers: the header's own
    // variable sizes still say 4, but the data would run past the end.
    std::string lying = bytes;
    ASSERT_EQ(lying.substr(20, 1), "z");
    lying.replace(24, 4, std::string("\x00\x10\x00\x00", 4));
    folder.Write("lying.nc", lying);
    EXPECT_THAT(ReadError(folder.Path("lying.nc")), testing::HasSubstr("runs past the end of the file"));
    // An attribute of a type the format lacks, which the library would size
    // an allocation by.
    std::string typeless = bytes;
    typeless[typeless.find("Conventions") + 15] = 12;
    folder.Write("typeless.nc", typeless);
    EXPECT_THAT(ReadError(folder.Path("typeless.nc")), testing::HasSubstr("cube: the header is damaged"));
    {
        NcFile nc(folder.Path("empty.nc"));
        nc.Var("v", NC_FLOAT, {nc.Dim("t", NC_UNLIMITED), nc.Dim("x", 3)});
        NcFile old(folder.Path("old.grd"));
        const int three = old.Dim("three", 3);
        old.Var("dimension", NC_INT, {three}), old.Var("x_range", NC_DOUBLE, {three});
        old.Var("y_range", NC_DOUBLE, {three}), old.Var("z", NC_FLOAT, {old.Dim("xysize", 6)});
    }
    EXPECT_THAT(ReadError(folder.Path("empty.nc")),
                testing::HasSubstr("cube: variable \"v\" holds no values: one of its dimensions is empty"));
    EXPECT_THAT(ReadError(folder.Path("old.grd")),
                testing::HasSubstr("cube: variable \"dimension\" must hold two numbers"));
}

// A lattice file is a module's data in a scene, never a scene itself.
TEST(LatticeFile, ScenesReadLatticeFilesAndAFileIsNoScene)
{
    ScratchFolder folder;
    SegyCube().Write(folder.Path("cube.sgy"));
    const std::string scene = folder.Write("scene.json", R"({"modules": [
        {"name": "Cube", "type": "Lattice", "file": "cube.sgy"},
        {"name": "Section", "type": "OrthoImage", "inputs": ["Cube"]}]})");
    const hosttest::CommandResult drawn = hosttest::Render({scene, "--stats"});
    EXPECT_EQ(drawn.status, 0) << drawn.err;
    EXPECT_THAT(drawn.out, testing::ContainsRegex("Section +OrthoImage +ok +[0-9.]+ +[1-9]"));
    const hosttest::CommandResult refused = hosttest::Render({folder.Path("cube.sgy"), "-o", folder.Path("out.png")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, testing::HasSubstr("cube.sgy: a SEG-Y cube, not a scene: name it in a scene's module"));
    EXPECT_FALSE(hosttest::FileExists(folder.Path("out.png")));
}

// Lattices larger than the memory budget are refused before they are made:
// a file larger than it, and a SEG-Y file whose line numbers spread a few
// traces over a large lattice.
TEST(LatticeFile, LatticesBeyondTheMemoryBudgetAreRefused)
{
    ScratchFolder folder;
    SegyCube cube;
    cube.Write(folder.Path("cube.sgy"));
    SegyCube line;
    line.inlines = 1, line.crosslines = 12;
    std::vector<unsigned char> diagonal = line.Bytes();
    for (size_t t = 0; t < 12; ++t)
        diagonal[3600 + t * 260 + 188 + 3] = static_cast<unsigned char>(t); // inline t, crossline t
    folder.Write("diagonal.sgy", diagonal);
    const unsigned dims[3] = {10, 10, 10};
    host::NetcdfGrid::Write(core::VdUniformLattice(shr::Float, dims, nullptr, 1), folder.Path("grid.nc"), "grid.nc");
    const std::string refused = "cube: Insufficient memory to perform operation: ";
    const std::string budget = " of 1 component(s) take more than the memory budget of 1000 bytes "
                               "(FENRAK_MEMORY_LIMIT)";
    const std::pair<const char*, std::string> cases[] = {
        {"diagonal.sgy", refused + "12 x 12 x 5 nodes" + budget},
        {"grid.nc", refused + "10 x 10 x 10 nodes" + budget},
    };
    core::MemoryBudget::SetBytes(1000);
    EXPECT_NO_THROW(ReadLattice(folder.Path("cube.sgy"))); // 240 bytes of samples
    for (const auto& c : cases)
        EXPECT_EQ(ReadError(folder.Path(c.first)), c.second);
    core::MemoryBudget::SetBytes(200);
    EXPECT_EQ(ReadError(folder.Path("cube.sgy")),
              "cube: Insufficient memory to perform operation: its 12 traces of 5 samples " +
                  std::string("take more than the memory budget of 200 bytes (FENRAK_MEMORY_LIMIT)"));
    core::MemoryBudget::SetBytes(0);
}

} // namespace
