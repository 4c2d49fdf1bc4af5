#pragma once
// Two-component vectors: Vec2d for map coordinates, Vec2f for texture
// coordinates and screen-space values. Public components x, y, in that order.
#include <cmath>
#include <cstddef>

namespace shr {

// The arithmetic both types share; D is the concrete type.
template <class D, class T>
struct Vec2Base {
    T x, y;

    constexpr Vec2Base() : x(0), y(0) {}
    constexpr Vec2Base(T x_, T y_) : x(x_), y(y_) {}
    explicit constexpr Vec2Base(const T* v) : x(v[0]), y(v[1]) {}

    void SetValue(T x_, T y_) { x = x_; y = y_; }

    // Component by index 0..1; the index is not checked.
    T& operator[](size_t i) { return (&x)[i]; }
    const T& operator[](size_t i) const { return (&x)[i]; }

    friend constexpr D operator+(const D& a, const D& b) { return D(a.x + b.x, a.y + b.y); }
    friend constexpr D operator-(const D& a, const D& b) { return D(a.x - b.x, a.y - b.y); }
    friend constexpr D operator-(const D& a) { return D(-a.x, -a.y); }
    friend constexpr D operator*(const D& a, T s) { return D(a.x * s, a.y * s); }
    friend constexpr D operator*(T s, const D& a) { return D(a.x * s, a.y * s); }
    friend constexpr D operator/(const D& a, T s) { return D(a.x / s, a.y / s); }
    D& operator+=(const D& b) { x += b.x; y += b.y; return static_cast<D&>(*this); }
    D& operator-=(const D& b) { x -= b.x; y -= b.y; return static_cast<D&>(*this); }
    D& operator*=(T s) { x *= s; y *= s; return static_cast<D&>(*this); }

    friend constexpr bool operator==(const D& a, const D& b) { return a.x == b.x && a.y == b.y; }
    friend constexpr bool operator!=(const D& a, const D& b) { return !(a == b); }
    // Lexicographic: x first, then y.
    friend constexpr bool operator<(const D& a, const D& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; }

    constexpr T Dot(const D& b) const { return x * b.x + y * b.y; }
    constexpr T LengthSquared() const { return x * x + y * y; }
    T Length() const { return static_cast<T>(std::sqrt(LengthSquared())); }
    // Scales to unit length; a zero (or non-finite) vector becomes zero and the
    // result is false.
    bool Normalize()
    {
        const T len = Length();
        if (!(len > 0) || !std::isfinite(len)) {
            x = y = 0;
            return false;
        }
        x /= len;
        y /= len;
        return true;
    }
};

struct Vec2d : Vec2Base<Vec2d, double> {
    using Vec2Base::Vec2Base;
    static const Vec2d ZERO;
};

inline constexpr Vec2d Vec2d::ZERO{0.0, 0.0};

struct Vec2f : Vec2Base<Vec2f, float> {
    using Vec2Base::Vec2Base;
    static const Vec2f ZERO;
};

inline constexpr Vec2f Vec2f::ZERO{0.0f, 0.0f};

static_assert(sizeof(Vec2f) == 2 * sizeof(float), "Vec2f is copied as two raw floats");

} // namespace shr
