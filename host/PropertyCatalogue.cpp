#include "host/PropertyCatalogue.h"

#include "core/data/VdPoints.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/processing/VoLatticeSrc.h"
#include "core/processing/VoPointsSrc.h"
#include "core/wells/VdWellData.h"
#include "core/wells/VoWellData.h"
#include "core/wells/Well.h"
#include "host/HostError.h"
#include "host/PropertyEditor.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <utility>

namespace host {

namespace {

using Edits = std::vector<std::pair<std::string, std::string>>;

// A state to try: with or without data, and the choices made from there.
struct State {
    bool withData = false;
    Edits edits;
    std::string condition;
};

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

// A small source of data of a kind `type` names, or null: eight points,
// 3 x 3 x 3 nodes with two components that vary, or one well.
std::unique_ptr<core::VoModule> SampleOf(unsigned int type)
{
    if (type & core::PortPoints) {
        std::vector<double> coords, values;
        for (int corner = 0; corner < 8; ++corner) {
            coords.insert(coords.end(), {double(corner & 1), double(corner >> 1 & 1), double(corner >> 2)});
            values.insert(values.end(), {double(corner), double(corner % 3)});
        }
        return std::make_unique<core::VoPointsSrc>(shr::Double, shr::Double, 8, coords.data(), values.data(), 2,
                                                   shr::GString());
    }
    if (type & core::PortUniformLattice) {
        const unsigned int dims[3] = {3, 3, 3};
        std::vector<float> values;
        for (int node = 0; node < 27; ++node)
            values.insert(values.end(), {float(node % 3 + node / 9), float(node % 5)});
        return std::make_unique<core::VoLatticeSrc>(shr::Float, dims, values.data(), 2, "");
    }
    if (type & core::PortWellData) {
        auto wells = std::make_unique<core::VdWellData>();
        auto well = std::make_shared<core::Well>("Sample");
        well->Top(shr::Point3<double>(0.0, 0.0, 0.0));
        wells->AddWell(well);
        return std::make_unique<core::VoWellData>(wells.release());
    }
    return nullptr;
}

// A module of `info`, and when `withData` the data it shows its rows for: the
// source that feeds its first input, or, for a source that holds data of its
// own kind (a lattice, points, wells), the module made holding a sample.
struct TrialModules {
    std::unique_ptr<core::VoModule> module;
    std::unique_ptr<core::VoModule> source;
    bool hasData = false;
};

TrialModules MakeModules(const core::VbModuleInfo& info, bool withData)
{
    TrialModules made;
    made.module = info.CreateInstance();
    if (!withData)
        return made;
    if (made.module->GetInputCount() > 0) {
        made.source = SampleOf(made.module->GetInput(0)->Type());
        made.hasData = made.source != nullptr;
    } else if (made.module->GetOutputCount() > 0) {
        std::unique_ptr<core::VoModule> holder = SampleOf(made.module->GetOutput(0)->Type());
        made.hasData = holder && holder->GetTypeId() == made.module->GetTypeId();
        if (made.hasData)
            made.module = std::move(holder);
    }
    return made;
}

// A module of `info` in the network, fed when asked, then removed with its source.
class Trial {
public:
    Trial(const core::VbModuleInfo& info, bool withData)
    {
        TrialModules made = MakeModules(info, withData);
        made.module->Name(info.UiName());
        m_HasData = made.hasData;
        m_Module = made.module.get();
        Network().AddNode(made.module.release(), true);
        if (made.source) {
            m_Source = made.source.get();
            Network().AddNode(made.source.release(), true);
            Network().ConnectNodes(*m_Module, m_Source, 0, true);
        }
    }
    ~Trial()
    {
        Network().DeleteNode(m_Module, false);
        if (m_Source)
            Network().DeleteNode(m_Source, false);
    }
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

    bool HasData() const { return m_HasData; }
    core::VoModule& Module() { return *m_Module; }

private:
    core::VoModule* m_Module = nullptr;
    core::VoModule* m_Source = nullptr;
    bool m_HasData = false;
};

class Explorer {
public:
    explicit Explorer(const core::VbModuleInfo& info) : m_Info(info) {}

    std::vector<CatalogueRow> Run()
    {
        Visit(State{});
        // Choices are tried from the fed module, unless it takes no data.
        State base{true, {}, "with data"};
        Visit(base);
        if (!m_Fed)
            base = State{};
        std::vector<State> revealing;
        for (const State& next : Choices(base)) {
            if (Visit(next))
                revealing.push_back(next);
        }
        for (const State& state : revealing) {
            for (const State& next : Choices(state))
                Visit(next);
        }
        return m_Rows;
    }

private:
    // The module's rows in `state`, in its order; empty when the state cannot be made.
    std::vector<CatalogueRow> RowsOf(const State& state, bool& hasData) const
    {
        Trial trial(m_Info, state.withData);
        hasData = trial.HasData();
        PropertyEditor editor(trial.Module(), PropertyEditor::kRowKeys);
        try {
            for (const auto& edit : state.edits)
                editor.Set(edit.first, edit.second);
        } catch (const shr::Exception&) {
            return {};
        }
        std::vector<CatalogueRow> rows;
        for (const int id : editor.List().Order()) {
            const HostPropertyList::RowInfo& info = *editor.List().Info(id);
            CatalogueRow row;
            row.id = id;
            row.header = info.kind == "header";
            row.key = info.key;
            row.kind = info.kind;
            row.label = info.label;
            row.value = row.header ? std::string() : editor.ValueText(id);
            row.choices = info.choices;
            row.condition = state.condition;
            rows.push_back(std::move(row));
        }
        return rows;
    }

    // Adds the rows `state` shows that no earlier state did, each after the
    // row before it in the state's own order. True when it added any.
    bool Visit(const State& state)
    {
        const std::vector<CatalogueRow> rows = RowsOf(state, m_Fed);
        if (state.withData && !m_Fed)
            return false;
        bool added = false;
        size_t at = 0;
        for (const CatalogueRow& row : rows) {
            const auto known = std::find_if(m_Rows.begin(), m_Rows.end(),
                                            [&](const CatalogueRow& r) { return r.id == row.id; });
            if (known != m_Rows.end()) {
                at = static_cast<size_t>(known - m_Rows.begin()) + 1;
                continue;
            }
            m_Rows.insert(m_Rows.begin() + static_cast<long>(at), row);
            ++at;
            added = true;
        }
        return added;
    }

    // The states one choice away from `state`: every other item of each combo
    // and the other value of each check that `state` shows and has not set.
    std::vector<State> Choices(const State& state)
    {
        bool fed = false;
        std::vector<State> next;
        for (const CatalogueRow& row : RowsOf(state, fed)) {
            if (row.key.empty() || Edited(state, row.key))
                continue;
            if (row.kind == "check") {
                next.push_back(With(state, row, row.value == "true" ? "false" : "true",
                                    row.value == "true" ? "off" : "on"));
            } else if (row.kind == "combo") {
                for (size_t c = 0; c < row.choices.size(); ++c) {
                    if (std::to_string(c) != row.value)
                        next.push_back(With(state, row, std::to_string(c), row.choices[c]));
                }
            }
        }
        return next;
    }

    static bool Edited(const State& state, const std::string& key)
    {
        return std::any_of(state.edits.begin(), state.edits.end(),
                           [&](const auto& edit) { return strcasecmp(edit.first.c_str(), key.c_str()) == 0; });
    }

    static State With(const State& state, const CatalogueRow& row, const std::string& value, const std::string& shown)
    {
        State next = state;
        next.edits.emplace_back(row.key, value);
        next.condition = (state.condition.empty() ? "with " : state.condition + ", ") + row.label + " = " + shown;
        return next;
    }

    const core::VbModuleInfo& m_Info;
    std::vector<CatalogueRow> m_Rows;
    bool m_Fed = false; // whether the latest state visited had data
};

// ---- keys without a row of their own --------------------------------------------------------

// The beginning that all the keys of `rows` share; empty when they have none.
std::string KeyPrefix(const std::vector<CatalogueRow>& rows)
{
    std::string prefix;
    bool first = true;
    for (const CatalogueRow& row : rows) {
        if (row.key.empty())
            continue;
        if (first)
            prefix = row.key;
        const auto differ = std::mismatch(prefix.begin(), prefix.end(), row.key.begin(), row.key.end());
        prefix.erase(differ.first, prefix.end());
        first = false;
    }
    return prefix;
}

// "SubsetComp12" as "SubsetComp" and 12; a key without a number ends in 0.
std::pair<std::string, unsigned long> Numbered(const std::string& key)
{
    size_t digits = key.size();
    while (digits > 0 && std::isdigit(static_cast<unsigned char>(key[digits - 1])))
        --digits;
    if (digits == key.size() || key.size() - digits > 6)
        return {key, 0};
    return {key.substr(0, digits), std::stoul(key.substr(digits))};
}

// `label` with its last `from` made `to`: "Component [2]" from "Component [1]".
std::string Renumbered(std::string label, unsigned long from, unsigned long to)
{
    const std::string old = std::to_string(from);
    const size_t at = label.rfind(old);
    return at == std::string::npos ? label : label.replace(at, old.size(), std::to_string(to));
}

// The kind a key's converter gives its values in the listing.
std::string ConverterKind(unsigned char converterKey)
{
    static const char* const kKinds[] = {"",       "value",  "check",   "color", "color map", "double", "integer",
                                         "integer", "point", "rectangle", "text", "unsigned", "unsigned", "vector"};
    return converterKey < sizeof kKinds / sizeof *kKinds ? kKinds[converterKey] : "value";
}

const char* const kModuleTakesIt = "no row of its own: the module takes it";

// The listing row of `key`, which the rows do not show, and where it goes:
// after the row it acts on, after the one before it in its numbered run, or
// at the end.
std::vector<CatalogueRow>::iterator PlaceFurther(std::vector<CatalogueRow>& rows, const std::string& key,
                                                 const core::PropertyRegistryPair& pair, CatalogueRow& made)
{
    made.key = key;
    made.id = pair.id;
    made.kind = ConverterKind(pair.converterKey);
    const auto shared = std::find_if(rows.begin(), rows.end(), [&](const CatalogueRow& row) {
        return row.id == made.id && row.source == CatalogueRow::kOwnRow;
    });
    if (shared != rows.end() && !shared->key.empty()) {
        made.source = CatalogueRow::kSecondKey;
        made.kind = shared->kind;
        made.label = shared->label;
        made.choices = shared->choices;
        made.condition = shared->condition;
        made.note = "second key of " + shared->key;
        return shared + 1;
    }
    if (shared != rows.end()) {
        made.source = CatalogueRow::kModuleKey;
        made.label = shared->label;
        made.note = kModuleTakesIt;
        return shared + 1;
    }
    const auto number = Numbered(key);
    const CatalogueRow* before =
        number.second > 1 ? PropertyCatalogue::Find(rows, number.first + std::to_string(number.second - 1)) : nullptr;
    if (before) {
        made.source = CatalogueRow::kLaterRow;
        made.kind = before->kind;
        made.label = Renumbered(before->label, number.second - 1, number.second);
        made.condition = "with further components";
        return rows.begin() + (before - rows.data()) + 1;
    }
    made.source = CatalogueRow::kModuleKey;
    made.note = kModuleTakesIt;
    return rows.end();
}

// Adds the registered keys of the type that `rows` do not show, numbered runs
// in their order.
void AddFurtherKeys(std::vector<CatalogueRow>& rows)
{
    const std::string prefix = KeyPrefix(rows);
    if (prefix.empty())
        return;
    std::vector<std::pair<std::string, core::PropertyRegistryPair>> further;
    for (const auto& entry : core::VbPropertyRegistry::Instance()) {
        const std::string key = entry.first;
        if (key.compare(0, prefix.size(), prefix) == 0 && !PropertyCatalogue::Find(rows, key))
            further.emplace_back(key, entry.second);
    }
    std::sort(further.begin(), further.end(),
              [](const auto& a, const auto& b) { return Numbered(a.first) < Numbered(b.first); });
    for (const auto& entry : further) {
        CatalogueRow made;
        const auto at = PlaceFurther(rows, entry.first, entry.second, made);
        rows.insert(at, std::move(made));
    }
}

} // namespace

std::vector<CatalogueRow> PropertyCatalogue::Explore(const std::string& type)
{
    const core::VbModuleInfo* info = type.empty() ? nullptr : core::VbModuleRegistry::Instance().Construct(type);
    if (!info)
        HOST_USER_ERROR("unknown module type \"%s\" (\"fenrak modules\" lists them)", type.c_str());
    // The trials add modules and remove them again: the network is left as
    // modified as it was, so that exploring never asks for a save.
    struct KeepModified {
        bool modified = Network().IsModified();
        ~KeepModified() { Network().SetModified(modified); }
    } keep;
    std::vector<CatalogueRow> rows = Explorer(*info).Run();
    AddFurtherKeys(rows);
    return rows;
}

const CatalogueRow* PropertyCatalogue::Find(const std::vector<CatalogueRow>& rows, const std::string& key)
{
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const CatalogueRow& row) {
        return !row.key.empty() && strcasecmp(row.key.c_str(), key.c_str()) == 0;
    });
    return found == rows.end() ? nullptr : &*found;
}

} // namespace host
