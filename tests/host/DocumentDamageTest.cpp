// Damaged documents: every truncation and every corrupted count is refused as
// a user error naming the file, and leaves the network empty; nothing crashes
// and nothing leaks (the address-sanitizer build checks the latter).
#include "HostTestSupport.h"

#include "core/network/VoNetwork.h"
#include "core/wells/Well.h"
#include "host/HostError.h"
#include "host/NetworkDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

using hosttest::CommandResult;
using hosttest::ReadText;
using hosttest::Render;
using hosttest::ScratchFolder;
using ::testing::HasSubstr;

namespace {

// Points, a grid of them, a shell with its legend and a section: each class
// that stores data or a legend appears once.
const char* const kScene = R"({"modules": [
    {"name": "Points", "type": "PointSet", "file": "points.csv"},
    {"name": "Grid", "type": "Gridder", "inputs": ["Points"],
     "properties": {"Gridder3DoIt": "1", "Gridder3XNum": "4", "Gridder3YNum": "3", "Gridder3ZNum": "3"}},
    {"name": "Shell", "type": "Isosurface", "inputs": ["Grid"],
     "properties": {"IsoSurfaceColorMethod": "1", "IsoSurfaceLegendEnable": "1"}},
    {"name": "Section", "type": "OrthoImage", "inputs": ["Grid"]}],
  "view": {"size": [40, 30]}})";

const char* const kPoints = "x,y,z,cu\n0,0,0,1\n1,0,0,2\n0,1,0,3\n1,1,1,4\n";

// Loads `bytes`; true when the load succeeded. A failed load must be a user
// error naming the document and leave the network empty.
bool Load(const std::string& bytes)
{
    core::VoNetwork& network = core::VoNetwork::Instance();
    try {
        host::NetworkDocument::Load(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), "doc");
    } catch (const shr::Exception& error) {
        EXPECT_TRUE(host::IsUserError(error)) << error.Describe();
        EXPECT_EQ(std::string(error.Message()).rfind("doc: ", 0), 0u) << error.Message();
        EXPECT_EQ(network.size(), 0u);
        return false;
    }
    network.DeleteAllNodes();
    return true;
}

class DamagedDocument : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_Folder.Write("points.csv", kPoints);
        const std::string scene = m_Folder.Write("scene.json", kScene);
        const CommandResult saved = Render({scene, "--save", m_Folder.Path("doc.fkd")});
        ASSERT_EQ(saved.status, 0) << saved.err;
        m_Bytes = ReadText(m_Folder.Path("doc.fkd"));
        core::VoNetwork::Instance().Init();
    }

    ScratchFolder m_Folder;
    std::string m_Bytes;
};

TEST_F(DamagedDocument, EveryTruncationIsRefused)
{
    ASSERT_TRUE(Load(m_Bytes));
    for (size_t size = 0; size < m_Bytes.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_FALSE(Load(m_Bytes.substr(0, size)));
    }
    // Through the command: the file is named, and no picture is written.
    const std::string cut = m_Folder.Write("cut.fkd", m_Bytes.substr(0, m_Bytes.size() / 2));
    const CommandResult result = Render({cut, "-o", m_Folder.Path("cut.png")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(cut + ": cannot read the document"));
    EXPECT_FALSE(hosttest::FileExists(m_Folder.Path("cut.png")));
}

// A saved document of each module family (the fuzz seeds), cut at points
// spread over it: every class's stored form fails whole, and what it made is
// freed (the address-sanitizer build checks that).
TEST(DamagedDocuments, EveryModuleFamilyRefusesACutDocument)
{
    const std::string folder = std::string(FENRAK_SOURCE_DATA_DIR) + "/../fuzz/corpus/document/";
    core::VoNetwork::Instance().Init();
    int documents = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        SCOPED_TRACE(entry.path().filename());
        const std::string bytes = ReadText(entry.path());
        ASSERT_TRUE(Load(bytes));
        for (size_t cut = 1; cut < bytes.size(); cut += 1 + bytes.size() / 256)
            EXPECT_FALSE(Load(bytes.substr(0, bytes.size() - cut))) << cut;
        ++documents;
    }
    EXPECT_GE(documents, 15);
}

// The document keeps its links apart from the modules: a module's link count,
// like every other count, turned from 0 to 1 or to a large number, must not
// leave a link that only one side knows.
TEST_F(DamagedDocument, CorruptedZeroWordsLoadOrAreRefused)
{
    for (const uint32_t replacement : {1u, 0x04000005u}) {
        for (size_t at = 8; at + 4 <= m_Bytes.size(); ++at) {
            uint32_t word = 0;
            std::memcpy(&word, m_Bytes.data() + at, 4);
            if (word != 0)
                continue;
            SCOPED_TRACE(at);
            std::string bytes = m_Bytes;
            std::memcpy(&bytes[at], &replacement, 4);
            Load(bytes);
        }
    }
}

// An object of a class that is neither a module nor data, standing where a
// module belongs, is refused and freed (the address-sanitizer build sees it).
TEST_F(DamagedDocument, AnObjectOfAnotherClassIsFreedWithTheRest)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes);
    core::Well well("KV-1");
    shr::CTypedObject* object = &well;
    int32_t count = 1;
    int64_t id = 1;
    archive.SyncCheck();
    archive.Transfer(count);
    archive.Transfer(id);
    archive.TransferObject(object);
    EXPECT_FALSE(Load(std::string(bytes.begin(), bytes.end())));
}

// The view is the last section: width, height, azimuth, elevation, zoom, the
// background flag and colour. A view that cannot be drawn is the document's
// fault, reported before any output is touched.
TEST_F(DamagedDocument, ViewOutOfRangeIsAUserErrorBeforeAnyOutput)
{
    const size_t view = m_Bytes.size() - 37;
    struct Case {
        size_t offset;
        double value; // written as int32 for the first two fields
        const char* message;
    } cases[] = {
        {view, 0, "size 0x30"},
        {view, 30000, "size 30000x30"},
        {view + 16, 91, "the elevation must be from -90 to 90"},
        {view + 24, 0, "the zoom must be a positive number"},
        {view + 24, std::nan(""), "the zoom must be a positive number"},
    };
    const std::string earlier = m_Folder.Write("earlier.fkd", "an earlier document");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        std::string bytes = m_Bytes;
        if (c.offset == view) {
            const int32_t width = static_cast<int32_t>(c.value);
            std::memcpy(&bytes[c.offset], &width, 4);
        } else {
            std::memcpy(&bytes[c.offset], &c.value, 8);
        }
        const std::string damaged = m_Folder.Write("damaged.fkd", bytes);
        const CommandResult result = Render({damaged, "--save", earlier, "-o", m_Folder.Path("out.png")});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr(damaged + ": view: " + c.message));
        EXPECT_EQ(ReadText(earlier), "an earlier document");
        EXPECT_FALSE(hosttest::FileExists(m_Folder.Path("out.png")));
    }
}

} // namespace
