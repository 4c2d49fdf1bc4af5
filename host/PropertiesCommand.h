#pragma once
// PropertiesCommand: `fenrak properties TYPE`: lists every property row a
// module of the type can show (PropertyCatalogue): public key, kind, default
// value in text form and label, under the headers the module groups them by,
// in its order; a row shown only with data or under other choices says when.
#include <iosfwd>
#include <string>
#include <vector>

namespace host {

class PropertiesCommand {
public:
    // `args` are the words after "properties". Returns the exit status.
    static int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
    // The listing for a module type; a user error for a type the registry lacks.
    static void Print(const std::string& type, std::ostream& out);
};

} // namespace host
