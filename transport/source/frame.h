// Between plain messages and the frames of the schema.
#pragma once

#include <transport/message.h>

#include <capnp/message.h>

#include <span>
#include <vector>

namespace transport {

// A text up to this size stands in its frame; a longer one follows it and goes between the socket and its own
// storage without a copy.
inline constexpr std::size_t kMaxUnitsInFrame = 8192;

// Seven texts of the greatest size, with the frame's own fields and some room.
inline constexpr std::size_t kMaxFrameBytes = kMaxTexts * kMaxUnitsInFrame * sizeof(wchar16) + 4096;

// Texts begin and frames go on at this boundary.
inline constexpr std::size_t kAlignment = 8;

// Builds the frame. `following` gets the texts that are to be sent behind it.
void WriteFrame(const OutgoingMessage& message, capnp::MessageBuilder& builder, std::vector<BSTR>& following);

// A text that stands behind its frame, still to be read.
struct FollowingText {
    platform::UniqueBstr* place; // in the message
    std::size_t length;          // as the frame claims, in units
};

// Reads a frame. `following` gets the texts behind it; nothing is set aside for them. False when the frame is of no known kind, a
// text is longer than can be held, or memory is short. Throws kj::Exception on a damaged frame.
bool ReadFrame(capnp::MessageReader& reader, IncomingMessage& message, std::vector<FollowingText>& following);

} // namespace transport
