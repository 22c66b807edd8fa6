// The client's callback objects as the engine sees them.
//
// A proxy is bound to one channel: as received with a call it uses the channel of the client's calls and
// belongs to the thread that serves them; marshalled to another thread it uses the channel of the callbacks.
// Both channels outlive every proxy. The client is told when the last proxy of an object has gone.
#pragma once

#include <transport/channel.h>

#include <platform/unknown.h>

#include <functional>

namespace transport {

struct CallbackChannels {
    Channel& calls;     // for the thread that serves the client's calls
    Channel& callbacks; // for any other
    // Takes a block of source samples that came with the answer to PutCosimPortData, on the thread that made the call.
    std::function<void(BSTR)> sourceBlock = [](BSTR) {};
};

// Number 0 stands for no object.
platform::InterfacePtr<IKeldaProgressInterface> MakeProgressProxy(CallbackChannels channels,
                                                                  std::uint32_t number);
platform::InterfacePtr<IKeldaSolutionInterface> MakeSolutionProxy(CallbackChannels channels,
                                                                  std::uint32_t number);

} // namespace transport
