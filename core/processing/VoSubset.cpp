#include "core/processing/VoSubset.h"

#include "core/data/VdLattice.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbAnyPropertyConverter.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/StringUtil.h"

#include <algorithm>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoSubset, VoModule)
const VbModuleInfo VoSubset::s_ModuleInfo("Computational\\Subset", VoSubset::GetClassTypeId(),
                                          PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                          PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                          "Extracts a subset from a lattice", 10);

namespace VoSubsetPrivate {

const unsigned int kLatticePorts = PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice;
const char kIndexLetters[3] = {'i', 'j', 'k'};
const char kKeyLetters[2][3] = {{'I', 'J', 'K'}, {'X', 'Y', 'Z'}};
const char* const kFields[3] = {"First", "Last", "Step"};
enum Field { FieldFirst = 1, FieldLast = 2, FieldStep = 3 };

int RangeRow(int axis, int field) { return VoSubset::IdRange + 4 * axis + field; }

// "SubsetIFirst" and "SubsetXFirst" name the same row, and so on.
bool RegisterKeys()
{
    VbPropertyRegistry& registry = VbPropertyRegistry::Instance();
    registry.Set("SubsetOptions", VoSubset::IdOptions, VbAnyPropertyConverter::Key());
    registry.Set("SubsetAutoState", VoSubset::IdOutputSize, VbStringPropertyConverter::Key());
    registry.Set("SubsetAuto", VoSubset::IdAuto, VbBoolPropertyConverter::Key());
    for (int axis = 0; axis < 3; ++axis)
        for (int field = FieldFirst; field <= FieldStep; ++field)
            for (const char* letters : kKeyLetters)
                registry.Set(shr::ToString("Subset%c%s", letters[axis], kFields[field - 1]),
                             static_cast<unsigned short>(RangeRow(axis, field)), VbUnsignedPropertyConverter::Key());
    for (unsigned int c = 0; c < VoSubset::MaskRows; ++c)
        registry.Set(shr::ToString("SubsetComp%u", c + 1), static_cast<unsigned short>(VoSubset::IdComponents + 1 + c),
                     VbBoolPropertyConverter::Key());
    return true;
}
const bool s_KeysRegistered = RegisterKeys();

// The last node the steps from `first` reach without passing `last`.
uint32_t SteppedLast(uint32_t first, uint32_t last, uint32_t step) { return (last - first) / step * step + first; }

shr::GString SizeText(const unsigned int* dims)
{
    return shr::ToString("(%u x %u x %u)", dims[0], dims[1], dims[2]);
}

} // namespace VoSubsetPrivate

using namespace VoSubsetPrivate;

VoSubset::VoSubset()
{
    AddInput("Input Lattice", kLatticePorts);
    AddOutput("Output Lattice", kLatticePorts);
}

const VdLattice* VoSubset::InputLattice() const { return dynamic_cast<const VdLattice*>(GetInputData(0)); }

void VoSubset::SetMask(unsigned int component, bool take)
{
    if (component >= MaskRows)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Component index out of range.");
    if (m_Mask.size() <= component)
        m_Mask.resize(component + 1, true);
    m_Mask[component] = take;
}

void VoSubset::FitToInput(const VdLattice& lattice)
{
    for (int axis = 0; axis < 3; ++axis) {
        const unsigned int dim = lattice.GetDims()[axis];
        m_Range.first[axis] = 0;
        m_Range.last[axis] = dim == 0 ? 0 : dim - 1;
        m_Range.step[axis] = 1;
    }
}

void VoSubset::GrowMask(const VdLattice& lattice)
{
    const size_t rows = std::min(lattice.ComponentCount(), MaskRows);
    if (m_Mask.size() < rows)
        m_Mask.resize(rows, true);
}

std::deque<bool> VoSubset::EffectiveMask(const VdLattice& lattice) const
{
    std::deque<bool> mask(lattice.ComponentCount(), true);
    std::copy_n(m_Mask.begin(), std::min(m_Mask.size(), mask.size()), mask.begin());
    return mask;
}

void VoSubset::OnInputChanged(int, bool)
{
    const VdLattice* lattice = InputLattice();
    if (!lattice)
        return;
    GrowMask(*lattice);
    if (m_Auto)
        FitToInput(*lattice);
}

bool VoSubset::Validate(const Range& range, const unsigned int* dims)
{
    for (int axis = 0; axis < 3; ++axis) {
        if (range.first[axis] >= dims[axis])
            CORE_THROW(32, kIndexLetters[axis], dims[axis]);
        if (range.last[axis] >= dims[axis])
            CORE_THROW(33, kIndexLetters[axis], dims[axis]);
        if (range.first[axis] > range.last[axis])
            return false;
        if (range.step[axis] == 0)
            CORE_THROW(34, kIndexLetters[axis]);
    }
    return true;
}

std::unique_ptr<VdLattice> VoSubset::Extract(const VdLattice& lattice, const Range& range,
                                             const std::deque<bool>& mask)
{
    if (!Validate(range, lattice.GetDims()) || std::none_of(mask.begin(), mask.end(), [](bool take) { return take; }))
        return nullptr;
    uint32_t last[3];
    for (int axis = 0; axis < 3; ++axis)
        last[axis] = SteppedLast(range.first[axis], range.last[axis], range.step[axis]);
    return lattice.Clone(mask, range.first[0], last[0], range.step[0], range.first[1], last[1], range.step[1],
                         range.first[2], last[2], range.step[2]);
}

VoModule::ModuleStatus VoSubset::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const VdLattice* lattice = InputLattice();
    if (!lattice)
        return ModuleOk;
    GrowMask(*lattice);
    if (m_Auto)
        FitToInput(*lattice);
    VbProgress progress("Extracting the subset", 0, 500, 100);
    if (!progress.Update(0, 1))
        return ModuleAborted;
    std::unique_ptr<VdLattice> subset = Extract(*lattice, m_Range, EffectiveMask(*lattice));
    if (!progress.Update(1, 1))
        return ModuleAborted;
    GetOutput(0)->Data(subset.release());
    return ModuleOk;
}

// ---- properties ----------------------------------------------------------------

void VoSubset::UpdatePropertiesImpl(VbPropList& list)
{
    const VdLattice* lattice = InputLattice();
    list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInputSize, "Input size", "The number of nodes of the input lattice on each axis.",
                   lattice ? SizeText(lattice->GetDims()).c_str() : "Not connected");
    list.Outdent();

    list.AddHeader(Id(), IdOptions, "Options", "Options", "", "");
    list.Indent();
    list.AddCheck(Id(), "SubsetAuto", IdAuto, "Calculate from input", "Uses the whole node range of the input lattice.",
                  m_Auto);
    static const char* const helps[3] = {"The first node to extract, counting from 1.",
                                         "The last node to extract, counting from 1.",
                                         "The distance in nodes between extracted nodes."};
    for (int axis = 0; axis < 3; ++axis) {
        const int header = RangeRow(axis, 0);
        list.AddHeader(Id(), header, shr::ToString("%c Range", kKeyLetters[0][axis]), "", "",
                       "The nodes to extract on this axis.");
        list.Expand(header, false);
        list.Indent();
        const uint32_t values[3] = {m_Range.first[axis] + 1, m_Range.last[axis] + 1, m_Range.step[axis]};
        for (int field = FieldFirst; field <= FieldStep; ++field)
            list.AddUnsigned(Id(), shr::ToString("Subset%c%s", kKeyLetters[0][axis], kFields[field - 1]),
                             RangeRow(axis, field), kFields[field - 1], helps[field - 1], values[field - 1],
                             ValCheckMinMax, 1, lattice ? std::max(1u, lattice->GetDims()[axis]) : UINT32_MAX, 1);
        list.Outdent();
    }
    list.AddStatic(Id(), IdOutputSize, "Output size", "The number of nodes of the subset on each axis.", "");
    list.Outdent();

    list.AddHeader(Id(), IdComponents, "Components", "Components", "", "");
    list.Indent();
    const unsigned int rows = lattice ? std::min(lattice->ComponentCount(), MaskRows) : 0;
    for (unsigned int c = 0; c < rows; ++c)
        list.AddCheck(Id(), shr::ToString("SubsetComp%u", c + 1), IdComponents + 1 + static_cast<int>(c),
                      lattice->GetComponentName(c).c_str(), "Extract this component.", c >= m_Mask.size() || m_Mask[c]);
    list.Outdent();
    UpdateRangeRows(list);
}

// The range rows follow the input while auto is on; the output size shows
// what the range gives, or "Not available".
void VoSubset::UpdateRangeRows(VbPropList& list) const
{
    for (int axis = 0; axis < 3; ++axis)
        for (int field = FieldFirst; field <= FieldStep; ++field)
            if (list.IsProp(RangeRow(axis, field)))
                list.Enabled(RangeRow(axis, field), !m_Auto);
    if (!list.IsProp(IdOutputSize))
        return;
    const VdLattice* lattice = InputLattice();
    shr::GString text = "Not available";
    try {
        if (lattice && Validate(m_Range, lattice->GetDims())) {
            unsigned int dims[3];
            for (int axis = 0; axis < 3; ++axis)
                dims[axis] = (m_Range.last[axis] - m_Range.first[axis]) / m_Range.step[axis] + 1;
            text = SizeText(dims);
        }
    } catch (const shr::Exception&) {
        // A range that does not fit the input has no size; executing reports why.
    }
    list.SetStatic(IdOutputSize, text.c_str());
}

void VoSubset::ReadRangeRow(VbPropList& list, int id, Range& range) const
{
    const int axis = (id - IdRange) / 4;
    const int field = (id - IdRange) % 4;
    unsigned int value = 0;
    list.GetValue(id, value);
    const VdLattice* lattice = InputLattice();
    const unsigned int dim = lattice ? lattice->GetDims()[axis] : 0;
    if (field == FieldStep) {
        if (value == 0)
            CORE_THROW(34, kIndexLetters[axis]);
        range.step[axis] = value;
        return;
    }
    if (value == 0 || (lattice && value > dim))
        CORE_THROW(field == FieldFirst ? 32 : 33, kIndexLetters[axis], dim);
    (field == FieldFirst ? range.first : range.last)[axis] = value - 1;
}

void VoSubset::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id == IdAuto) {
        list.GetValue(id, m_Auto);
        if (m_Auto && InputLattice())
            FitToInput(*InputLattice());
        UpdatePropertiesImpl(list);
    } else if (id > IdRange && id < IdComponents && (id - IdRange) % 4 != 0) {
        Range range = m_Range;
        ReadRangeRow(list, id, range);
        m_Range = range;
        UpdateRangeRows(list);
    } else if (id > IdComponents && id <= IdComponents + static_cast<int>(MaskRows)) {
        bool take = true;
        list.GetValue(id, take);
        SetMask(static_cast<unsigned int>(id - IdComponents - 1), take);
    } else {
        return;
    }
    SetModified();
}

// ---- persistence ----------------------------------------------------------------

void VoSubset::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    bool autoRange = m_Auto;
    Range range = m_Range;
    archive.Transfer(autoRange);
    for (int axis = 0; axis < 3; ++axis) {
        archive.Transfer(range.first[axis]);
        archive.Transfer(range.last[axis]);
        archive.Transfer(range.step[axis]);
    }
    uint32_t count = static_cast<uint32_t>(m_Mask.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        if (count > MaskRows)
            archive.ThrowFormatError("a mask of %u components, where at most %u are kept", count, MaskRows);
        archive.CheckCount(count, 1);
    }
    std::deque<bool> mask = m_Mask;
    mask.resize(count);
    for (uint32_t c = 0; c < count; ++c) {
        bool take = mask[c];
        archive.Transfer(take);
        mask[c] = take;
    }
    if (archive.IsStoring())
        return;
    for (int axis = 0; axis < 3; ++axis)
        if (range.step[axis] == 0)
            archive.ThrowFormatError("a step of 0 on the %c axis", kIndexLetters[axis]);
    m_Auto = autoRange;
    m_Range = range;
    m_Mask = std::move(mask);
}

} // namespace core
