#include "host/PropertiesCommand.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/PropertyEditor.h"
#include "host/RenderCommand.h"
#include "shr/StringUtil.h"

#include <ostream>

namespace host {

namespace {

// Long texts (expressions, colour maps) are cut to keep one row a line.
std::string Shortened(const std::string& text)
{
    constexpr size_t kMax = 60;
    std::string line = text.substr(0, text.find('\n'));
    return line.size() > kMax || line.size() < text.size() ? line.substr(0, kMax) + "..." : line;
}

} // namespace

void PropertiesCommand::Print(const std::string& type, std::ostream& out)
{
    const core::VbModuleInfo* info = type.empty() ? nullptr : core::VbModuleRegistry::Instance().Construct(type);
    if (!info)
        HOST_USER_ERROR("unknown module type \"%s\" (\"fenrak modules\" lists them)", type.c_str());
    core::VoNetwork::Instance().Init(); // modules make scene-graph nodes
    std::unique_ptr<core::VoModule> module = info->CreateInstance();
    module->Name(type);
    PropertyEditor editor(*module);
    out << info->UiPath() << "\n";
    out << shr::ToString("  %-32s %-12s %-24s %s\n", "key", "kind", "value", "label");
    for (const auto& row : editor.List().Rows()) {
        const HostPropertyList::RowInfo& rowInfo = row.second;
        if (rowInfo.kind == "header") {
            out << "  [" << rowInfo.label << "]\n";
            continue;
        }
        if (rowInfo.key.empty())
            continue;
        out << shr::ToString("  %-32s %-12s %-24s %s\n", rowInfo.key.c_str(), rowInfo.kind.c_str(),
                             Shortened(editor.ValueText(row.first)).c_str(), rowInfo.label.c_str());
        if (!rowInfo.choices.empty()) {
            std::string choices;
            for (size_t i = 0; i < rowInfo.choices.size(); ++i)
                choices += (i ? ", " : "") + std::to_string(i) + " " + rowInfo.choices[i];
            out << "      choices: " << choices << "\n";
        }
    }
}

int PropertiesCommand::Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err)
{
    if (args.size() != 1) {
        err << "usage: fenrak properties TYPE\n";
        return kUserErrorCode;
    }
    try {
        Print(args[0], out);
        return 0;
    } catch (const shr::Exception& error) {
        return RenderCommand::ReportFailure(error, err);
    }
}

} // namespace host
