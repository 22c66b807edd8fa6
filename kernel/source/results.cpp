#include "results.h"

#include "job_error.h"

#include <ckt_kernel.h>

#include <fmt/format.h>

namespace ckt {

namespace fs = std::filesystem;

Results::Results(const std::string& netlist, const std::string& project, std::vector<std::string> inputs,
                 Messages& messages)
    : m_folder(project.empty() ? fs::path(netlist).parent_path() : fs::path(project)),
      m_name(fs::path(netlist).stem().string()), m_inputs(std::move(inputs)), m_messages(messages) {
    std::error_code ignored;
    if (!m_folder.empty() && !fs::is_directory(m_folder, ignored))
        throw JobError(CKT_NOT_WRITTEN,
                       fmt::format("can't write results to \"{}\": {}", m_folder.string(),
                                   fs::exists(m_folder, ignored) ? "it isn't a directory"
                                                                 : "there is no such directory"));
    // Opened before the first analysis runs, so that hours of it aren't lost to an unwritable directory.
    m_raw = create(".raw");
}

std::string Results::path_of(const std::string& suffix) const {
    return (m_folder / (m_name + suffix)).string();
}

std::unique_ptr<OutputFile> Results::create(const std::string& suffix) const {
    const std::string path = path_of(suffix);
    std::error_code none;
    for (const std::string& input : m_inputs)
        if (fs::equivalent(path, input, none))
            throw JobError(CKT_NOT_WRITTEN,
                           fmt::format("can't write \"{}\": it is an input of this job", path));
    return std::make_unique<OutputFile>(path);
}

void Results::complete(OutputFile& file) {
    file.commit();
    m_messages.information("result file: " + file.path());
}

void Results::add(const Analysis& analysis, const std::vector<ResultPlot>& plots,
                  const std::vector<Port>& ports) {
    const auto numbered = [&](const std::string& kind, const std::string& before) {
        const int count = ++m_counts[kind];
        return count == 1 ? std::string() : before + std::to_string(count);
    };
    for (const ResultPlot& plot : plots) {
        write_raw(*m_raw, plot);
        std::string kind = analysis.kind;
        if (plot.name == "Integrated Noise")
            kind += "_total";
        const auto csv = create(fmt::format(".{}{}.csv", kind, numbered(kind, "")));
        write_csv(*csv, plot);
        complete(*csv);
        if (!ports.empty()) {
            const std::string kind_of_ports = fmt::format("s{}p", ports.size());
            const auto touchstone = create(fmt::format("{}.{}", numbered(kind_of_ports, "."), kind_of_ports));
            write_touchstone(*touchstone, plot, ports);
            complete(*touchstone);
        }
    }
}

void Results::finish() {
    if (!m_counts.empty())
        complete(*m_raw);
    m_raw.reset();
}

} // namespace ckt
