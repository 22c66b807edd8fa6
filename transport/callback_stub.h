// The client's end of the callbacks: the callback objects that the engine holds, and the calls that it makes
// on them.
//
// Any thread may use it. A callback runs on the thread that serves its channel.
#pragma once

#include <transport/channel.h>

#include <platform/unknown.h>

#include <mutex>
#include <unordered_map>
#include <variant>

namespace transport {

class CallbackStub final : public CallHandler {
public:
    using Object = std::variant<platform::InterfacePtr<IKeldaProgressInterface>,
                                platform::InterfacePtr<IKeldaSolutionInterface>>;

    // Keeps a reference until the engine releases the object, and gives the number under which the engine
    // calls it; 0 for null.
    std::uint32_t Register(Object object);

    // From within PutCosimPortData: a source block for the engine, which is copied and goes along with the callback's answer, so
    // that it needs no trip of its own. False, and nothing is done, on a thread that isn't within that callback, or where
    // its answer has a block already.
    bool AnswerWithBlock(BSTR block);

    // No callback reaches an object any more, and all references are dropped.
    void Close();

    Answer Serve(IncomingMessage& call) override;
    void ObjectReleased(std::uint32_t object) override;

private:
    Answer ServePut(IKeldaProgressInterface& progress, BSTR data) const;

    std::mutex m_Mutex;
    std::unordered_map<std::uint32_t, Object> m_Objects;
    std::uint32_t m_LastNumber = 0;
    bool m_Closed = false;
};

} // namespace transport
