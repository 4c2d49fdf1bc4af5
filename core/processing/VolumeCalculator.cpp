#include "core/processing/VolumeCalculator.h"

#include "shr/Exception.h"

extern "C" {
#include <libqhull_r/qhull_ra.h>
}

#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

namespace core {

namespace {

[[noreturn]] void ThrowVolumeError(int line, const char* text)
{
    shr::ThrowSharedError("Core", "VolumeCalculator", line, 0, text);
}

// A write-only stream that swallows everything: Qhull reports degenerate
// input at length, and such input is an expected zero volume here.
FILE* NullStream()
{
    static FILE* const stream = [] {
        cookie_io_functions_t functions{};
        functions.write = [](void*, const char*, size_t size) -> ssize_t { return static_cast<ssize_t>(size); };
        return fopencookie(nullptr, "w", functions);
    }();
    return stream;
}

// Runs Qhull over `coords` (count points of three doubles) and returns the
// total volume, 0.0 on any Qhull error. The state is freed on every path. Kept
// free of C++ objects with destructors between setjmp and a possible longjmp.
double QhullVolume(qhT* qh, coordT* coords, int count, char* options)
{
    FILE* const sink = NullStream();
    volatile double volume = 0.0;
    qh_zero(qh, sink);
    qh_init_A(qh, sink, sink, sink, 0, nullptr);
    if (setjmp(qh->errexit) == 0) {
        qh->NOerrexit = False;
        qh_initflags(qh, options);
        qh_init_B(qh, coords, count, 3, False);
        qh_qhull(qh);
        qh_check_output(qh);
        qh_getarea(qh, qh->facet_list);
        if (qh->hasAreaVolume)
            volume = qh->totvol;
    }
    qh->NOerrexit = True;
    int currentLong = 0, totalLong = 0;
    qh_freeqhull(qh, !qh_ALL);
    qh_memfreeshort(qh, &currentLong, &totalLong);
    return volume;
}

} // namespace

VolumeCalculator::VolumeCalculator() : m_OneSixth(0.16666666666666666), m_Options("qhull FA") {}

double VolumeCalculator::Volume(const shr::Vec3d& a, const shr::Vec3d& b, const shr::Vec3d& c,
                                const shr::Vec3d& d) const
{
    return std::fabs((a - d).Dot((b - d).Cross(c - d))) * m_OneSixth;
}

double VolumeCalculator::CellVolume(const std::vector<shr::Vec3d>& corners) const
{
    if (corners.size() != 8)
        ThrowVolumeError(__LINE__, "Insufficient cell corners specified.");
    // Six tetrahedra sharing corner 0, summed in this order.
    static const int kTetrahedra[6][4] = {{0, 2, 3, 7}, {0, 6, 2, 7}, {0, 4, 6, 7},
                                          {0, 1, 2, 6}, {0, 4, 1, 6}, {0, 5, 1, 6}};
    double volume = 0.0;
    for (const auto& t : kTetrahedra)
        volume += Volume(corners[t[0]], corners[t[1]], corners[t[2]], corners[t[3]]);
    return volume;
}

double VolumeCalculator::Volume(const std::vector<shr::Vec3d>& points, size_t count) const
{
    if (count > points.size())
        ThrowVolumeError(__LINE__, "Invalid point collection size specified.");
    if (count < 4)
        return 0.0;
    if (count == 4)
        return Volume(points[0], points[1], points[2], points[3]);
    return HullVolume(points, count);
}

double VolumeCalculator::HullVolume(const std::vector<shr::Vec3d>& points, size_t count) const
{
    std::vector<coordT> coords(count * 3);
    for (size_t p = 0; p < count; ++p)
        for (int axis = 0; axis < 3; ++axis)
            coords[3 * p + axis] = points[p][axis];
    std::vector<char> options(m_Options.begin(), m_Options.end());
    options.push_back('\0');
    // The state is large; the heap keeps worker-thread stacks small.
    auto qh = std::make_unique<qhT>();
    return QhullVolume(qh.get(), coords.data(), static_cast<int>(count), options.data());
}

} // namespace core
