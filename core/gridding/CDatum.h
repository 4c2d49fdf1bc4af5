#pragma once
// CDatum: one row of component values of a scattered datum, with the identity
// of the row (normally the index of the source vertex). The values live in an
// owned array; a row of size 0 holds an empty allocation.
#include <cstddef>
#include <cstdint>

namespace core {

class CDatum {
public:
    static constexpr double BLANK_VAL = 1.7976931348623157e+308;
    // A row marked for removal.
    static constexpr uint32_t VOID_ID = 4294967295u;
    // A row made by the program, not read from an input vertex.
    static constexpr uint32_t ARTIFICIAL_ID = 4294967294u;

    CDatum();
    // n values, all blank.
    explicit CDatum(size_t n);
    CDatum(const CDatum& o);
    // A moved-from row has size 0; every operation stays valid on it.
    CDatum(CDatum&& o) noexcept;
    CDatum& operator=(const CDatum& o);
    CDatum& operator=(CDatum&& o) noexcept;
    ~CDatum();

    // No bounds check.
    double W(size_t i) const { return m_Values[i]; }
    void W(size_t i, double v) { m_Values[i] = v; }
    void Blank(size_t i) { m_Values[i] = BLANK_VAL; }
    bool IsBlank(size_t i) const { return m_Values[i] == BLANK_VAL; }
    // True when every value is blank, and for a row without values.
    bool IsBlank() const;
    size_t Size() const { return m_Size; }

    void ID(uint32_t id) { m_ID = id; }
    uint32_t ID() const { return m_ID; }
    void Void() { m_ID = VOID_ID; }
    bool IsVoid() const { return m_ID == VOID_ID; }
    void Artificial() { m_ID = ARTIFICIAL_ID; }

    // Equal IDs, sizes and values; a NaN makes rows unequal.
    bool operator==(const CDatum& o) const;
    bool operator!=(const CDatum& o) const { return !(*this == o); }

    static double BlankValue() { return BLANK_VAL; }

private:
    size_t m_Size;
    double* m_Values;
    uint32_t m_ID;
};

} // namespace core
