// Replays fuzz inputs: each argument is a file or a folder of files, fed once
// to the target. Used where the fuzzing engine is not: in every test build,
// so that the corpora and the reproducers of past findings run as tests. A
// finding shows as a crash or a sanitizer report, as it does under the engine.
#include "FuzzTarget.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

void CollectFiles(const std::string& path, std::vector<std::string>& files)
{
    // A folder without files yet (no reproducer so far) is simply absent.
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return;
    if (!S_ISDIR(info.st_mode)) {
        files.push_back(path);
        return;
    }
    DIR* dir = opendir(path.c_str());
    if (!dir)
        return;
    std::vector<std::string> names;
    while (const dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names)
        CollectFiles(path + "/" + name, files);
}

} // namespace

int main(int argc, char** argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i)
        CollectFiles(argv[i], files);
    if (files.empty()) {
        std::fprintf(stderr, "usage: %s FILE|FOLDER...: nothing to replay\n", argv[0]);
        return 1;
    }
    for (const std::string& file : files) {
        std::ifstream in(file, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("replayed %zu inputs\n", files.size());
    return 0;
}
