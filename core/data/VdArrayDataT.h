#pragma once
// VdArrayDataT: the element store of one primitive type. The readers and
// writers of every type go through PrimConvert, so a store converts exactly as
// the language does, without its undefined corners.
#include "core/data/PrimConvert.h"
#include "core/data/VdArrayData.h"

namespace core {

template <shr::PrimType P>
class VdArrayDataT final : public VdArrayData {
public:
    using Element = PrimElement<P>;

    explicit VdArrayDataT(unsigned int size) : VdArrayData(P, size) {}

    Element* Elements() { return static_cast<Element*>(GetPtr()); }
    const Element* Elements() const { return static_cast<const Element*>(GetPtr()); }

    void GetValue(uint32_t index, double& out) const override { out = Read<double>(index); }
    void GetValue(uint32_t index, float& out) const override { out = Read<float>(index); }
    void GetValue(uint32_t index, int64_t& out) const override { out = Read<int64_t>(index); }
    void GetValue(uint32_t index, uint32_t& out) const override { out = Read<uint32_t>(index); }
    void GetValue(uint32_t index, int32_t& out) const override { out = Read<int32_t>(index); }
    void GetValue(uint32_t index, uint16_t& out) const override { out = Read<uint16_t>(index); }
    void GetValue(uint32_t index, int16_t& out) const override { out = Read<int16_t>(index); }
    void GetValue(uint32_t index, uint8_t& out) const override { out = Read<uint8_t>(index); }
    void GetValue(uint32_t index, int8_t& out) const override { out = Read<int8_t>(index); }

    void SetValue(uint32_t index, double value) override { Write(index, value); }
    void SetValue(uint32_t index, float value) override { Write(index, value); }
    void SetValue(uint32_t index, int64_t value) override { Write(index, value); }
    void SetValue(uint32_t index, uint32_t value) override { Write(index, value); }
    void SetValue(uint32_t index, int32_t value) override { Write(index, value); }
    void SetValue(uint32_t index, uint16_t value) override { Write(index, value); }
    void SetValue(uint32_t index, int16_t value) override { Write(index, value); }
    void SetValue(uint32_t index, uint8_t value) override { Write(index, value); }
    void SetValue(uint32_t index, int8_t value) override { Write(index, value); }

private:
    template <class T>
    T Read(uint32_t index) const
    {
        return PrimConvert<T>(Elements()[index]);
    }

    template <class T>
    void Write(uint32_t index, T value)
    {
        Elements()[index] = PrimConvert<Element>(value);
    }
};

} // namespace core
