#pragma once
// Well: one well: a name, a top (the reference point that measured depths
// start from, in UVW), a directional survey (the trajectory), a path computed
// from it or given as it stands, and a set of named logs.
//
// A well becomes usable in this order: made with a name; top set; survey
// stations added; UpdateByDepth; a path generated (WellPathGenerator) or set
// straight (UpdatePath); logs added; UpdateLogIntervals; ShrinkToFit. Nothing
// enforces that order, but Interpolate needs a path sorted by MD.
//
// Stored form: the name; the top (3 doubles); the log count (4 bytes) and
// each log as a shared object; the path count (4 bytes) and X, Y, Z, MD of
// each point; the trajectory count (4 bytes) and Az, Pl, MD of each station.
// The logs are shared objects over a table of this well's own. A failed load
// leaves the well as it was.
#include "core/properties/NamedItem.h"
#include "core/wells/WellLog.h"
#include "core/wells/WellPoint.h"
#include "core/wells/WellStorage.h"
#include "shr/Box3d.h"
#include "shr/GString.h"
#include "shr/NonComparable.h"
#include "shr/Point.h"
#include "shr/TypeInfo.h"

#include <boost/noncopyable.hpp>

#include <cstddef>
#include <memory>
#include <vector>

namespace core {

class WellGroup;

class Well : public shr::CTypedObject, public NamedItem, private boost::noncopyable, private shr::NonComparable {
    SHR_DECLARE_CREATABLE_TYPE(Well)
public:
    using Path = std::vector<WellPathPoint>;
    using Trajectory = std::vector<WellTrajectoryPoint>;
    using Logs = NamedStorage<WellLog>;

    explicit Well(const shr::GString& name);

    void Serialize(shr::Archive& archive) override;

    // Name() reads the name; a well in a group is renamed through the group,
    // which keeps its order.
    // The top of a well that has none: every coordinate the largest double.
    static shr::Point3<double> BadTop();
    const shr::Point3<double>& Top() const { return m_Top; }
    void Top(const shr::Point3<double>& top) { m_Top = top; }
    bool HasTop() const;

    Path::const_iterator path_begin() const { return m_Path.begin(); }
    Path::const_iterator path_end() const { return m_Path.end(); }
    bool path_empty() const { return m_Path.empty(); }
    size_t path_size() const { return m_Path.size(); }
    void path_clear() { m_Path.clear(); }
    void AddPathPoint(const WellPathPoint& point) { m_Path.push_back(point); }

    Trajectory::const_iterator trajectory_begin() const { return m_Trajectory.begin(); }
    Trajectory::const_iterator trajectory_end() const { return m_Trajectory.end(); }
    bool trajectory_empty() const { return m_Trajectory.empty(); }
    size_t trajectory_size() const { return m_Trajectory.size(); }
    void trajectory_clear() { m_Trajectory.clear(); }
    void AddTrajectoryPoint(const WellTrajectoryPoint& point) { m_Trajectory.push_back(point); }

    Logs::const_iterator log_begin() const { return m_Logs.begin(); }
    Logs::const_iterator log_end() const { return m_Logs.end(); }
    bool log_empty() const { return m_Logs.empty(); }
    size_t log_size() const { return m_Logs.size(); }
    void log_clear() { m_Logs.clear(); }
    // Refuses a null log ("Cannot add invalid log to well.") and a name that is
    // taken ("Cannot add log with duplicate name to well.").
    void AddLog(std::shared_ptr<WellLog> log);
    // An empty name is an error ("Log name must be non-empty."). Log and
    // RemoveLog give null for a name that the well does not have.
    bool HasLog(const shr::GString& name) const;
    std::shared_ptr<const WellLog> Log(const shr::GString& name) const;
    std::shared_ptr<const WellLog> RemoveLog(const shr::GString& name);

    // Sorts the path and the trajectory by MD, keeping the order of equal depths.
    void UpdateByDepth();
    // UpdateIntervals on every log, the logs spread over TBB workers.
    void UpdateLogIntervals();
    // A straight path from the top: `azimuth` in degrees clockwise from north,
    // `dip` in degrees from the horizontal (-90 is straight down), `depth` its
    // length. Two points, the top at MD 0 and the end at MD depth.
    void UpdatePath(double azimuth, double dip, double depth);
    // The position at md on the path (chords between path points), with MD md;
    // (0, 0, 0, 0) and false outside the path's first to last MD.
    bool Interpolate(double md, WellPathPoint& out) const;

    // The box of the path points; the empty box for no path.
    shr::Box3d BB() const;
    void ShrinkToFit();
    std::unique_ptr<Well> Clone() const;

private:
    friend class WellGroup;
    Well();
    void VerifyLogName(const shr::GString& name) const;

    shr::Point3<double> m_Top;
    Logs m_Logs;
    Path m_Path;
    Trajectory m_Trajectory;
};

} // namespace core
