#include "host/PropertiesCommand.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/PropertyCatalogue.h"
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

// The end of the numbered run of rows that starts at `row`: "SubsetComp3" to
// "SubsetComp20" stand as one line.
std::vector<CatalogueRow>::const_iterator RunEnd(std::vector<CatalogueRow>::const_iterator row,
                                                 std::vector<CatalogueRow>::const_iterator end)
{
    auto last = row;
    while (row->source == CatalogueRow::kLaterRow && last + 1 != end && (last + 1)->source == CatalogueRow::kLaterRow)
        ++last;
    return last;
}

} // namespace

void PropertiesCommand::Print(const std::string& type, std::ostream& out)
{
    const core::VbModuleInfo* info = type.empty() ? nullptr : core::VbModuleRegistry::Instance().Construct(type);
    if (!info)
        HOST_USER_ERROR("unknown module type \"%s\" (\"fenrak modules\" lists them)", type.c_str());
    core::VoNetwork::Instance().Init(); // modules make scene-graph nodes
    const std::vector<CatalogueRow> rows = PropertyCatalogue::Explore(type);
    out << info->UiPath() << "\n";
    out << shr::ToString("  %-32s %-12s %-24s %s\n", "key", "kind", "value", "label");
    for (auto at = rows.cbegin(); at != rows.cend(); ++at) {
        const CatalogueRow& row = *at;
        if (row.header) {
            out << "  [" << row.label << "]\n";
            continue;
        }
        if (row.key.empty())
            continue;
        const std::string remark = row.condition + (row.condition.empty() || row.note.empty() ? "" : "; ") + row.note;
        const std::string when = remark.empty() ? std::string() : "  (" + remark + ")";
        std::string key = row.key;
        const auto last = RunEnd(at, rows.cend());
        if (last != at) {
            key += " to " + last->key;
            at = last;
        }
        out << shr::ToString("  %-32s %-12s %-24s %s%s\n", key.c_str(), row.kind.c_str(),
                             Shortened(row.value).c_str(), row.label.c_str(), when.c_str());
        if (!row.choices.empty()) {
            std::string choices;
            for (size_t i = 0; i < row.choices.size(); ++i)
                choices += (i ? ", " : "") + std::to_string(i) + " " + row.choices[i];
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
