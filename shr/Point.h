#pragma once
// Small point records that containers of sample data are made of: Point2 and
// Point3 are plain coordinates; Point4<T, U> is a position (x, y, z of type T)
// carrying a value w of type U, as a scattered datum does.
namespace shr {

template <class T>
class Point2 {
public:
    Point2() : m_X(), m_Y() {}
    Point2(T x, T y) : m_X(x), m_Y(y) {}

    T& X() { return m_X; }
    T& Y() { return m_Y; }
    const T& X() const { return m_X; }
    const T& Y() const { return m_Y; }

    bool operator==(const Point2& o) const { return m_X == o.m_X && m_Y == o.m_Y; }
    bool operator!=(const Point2& o) const { return !(*this == o); }

private:
    T m_X, m_Y;
};

template <class T>
class Point3 {
public:
    Point3() : m_X(), m_Y(), m_Z() {}
    Point3(T x, T y, T z) : m_X(x), m_Y(y), m_Z(z) {}

    T& X() { return m_X; }
    T& Y() { return m_Y; }
    T& Z() { return m_Z; }
    const T& X() const { return m_X; }
    const T& Y() const { return m_Y; }
    const T& Z() const { return m_Z; }

    bool operator==(const Point3& o) const { return m_X == o.m_X && m_Y == o.m_Y && m_Z == o.m_Z; }
    bool operator!=(const Point3& o) const { return !(*this == o); }

private:
    T m_X, m_Y, m_Z;
};

template <class T, class U>
class Point4 {
public:
    Point4() : m_X(), m_Y(), m_Z(), m_W() {}
    Point4(T x, T y, T z, U w) : m_X(x), m_Y(y), m_Z(z), m_W(w) {}

    T& X() { return m_X; }
    T& Y() { return m_Y; }
    T& Z() { return m_Z; }
    U& W() { return m_W; }
    const T& X() const { return m_X; }
    const T& Y() const { return m_Y; }
    const T& Z() const { return m_Z; }
    const U& W() const { return m_W; }

    bool operator==(const Point4& o) const
    {
        return m_X == o.m_X && m_Y == o.m_Y && m_Z == o.m_Z && m_W == o.m_W;
    }
    bool operator!=(const Point4& o) const { return !(*this == o); }

private:
    T m_X, m_Y, m_Z;
    U m_W;
};

} // namespace shr
