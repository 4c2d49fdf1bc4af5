#pragma once
// Four-component vectors: homogeneous points (Vec4d) and RGBA or plane
// equations for the graphics layer (Vec4f). Public components x, y, z, w.
#include "shr/Vec3.h"

#include <cstddef>

namespace shr {

template <class D, class T>
struct Vec4Base {
    T x, y, z, w;

    constexpr Vec4Base() : x(0), y(0), z(0), w(0) {}
    constexpr Vec4Base(T x_, T y_, T z_, T w_) : x(x_), y(y_), z(z_), w(w_) {}
    explicit constexpr Vec4Base(const T* v) : x(v[0]), y(v[1]), z(v[2]), w(v[3]) {}

    void SetValue(T x_, T y_, T z_, T w_) { x = x_; y = y_; z = z_; w = w_; }

    // Component by index 0..3; the index is not checked.
    T& operator[](size_t i) { return (&x)[i]; }
    const T& operator[](size_t i) const { return (&x)[i]; }

    friend constexpr D operator+(const D& a, const D& b) { return D(a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w); }
    friend constexpr D operator-(const D& a, const D& b) { return D(a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w); }
    friend constexpr D operator*(const D& a, T s) { return D(a.x * s, a.y * s, a.z * s, a.w * s); }
    friend constexpr D operator*(T s, const D& a) { return a * s; }

    friend constexpr bool operator==(const D& a, const D& b)
    {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend constexpr bool operator!=(const D& a, const D& b) { return !(a == b); }

    constexpr T Dot(const D& b) const { return x * b.x + y * b.y + z * b.z + w * b.w; }
};

struct Vec4d : Vec4Base<Vec4d, double> {
    using Vec4Base::Vec4Base;
    // A point or direction with its fourth (homogeneous) component.
    constexpr Vec4d(const Vec3d& v, double w_) : Vec4Base(v.x, v.y, v.z, w_) {}
    // The first three components; no division by w.
    constexpr Vec3d XYZ() const { return Vec3d(x, y, z); }
};

struct Vec4f : Vec4Base<Vec4f, float> {
    using Vec4Base::Vec4Base;
    // Narrowed from double.
    constexpr Vec4f(const Vec3d& v, double w_)
        : Vec4Base(static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z), static_cast<float>(w_))
    {
    }
};

} // namespace shr
