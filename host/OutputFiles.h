#pragma once
// OutputFiles: the files one run of the host writes, kept all or nothing.
// Each output is checked before any computing (its folder exists and takes
// new files, the path is not a folder), written under a temporary name beside
// it, and renamed to its own name only when every output has been written. A
// run that fails anywhere leaves every earlier file as it was and no
// temporary behind. Errors name the output, never the temporary.
#include <functional>
#include <string>
#include <vector>

namespace host {

class OutputFiles {
public:
    OutputFiles() = default;
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;
    // Removes the temporaries of a run that did not commit.
    ~OutputFiles();

    // Registers an output; `what` names its kind in errors ("picture").
    void Add(const std::string& path, const std::string& what);
    // Raises a user error for the first output that cannot be written.
    void Check() const;
    // Writes an output through `write`, which is given the temporary path.
    void Write(const std::string& path, const std::function<void(const std::string&)>& write);
    // Renames every written temporary to its output.
    void Commit();

private:
    struct Output {
        std::string path;
        std::string what;
        std::string temporary; // empty until written
    };

    Output& Find(const std::string& path);

    std::vector<Output> m_Outputs;
};

} // namespace host
