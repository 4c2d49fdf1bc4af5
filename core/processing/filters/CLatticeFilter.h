#pragma once
// CLatticeFilter: the frame of the lattice filters. A filter reads one uniform
// lattice and writes another of the same shape and type, component by
// component: the components that are flagged are filtered, the others are
// copied with their blanks. Execute picks the class for the filter number and
// runs it; the classes are
//
//   CLatticeFilter        point operations over whole components (Filter_Bounding, ...);
//   CNeighborhoodFilter   a window around each node, with edge and blank handling;
//   CLinearFilter         weighted sums over the window;
//   CNonlinearFilter      ranks, statistics and gradients over the window.
//
// Work runs on TBB, one loop per component; the calling thread reports
// progress and tests for an abort between the chunks it takes, so Run returns
// false soon after the network asks to stop. Nodes are independent, so any
// split of the work gives the same output, bit for bit.
#include "shr/NonComparable.h"

#include <boost/noncopyable.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace core {

class VbProgress;
class VdUniformLattice;

class CLatticeFilter : private boost::noncopyable, private shr::NonComparable {
public:
    // The filter numbers: the values of the module's filter setting.
    enum Filter : uint32_t {
        Average, Ellipsoid, InfNorm, Dist, InvDist, Gaussian, Laplacian, Unsharp,
        Minimum, LowerQuartile, Median, UpperQuartile, Maximum, Range, InterQuartileRange,
        StandardDeviation, CoefVariation, CentralMoment, Rank, MeanRemoval, MedianDifference,
        ThresholdAverage, SobelA, SobelB, Prewitt, ZeroCrossing, ThresholdCrossing,
        Bounding, Brightness, Gamma, Histogram,
        FilterCount
    };
    enum EdgeHandling : uint32_t { EdgeBlank, EdgeIgnore, EdgeReplicate, EdgeMirror, EdgeWrap, EdgeFill, EdgeCount };
    enum BlankHandling : uint32_t { BlankExpanded, BlankLeaveAlone, BlankIgnore, BlankFill, BlankCount };
    enum Orientation : uint32_t { XYPlanes, XZPlanes, YZPlanes, Volume, OrientationCount };

    // The longest window side a filter takes.
    static constexpr unsigned int MaxWindowSize = 99;
    // The parameters of the module, of which a filter uses the first
    // Info::parameterCount.
    static constexpr unsigned int ParameterSlots = 10;

    struct Parameter {
        const char* label;
        const char* comment;
    };
    // A row of the filter table.
    struct Info {
        const char* label;
        unsigned int parameterCount;
        Parameter parameters[2];
    };

    struct Params {
        const VdUniformLattice* input = nullptr;
        // Of the input's type, dimensions and component count.
        VdUniformLattice* output = nullptr;
        uint32_t filter = Average;
        uint32_t edgeHandling = EdgeReplicate;
        uint32_t blankHandling = BlankLeaveAlone;
        uint32_t orientation = Volume;
        // The window's sides in i, j and k.
        unsigned int window[3] = {3, 3, 3};
        // One entry per component each.
        std::vector<bool> components;
        std::vector<double> edgeFill;
        std::vector<double> blankFill;
        // As ParameterVector lays them out.
        std::vector<double> params;
    };

    // The row of the filter table; a number beyond it raises "Invalid lattice filter %u.".
    static const Info& GetInfo(uint32_t filter);
    // The axis across the planes of a planar orientation (k for XY planes, j
    // for XZ, i for YZ); -1 for the 3D window.
    static int NormalAxis(uint32_t orientation);
    // The lattice axes that an orientation's slices run along: the slice's
    // width, its height, and across the slices. XY planes and the 3D window
    // give i, j, k; XZ planes i, k, j; YZ planes j, k, i.
    static const unsigned int* SliceAxes(uint32_t orientation);
    // Raises "Invalid <what> <value>." unless value < count.
    static void CheckSetting(uint32_t value, uint32_t count, const char* what);
    // The module's ten parameters (ParameterSlots values at `params`) as the
    // filter reads them: as they stand, except for the filters with a value
    // per component: Threshold Averaging, Threshold Crossing and Gamma
    // Correction take parameter 0 once per component; Bounding and Brightness
    // & Contrast take parameter 0 for every component, then parameter 1 for
    // every component.
    static std::vector<double> ParameterVector(uint32_t filter, const double* params, unsigned int components);

    // Filters params.input into params.output. True at once for a lattice
    // without nodes or components; false when the network asked to stop.
    // Null lattices raise the internal error; settings out of range raise
    // "Invalid ..." errors; vectors of the wrong length the internal error.
    static bool Execute(const Params& params);
    // The filter class for params.filter, made after the checks of Execute.
    static std::unique_ptr<CLatticeFilter> Create(const Params& params);

    virtual ~CLatticeFilter();
    // The whole filter; false on abort.
    virtual bool Run() = 0;

    // The lattice seen as slices of an orientation: the slice's width and
    // height and the number of slices. XZ planes give (nx, nz, ny), YZ planes
    // (ny, nz, nx); XY planes and the 3D window (nx, ny, nz).
    void GetSliceDims(unsigned int& width, unsigned int& height, unsigned int& depth) const;

protected:
    explicit CLatticeFilter(const Params& params);

    const Params& GetParams() const { return m_Params; }
    const VdUniformLattice& Input() const { return *m_Params.input; }
    VdUniformLattice& Output() const { return *m_Params.output; }
    unsigned int ComponentCount() const;
    // A parameter of the vector; out of range is the internal error.
    double Param(size_t index) const;

    // Copies a component that is not filtered, with its blanks.
    void CopyComponent(unsigned int component) const;
    // Filters one component in `units` items of work, reporting them to
    // `progress` from `done` of `total`; false on abort.
    using ComponentFilter =
        std::function<bool(unsigned int component, VbProgress& progress, size_t done, size_t total)>;
    // The frame of Run: each flagged component through `filter`, the others
    // copied. False when a component's filter was aborted.
    bool RunComponents(size_t units, const ComponentFilter& filter) const;
    // The frame of the point operations, defined beside them: each flagged
    // component gets op(value) in every node that is not blank, in parallel
    // over nodes, with op = makeOp(component); the others are copied; blanks
    // stay blank. False on abort.
    template <class MakeOp>
    bool RunPointOperation(const MakeOp& makeOp) const;

private:
    const Params& m_Params;
};

} // namespace core
