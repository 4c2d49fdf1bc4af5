// Transforms: classification, inversion, the row-vector convention, the
// scene-graph decomposition and agreement with quaternions.
#include "shr/Exception.h"
#include "shr/Mat4d.h"
#include "shr/MathUtil.h"
#include "shr/Quat4d.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>

using namespace shr;
using testsupport::Near;

namespace {

Mat4d Rotated(double angle)
{
    Mat4d m;
    m.RotateZ(angle, Mat4d::PostMultiply);
    return m;
}

Mat4d Perspective()
{
    // w = -z: a viewing projection.
    return Mat4d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, -1, 0, 0, 0.5, 0);
}

} // namespace

// The matrix after `change`.
template <class Change>
Mat4d After(Mat4d m, Change change)
{
    change(m);
    return m;
}

TEST(Mat4d, EveryMutationKeepsTheClassificationCurrent)
{
    using M = Mat4d;
    const auto set = [](int row, int col, double value) { return [=](M& m) { m.SetValue(row, col, value); }; };
    const auto transpose = [](M& m) { m.Transpose(); };
    const auto invert = [](M& m) { m.Inverse(); };
    const M moved = M::MakeTranslation(1, 2, 3);
    const std::pair<M, M::Type> rows[] = {
        {M(), M::Identity}, {moved, M::Translation}, {M::MakeTranslation(Vec3d::ZERO), M::Identity},
        {M::MakeScale(2, 1, 1), M::ScaleTranslation}, {M::MakeScale(-1, 1, 1), M::ScaleTranslation},
        {M::MakeScale(1, 1, 1), M::Identity}, {M::MakeScale(2, 3, 4) * M::MakeTranslation(1, 0, 0), M::ScaleTranslation},
        {moved * M::MakeTranslation(-1, -2, -3), M::Identity}, {Rotated(0.5), M::Affine}, {Rotated(0.0), M::Identity},
        {After(moved, [](M& m) { m.RotateX(1.0, M::PreMultiply); }), M::Affine},
        {After(M(), set(0, 3, 0.5)), M::Projective}, {After(After(M(), set(0, 3, 0.5)), set(0, 3, 0)), M::Identity},
        {After(M(), set(1, 0, 0.25)), M::Affine}, {After(M(), set(0, 0, std::nan(""))), M::ScaleTranslation},
        {After(M(), [](M& m) { m.m[3][1] = 7, m.Reclassify(); }), M::Translation},
        {After(moved, transpose), M::Projective}, {After(After(moved, transpose), transpose), M::Translation},
        {After(moved, invert), M::Translation}, {After(M::MakeScale(2, 4, 8), invert), M::ScaleTranslation},
        {After(M::MakeScale(2, 2, 2), [](M& m) { m *= M::MakeScale(0.5, 0.5, 0.5); }), M::Identity},
        {M(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 0, 0, 1, M::Identity), M::Translation}, // a wrong hint
        {M(Quat4d(Vec3d::UNIT_Y, 0.3)), M::Affine}, {M(Quat4d::IDENTITY), M::Identity},
        {After(Rotated(1), [](M& m) { m.SetTransform(Vec3d::ZERO, Quat4d(), Vec3d::ONE); }), M::Identity},
        {After(M(), [](M& m) { m.SetTransform({1, 0, 0}, Quat4d(), Vec3d::ONE, Quat4d(), {5, 5, 5}); }), M::Translation},
        {After(Perspective(), [](M& m) { m.MakeIdentity(); }), M::Identity}, {Perspective(), M::Projective},
    };
    for (size_t n = 0; n < std::size(rows); ++n)
        EXPECT_EQ(rows[n].first.GetType(), rows[n].second) << "row " << n;
}

TEST(Mat4d, InverseUndoesEveryKindAndLeavesSingularMatricesUnchanged)
{
    Mat4d identity;
    EXPECT_THROW(identity.SetValue(4, 0, 1.0), Exception);
    EXPECT_THROW(identity.SetValue(0, -1, 1.0), Exception);
    EXPECT_EQ(identity, Mat4d::IDENTITY);
    Mat4d general = Rotated(0.7) * Mat4d::MakeScale(0.01, 3, 100);
    general.RotateX(-1.2, Mat4d::PreMultiply);
    const std::pair<Mat4d, bool> rows[] = {
        {Mat4d::MakeTranslation(1e6, -2e6, 3), true},
        {Mat4d::MakeScale(-2, 0.001, 1e6) * Mat4d::MakeTranslation(7, 8, 9), true},
        {general * Mat4d::MakeTranslation(40, 600, -1500), true},
        {Perspective() * Rotated(0.3), true},
        {Mat4d(0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0), true},     // needs row exchanges
        {Mat4d(1e-20, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1), true}, // tiny but regular
        {Mat4d::MakeScale(1, 0, 1), false},
        {Mat4d(1, 2, 3, 0, 2, 4, 6, 0, 0, 0, 1, 0, 5, 5, 5, 1), false},  // dependent rows, affine
        {Mat4d(1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1), false},  // equal rows, affine
        {Mat4d(1, 0, 0, 1, 0, 1, 0, 2, 0, 0, 1, 3, 2, 4, 6, 28), false}, // row 3 = 2 r0 + 4 r1 + 6 r2
        {Mat4d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0), false},  // projective, zero row
        {Mat4d(1e-20, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1) * Mat4d(1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1),
         false},
    };
    for (size_t i = 0; i < std::size(rows); ++i) {
        const Mat4d& m = rows[i].first;
        Mat4d inv = m;
        ASSERT_EQ(inv.Inverse(), rows[i].second) << i;
        if (!rows[i].second) {
            EXPECT_EQ(inv, m) << i;
            EXPECT_EQ(inv.GetType(), m.GetType()) << i;
            continue;
        }
        const Vec3d p(0.25, -3.5, 2.0);
        EXPECT_TRUE(Near((p * m) * inv, p, 1e-9)) << i;
        EXPECT_TRUE((m * inv).Equals(Mat4d::IDENTITY, 1e-9)) << i;
    }
}

// Where points go: they are row vectors (p * M), so a product acts left
// factor first, and turns act in the order the multiplication asked for;
// SetTransform acts about its centre.
TEST(Mat4d, WherePointsGo)
{
    using M = Mat4d;
    // A well path: north, tilted 30 degrees down, then turned to azimuth 90
    // (east). Post-multiplying applies the turns in the order they are made.
    const double dip = -30 * DEG_TO_RAD, azimuth = 90 * DEG_TO_RAD;
    const auto wellPath = [=](M::Order order) {
        return After(M(), [=](M& m) { m.RotateX(dip, order), m.RotateZ(-azimuth, order); });
    };
    const Vec3d center(10, 20, 30), moved(1, 2, 3);
    const Quat4d quarter(Vec3d::UNIT_Z, HALF_PI);
    const M aboutCenter = After(M(), [&](M& m) { m.SetTransform(moved, quarter, {2, 2, 2}, Quat4d(), center); });
    const struct {
        M m;
        Vec3d p, want;
    } rows[] = {
        {M::MakeTranslation(10, 20, 30), {1, 2, 3}, {11, 22, 33}},
        {M::MakeScale(2, 2, 2) * M::MakeTranslation(1, 0, 0), {1, 2, 3}, {3, 4, 6}},
        {M::MakeTranslation(1, 0, 0) * M::MakeScale(2, 2, 2), {1, 2, 3}, {4, 4, 6}},
        {Rotated(HALF_PI), Vec3d::UNIT_X, Vec3d::UNIT_Y},
        {Perspective(), {2, 4, -2}, {1, 2, -0.75}}, // divided by w = -z
        {wellPath(M::PostMultiply), Vec3d::UNIT_Y, {std::cos(dip), 0, std::sin(dip)}},
        {wellPath(M::PreMultiply), Vec3d::UNIT_Y, Vec3d::UNIT_X},
        {After(M(), [](M& m) { m.RotateY(HALF_PI, M::PostMultiply); }), Vec3d::UNIT_Z, Vec3d::UNIT_X},
        {aboutCenter, center, center + moved},
        {aboutCenter, center + Vec3d::UNIT_X, center + moved + Vec3d(0, 2, 0)},
        // The three-argument form: scale, then rotate, then move.
        {After(M(), [&](M& m) { m.SetTransform(moved, quarter, {2, 1, 1}); }), Vec3d::UNIT_X, Vec3d(0, 2, 0) + moved},
    };
    for (size_t n = 0; n < std::size(rows); ++n)
        EXPECT_TRUE(Near(rows[n].p * rows[n].m, rows[n].want)) << "row " << n;

    // The translation lives in row 3; a point with w = 0 stays finite.
    const Mat4d t = Mat4d::MakeTranslation(4, 5, 6);
    EXPECT_EQ(Vec3d(t.m[3][0], t.m[3][1], t.m[3][2]), Vec3d(4, 5, 6));
    const Vec3d atInfinity = Vec3d(2, 4, 0) * Perspective();
    EXPECT_TRUE(std::isfinite(atInfinity.x) && std::isfinite(atInfinity.z));
    EXPECT_EQ(Vec4d(2, 4, -2, 1) * Perspective(), Vec4d(2, 4, -1.5, 2));
}

TEST(Mat4d, TransformDecomposesAndRebuilds)
{
    struct Row {
        Vec3d t;
        Quat4d r;
        Vec3d s;
        Quat4d so;
    } rows[] = {
        {Vec3d(1, 2, 3), Quat4d(), Vec3d::ONE, Quat4d()},
        {Vec3d(0, 0, 0), Quat4d(Vec3d(1, 1, 0), 0.8), Vec3d(2, 3, 4), Quat4d()},
        {Vec3d(-5e5, 3e6, -2e3), Quat4d(Vec3d(0, 1, 2), -2.0), Vec3d(0.5, 0.5, 0.5), Quat4d()},
        {Vec3d(1, 1, 1), Quat4d(Vec3d::UNIT_Z, 1.0), Vec3d(1, 5, 0.2), Quat4d(Vec3d(1, 0, 1), 0.6)},
        {Vec3d(0, 4, 0), Quat4d(Vec3d::UNIT_X, 3.0), Vec3d(-1, 1, 1), Quat4d()},
        {Vec3d(0, 4, 0), Quat4d(Vec3d(3, 1, 1), 1.0), Vec3d(-2, -3, 4), Quat4d(Vec3d::UNIT_Y, 0.4)},
        {Vec3d(0, 0, 0), Quat4d(), Vec3d(2, 0, 1), Quat4d()}, // flattened: no NaN
    };
    for (size_t i = 0; i < sizeof(rows) / sizeof(rows[0]); ++i) {
        const Row& row = rows[i];
        Mat4d m;
        m.SetTransform(row.t, row.r, row.s, row.so, Vec3d::ZERO);
        Vec3d t, s;
        Quat4d r, so;
        m.GetTransform(t, r, s, so);
        EXPECT_TRUE(Near(t, row.t)) << i;
        Mat4d rebuilt;
        rebuilt.SetTransform(t, r, s, so, Vec3d::ZERO);
        EXPECT_TRUE(rebuilt.Equals(m, 1e-9)) << i;
        // Scales of no negative factor without a scale orientation come back as given.
        if (row.so == Quat4d() && row.s.x >= 0 && row.s.y >= 0 && row.s.z >= 0) {
            EXPECT_TRUE(r.Equals(row.r, 1e-12)) << i;
            EXPECT_TRUE(Near(s, row.s)) << i;
        }
    }
}

TEST(Quat4d, AgreesWithMatricesAxisAngleAndDirections)
{
    const Quat4d rows[] = {
        Quat4d(Vec3d::UNIT_X, 0.3), Quat4d(Vec3d(1, 2, 3), -1.1), Quat4d(Vec3d(0, 1, -1), ONE_PI),
        Quat4d(Vec3d(-1, 0, 0.1), 3.0), Quat4d(Vec3d(0, 0, 1), 0.0), Quat4d(0, 0, 2, 0) /* not unit */,
    };
    const Vec3d v(0.3, -2.0, 1.5);
    for (size_t i = 0; i < sizeof(rows) / sizeof(rows[0]); ++i) {
        const Quat4d& q = rows[i];
        EXPECT_TRUE(Near(q.MultVec(v), v * Mat4d(q))) << i;
        EXPECT_TRUE(Quat4d(Mat4d(q)).Equals(q, 1e-12)) << i;
        const Quat4d& next = rows[(i + 1) % 6];
        EXPECT_TRUE(Mat4d(q * next).Equals(Mat4d(q) * Mat4d(next), 1e-12)) << i;
        EXPECT_TRUE(Near((q * q.Inverse()).MultVec(v), v)) << i;
    }

    Vec3d axis;
    double angle;
    Quat4d(Vec3d(0, 0, 5), 1.25).Get(axis, angle);
    EXPECT_TRUE(Near(axis, Vec3d::UNIT_Z));
    EXPECT_NEAR(angle, 1.25, 1e-14);

    // Set(from, to) takes `from` onto `to`, whatever their lengths.
    const Vec3d pairs[][2] = {
        {Vec3d::UNIT_Z, Vec3d(1, 1, 1)},  {Vec3d(0, 0, 3), Vec3d(0, 0, 7)},
        {Vec3d::UNIT_Z, -Vec3d::UNIT_Z},  {Vec3d::UNIT_X, Vec3d(-2, 0, 0)},
        {Vec3d(1, 2, 3), Vec3d(-3, 1, 0)},
    };
    for (const auto& pair : pairs) {
        Quat4d q;
        q.Set(pair[0], pair[1]);
        EXPECT_TRUE(Near(q.MultVec(pair[0].Normalized()), pair[1].Normalized(), 1e-12));
    }
    Quat4d q(1, 2, 3, 4);
    q.Set(Vec3d::ZERO, Vec3d::UNIT_X);
    EXPECT_EQ(q, Quat4d::IDENTITY);
    EXPECT_EQ(Mat4d(Quat4d::ZERO).GetType(), Mat4d::Identity) << "the zero quaternion acts as no rotation";
}
