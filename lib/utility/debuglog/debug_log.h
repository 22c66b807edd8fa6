// A log file for those who build and debug the system, off unless the environment switches it on.
//
//   ORVANE_DEBUG_LOG      the file, opened for appending; without it nothing is logged
//   ORVANE_DEBUG_MODE     the highest level that is logged, decimal; 0 if absent
//   ORVANE_DEBUG_FILE     source files to which logging is limited, as one text that holds their names
//   ORVANE_DEBUG_VERBOSE  set to anything: each line names its source file and line
//
// Text is kept until its line ends, also over several calls. Any thread may log; a line is written whole, but threads that
// each write parts of lines share the line under way.
#pragma once

#include <stringutils/astring.h>

#include <cstdarg>
#include <fstream>
#include <mutex>

class DebugLog {
public:
    // As the environment says.
    DebugLog();

    // Logs at level 0 without a place.
    void Printf(const wchar16* format, std::va_list arguments);
    // Logs at a level from a place; `file` may be null.
    void LogAt(const char* file, int line, int level, const wchar16* format, std::va_list arguments);

private:
    bool ShouldLog(int level) const;
    void Write(const AString& text);

    std::mutex m_Mutex;
    int m_Mode = 0;
    AString m_FileFilter;
    bool m_Verbose = false;
    std::ofstream m_Stream;
    AString m_File;
    int m_Line = 0;
    AString m_PendingLine;
};

// On the process's log.
void DebugPrintf(const wchar16* format, ...);
void DebugLogAt(const char* file, int line, int level, const wchar16* format, ...);
