#pragma once
// CPointData: the plain in-memory table of scattered data the gridder and the
// point filters work on: rows of double position and values, a fixed number of
// components, their names, and the point labels carried along.
#include "core/gridding/CPointDatum.h"
#include "shr/GString.h"

#include <memory>
#include <utility>
#include <vector>

namespace core {

class LabelStorage;
class VdPoints;

class CPointData {
public:
    using Rows = std::vector<CPointDatum>;
    using iterator = Rows::iterator;
    using const_iterator = Rows::const_iterator;
    using reverse_iterator = Rows::reverse_iterator;
    using const_reverse_iterator = Rows::const_reverse_iterator;

    explicit CPointData(size_t components);

    iterator begin() { return m_Data.begin(); }
    iterator end() { return m_Data.end(); }
    const_iterator begin() const { return m_Data.begin(); }
    const_iterator end() const { return m_Data.end(); }
    const_iterator cbegin() const { return m_Data.cbegin(); }
    const_iterator cend() const { return m_Data.cend(); }
    reverse_iterator rbegin() { return m_Data.rbegin(); }
    reverse_iterator rend() { return m_Data.rend(); }
    const_reverse_iterator rbegin() const { return m_Data.rbegin(); }
    const_reverse_iterator rend() const { return m_Data.rend(); }

    CPointDatum& operator[](size_t i) { return m_Data[i]; }
    const CPointDatum& operator[](size_t i) const { return m_Data[i]; }

    bool empty() const { return m_Data.empty(); }
    size_t size() const { return m_Data.size(); }
    void reserve(size_t n) { m_Data.reserve(n); }
    void push_back(const CPointDatum& row) { m_Data.push_back(row); }
    void push_back(CPointDatum&& row) { m_Data.push_back(std::move(row)); }
    // Keeps the component count and the names.
    void clear() { m_Data.clear(); }

    int GetComponentCount() const { return static_cast<int>(m_ComponentCount); }
    // Rows, components.
    std::pair<int, int> Size() const;

    void Name(int i, const shr::GString& name) { m_Names[i] = name; }
    // The name, or "W<i+1>" when it is empty.
    shr::GString Name(int i) const;

    // (min, max) of a coordinate or a component; see the .cpp for the exact
    // rules, which callers depend on.
    std::pair<double, double> XBounds() const;
    std::pair<double, double> YBounds() const;
    std::pair<double, double> ZBounds() const;
    std::pair<double, double> WBounds(int i) const;

    const std::shared_ptr<LabelStorage>& Labels() const { return m_Labels; }
    void Labels(std::shared_ptr<LabelStorage> labels) { m_Labels = std::move(labels); }

    // Removes every void row, keeping the order of the others.
    void Clean();
    // Stable sort by X, then Y, then Z, ascending; NaN coordinates compare equal
    // to everything.
    void Sort();

private:
    template <class Coordinate>
    std::pair<double, double> CoordinateBounds(Coordinate coordinate) const;

    Rows m_Data;
    size_t m_ComponentCount;
    std::vector<shr::GString> m_Names;
    std::shared_ptr<LabelStorage> m_Labels;
};

// Fills `data` from the points, in world coordinates, one row per vertex
// whose ID is the vertex index. Blank values become BLANK_VAL; with
// `dropBlank` a vertex blank in `component` gives no row. The labels are taken
// over by pointer.
void Convert(const VdPoints& points, CPointData& data, unsigned component, bool dropBlank);
// Replaces the points by the rows (double coordinates and values, no
// transform), with the label of each row's ID when the table has labels.
void Convert(const CPointData& data, VdPoints& points);

} // namespace core
