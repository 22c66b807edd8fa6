// Answers the kernel's requests for a component that only network data describes.
//
// One request asks the client for the component's solution at all frequencies, reads the reply, refers every port to 50 ohm
// and hands back a flat array: for each frequency, in the kernel's order, the frequency as it was given [Hz] and the
// scattering matrix, rows first, each element as its real and its imaginary part. A frequency that the reply doesn't hold is
// interpolated as the reply's solution states, and by Neville's method if it states nothing.
//
// The way to 50 ohm leads through the admittances. Where a network has none it comes out as another one, and the client is
// warned in words; data without references stay as they are.
//
// Nothing is kept between requests. A request runs on the job's worker thread, inside the kernel's call, and blocks it until
// the client has answered.
#pragma once

#include <keldasimenginelib/keldasimenginelib.h>
#include <kernel/ckt_kernel.h>

#include <span>

class FieldSolverBridge {
public:
    // Any other result is the client's own failure code as it came. With those from kNotReadable on, which a client may use
    // as well, the bridge itself tells the client in words what is wrong.
    enum Result : int {
        kGood = 0,
        kNoData = 1,        // the client has none, or can't be asked any more
        kTooSmall = 2,      // nothing was written; the count says how many numbers there are
        kNotReadable = 3,   // the reply is no solution, or is damaged
        kNoPoint = 4,       // the reply can't give one of the frequencies
        kNoFrequencies = 5, // the kernel asked for none
    };

    // Texts are in the system's code page; a null one counts as empty.
    struct Request {
        const char* designName;
        const char* compInstID;
        const char* paramValues; // the client's business
        std::span<const double> frequencies;
    };

    explicit FieldSolverBridge(IKeldaSolutionInterface& client) : m_Client(client) {}

    // Fills the front of `out`. `count` is the number of doubles written, or with kTooSmall the number needed; else it's 0.
    int Answer(const Request& request, std::span<double> out, int& count) noexcept;

private:
    IKeldaSolutionInterface& m_Client;
};

// Registers the one callback with a kernel, under "FieldSolver".
void RegisterFieldSolverCallBack(decltype(&::set_cosim_call_back) set_cosim_call_back);
