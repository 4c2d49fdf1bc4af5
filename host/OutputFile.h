#pragma once
// OutputFile: one file a command writes, complete or not at all. The path is
// checked when the object is made (before any computing): its folder must
// exist and take new files, and the path must not be a folder. The writer
// writes Temporary(), a name beside it; Commit renames it into place, and a
// run that ends without Commit leaves no temporary behind.
#include <string>

namespace host {

class OutputFile {
public:
    // `what` names the output in errors ("export").
    OutputFile(std::string path, std::string what);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Temporary() const { return m_Temporary; }
    void Commit();

private:
    std::string m_Path;
    std::string m_What;
    std::string m_Temporary;
    bool m_Committed = false;
};

} // namespace host
