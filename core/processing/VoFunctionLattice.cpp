#include "core/processing/VoFunctionLattice.h"

#include "core/data/VdUniformLattice.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Archive.h"
#include "tzexpr/CExpression.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoFunctionLattice, VoModule)
const VbModuleInfo VoFunctionLattice::s_ModuleInfo("Data Source\\FunctionLattice", VoFunctionLattice::GetClassTypeId(),
                                                   0, PortUniformLattice,
                                                   "Creates a 3D uniform lattice from a user specified function", 12);
const char* const VoFunctionLattice::Declarations = "double:W double:X double:Y double:Z double:i double:j double:k";
const char* const VoFunctionLattice::DefaultExpression = "(x-.5)*(x-.5) + (y-.5)*(y-.5) + (z-.5)*(z-.5)";

namespace VoFunctionLatticePrivate {

const bool s_KeysRegistered = (ExpressionLattice::RegisterKeys("FunctionLattice", false), true);

// Slots of the variable table, in the order of the declarations.
enum Slot { SlotW, SlotX, SlotY, SlotZ, SlotI, SlotJ, SlotK, SlotCount };

// Evaluates all components over a range of flat node indices. The expressions
// are shared (Evaluate is const); the variables are each call's own.
class FunctionEvaluator {
public:
    FunctionEvaluator(const std::vector<tzexpr::CExpression>* expressions, VdLattice* lattice)
        : m_Expressions(expressions), m_Lattice(lattice)
    {
    }

    void operator()(const tbb::blocked_range<unsigned int>& range) const
    {
        double variables[SlotCount] = {};
        const void* pointers[SlotCount];
        for (int s = 0; s < SlotCount; ++s)
            pointers[s] = &variables[s];
        unsigned int nx, ny, nz;
        m_Lattice->GetDims(nx, ny, nz);
        const uint64_t layer = uint64_t(nx) * ny;
        for (unsigned int n = range.begin(); n != range.end(); ++n) {
            const unsigned int i = n % nx;
            const unsigned int j = static_cast<unsigned int>((n % layer) / nx);
            const unsigned int k = static_cast<unsigned int>(n / layer);
            const shr::Vec3d position = m_Lattice->IJKToXYZ(i, j, k);
            variables[SlotX] = position.x;
            variables[SlotY] = position.y;
            variables[SlotZ] = position.z;
            variables[SlotI] = i;
            variables[SlotJ] = j;
            variables[SlotK] = k;
            EvaluateNode(n, variables, pointers);
        }
    }

private:
    void EvaluateNode(unsigned int node, double* variables, const void** pointers) const
    {
        for (unsigned int c = 0; c < m_Expressions->size(); ++c) {
            const tzexpr::CExpression& expression = (*m_Expressions)[c];
            if (!expression.IsEmpty() && expression.Evaluate(pointers, &variables[SlotW], nullptr, nullptr))
                StoreElement(*m_Lattice, node, c, variables[SlotW]);
            else
                m_Lattice->SetBlank(node, c);
        }
    }

    const std::vector<tzexpr::CExpression>* m_Expressions;
    VdLattice* m_Lattice;
};

void ThrowParseError(int code, const shr::GString& message, const shr::GString&)
{
    CORE_THROW(15, code, StripAssignment(message).c_str());
}

} // namespace VoFunctionLatticePrivate

using namespace VoFunctionLatticePrivate;

VoFunctionLattice::VoFunctionLattice() : m_Settings(DefaultExpression)
{
    AddOutput("Output Lattice", PortUniformLattice);
}

void VoFunctionLattice::UpdatePropertiesImpl(VbPropList& list)
{
    m_Settings.AddRows(Id(), list, NameAndId(), "FunctionLattice", false);
}

void VoFunctionLattice::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (!m_Settings.PropertyEvent(list, event.Id()))
        return;
    if (event.Id() == ExpressionLattice::OutCompsId)
        UpdatePropertiesImpl(list);
    SetModified();
}

VoModule::ModuleStatus VoFunctionLattice::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    m_Settings.Validate();
    const std::vector<tzexpr::CExpression> expressions = m_Settings.Parse(Declarations, ThrowParseError);
    std::unique_ptr<VdUniformLattice> lattice = m_Settings.MakeLattice();
    const ModuleStatus status = Compute(expressions, *lattice);
    if (status == ModuleOk)
        GetOutput(0)->Data(lattice.release());
    return status;
}

// The lattice is expected as MakeLattice leaves it, without blanks: a value is
// written into its element, and only failures are marked.
VoModule::ModuleStatus VoFunctionLattice::Compute(const std::vector<tzexpr::CExpression>& expressions,
                                                  VdLattice& lattice)
{
    const unsigned int count = lattice.VertexCount();
    if (count != 0)
        tbb::parallel_for(tbb::blocked_range<unsigned int>(0, count), FunctionEvaluator(&expressions, &lattice),
                          tbb::auto_partitioner());
    lattice.DataModified();
    return ModuleOk;
}

void VoFunctionLattice::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    m_Settings.Serialize(archive);
}

} // namespace core
