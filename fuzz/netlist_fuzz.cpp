// Any text is a netlist or an error in words, and so is what its comments say of a co-simulation and of N-ports. Every message
// begins with a line that the text has, and each element that stands for an N-port has as many words as its kind takes:
// no name in the netlist gets more of a line than its own place.
#include <kernel/source/cosim_plan.h>
#include <kernel/source/job_error.h>
#include <kernel/source/netlist_reader.h>
#include <kernel/source/netlist_rules.h>
#include <kernel/source/nport_plan.h>
#include <kernel/source/text.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

// A file in memory, which has a name.
class File {
public:
    explicit File(std::string_view text) : m_File(memfd_create("netlist", MFD_CLOEXEC)) {
        Require(m_File >= 0 && write(m_File, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
    }
    ~File() { close(m_File); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::string Name() const { return "/proc/self/fd/" + std::to_string(m_File); }

private:
    const int m_File;
};

// Of a message about this text, not about a file that it includes.
void CheckPlace(std::string_view message, std::string_view name, std::int32_t lines) {
    Require(!message.empty());
    if (!message.starts_with(name) || message.substr(name.size(), 1) != ":")
        return;
    message.remove_prefix(name.size() + 1);
    std::int32_t line = 0;
    if (std::from_chars(message.data(), message.data() + message.size(), line).ec == std::errc())
        Require(line >= 1 && line <= lines);
}

void CheckElements(const std::vector<ckt::NetlistLine>& elements) {
    for (const ckt::NetlistLine& element : elements) {
        const std::size_t count = ckt::words(element.text).size();
        switch (element.text.front()) {
        case 'v':
        case 'f':
            Require(count == 5);
            break;
        case 'g':
            Require(count == 6);
            break;
        default:
            Require(element.text.front() == 'i' && count == 7);
        }
    }
}

void CheckLines(const std::vector<ckt::NetlistLine>& lines, std::size_t files) {
    Require(lines.size() >= 2 && lines.back().text == ".end");
    for (const ckt::NetlistLine& line : lines) {
        Require(static_cast<std::size_t>(line.file) < files && line.line >= 0);
        Require(std::none_of(line.text.begin(), line.text.end(),
                             [](char c) { return static_cast<unsigned char>(c) < 0x20; }));
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const File file(text);
    const auto lines = static_cast<std::int32_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    int errors = 0;
    ckt::Messages messages([&](ckt::Level level, const std::string& message) {
        CheckPlace(message, file.Name(), lines);
        errors += level == ckt::Level::error;
    });
    try {
        ckt::Netlist netlist = ckt::read_netlist(file.Name(), messages);
        CheckLines(netlist.lines, netlist.files.size());
        ckt::check_netlist(netlist, messages);
        if (const auto plan = ckt::read_cosim_plan(netlist, messages)) {
            Require(!plan->sources.empty() && !plan->ports.empty());
            CheckLines(ckt::driven_lines(netlist, *plan), netlist.files.size());
        }
        for (const ckt::Nport& nport : ckt::read_nports(netlist, messages)) {
            const std::size_t ports = nport.ports.size();
            Require(ports > 0 && !nport.design.empty());
            if (ports <= 16)
                CheckElements(ckt::nport_lines(nport, std::vector<double>(ports * ports, 0.5)));
        }
        ckt::take_out_measures(netlist, messages);
        CheckLines(netlist.lines, netlist.files.size());
        Require(errors == 0);
    } catch (const ckt::JobError& error) {
        if (*error.what() != '\0')
            CheckPlace(error.what(), file.Name(), lines);
        else
            Require(errors > 0);
    }
    return 0;
}
