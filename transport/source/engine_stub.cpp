#include <transport/engine_stub.h>

namespace transport {

Answer EngineStub::Serve(IncomingMessage& call) {
    Answer answer;
    if (m_Ending) {
        // Another thread of the client didn't know yet. The call isn't carried out, so it can be made on a
        // fresh engine.
        answer.result = RPC_E_DISCONNECTED;
        answer.ending = true;
        return answer;
    }
    BSTR text = call.texts[0].Get();
    switch (call.kind) {
    case Kind::kHello:
        answer.value = static_cast<std::int32_t>(kProtocolVersion);
        if (call.numbers[0] == answer.value)
            m_Resume(call.numbers[1]);
        else
            answer.result = E_NOINTERFACE;
        break;
    case Kind::kStartAnalysis: {
        auto progress = MakeProgressProxy(*m_Channels, static_cast<std::uint32_t>(call.numbers[0]));
        auto solution = MakeSolutionProxy(*m_Channels, static_cast<std::uint32_t>(call.numbers[1]));
        answer.result =
            m_Engine.StartAnalysis(progress.Get(), solution.Get(), text, call.texts[1].Get(), &answer.value);
        break;
    }
    case Kind::kAbortAnalysis:
        answer.result = m_Engine.AbortAnalysis(call.numbers[0], call.numbers[1]);
        break;
    case Kind::kIsAlive:
        answer.result = m_Engine.IsAlive(call.numbers[0], &answer.value);
        break;
    case Kind::kSendCosimPortData:
        answer.result = m_Engine.SendCosimPortData(text);
        break;
    case Kind::kSendCosimSourceData:
        answer.result = m_Engine.SendCosimSourceData(text);
        break;
    default:
        answer.result = E_NOTIMPL;
    }
    answer.ending = m_Ending;
    return answer;
}

} // namespace transport
