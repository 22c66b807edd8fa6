#include <transport/engine_proxy.h>

namespace transport {

using platform::InterfacePtr;

HRESULT EngineProxy::Hello(std::int32_t previousJob) {
    OutgoingMessage call;
    call.numbers = {static_cast<std::int32_t>(kProtocolVersion), previousJob};
    return Call(Kind::kHello, call);
}

HRESULT EngineProxy::StartAnalysis(IKeldaProgressInterface* pIProgress, IKeldaSolutionInterface* pISolution,
                                   BSTR filename, BSTR projectpath, std::int32_t* procid) {
    std::uint32_t progress = m_Callbacks.Register(InterfacePtr<IKeldaProgressInterface>(pIProgress));
    std::uint32_t solution = m_Callbacks.Register(InterfacePtr<IKeldaSolutionInterface>(pISolution));
    OutgoingMessage call;
    call.numbers = {static_cast<std::int32_t>(progress), static_cast<std::int32_t>(solution)};
    call.texts = {filename, projectpath};
    return Call(Kind::kStartAnalysis, call, procid);
}

HRESULT EngineProxy::AbortAnalysis(std::int32_t procid, std::int32_t savestate) {
    OutgoingMessage call;
    call.numbers = {procid, savestate};
    return Call(Kind::kAbortAnalysis, call);
}

HRESULT EngineProxy::IsAlive(std::int32_t procid, std::int32_t* alive) {
    OutgoingMessage call;
    call.numbers[0] = procid;
    return Call(Kind::kIsAlive, call, alive);
}

HRESULT EngineProxy::SendCosimPortData(BSTR portData) {
    return CallWithText(Kind::kSendCosimPortData, portData);
}

HRESULT EngineProxy::SendCosimSourceData(BSTR sourceData) {
    return m_Callbacks.AnswerWithBlock(sourceData) ? S_OK
                                                   : CallWithText(Kind::kSendCosimSourceData, sourceData);
}

HRESULT EngineProxy::CallWithText(Kind kind, BSTR text) {
    OutgoingMessage call;
    call.texts[0] = text;
    return Call(kind, call);
}

HRESULT EngineProxy::Call(Kind kind, OutgoingMessage& call, std::int32_t* value) {
    call.kind = kind;
    IncomingMessage reply;
    HRESULT result = m_Calls.Call(call, reply);
    if (reply.ending)
        m_Ending = true;
    if (value && Succeeded(result))
        *value = reply.numbers[1];
    return result;
}

} // namespace transport
