#pragma once
// NonComparable: derive from it to make == and != unavailable for a class whose
// objects have identity but no meaningful value equality.
namespace shr {

class NonComparable {
public:
    bool operator==(const NonComparable&) const = delete;
    bool operator!=(const NonComparable&) const = delete;

protected:
    NonComparable() = default;
    ~NonComparable() = default;
};

} // namespace shr
