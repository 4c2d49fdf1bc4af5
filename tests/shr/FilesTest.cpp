// Buffered files and the data-file search.
#include "shr/BufferedFile.h"
#include "shr/Exception.h"
#include "shr/LocateFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <unistd.h>

using namespace shr;

namespace {

// A scratch folder removed with everything in it at the end of the test.
struct ScratchFolder {
    std::string path;
    ScratchFolder()
    {
        char pattern[] = "/tmp/fenrak-test-XXXXXX";
        path = ::mkdtemp(pattern);
    }
    ~ScratchFolder() { std::system(("rm -rf '" + path + "'").c_str()); }
    std::string Write(const std::string& name, const std::string& text) const
    {
        const std::string file = path + "/" + name;
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }
};

} // namespace

TEST(BufferedFile, ReadsLinesLikeATextStream)
{
    ScratchFolder scratch;
    const std::string file = scratch.Write("lines.txt", "first\r\nsecond\n" + std::string(300, 'x') + "\nlast");
    CBufferedFile in(file, "rt");
    char buffer[256];
    ASSERT_NE(in.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "first\n") << "CRLF reads as LF in text mode";
    ASSERT_NE(in.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "second\n");
    ASSERT_NE(in.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_EQ(std::string(buffer), std::string(255, 'x')) << "a long line comes back in pieces";
    ASSERT_NE(in.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_EQ(std::string(buffer), std::string(45, 'x') + "\n");
    ASSERT_NE(in.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "last");
    EXPECT_EQ(in.ReadString(buffer, sizeof buffer), nullptr);

    CBufferedFile binary(file, "rb");
    ASSERT_NE(binary.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "first\r\n");

    try {
        CBufferedFile missing(scratch.path + "/none.txt", "rt");
        FAIL();
    } catch (const Exception& e) {
        EXPECT_NE(e.Message().find("none.txt"), std::string::npos);
        EXPECT_NE(e.Message().find("No such file"), std::string::npos);
    }
    CBufferedFile quiet(scratch.path + "/none.txt", "rt", CBufferedFile::ShareRead, false);
    EXPECT_FALSE(quiet.IsOpen());
    EXPECT_EQ(quiet.ReadString(buffer, sizeof buffer), nullptr);
}

TEST(LocateFile, SearchOrder)
{
    ScratchFolder env, host;
    env.Write("both.ini", "env");
    host.Write("both.ini", "host");
    host.Write("hostonly.ini", "host");
    ::setenv("FENRAK_DATA", ("/nonexistent:" + env.path).c_str(), 1);
    AddDataFolder(host.path);

    EXPECT_EQ(LocateFile("both.ini"), env.path + "/both.ini") << "the environment comes before the host";
    EXPECT_EQ(LocateFile("hostonly.ini"), host.path + "/hostonly.ini");
    EXPECT_EQ(LocateFile("nowhere.ini"), "");
    EXPECT_EQ(LocateFile(""), "");
    const std::string absolute = host.path + "/hostonly.ini";
    EXPECT_EQ(LocateFile(absolute), absolute);
    EXPECT_EQ(LocateFile(host.path), "") << "a folder is not a file";

    const std::vector<GString> folders = DataSearchFolders();
    ASSERT_GE(folders.size(), 4u);
    EXPECT_EQ(folders[0], "/nonexistent");
    EXPECT_EQ(folders[2], host.path);
    EXPECT_NE(folders[3].find("share/fenrak"), std::string::npos);

    ClearDataFolders();
    ::unsetenv("FENRAK_DATA");
    EXPECT_EQ(LocateFile("hostonly.ini"), "");
}
