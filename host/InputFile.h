#pragma once
// InputFile: what kind of input a file given to `fenrak render` is, told from
// its content, never its name: a saved document (its archive header), a JSON
// scene (an object), or a point file (delimited text). Anything else (binary
// data) is a user error saying what was expected.
#include <string>

namespace host {

class InputFile {
public:
    enum Kind { Document, Scene, Points };
    // A file that cannot be opened is left to the scene reader's error.
    static Kind KindOf(const std::string& path);
};

} // namespace host
