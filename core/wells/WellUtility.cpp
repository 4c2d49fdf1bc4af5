#include "core/wells/WellUtility.h"

#include "core/properties/PropertyError.h"
#include "core/wells/VdWellData.h"
#include "core/wells/WellLog.h"

#include <algorithm>
#include <cmath>
#include <regex>

namespace core {

namespace {

void ClearBins(std::vector<unsigned int>& bins)
{
    if (bins.empty())
        VB_THROW_CORE("Histogram storage must be non-empty.");
    std::fill(bins.begin(), bins.end(), 0u);
}

bool CountValues(const WellLog& log, const std::pair<double, double>& range, std::vector<unsigned int>& bins)
{
    const double width = range.second - range.first;
    if (!(width > 0.0)) {
        bins[0] = static_cast<unsigned int>(std::distance(log.filtered_begin(), log.filtered_end()));
        return bins[0] > 0;
    }
    if (log.filtered_begin() == log.filtered_end())
        return false;
    const size_t count = bins.size();
    const double scale = static_cast<double>(count) / width;
    for (auto it = log.filtered_begin(); it != log.filtered_end(); ++it) {
        const double value = it->Data();
        if (value <= range.first) {
            ++bins.front();
        } else if (value >= range.second) {
            ++bins.back();
        } else {
            // Rounding can put a value just below the end at index `count`: the
            // bin index is capped at the count, not one below it, so such a
            // value (and a NaN, which has no bin) is counted nowhere.
            const double bin = std::trunc((value - range.first) * scale);
            if (bin >= 0.0 && bin < static_cast<double>(count))
                ++bins[static_cast<size_t>(bin)];
        }
    }
    return true;
}

} // namespace

bool Histogram(const WellLog& log, std::vector<unsigned int>& bins, std::pair<double, double>& range)
{
    range = std::make_pair(log.NullValue(), log.NullValue());
    ClearBins(bins);
    if (!log.Range(range))
        return false;
    return CountValues(log, range, bins);
}

bool Histogram(const WellLog& log, const std::pair<double, double>& range, std::vector<unsigned int>& bins)
{
    ClearBins(bins);
    if (range.second < range.first)
        VB_THROW_CORE("Histogram range must be valid.");
    return CountValues(log, range, bins);
}

shr::GString ExtractValidWellName(const VdWellData& wellData, const shr::GString& text)
{
    if (text.empty())
        VB_THROW_CORE("Name of well to retrieve must be non-empty.");
    static const std::regex pattern(R"(^\s*(?:well\s*\=)?(.*))", std::regex::ECMAScript | std::regex::icase);
    std::smatch match;
    const shr::GString name = std::regex_match(text, match, pattern) ? shr::GString(match[1].str()) : text;
    // A reference with nothing after the prefix names no well.
    if (name.empty() || !wellData.Well(name))
        return shr::GString();
    return name;
}

} // namespace core
