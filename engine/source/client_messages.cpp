#include <engine/client_messages.h>

#include <messagelibni/orvane_message.h>

namespace {

constexpr std::int32_t kNoClient = 1;

platform::UniqueBstr TextForm(const OrvaneMessage& message) {
    AString text;
    return platform::UniqueBstr(message.ToText(text));
}

} // namespace

std::int32_t ClientMessages::SendMessage(OrvaneMessage& message) {
    IKeldaProgressInterface* client = MessageClient();
    return client ? client->PostOrvaneMessage(TextForm(message).Get()) : kNoClient;
}

std::int32_t ClientMessages::BounceMessage(OrvaneMessage& message) {
    IKeldaProgressInterface* client = MessageClient();
    if (!client)
        return kNoClient;
    platform::UniqueBstr text = TextForm(message);
    client->BounceOrvaneMessage(text.Address());
    message.FromText(AString(text.View()));
    return 0;
}
