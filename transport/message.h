// One frame of the channel as plain values.
//
// Which fields count depends on the kind; texts stand in the order of the method's parameters. A message to
// be sent borrows its texts, a received one owns them.
#pragma once

#include <keldasimenginelib/keldasimenginelib.h>

#include <array>
#include <cstdint>

namespace transport {

// Raised whenever the schema changes in a way that an older end would misread.
inline constexpr std::uint32_t kProtocolVersion = 2;

inline constexpr std::size_t kMaxTexts = 7; // of GetFieldSolverData

enum class Kind {
    kReply,
    kHello,
    kRelease,
    kStartAnalysis,
    kAbortAnalysis,
    kIsAlive,
    kSendCosimPortData,
    kSendCosimSourceData,
    kProgressUpdate,
    kAnalysisDone,
    kPostOrvaneMessage,
    kBounceOrvaneMessage,
    kPutCosimPortData,
    kGetFieldSolverData,
    kGetNetlistSolverData,
};

template <class Text>
struct Message {
    Kind kind = Kind::kReply;
    std::uint32_t number = 0; // joins a call and its reply
    std::uint32_t object = 0; // whose method is called

    double real = 0;                       // ProgressUpdate
    std::array<std::int32_t, 2> numbers{}; // [in] numbers in their order; a reply's HRESULT and [out] number;
                                           // a hello's protocol and previous job;
                                           // the numbers of StartAnalysis' callback objects, 0 for null
    bool ending = false;                   // a reply's remark that the engine process ends with it
    std::array<Text, kMaxTexts> texts{};   // null where the method has none or was given none
};

using OutgoingMessage = Message<BSTR>;
using IncomingMessage = Message<platform::UniqueBstr>;

} // namespace transport
