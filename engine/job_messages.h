// What the engine and its jobs say in words.
#pragma once

#include <keldasimenginelib/keldasimenginelib.h>
#include <messagelibni/message_manager.h>
#include <stringutils/astring.h>

#include <cstdint>

// How grave a message is; a client decides how each is shown.
inline constexpr std::int32_t kSeverityWarning = 0;
inline constexpr std::int32_t kSeverityError = 1;
inline constexpr std::int32_t kSeverityInformation = 2;
inline constexpr std::int32_t kSeverityRefused = 4;

// Through the calling thread's message manager, if there is one.
void PostText(std::int32_t severity, const AString& text);

// The message about an interface call that gave the failure `result`.
void PostFailedCall(HRESULT result);

// A kernel's message, straight to the client. Codes: 1 information, 2 warning, 3 error; any other counts as information.
HRESULT PostKernelText(IKeldaProgressInterface& client, int code, const char* text);

// The system's words for a result code.
AString SystemErrorText(HRESULT result);
