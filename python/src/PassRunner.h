#pragma once
// PassRunner: brings the network up to date from Python, as the host's render
// command does: passes until nothing is modified (a module that resets its
// settings when new data arrive asks for another), then the values the
// caller set and a module replaced are put back and the passes run again.
//
// The GIL is released while a pass runs. Meanwhile the calling thread wakes
// every few milliseconds to hand the library's progress to the optional
// Python callback, as callback(text, fraction), and to take an interrupt. An
// interrupt (Ctrl-C) or an exception raised by the callback aborts the pass;
// once the update thread has stopped it, the exception goes on. An aborted
// pass keeps the previous scene, and its modules run again at the next pass.
#include <pybind11/pybind11.h>

#include <functional>
#include <string>

namespace pyfenrak {

class Session;

// Hidden, as pybind11's own types are: it holds a Python object.
class __attribute__((visibility("hidden"))) PassRunner {
public:
    PassRunner(Session& session, pybind11::object progress) : m_Session(session), m_Progress(std::move(progress)) {}

    // `restore` puts back the values a pass replaced; true when it did.
    void Run(const std::function<bool()>& restore);
    // Raises fenrak.ExecutionError for a module that failed or stopped, naming
    // it with the library's reason, or for an error of a pass itself.
    void Check() const;

private:
    void RunPasses();
    void RunPass();
    // One wait of a few milliseconds without the GIL; true when the pass ended.
    static bool WaitABit();
    void ShowProgress();
    // Stops the pass and waits for its end, without the GIL.
    static void Abort();

    Session& m_Session;
    pybind11::object m_Progress;
    size_t m_PassErrorsBefore = 0;
};

} // namespace pyfenrak
