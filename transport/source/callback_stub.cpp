#include <transport/callback_stub.h>

namespace transport {
namespace {

// The PutCosimPortData that the thread is within.
struct PutCall {
    const CallbackStub* stub = nullptr;
    platform::UniqueBstr block;
};
thread_local PutCall* t_PutCall = nullptr;

Answer ServeProgress(IKeldaProgressInterface& progress, IncomingMessage& call) {
    Answer answer;
    BSTR text = call.texts[0].Get();
    switch (call.kind) {
    case Kind::kProgressUpdate:
        answer.result = progress.ProgressUpdate(call.real);
        break;
    case Kind::kAnalysisDone:
        answer.result = progress.AnalysisDone(call.numbers[0]);
        break;
    case Kind::kPostOrvaneMessage:
        answer.result = progress.PostOrvaneMessage(text);
        break;
    case Kind::kBounceOrvaneMessage:
        answer.text = std::move(call.texts[0]);
        answer.result = progress.BounceOrvaneMessage(answer.text.Address());
        break;
    default:
        answer.result = E_NOTIMPL;
    }
    return answer;
}

Answer ServeSolution(IKeldaSolutionInterface& solution, IncomingMessage& call) {
    Answer answer;
    auto& texts = call.texts;
    switch (call.kind) {
    case Kind::kGetFieldSolverData:
        answer.text = std::move(texts[6]);
        answer.result =
            solution.GetFieldSolverData(texts[0].Get(), texts[1].Get(), texts[2].Get(), texts[3].Get(),
                                        texts[4].Get(), texts[5].Get(), answer.text.Address(), &answer.value);
        break;
    case Kind::kGetNetlistSolverData:
        answer.text = std::move(texts[3]);
        answer.result = solution.GetNetlistSolverData(texts[0].Get(), texts[1].Get(), texts[2].Get(),
                                                      answer.text.Address(), &answer.value);
        break;
    default:
        answer.result = E_NOTIMPL;
    }
    return answer;
}

} // namespace

std::uint32_t CallbackStub::Register(Object object) {
    if (std::visit([](auto& pointer) { return !pointer; }, object))
        return 0;
    std::lock_guard lock(m_Mutex);
    m_Objects.emplace(++m_LastNumber, std::move(object));
    return m_LastNumber;
}

void CallbackStub::Close() {
    // The references go after the lock: dropping one runs the client's code.
    std::unordered_map<std::uint32_t, Object> objects;
    std::lock_guard lock(m_Mutex);
    m_Closed = true;
    objects.swap(m_Objects);
}

Answer CallbackStub::ServePut(IKeldaProgressInterface& progress, BSTR data) const {
    PutCall call{this, {}};
    struct Within {
        explicit Within(PutCall& own) : outer(std::exchange(t_PutCall, &own)) {}
        ~Within() { t_PutCall = outer; }
        PutCall* const outer;
    } within(call);
    Answer answer;
    answer.result = progress.PutCosimPortData(data);
    answer.text = std::move(call.block);
    return answer;
}

bool CallbackStub::AnswerWithBlock(BSTR block) {
    if (!t_PutCall || t_PutCall->stub != this || t_PutCall->block.Get())
        return false;
    t_PutCall->block = platform::UniqueBstr::Adopt(SysAllocStringLen(block, SysStringLen(block)));
    return t_PutCall->block.Get() != nullptr;
}

Answer CallbackStub::Serve(IncomingMessage& call) {
    Object object;
    {
        std::lock_guard lock(m_Mutex);
        auto found = m_Objects.find(call.object);
        if (m_Closed || found == m_Objects.end()) {
            Answer answer;
            answer.result = RPC_E_DISCONNECTED;
            return answer;
        }
        object = found->second;
    }
    // An object that the client's code frees in a callback stays until the callback has returned.
    if (auto* progress = std::get_if<0>(&object))
        return call.kind == Kind::kPutCosimPortData ? ServePut(**progress, call.texts[0].Get())
                                                    : ServeProgress(**progress, call);
    return ServeSolution(*std::get<1>(object), call);
}

void CallbackStub::ObjectReleased(std::uint32_t number) {
    Object object;
    std::lock_guard lock(m_Mutex);
    if (auto found = m_Objects.find(number); found != m_Objects.end()) {
        object = std::move(found->second);
        m_Objects.erase(found);
    }
}

} // namespace transport
