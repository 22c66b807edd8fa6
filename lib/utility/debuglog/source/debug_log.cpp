#include <debuglog/debug_log.h>

#include <cstdlib>

namespace {

// Built at the first use and never destroyed: a thread may log until the process is gone.
DebugLog& ProcessLog() {
    static DebugLog& log = *new DebugLog;
    return log;
}

} // namespace

DebugLog::DebugLog() {
    if (const char* mode = std::getenv("ORVANE_DEBUG_MODE")) {
        long level = 0;
        if (AString(mode).ToLong(level, 10))
            m_Mode = static_cast<int>(level);
    }
    if (const char* filter = std::getenv("ORVANE_DEBUG_FILE"))
        m_FileFilter = AString(filter);
    m_Verbose = std::getenv("ORVANE_DEBUG_VERBOSE") != nullptr;
    if (const char* file = std::getenv("ORVANE_DEBUG_LOG"))
        m_Stream.open(file, std::ios::app | std::ios::binary);
}

void DebugLog::Printf(const wchar16* format, std::va_list arguments) {
    LogAt("", 0, 0, format, arguments);
}

void DebugLog::LogAt(const char* file, int line, int level, const wchar16* format, std::va_list arguments) {
    std::lock_guard lock(m_Mutex);
    m_File = file ? AString(file) : AString();
    m_Line = line;
    if (!ShouldLog(level))
        return;
    AString text;
    text.FormatV(format, arguments);
    for (wchar16 unit : text) {
        if (unit != u'\n') {
            m_PendingLine += unit;
            continue;
        }
        AString prefix;
        if (m_Verbose && !m_File.empty()) {
            prefix = m_File;
            if (m_Line > 0) {
                AString place;
                place.Format(u"(%d)", m_Line);
                prefix += place;
            }
            prefix += u" : ";
        }
        if (level != 0) {
            AString shown;
            shown.Format(u"[%d] ", level);
            prefix += shown;
        }
        if (!prefix.empty())
            prefix += u'\t';
        Write(AString(prefix + m_PendingLine + u'\n'));
        m_PendingLine.clear();
    }
}

bool DebugLog::ShouldLog(int level) const {
    if (m_Mode < level)
        return false;
    return m_FileFilter.empty() || m_File.empty() || m_FileFilter.find(m_File) != AString::npos;
}

void DebugLog::Write(const AString& text) {
    if (!m_Stream.is_open())
        return;
    AStringBuf bytes = text.ToNarrow(1);
    m_Stream.write(bytes.CStr(), bytes.GetLength());
    m_Stream.flush();
}

void DebugPrintf(const wchar16* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    ProcessLog().Printf(format, arguments);
    va_end(arguments);
}

void DebugLogAt(const char* file, int line, int level, const wchar16* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    ProcessLog().LogAt(file, line, level, format, arguments);
    va_end(arguments);
}
