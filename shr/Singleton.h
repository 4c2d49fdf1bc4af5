#pragma once
// Singleton<T>: the one instance of T, made at the first call and destroyed at
// process exit (a function-local static, so construction is thread-safe and
// ordered after whatever it uses during static initialisation).
//
//   class VoNetwork : public shr::Singleton<VoNetwork> {
//       friend class shr::Singleton<VoNetwork>;
//       VoNetwork();
//   };
namespace shr {

template <class T>
class Singleton {
public:
    static T& Instance()
    {
        static T instance;
        return instance;
    }
    static T& GetInstance() { return Instance(); }

    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

protected:
    Singleton() = default;
    ~Singleton() = default;
};

} // namespace shr
