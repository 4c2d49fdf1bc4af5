#include "core/wells/Well.h"

#include "core/data/ParallelFor.h"
#include "core/properties/PropertyError.h"
#include "shr/Archive.h"
#include "shr/Mat4d.h"
#include "shr/MathUtil.h"

#include <tbb/blocked_range.h>

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(Well, shr::CTypedObject)

namespace {

template <class Point>
void SortByDepth(std::vector<Point>& points)
{
    std::stable_sort(points.begin(), points.end(), [](const Point& a, const Point& b) { return a.MD() < b.MD(); });
}

void TransferPoint(shr::Archive& archive, WellPathPoint& point)
{
    archive.Transfer(point.X());
    archive.Transfer(point.Y());
    archive.Transfer(point.Z());
    archive.Transfer(point.MD());
}

void TransferPoint(shr::Archive& archive, WellTrajectoryPoint& point)
{
    archive.Transfer(point.Az());
    archive.Transfer(point.Pl());
    archive.Transfer(point.MD());
}

// A count, then each point; `bytes` is the stored size of one point.
template <class Point>
void TransferPoints(shr::Archive& archive, std::vector<Point>& points, uint64_t bytes)
{
    uint32_t count = static_cast<uint32_t>(points.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        archive.CheckCount(count, bytes);
        points.resize(count);
    }
    for (Point& point : points)
        TransferPoint(archive, point);
}

bool MDLess(double md, const WellPathPoint& point) { return md < point.MD(); }
bool PointMDLess(const WellPathPoint& point, double md) { return point.MD() < md; }

} // namespace

Well::Well() : Well("Well") {}

Well::Well(const shr::GString& name) : NamedItem(name, true), m_Top(BadTop()) {}

shr::Point3<double> Well::BadTop() { return shr::Point3<double>(DBL_MAX, DBL_MAX, DBL_MAX); }

bool Well::HasTop() const { return m_Top.X() != DBL_MAX && m_Top.Y() != DBL_MAX && m_Top.Z() != DBL_MAX; }

void Well::AddLog(std::shared_ptr<WellLog> log)
{
    if (!log)
        VB_THROW_CORE("Cannot add invalid log to well.");
    if (!m_Logs.Insert(log))
        VB_THROW_CORE("Cannot add log with duplicate name to well.");
}

void Well::VerifyLogName(const shr::GString& name) const
{
    if (name.empty())
        VB_THROW_CORE("Log name must be non-empty.");
}

bool Well::HasLog(const shr::GString& name) const
{
    VerifyLogName(name);
    return m_Logs.Find(name) != nullptr;
}

std::shared_ptr<const WellLog> Well::Log(const shr::GString& name) const
{
    VerifyLogName(name);
    return m_Logs.Find(name);
}

std::shared_ptr<const WellLog> Well::RemoveLog(const shr::GString& name)
{
    VerifyLogName(name);
    return m_Logs.Erase(name);
}

void Well::UpdateByDepth()
{
    SortByDepth(m_Path);
    SortByDepth(m_Trajectory);
}

void Well::UpdateLogIntervals()
{
    std::vector<WellLog*> logs;
    logs.reserve(m_Logs.size());
    for (const auto& log : m_Logs)
        logs.push_back(log.get());
    // A loop over the list, whose hand-over to the tasks the thread
    // sanitizer sees (parallel_for_each hides it).
    tbb::task_group_context context;
    ParallelForRanges(logs.size(), 1, [&logs](const tbb::blocked_range<size_t>& range) {
        for (size_t n = range.begin(); n != range.end(); ++n)
            logs[n]->UpdateIntervals();
    }, context);
}

void Well::UpdatePath(double azimuth, double dip, double depth)
{
    if (!HasTop())
        VB_THROW_CORE("Well path update requires a valid well top.");
    if (!(dip >= -90.0 && dip <= 90.0))
        VB_THROW_CORE("Well path dip must be -90.0 <= dip <= 90.0.");
    if (!(depth > 0.0))
        VB_THROW_CORE("Well path depth must be greater than zero.");
    m_Path.clear();
    shr::Mat4d rotation;
    rotation.RotateX(dip * shr::DEG_TO_RAD, shr::Mat4d::PostMultiply);
    rotation.RotateZ(-std::fmod(azimuth, 360.0) * shr::DEG_TO_RAD, shr::Mat4d::PostMultiply);
    const shr::Vec3d top(m_Top.X(), m_Top.Y(), m_Top.Z());
    const shr::Vec3d end = rotation.TransformVector(shr::Vec3d(0.0, 1.0, 0.0)) * depth + top;
    m_Path.emplace_back(top.x, top.y, top.z, 0.0);
    m_Path.emplace_back(end.x, end.y, end.z, depth);
}

bool Well::Interpolate(double md, WellPathPoint& out) const
{
    if (m_Path.empty() || md < m_Path.front().MD() || md > m_Path.back().MD()) {
        out = WellPathPoint();
        return false;
    }
    auto lo = std::lower_bound(m_Path.begin(), m_Path.end(), md, PointMDLess);
    auto hi = std::upper_bound(lo, m_Path.end(), md, MDLess);
    if (lo != m_Path.end() && lo->MD() == md) {
        out = *lo;
        return true;
    }
    if (lo != m_Path.begin() && (lo == m_Path.end() || lo->MD() > md))
        --lo;
    if (hi == m_Path.end())
        --hi;
    const double d = hi->MD() - lo->MD();
    out = d > 0.0 ? WellPathPoint::Interpolate(*lo, *hi, md) : *lo;
    return true;
}

shr::Box3d Well::BB() const
{
    shr::Box3d box;
    for (const WellPathPoint& point : m_Path)
        box.ExtendBy(shr::Vec3d(point));
    return box;
}

void Well::ShrinkToFit()
{
    m_Path.shrink_to_fit();
    m_Trajectory.shrink_to_fit();
}

std::unique_ptr<Well> Well::Clone() const
{
    auto copy = std::make_unique<Well>(Name());
    copy->m_Top = m_Top;
    for (const auto& log : m_Logs)
        copy->m_Logs.Insert(std::shared_ptr<WellLog>(log->Clone()));
    copy->m_Path = m_Path;
    copy->m_Trajectory = m_Trajectory;
    return copy;
}

void Well::Serialize(shr::Archive& archive)
{
    shr::GString name = Name();
    shr::Point3<double> top = m_Top;
    archive.Transfer(name);
    archive.Transfer(top.X());
    archive.Transfer(top.Y());
    archive.Transfer(top.Z());
    if (archive.IsStoring()) {
        TransferItems(archive, m_Logs, "well log");
        TransferPoints(archive, m_Path, 32);
        TransferPoints(archive, m_Trajectory, 24);
        return;
    }
    if (name.empty())
        archive.ThrowFormatError("a well without a name");
    Logs logs;
    Path path;
    Trajectory trajectory;
    TransferItems(archive, logs, "well log");
    TransferPoints(archive, path, 32);
    TransferPoints(archive, trajectory, 24);
    Name(name);
    m_Top = top;
    m_Logs = std::move(logs);
    m_Path = std::move(path);
    m_Trajectory = std::move(trajectory);
}

} // namespace core
