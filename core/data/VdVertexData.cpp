#include "core/data/VdVertexData.h"

namespace core {

SHR_IMPLEMENT_TYPE(VdVertexData, VdSpatialData)

VdVertexData::VdVertexData(shr::PrimType type, unsigned int tupleCount, unsigned int componentCount)
    : m_Data(type, tupleCount, componentCount)
{
}

} // namespace core
