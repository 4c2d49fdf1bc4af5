// Buffered files and the data-file search.
#include "shr/BufferedFile.h"
#include "shr/Exception.h"
#include "shr/LocateFile.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace shr;

TEST(BufferedFile, ReadsLinesLikeATextStream)
{
    testsupport::ScratchFolder scratch;
    const std::string file = scratch.Write("lines.txt", "first\r\nsecond\n" + std::string(300, 'x') + "\nlast");
    CBufferedFile in(file, "rt");
    char buffer[256];
    // CRLF reads as LF in text mode; a long line comes back in pieces.
    for (const std::string& line : {std::string("first\n"), std::string("second\n"), std::string(255, 'x'),
                                    std::string(45, 'x') + "\n", std::string("last")}) {
        ASSERT_NE(in.ReadString(buffer, sizeof buffer), nullptr);
        EXPECT_EQ(buffer, line);
    }
    EXPECT_EQ(in.ReadString(buffer, sizeof buffer), nullptr);

    CBufferedFile binary(file, "rb");
    ASSERT_NE(binary.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "first\r\n");

    EXPECT_NE(testsupport::RaisedText([&] { CBufferedFile none(scratch.File("none.txt"), "rt"); })
                  .find("none.txt': No such file"),
              std::string::npos);
    CBufferedFile quiet(scratch.File("none.txt"), "rt", CBufferedFile::ShareRead, false);
    EXPECT_FALSE(quiet.IsOpen());
    EXPECT_EQ(quiet.ReadString(buffer, sizeof buffer), nullptr);
}

TEST(LocateFile, SearchOrder)
{
    testsupport::ScratchFolder env, host;
    env.Write("both.ini", "env");
    host.Write("both.ini", "host");
    const std::string hostOnly = host.Write("hostonly.ini", "host");
    ::setenv("FENRAK_DATA", ("/nonexistent:" + env.Path()).c_str(), 1);
    AddDataFolder(host.Path());

    EXPECT_EQ(LocateFile("both.ini"), env.File("both.ini")) << "the environment comes before the host";
    EXPECT_EQ(LocateFile("hostonly.ini"), hostOnly);
    EXPECT_EQ(LocateFile("nowhere.ini"), "");
    EXPECT_EQ(LocateFile(hostOnly), hostOnly);
    EXPECT_EQ(LocateFile(host.Path()), "") << "a folder is not a file";

    const std::vector<GString> folders = DataSearchFolders();
    ASSERT_GE(folders.size(), 4u);
    EXPECT_EQ(folders[2], host.Path());
    EXPECT_NE(folders[3].find("share/fenrak"), std::string::npos);

    ClearDataFolders();
    ::unsetenv("FENRAK_DATA");
    EXPECT_EQ(LocateFile("hostonly.ini"), "");
}
