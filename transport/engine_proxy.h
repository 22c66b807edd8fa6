// The engine as its client calls it: each method is one call on the channel.
//
// Any thread may call; the calls go one after the other. RPC_E_DISCONNECTED when the engine is gone.
#pragma once

#include <transport/callback_stub.h>
#include <transport/channel.h>

#include <atomic>

namespace transport {

class EngineProxy {
public:
    EngineProxy(Channel& calls, CallbackStub& callbacks) : m_Calls(calls), m_Callbacks(callbacks) {}

    // The opening call. E_NOINTERFACE when the engine speaks another version of the protocol.
    HRESULT Hello(std::int32_t previousJob);

    HRESULT StartAnalysis(IKeldaProgressInterface* pIProgress, IKeldaSolutionInterface* pISolution,
                          BSTR filename, BSTR projectpath, std::int32_t* procid);
    HRESULT AbortAnalysis(std::int32_t procid, std::int32_t savestate);
    HRESULT IsAlive(std::int32_t procid, std::int32_t* alive);
    HRESULT SendCosimPortData(BSTR portData);
    HRESULT SendCosimSourceData(BSTR sourceData);

    // True once the engine has said that it ends: no further call will be answered.
    bool Ending() const { return m_Ending; }

private:
    HRESULT Call(Kind kind, OutgoingMessage& call, std::int32_t* value = nullptr);
    HRESULT CallWithText(Kind kind, BSTR text);

    Channel& m_Calls;
    CallbackStub& m_Callbacks;
    std::atomic<bool> m_Ending{false};
};

} // namespace transport
