#include "host/CommandLine.h"

#include "host/HostError.h"

namespace host {

const std::string& CommandLine::TakeValue(const char* command, const std::vector<std::string>& args, size_t& i)
{
    if (i + 1 >= args.size())
        HOST_USER_ERROR("%s: %s needs a value", command, args[i].c_str());
    return args[++i];
}

void CommandLine::TakeInput(const char* command, const std::string& arg, std::string& input)
{
    if (!arg.empty() && arg[0] == '-')
        HOST_USER_ERROR("%s: unknown option \"%s\"", command, arg.c_str());
    if (!input.empty())
        HOST_USER_ERROR("%s: one scene at a time (\"%s\" and \"%s\")", command, input.c_str(), arg.c_str());
    input = arg;
}

} // namespace host
