#include "core/graphics/VbColorMapTable.h"

#include "core/network/CoreError.h"
#include "shr/LocateFile.h"
#include "shr/StringUtil.h"

#include <cctype>
#include <cstring>
#include <fstream>
#include <istream>
#include <stdexcept>
#include <strings.h>

// The codes used here are all in the table, so CORE_THROW never returns.
#define CATALOGUE_ERROR(...)                                                 \
    do {                                                                     \
        CORE_THROW(__VA_ARGS__);                                             \
        throw std::logic_error("catalogue error code outside the table");    \
    } while (0)

namespace core {

namespace {

constexpr int kBadFormat = 10;
constexpr int kUnableToFind = 7;
constexpr unsigned int kLineBuffer = 256;
constexpr char kSignature[] = "#ColorMap 1.0";

const char* SkipSpace(const char* text)
{
    while (*text && std::isspace(static_cast<unsigned char>(*text)))
        ++text;
    return text;
}

} // namespace

VbColorMapTable::VbColorMapTable() { Load(); }

const VbColorMap& VbColorMapTable::operator[](size_t index) const
{
    if (index >= m_Maps.size())
        throw std::out_of_range("invalid vector<T> subscript");
    return m_Maps[index];
}

int VbColorMapTable::Find(const char* name) const
{
    if (!name)
        return -1;
    for (size_t i = 0; i < m_Maps.size(); ++i) {
        if (::strcasecmp(m_Maps[i].GetName(), name) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

void VbColorMapTable::Load()
{
    const shr::GString path = shr::LocateFile(FileName);
    if (path.empty())
        CATALOGUE_ERROR(kUnableToFind, FileName);
    std::ifstream in(path);
    m_Maps = Read(path, in);
}

std::vector<VbColorMap> VbColorMapTable::Read(const shr::GString& path, std::istream& in)
{
    std::vector<VbColorMap> maps;
    char text[kLineBuffer] = "";
    in.getline(text, kLineBuffer);
    int line = 1;
    if (!in.good() || std::strncmp(text, kSignature, sizeof kSignature - 1) != 0)
        CATALOGUE_ERROR(kBadFormat, path.c_str(), line);
    while (!in.eof()) {
        text[0] = '\0';
        in.getline(text, kLineBuffer);
        ++line;
        // A line too long for the buffer stops the stream short of its end,
        // where no later read would arrive: report it rather than loop.
        if (in.fail() && !in.eof())
            CATALOGUE_ERROR(kBadFormat, path.c_str(), line);
        const char* start = SkipSpace(text);
        if (*start == '\0' || *start == '#')
            continue;
        // The map's header and nodes follow its name line directly, counted on
        // from the same line counter.
        VbColorMap map(nullptr, shr::Color4b::Rgb, 256);
        map.LoadV2(path, in, line);
        shr::GString name(start);
        shr::Trim(name);
        map.SetName(name.c_str());
        maps.push_back(map);
    }
    return maps;
}

} // namespace core
