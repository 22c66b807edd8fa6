// Text for a terminal or a list of lines.
#pragma once

#include <stringutils/astring.h>

#include <string>

enum class LineEnds { kKept, kWritten };

// The text in UTF-8 with control characters written as \xNN, since what comes from files of strangers must not
// steer the terminal; with LineEnds::kWritten line ends and tabs as well.
std::string Printable(const AString& text, LineEnds lineEnds = LineEnds::kKept);
std::string Printable(const std::string& utf8, LineEnds lineEnds = LineEnds::kKept);
