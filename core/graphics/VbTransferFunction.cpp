#include "core/graphics/VbTransferFunction.h"

#include <algorithm>
#include <stdexcept>

namespace core {

namespace {

bool Less(const VbTransferFunction::Node& a, const VbTransferFunction::Node& b)
{
    return a.X() < b.X() || (a.X() == b.X() && a.Y() < b.Y());
}

} // namespace

const VbTransferFunction::Node& VbTransferFunction::operator[](size_t index) const
{
    if (index >= m_Nodes.size())
        throw std::out_of_range("invalid vector<T> subscript");
    return m_Nodes[index];
}

size_t VbTransferFunction::AddNode(double x, double y)
{
    const Node node(x, y);
    const auto at = std::upper_bound(m_Nodes.begin(), m_Nodes.end(), node, Less);
    const auto inserted = m_Nodes.insert(at, node);
    return static_cast<size_t>(inserted - m_Nodes.begin());
}

double VbTransferFunction::InterpY(double x) const
{
    if (m_Nodes.empty())
        return 0.0;
    if (x <= 0.0)
        return m_Nodes.front().Y();
    if (x >= 1.0)
        return m_Nodes.back().Y();
    size_t i = 1;
    while (i < m_Nodes.size() && !(m_Nodes[i].X() > x))
        ++i;
    // Running off the end would read past the list: the last y stands there.
    if (i == m_Nodes.size())
        return m_Nodes.back().Y();
    const Node& from = m_Nodes[i - 1];
    const Node& to = m_Nodes[i];
    const double t = (x - from.X()) / (to.X() - from.X());
    return (1.0 - t) * from.Y() + t * to.Y();
}

} // namespace core
