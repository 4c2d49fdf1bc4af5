#pragma once
// CommandLine: what the host's commands share in reading the words after
// their name: an option's value, and the one input file. Errors are user
// errors that start with the command's name ("render: ...").
#include <string>
#include <vector>

namespace host {

class CommandLine {
public:
    // The word after the option args[i], moving i onto it.
    static const std::string& TakeValue(const char* command, const std::vector<std::string>& args, size_t& i);
    // Takes `arg`, a word that no option claimed, as the input: an unknown
    // option and a second input are errors.
    static void TakeInput(const char* command, const std::string& arg, std::string& input);
};

} // namespace host
