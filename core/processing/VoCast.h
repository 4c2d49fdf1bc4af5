#pragma once
// VoCast: changes the element type of a point set or a lattice. Each value
// becomes (value + offset) x scale in the new type; blanks stay blank.
// Values beyond the new type's range are clipped to it (and then truncated
// towards zero for an integer type), never wrapped, so an 8-bit cast of data
// that exceeds 255 saturates; the output range row warns of it with
// " (truncated!)". "Stretch" sets offset and scale so that the input's range
// fills an integer type.
//
// The output keeps everything else of the input: the kind, the dimensions,
// the node coordinates, the point labels and the user transform.
#include "core/network/VoModule.h"
#include "shr/PrimType.h"

#include <memory>
#include <utility>

namespace core {

class VbProgress;
class VdVertexData;

class VoCast : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoCast)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId : int {
        IdHeader = 1,
        IdInputType = 3,
        IdInputRange = 4,
        IdOutputRange = 5,
        IdOutputType = 6,
        IdOffset = 7,
        IdScale = 8,
        IdStretch = 9,
    };

    VoCast();
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, input type, output type (4 bytes each), offset, scale
    // (8 bytes each). A bad archive leaves the module as it was.
    void Serialize(shr::Archive& archive) override;

    shr::PrimType OutputType() const { return m_OutputType; }
    // Raises an error for a value outside the enumeration.
    void OutputType(int type);
    double Offset() const { return m_Offset; }
    void Offset(double offset) { m_Offset = offset; }
    double Scale() const { return m_Scale; }
    void Scale(double scale) { m_Scale = scale; }
    shr::PrimType InputType() const { return m_InputType; }

    // The stretch: for an integer output type and an input range of some
    // width, the offset and scale that map it onto the whole type; false,
    // with nothing changed, otherwise.
    bool Stretch();
    // The same for a type and the data limits min, max.
    static bool StretchParameters(shr::PrimType type, double min, double max, double& offset, double& scale);
    // The rows' texts: "%.10g, %.10g" for the input range and
    // "%.10g, %.10g%s" for the output range; "Not available" without data.
    shr::GString InputRangeText() const;
    shr::GString OutputRangeText() const;

    // (value + offset) x scale of every element of `input` into the element
    // of `output`, clipped to the output's type; a blank element stays blank.
    // Both hold the same tuples and components. In parallel over tuples;
    // false when the progress (which may be null) asked to stop.
    static bool CastNodes(const VdVertexData& input, VdVertexData& output, double offset, double scale,
                          VbProgress* progress);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    const VdVertexData* InputData() const;
    // The data limits over all components; min above max without data.
    std::pair<double, double> InputRange() const;
    void UpdateRanges(VbPropList& list) const;

    shr::PrimType m_InputType = shr::Float;
    shr::PrimType m_OutputType = shr::Float;
    double m_Offset = 0.0;
    double m_Scale = 1.0;
};

} // namespace core
