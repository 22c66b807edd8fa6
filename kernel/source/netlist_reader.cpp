#include "netlist_reader.h"

#include "job_error.h"
#include "text.h"

#include <ckt_kernel.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace ckt {

namespace {

namespace fs = std::filesystem;

constexpr int max_depth = 100;
constexpr std::size_t max_bytes = std::size_t{1} << 30; // of all files, each as often as it is included

std::string reason(int error) {
    return std::strerror(error);
}

std::string contents_of(const std::string& path, const std::string& asked_at) {
    const auto fail = [&](const std::string& why) {
        throw JobError(CKT_NO_NETLIST, fmt::format("{}can't read \"{}\": {}", asked_at, path, why));
    };
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        fail(reason(errno));
    struct Closer {
        int file;
        ~Closer() { ::close(file); }
    } closer{file};
    struct stat status {};
    if (::fstat(file, &status) != 0)
        fail(reason(errno));
    if (S_ISDIR(status.st_mode))
        fail("it is a directory, a netlist file is expected");
    if (!S_ISREG(status.st_mode))
        fail("it isn't a regular file");
    if (static_cast<std::size_t>(status.st_size) > max_bytes)
        fail(fmt::format("it is larger than {} MiB", max_bytes >> 20));
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t count = ::read(file, text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(reason(errno));
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    text.resize(size);
    return text;
}

// A netlist has no NUL and hardly any other control character.
void check_is_text(const std::string& text, const std::string& path) {
    if (text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff"))
        throw JobError(CKT_NOT_A_NETLIST, path + ": the file is UTF-16 text, a netlist in UTF-8 is expected");
    std::size_t strange = 0;
    std::size_t line = 1;
    for (const char c : text) {
        line += c == '\n';
        if (c == '\0')
            throw JobError(CKT_NOT_A_NETLIST,
                           fmt::format("{}:{}: the file holds binary data (a zero byte), a netlist is text",
                                       path, line));
        strange += static_cast<unsigned char>(c) < 0x20 && !std::strchr("\t\n\v\f\r\x1a", c);
    }
    if (strange * 20 > text.size())
        throw JobError(
            CKT_NOT_A_NETLIST,
            fmt::format(
                "{}: the file holds binary data ({} control characters in {} bytes), a netlist is text", path,
                strange, text.size()));
}

bool is_utf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t length = byte < 0x80                    ? 1
                                   : byte >= 0xc2 && byte <= 0xdf ? 2
                                   : byte >= 0xe0 && byte <= 0xef ? 3
                                   : byte >= 0xf0 && byte <= 0xf4 ? 4
                                                                  : 0;
        if (length == 0 || i + length > text.size())
            return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xc0) != 0x80)
                return false;
        i += length;
    }
    return true;
}

std::string utf8_of_latin1(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            result += c;
        } else {
            result += static_cast<char>(0xc0 | (byte >> 6));
            result += static_cast<char>(0x80 | (byte & 0x3f));
        }
    }
    return result;
}

class Reader {
public:
    Reader(Netlist& netlist, Messages& messages) : m_netlist(netlist), m_messages(messages) {}

    void read(const std::string& path) {
        const Source& source = load(path, "");
        if (trim(source.text).empty())
            throw JobError(CKT_NOT_A_NETLIST, path + ": the file is empty, a netlist is expected");
        m_main_folder = fs::path(path).parent_path();
        Cursor cursor{source};
        title(cursor);
        body(cursor, Within::netlist, "", 0);
        m_netlist.lines.push_back({".end", source.file, cursor.line});
    }

private:
    struct Source {
        std::int32_t file;
        std::string text;
    };
    struct Cursor {
        const Source& source;
        std::size_t at = 0;
        std::int32_t line = 0;

        // The next line, without its end. False at the end of the file.
        bool next(std::string_view& text) {
            if (at >= source.text.size())
                return false;
            const std::size_t end = std::min(source.text.find('\n', at), source.text.size());
            text = trim(std::string_view(source.text).substr(at, end - at));
            at = end + 1;
            ++line;
            return true;
        }
    };
    enum class Within { netlist, include, library };

    Netlist& m_netlist;
    Messages& m_messages;
    fs::path m_main_folder;
    std::unordered_map<std::string, std::unique_ptr<Source>>
        m_sources; // by path; sections are asked for many times
    std::size_t m_bytes = 0;
    int m_open_blocks = 0;       // of .subckt and .if
    bool m_can_continue = false; // a line that "+" may continue has just been read

    [[noreturn]] void fail(const Cursor& cursor, const std::string& why) const {
        throw JobError(CKT_BAD_NETLIST, place(cursor) + why);
    }
    std::string place(const Cursor& cursor) const {
        return m_netlist.where(cursor.source.file, cursor.line) + ": ";
    }

    const Source& load(const std::string& path, const std::string& asked_at) {
        auto& source = m_sources[path];
        if (!source) {
            source = std::make_unique<Source>();
            source->text = contents_of(path, asked_at);
            check_is_text(source->text, path);
            if (source->text.starts_with("\xef\xbb\xbf"))
                source->text.erase(0, 3);
            source->file = static_cast<std::int32_t>(m_netlist.files.size());
            m_netlist.files.push_back(path);
        }
        m_bytes += source->text.size();
        if (m_bytes > max_bytes)
            throw JobError(CKT_BAD_NETLIST, fmt::format("{}the included files exceed {} MiB in all", asked_at,
                                                        max_bytes >> 20));
        return *source;
    }

    void title(Cursor& cursor) {
        std::string_view read;
        cursor.next(read);
        const std::string plain = printable(read);
        const std::string_view text = trim(plain);
        m_netlist.lines.push_back(
            {text.empty() ? "untitled" : in_utf8(text), cursor.source.file, cursor.line});
        const auto first = words(text);
        if (!first.empty() &&
            (first[0] == ".end" || is_analysis(lower(first[0])) || text.starts_with(".include") ||
             text.starts_with(".lib") || text.starts_with(".param") || text.starts_with("*%")))
            m_messages.warning(fmt::format(
                "{}\"{}\" stands on the first line, which is the title and isn't read", place(cursor), text));
    }

    static std::string in_utf8(std::string_view text) {
        return is_utf8(text) ? std::string(text) : utf8_of_latin1(text);
    }
    // With a blank for each control character.
    static std::string printable(std::string_view text) {
        std::string line(text);
        for (char& c : line)
            if (static_cast<unsigned char>(c) < 0x20)
                c = ' ';
        return line;
    }

    // `section` is the one to stop at the end of, empty for a whole file.
    void body(Cursor& cursor, Within within, std::string_view section, int depth) {
        std::string_view read;
        bool in_control = false;
        bool joined = false;
        while (cursor.next(read)) {
            const std::string plain = printable(read);
            const std::string_view text = trim(plain);
            if (in_control) {
                in_control = !starts_with_ignoring_case(text, ".endc");
                continue;
            }
            if (text.starts_with("*%"))
                extension(cursor, text.substr(2));
            if (text.empty() || text.front() == '*' || text.front() == '#')
                continue;
            const auto parts = words(without_comment(text));
            if (parts.empty())
                continue;
            std::string line = in_utf8(text);
            if (joined)
                line.insert(0, 1, '+');
            // A line that ends in two backslashes goes on in the next one.
            joined = line.size() > 2 && line.ends_with("\\\\");
            if (joined)
                line.resize(line.size() - 2);

            const std::string keyword = lower(parts.front());
            if (line.front() == '+') {
                if (!m_can_continue)
                    fail(cursor, "a line that begins with \"+\" continues nothing");
                m_netlist.lines.push_back({std::move(line), cursor.source.file, cursor.line});
                continue;
            }
            m_can_continue = false;
            if (keyword == ".end")
                return;
            if (keyword == ".control") {
                m_messages.warning(place(cursor) + "the .control block is skipped: its commands aren't run");
                in_control = true;
            } else if (keyword == ".endc") {
                m_messages.warning(place(cursor) + ".endc without a .control is skipped");
            } else if (keyword.starts_with(".inc")) {
                include(cursor, argument(text, keyword.size()), depth);
            } else if (keyword == ".lib") {
                library(cursor, text, depth);
            } else if (keyword == ".endl") {
                if (!section.empty())
                    return;
                if (within == Within::netlist)
                    m_messages.warning(place(cursor) + ".endl without a .lib is skipped");
            } else {
                m_open_blocks +=
                    (keyword == ".subckt" || keyword == ".if") - (keyword == ".ends" || keyword == ".endif");
                m_netlist.lines.push_back({std::move(line), cursor.source.file, cursor.line});
                m_can_continue = true;
            }
        }
        if (in_control)
            m_messages.warning(place(cursor) + "the file ends inside a .control block");
        if (!section.empty())
            fail(cursor, fmt::format("the library section \"{}\" has no .endl", section));
    }

    // A line that a plain SPICE reader takes for a comment. Any other comment may begin like one, so that an unknown word is
    // no error.
    void extension(const Cursor& cursor, std::string_view text) {
        const std::string clean = in_utf8(text);
        const std::string card(trim(without_comment(clean)));
        const auto parts = words(card);
        if (parts.empty())
            return;
        const std::string keyword = lower(parts.front());
        if (keyword == "cosim") {
            m_netlist.cosim.push_back({cursor.source.file, cursor.line, lower(card)});
        } else if (keyword == "nport") {
            if (m_open_blocks > 0)
                fail(cursor,
                     fmt::format("\"{}\" stands within .subckt or .if, where an N-port can't be; it is "
                                 "expected outside",
                                 card));
            m_netlist.nports.push_back({cursor.source.file, cursor.line, card});
        } else {
            m_messages.warning(fmt::format(
                "{}the line \"*% {}\" is skipped: \"{}\" isn't known here, \"cosim\" and \"nport\" are",
                place(cursor), lower(card), keyword));
        }
    }

    // What follows a keyword, as one path: quoted text, else all up to a comment.
    std::string argument(std::string_view line, std::size_t keyword) const {
        std::string_view rest = trim(line.substr(keyword));
        if (!rest.empty() && (rest.front() == '"' || rest.front() == '\'')) {
            const std::size_t end = rest.find(rest.front(), 1);
            return std::string(rest.substr(1, end == rest.npos ? rest.npos : end - 1));
        }
        return std::string(trim(without_comment(rest)));
    }

    std::string resolve(const Cursor& cursor, std::string_view name) const {
        fs::path path{std::string(name)};
        if (name.starts_with("~/"))
            if (const char* home = std::getenv("HOME"))
                path = fs::path(home) / std::string(name.substr(2));
        if (path.is_absolute())
            return path.string();
        const fs::path folder =
            fs::path(m_netlist.files[static_cast<std::size_t>(cursor.source.file)]).parent_path();
        std::error_code ignored;
        for (const fs::path& base : {folder, m_main_folder})
            if (fs::exists(base / path, ignored))
                return (base / path).string();
        return (folder / path).string();
    }

    bool exists(const Cursor& cursor, std::string_view name) const {
        std::error_code ignored;
        return !name.empty() && fs::is_regular_file(resolve(cursor, name), ignored);
    }

    void check_depth(const Cursor& cursor, int depth) const {
        if (depth >= max_depth)
            fail(cursor,
                 fmt::format("files are included more than {} levels deep; does a file include itself?",
                             max_depth));
    }

    void include(Cursor& cursor, std::string name, int depth) {
        if (name.empty())
            fail(cursor, ".include without a file name");
        if (!exists(cursor, name)) {
            // An unquoted path may hold blanks, or be followed by something else.
            const std::string first(words(name).front());
            if (exists(cursor, first))
                name = first;
        }
        check_depth(cursor, depth);
        Cursor inner{load(resolve(cursor, name), place(cursor))};
        body(inner, Within::include, "", depth + 1);
        m_can_continue = false;
    }

    // ".lib FILE SECTION" calls a section; ".lib FILE" takes the whole file; ".lib SECTION" up to ".endl"
    // defines one.
    void library(Cursor& cursor, std::string_view text, int depth) {
        std::string_view rest = trim(text.substr(4));
        std::string name = argument(text, 4);
        std::string section;
        if (name.empty())
            fail(cursor, ".lib without a file or a section name");
        if (rest.front() == '"' || rest.front() == '\'') {
            const std::size_t end = rest.find(rest.front(), 1);
            section = end == rest.npos ? "" : std::string(trim(without_comment(rest.substr(end + 1))));
        } else if (!exists(cursor, name)) {
            const std::size_t gap = name.find_last_of(" \t");
            if (gap != name.npos) {
                section = name.substr(gap + 1);
                name = std::string(trim(std::string_view(name).substr(0, gap)));
            }
        }
        section = unquoted(section);
        check_depth(cursor, depth);
        if (section.empty() && !exists(cursor, name)) {
            skip_section(cursor, name);
            return;
        }
        Cursor inner{load(resolve(cursor, name), place(cursor))};
        if (!section.empty() && !find_section(inner, section))
            fail(cursor, fmt::format("the library \"{}\" has no section \"{}\"", name, section));
        body(inner, section.empty() ? Within::include : Within::library, section, depth + 1);
        m_can_continue = false;
    }

    static std::string unquoted(const std::string& name) {
        if (name.size() >= 2 && (name.front() == '"' || name.front() == '\'') && name.back() == name.front())
            return name.substr(1, name.size() - 2);
        return name;
    }

    static bool find_section(Cursor& cursor, std::string_view section) {
        const std::string wanted = lower(section);
        std::string_view text;
        while (cursor.next(text)) {
            const auto parts = words(without_comment(text));
            if (parts.size() == 2 && lower(parts[0]) == ".lib" &&
                lower(unquoted(std::string(parts[1]))) == wanted)
                return true;
        }
        return false;
    }

    void skip_section(Cursor& cursor, const std::string& name) {
        const std::string begun_at = place(cursor);
        std::string_view text;
        while (cursor.next(text))
            if (starts_with_ignoring_case(text, ".endl"))
                return;
        throw JobError(
            CKT_BAD_NETLIST,
            fmt::format(
                "{}.lib \"{}\": there is no such file, and no .endl that would end a section of that name",
                begun_at, name));
    }
};

// Lists the analyses and takes the ".save" lines out: they are given to each analysis that they concern.
void sort_cards(Netlist& netlist) {
    std::vector<NetlistLine> kept;
    kept.reserve(netlist.lines.size());
    kept.push_back(std::move(netlist.lines.front()));
    for (std::size_t i = 1, end = i; i < netlist.lines.size(); i = end) {
        end = netlist.card_end(i);
        const NetlistLine& line = netlist.lines[i];
        bool keep = true;
        if (line.text.front() == '.') {
            const std::string keyword = lower(words(line.text).front());
            const Card card{line.file, line.line, ""};
            if (is_analysis(keyword)) {
                netlist.analyses.push_back(card);
                netlist.analyses.back().text = netlist.card_text(i);
            } else if (keyword == ".save") {
                netlist.saves.push_back(card);
                netlist.saves.back().text = netlist.card_text(i);
                keep = false;
            }
        }
        if (keep)
            std::move(netlist.lines.begin() + static_cast<std::ptrdiff_t>(i),
                      netlist.lines.begin() + static_cast<std::ptrdiff_t>(end), std::back_inserter(kept));
    }
    netlist.lines = std::move(kept);
}

} // namespace

Netlist read_netlist(const std::string& path, Messages& messages) {
    Netlist netlist;
    Reader(netlist, messages).read(path);
    sort_cards(netlist);
    return netlist;
}

} // namespace ckt
