#pragma once
// VbTransferFunction: a named, sorted list of (x, y) points on 0..1 with a
// piecewise-linear interpolator.
#include "shr/GString.h"
#include "shr/Point.h"

#include <cstddef>
#include <vector>

namespace core {

class VbTransferFunction {
public:
    using Node = shr::Point2<double>;
    using const_iterator = std::vector<Node>::const_iterator;
    using const_reverse_iterator = std::vector<Node>::const_reverse_iterator;

    // A null name is stored as empty.
    explicit VbTransferFunction(const char* name = nullptr) : m_Name(name) {}

    const char* GetName() const { return m_Name.c_str(); }
    void SetName(const char* name) { m_Name = name; }

    const std::vector<Node>& Nodes() const { return m_Nodes; }
    bool empty() const { return m_Nodes.empty(); }
    size_t size() const { return m_Nodes.size(); }
    // Out of range throws std::out_of_range("invalid vector<T> subscript").
    const Node& operator[](size_t index) const;
    const_iterator begin() const { return m_Nodes.begin(); }
    const_iterator end() const { return m_Nodes.end(); }
    const_iterator cbegin() const { return m_Nodes.cbegin(); }
    const_iterator cend() const { return m_Nodes.cend(); }
    const_reverse_iterator rbegin() const { return m_Nodes.rbegin(); }
    const_reverse_iterator rend() const { return m_Nodes.rend(); }
    void Reserve(size_t count) { m_Nodes.reserve(count); }

    // Inserts after every node that is less than or equal to (x, y), ordered by
    // x and then y; returns the new node's index.
    size_t AddNode(double x, double y);
    // y at x: the first node's y at or below 0, the last node's at or above 1,
    // linear between the nodes around x otherwise. Past the last node (nodes
    // that stop short of 1.0) the last y; 0.0 without nodes.
    double InterpY(double x) const;

private:
    shr::GString m_Name;
    std::vector<Node> m_Nodes;
};

} // namespace core
