// What a job tells its client in words.
#pragma once

#include <keldasimenginelib/keldasimenginelib.h>
#include <stringutils/astring.h>

#include <cstdint>

// The severity in which a client shows a kernel's message of a code: 1 information, 2 warning, 3 error; any
// other counts as information.
std::int32_t SeverityOfKernelCode(int code);

inline constexpr std::int32_t kSeverityError = 1;

// Posts a plain text as a message in its text form. The result of the call.
HRESULT PostText(IKeldaProgressInterface& progress, std::int32_t severity, const AString& text);
