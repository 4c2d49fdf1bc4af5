#pragma once
// Three-component vectors: Vec3d (positions and directions in double), Vec3f
// (what goes to the graphics layer) and Vec3i (lattice dimensions and indices).
// Plain value types with public components x, y, z, kept in that order in
// memory: archives and vertex buffers copy them as raw bytes.
#include <cmath>
#include <cstddef>

namespace shr {

// The arithmetic the three vector types share. D is the concrete type, so that
// every operation returns a Vec3d from Vec3d operands, a Vec3f from Vec3f ones.
template <class D, class T>
struct Vec3Base {
    T x, y, z;

    constexpr Vec3Base() : x(0), y(0), z(0) {}
    constexpr Vec3Base(T x_, T y_, T z_) : x(x_), y(y_), z(z_) {}
    // From an array of three components.
    explicit constexpr Vec3Base(const T* v) : x(v[0]), y(v[1]), z(v[2]) {}

    void SetValue(T x_, T y_, T z_) { x = x_; y = y_; z = z_; }

    // Component by index 0..2; the index is not checked.
    T& operator[](size_t i) { return (&x)[i]; }
    const T& operator[](size_t i) const { return (&x)[i]; }
    T* GetValue() { return &x; }
    const T* GetValue() const { return &x; }

    friend constexpr D operator+(const D& a, const D& b) { return D(a.x + b.x, a.y + b.y, a.z + b.z); }
    friend constexpr D operator-(const D& a, const D& b) { return D(a.x - b.x, a.y - b.y, a.z - b.z); }
    friend constexpr D operator-(const D& a) { return D(-a.x, -a.y, -a.z); }
    friend constexpr D operator*(const D& a, T s) { return D(a.x * s, a.y * s, a.z * s); }
    friend constexpr D operator*(T s, const D& a) { return D(a.x * s, a.y * s, a.z * s); }
    friend constexpr D operator/(const D& a, T s) { return D(a.x / s, a.y / s, a.z / s); }
    D& operator+=(const D& b) { x += b.x; y += b.y; z += b.z; return Self(); }
    D& operator-=(const D& b) { x -= b.x; y -= b.y; z -= b.z; return Self(); }
    D& operator*=(T s) { x *= s; y *= s; z *= s; return Self(); }
    D& operator/=(T s) { x /= s; y /= s; z /= s; return Self(); }

    friend constexpr bool operator==(const D& a, const D& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend constexpr bool operator!=(const D& a, const D& b) { return !(a == b); }
    // Lexicographic: x first, then y, then z. Lets vectors key sorted containers.
    friend constexpr bool operator<(const D& a, const D& b)
    {
        return a.x != b.x ? a.x < b.x : (a.y != b.y ? a.y < b.y : a.z < b.z);
    }

    constexpr T Dot(const D& b) const { return x * b.x + y * b.y + z * b.z; }
    constexpr D Cross(const D& b) const { return D(y * b.z - z * b.y, z * b.x - x * b.z, x * b.y - y * b.x); }
    constexpr T LengthSquared() const { return x * x + y * y + z * z; }
    T Length() const { return static_cast<T>(std::sqrt(LengthSquared())); }

    // Scales to unit length. A zero vector (or one whose length is not finite)
    // cannot be normalised: it is set to zero and the result is false.
    bool Normalize()
    {
        const T len = Length();
        if (!(len > 0) || !std::isfinite(len)) {
            x = y = z = 0;
            return false;
        }
        x /= len;
        y /= len;
        z /= len;
        return true;
    }
    // The unit vector in this direction, or zero (see Normalize).
    D Normalized() const
    {
        D v = static_cast<const D&>(*this);
        v.Normalize();
        return v;
    }

private:
    D& Self() { return static_cast<D&>(*this); }
};

struct Vec3d : Vec3Base<Vec3d, double> {
    using Vec3Base::Vec3Base;

    static const Vec3d ZERO, ONE, UNIT_X, UNIT_Y, UNIT_Z;
};

inline constexpr Vec3d Vec3d::ZERO{0.0, 0.0, 0.0};
inline constexpr Vec3d Vec3d::ONE{1.0, 1.0, 1.0};
inline constexpr Vec3d Vec3d::UNIT_X{1.0, 0.0, 0.0};
inline constexpr Vec3d Vec3d::UNIT_Y{0.0, 1.0, 0.0};
inline constexpr Vec3d Vec3d::UNIT_Z{0.0, 0.0, 1.0};

struct Vec3f : Vec3Base<Vec3f, float> {
    using Vec3Base::Vec3Base;
    // Narrowing from double is explicit on construction, implicit on assignment
    // (the graphics layer assigns double positions to float vertices).
    explicit constexpr Vec3f(const Vec3d& v)
        : Vec3Base(static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z))
    {
    }
    Vec3f& operator=(const Vec3d& v) { return *this = Vec3f(v); }
    Vec3d ToVec3d() const { return Vec3d(x, y, z); }

    static const Vec3f ZERO;
};

inline constexpr Vec3f Vec3f::ZERO{0.0f, 0.0f, 0.0f};

// Integer triples: no Length or Normalize (they are not instantiated for int).
struct Vec3i : Vec3Base<Vec3i, int> {
    using Vec3Base::Vec3Base;

    static const Vec3i ZERO;
};

inline constexpr Vec3i Vec3i::ZERO{0, 0, 0};

static_assert(sizeof(Vec3d) == 3 * sizeof(double), "Vec3d is copied as three raw doubles");
static_assert(sizeof(Vec3f) == 3 * sizeof(float), "Vec3f is copied as three raw floats");
static_assert(sizeof(Vec3i) == 3 * sizeof(int), "Vec3i is copied as three raw ints");

} // namespace shr
