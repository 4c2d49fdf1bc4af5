#pragma once
// Acyclic visitors. A data class derives from BaseVisitable<bool> and implements
// Accept with SHR_DEFINE_VISITABLE(); a visitor derives from BaseVisitor (or
// BaseConstVisitor) and from Visitor<T> (ConstVisitor<T>) for each class it
// handles. Accept returns the visitor's result, or R() when the visitor does not
// handle the class.
namespace shr {

class BaseVisitor {
public:
    virtual ~BaseVisitor() = default;
};

class BaseConstVisitor {
public:
    virtual ~BaseConstVisitor() = default;
};

template <class T, typename R = bool>
class Visitor {
public:
    virtual ~Visitor() = default;
    virtual R Visit(T& visited) = 0;
};

template <class T, typename R = bool>
class ConstVisitor {
public:
    virtual ~ConstVisitor() = default;
    virtual R Visit(const T& visited) = 0;
};

template <typename R = bool>
class BaseVisitable {
public:
    using ReturnType = R;
    virtual ~BaseVisitable() = default;
    virtual R Accept(BaseVisitor& guest) = 0;
    virtual R Accept(BaseConstVisitor& guest) const = 0;

protected:
    template <class T>
    static R AcceptImpl(T& visited, BaseVisitor& guest)
    {
        if (auto* visitor = dynamic_cast<Visitor<T, R>*>(&guest))
            return visitor->Visit(visited);
        return R();
    }
    template <class T>
    static R AcceptImpl(const T& visited, BaseConstVisitor& guest)
    {
        if (auto* visitor = dynamic_cast<ConstVisitor<T, R>*>(&guest))
            return visitor->Visit(visited);
        return R();
    }
};

} // namespace shr

#define SHR_DEFINE_VISITABLE()                                                           \
    ReturnType Accept(::shr::BaseVisitor& guest) override { return AcceptImpl(*this, guest); } \
    ReturnType Accept(::shr::BaseConstVisitor& guest) const override { return AcceptImpl(*this, guest); }
