#include "job.h"

#include "cosim_plan.h"
#include "cosim_run.h"
#include "job_error.h"
#include "netlist_reader.h"
#include "netlist_rules.h"
#include "nport_run.h"
#include "results.h"
#include "simulator.h"
#include "simulator_text.h"
#include "text.h"

#include <ckt_kernel.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <utility>

namespace ckt {

namespace {

constexpr std::string_view second_port = "_second_port";

// Numbers are read and printed with a point on this thread, whatever the process's locale says; everything
// else stays the host's.
class PointLocale {
public:
    PointLocale() {
        const locale_t base = ::duplocale(::uselocale(nullptr));
        m_locale = ::newlocale(LC_NUMERIC_MASK, "C", base);
        m_former = ::uselocale(m_locale);
    }
    ~PointLocale() {
        ::uselocale(m_former);
        ::freelocale(m_locale);
    }
    PointLocale(const PointLocale&) = delete;
    PointLocale& operator=(const PointLocale&) = delete;

private:
    locale_t m_locale{};
    locale_t m_former{};
};

class Job final : Simulator::Listener {
public:
    Job(const JobRequest& request, const Progress::Sink& progress, Messages& messages)
        : m_messages(messages), m_progress(progress), m_netlist(read(request.netlist)),
          m_text(m_netlist, m_messages),
          m_cosim(read_cosim_plan(m_netlist, m_messages)), m_nports{read_nports(m_netlist, m_messages),
                                                                    {},
                                                                    {},
                                                                    {}},
          m_call_backs(request.call_backs),
          m_results(request.netlist, request.project, m_netlist.files, m_messages), m_simulator(*this) {
        m_simulator.set_input_folder(std::filesystem::absolute(request.netlist).parent_path().string());
    }

    int run() {
        load();
        for (const Analysis& analysis : m_analyses)
            check(analysis);
        if (m_cosim)
            check_cosim();
        if (has_nports() && std::any_of(m_analyses.begin(), m_analyses.end(), [](const Analysis& analysis) {
                return allows_nports(analysis.kind);
            }))
            load_nports();
        m_progress.begin_job(static_cast<int>(m_analyses.size()));
        int code = CKT_GOOD;
        for (const Analysis& analysis : m_analyses) {
            const int failure = run(analysis);
            if (code == CKT_GOOD)
                code = failure;
            if (m_gave_up || m_simulator.ended())
                throw JobError(CKT_SIMULATOR_ENDED,
                               analysis.place + ": the simulator gave up in this analysis");
        }
        m_results.finish();
        return code;
    }

private:
    struct PlotHeader {
        std::string title, date, name;
    };

    Netlist read(const std::string& path) {
        Netlist netlist = read_netlist(path, m_messages);
        check_netlist(netlist, m_messages);
        if (netlist.analyses.empty())
            throw JobError(
                CKT_NO_ANALYSIS,
                path + ": no analysis is asked for, at least one line such as .op, .ac or .tran is expected");
        return netlist;
    }

    bool has_nports() const { return !m_nports.nports.empty(); }
    bool sweeps_ports(const Analysis& analysis) const { return has_nports() && analysis.kind == "ac"; }

    // Lines at the end of the netlist.
    void append(std::vector<NetlistLine> lines) {
        m_netlist.lines.insert(m_netlist.lines.end() - 1, std::make_move_iterator(lines.begin()),
                               std::make_move_iterator(lines.end()));
    }

    // The simulator's S analysis wants two ports at least. A single one gets a second on a node of its own, which
    // changes nothing at the first.
    void add_second_port() {
        int ports = 0;
        for (std::size_t i = 1; i < m_netlist.lines.size(); i = m_netlist.card_end(i)) {
            const std::string text = m_netlist.card_text(i);
            const auto parts = tokens(text);
            ports += !text.empty() && text.front() == 'v' &&
                     std::find(parts.begin(), parts.end(), "portnum") != parts.end();
        }
        const bool wanted =
            std::any_of(m_netlist.analyses.begin(), m_netlist.analyses.end(),
                        [](const Card& card) { return card.text.starts_with(".sp ") || card.text == ".sp"; });
        if (!wanted || ports != 1)
            return;
        const NetlistLine& end = m_netlist.lines.back();
        append({{fmt::format("v{0} {0} 0 dc 0 portnum 2 z0 50", second_port), end.file, end.line},
                {fmt::format("r{0} {0} 0 50", second_port), end.file, end.line}});
        m_has_second_port = true;
    }

    void load_lines(std::vector<NetlistLine> netlist) {
        std::vector<char*> lines;
        lines.reserve(netlist.size() + 1);
        for (NetlistLine& line : netlist)
            lines.push_back(line.text.data());
        m_simulator.load(std::move(lines));
    }

    void load() {
        add_second_port();
        if (has_nports())
            m_measures = take_out_measures(m_netlist, m_messages);
        const std::size_t own_lines = m_netlist.lines.size();
        for (const Nport& nport : m_nports.nports)
            append(nport_lines(nport, {}));
        m_only_driven =
            m_cosim && std::all_of(m_netlist.analyses.begin(), m_netlist.analyses.end(),
                                   [](const Card& card) { return card.text.starts_with(".tran "); });
        load_lines(m_only_driven ? driven_lines(m_netlist, *m_cosim) : m_netlist.lines);
        m_text.flush();
        m_nport_lines = m_netlist.lines.size() - own_lines;
        if (!m_gave_up && !m_simulator.ended())
            find_expanded_lines();
        if (m_gave_up || m_simulator.ended() || !m_loaded)
            throw JobError(CKT_BAD_NETLIST,
                           m_messages.errors() > 0
                               ? std::string()
                               : m_netlist.files.front() + ": the simulator doesn't take this netlist");
        if (m_analyses.empty())
            throw JobError(CKT_NO_ANALYSIS,
                           m_netlist.files.front() + ": no analysis is left after .if and .else");
    }

    // The simulator's listing shows its lines with every parameter as a number and every condition resolved:
    // from it come the analyses to run and the ports.
    void find_expanded_lines() {
        m_text.begin_capture();
        m_simulator.command("listing expand");
        const std::vector<std::string> listing = m_text.end_capture();
        // The title first; a netlist with errors isn't kept and has none.
        m_loaded = listing.size() > 1 && listing.front() != "(null)";
        std::map<std::string, std::size_t> used;
        for (std::size_t i = 1; i < listing.size(); ++i) {
            const std::size_t colon = listing[i].find(" : ");
            if (colon == std::string::npos)
                continue;
            const std::string_view line = trim(std::string_view(listing[i]).substr(colon + 3));
            if (line.empty())
                continue;
            if (line.front() == '.') {
                const std::string keyword = lower(words(line).front());
                if (is_analysis(keyword))
                    add_analysis(keyword, std::string(line), used[keyword]++);
                continue;
            }
            if ((line.front() == 'v' || line.front() == 'i') && has_nports())
                add_source(line);
            if (line.find("portnum") != line.npos) {
                if (line.find(second_port) == line.npos)
                    add_port(line);
            } else if (line.starts_with("bpa_")) {
                // The simulator's own node for an expression of a .meas line, which a list of nodes to keep
                // would leave out.
                m_measured.emplace_back(line.substr(1, line.find(' ') - 1));
            }
        }
        std::sort(m_ports.begin(), m_ports.end(),
                  [](const Port& a, const Port& b) { return a.number < b.number; });
    }

    void add_analysis(const std::string& keyword, const std::string& line, std::size_t nth) {
        std::string place = m_netlist.files.front();
        for (const Card& card : m_netlist.analyses)
            if (words(card.text).front() == keyword && nth-- == 0)
                place = m_netlist.where(card.file, card.line);
        m_analyses.push_back({keyword.substr(1), line.substr(1), place});
    }

    void add_source(std::string_view line) {
        const auto parts = tokens(line);
        if (std::find(parts.begin(), parts.end(), "ac") != parts.end())
            m_nports.sources.emplace_back(parts.front());
    }

    // Asks for the N-ports' data, and loads the circuit anew with what stands for them at the operating point.
    void load_nports() {
        m_text.begin_capture();
        m_nports.frequencies = frequencies_of(m_analyses, m_simulator);
        m_simulator.command("remcirc");
        m_text.end_capture();
        m_nports.data = data_of(m_nports.nports, m_nports.frequencies, m_netlist, m_call_backs, m_messages);

        const auto end = m_netlist.lines.end() - 1;
        m_netlist.lines.erase(end - static_cast<std::ptrdiff_t>(m_nport_lines), end);
        for (std::size_t i = 0; i < m_nports.nports.size(); ++i)
            append(nport_lines(m_nports.nports[i], m_nports.data[i].at_operating_point()));
        m_text.begin_capture(); // what is to say of it was said
        load_lines(m_netlist.lines);
        m_text.end_capture();
    }

    void add_port(std::string_view line) {
        const auto parts = tokens(line);
        Port port{0, std::numeric_limits<double>::quiet_NaN()};
        for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
            if (parts[i] == "portnum")
                port.number = static_cast<int>(spice_number(parts[i + 1]).value_or(0));
            else if (parts[i] == "z0")
                port.impedance = spice_number(parts[i + 1]).value_or(0);
        }
        m_ports.push_back(port);
    }

    // What the simulator would run on for ever, or crash on.
    void check(const Analysis& analysis) const {
        std::string fault = endless_sweep(analysis);
        if (analysis.kind == "sp") {
            if (m_ports.empty())
                fault = "no source has a \"portnum\", so that there are no ports";
            for (std::size_t i = 0; i < m_ports.size(); ++i)
                if (m_ports[i].number != static_cast<int>(i) + 1)
                    fault = fmt::format("the ports have to be numbered 1 to {}, each number once",
                                        m_ports.size());
            for (const Port& port : m_ports)
                if (std::isnan(port.impedance)) // the simulator has no value of its own for it
                    fault = fmt::format("port {} has no z0", port.number);
                else if (!(port.impedance > 0))
                    fault = fmt::format("port {} has a z0 of {} ohm, more than 0 is expected", port.number,
                                        port.impedance);
        }
        if (!fault.empty())
            throw JobError(CKT_BAD_NETLIST,
                           fmt::format("{}: \".{}\": {}", analysis.place, analysis.command, fault));
    }

    void check_cosim() const {
        const Analysis* driven = nullptr;
        for (const Analysis& analysis : m_analyses) {
            if (analysis.kind != "tran")
                continue;
            if (driven)
                throw JobError(CKT_BAD_NETLIST,
                               fmt::format("{}: a co-simulation has one .tran, there is one already at {}",
                                           analysis.place, driven->place));
            driven = &analysis;
        }
        if (!driven)
            throw JobError(CKT_BAD_NETLIST,
                           m_cosim->place +
                               ": a co-simulation is asked for, but no .tran is left after .if and .else");
        constexpr double most = 1e9; // beyond it a point can't be told from the next one exactly enough
        const DrivenTran tran = driven_tran(*driven);
        if (!(tran.step > 0) || !(tran.end > 0) || tran.end / tran.step > most)
            throw JobError(
                CKT_BAD_NETLIST,
                fmt::format("{}: {} s in steps of {} s can't be co-simulated, up to {} steps are expected",
                            m_cosim->step ? m_cosim->step_place : driven->place, tran.end, tran.step, most));
    }

    struct DrivenTran {
        double step, end;
        double start;        // of what is kept
        std::string command; // which gives the points before as well
    };

    DrivenTran driven_tran(const Analysis& analysis) const {
        const auto parts = words(analysis.command);
        const auto number = [&](std::size_t index) {
            return index < parts.size() ? spice_number(parts[index]).value_or(0) : 0;
        };
        DrivenTran tran{m_cosim->step.value_or(number(1)), number(2), number(3), ""};
        for (std::size_t i = 0; i < parts.size(); ++i)
            tran.command.append(i == 0 ? "" : " ").append(i == 3 && tran.start > 0 ? "0" : parts[i]);
        return tran;
    }

    // The driven circuit is another one to the simulator: all other analyses have the sources' own values.
    void begin_cosim(const DrivenTran& tran) {
        m_cosim_run.emplace(*m_cosim, m_call_backs, tran.step, tran.end);
        if (!m_only_driven) {
            m_text.begin_capture(); // all that was said of the undriven one
            load_lines(driven_lines(m_netlist, *m_cosim));
            m_text.end_capture();
        }
        m_simulator.synchronise();
        for (const CosimSource& source : m_cosim->sources)
            m_simulator.command(fmt::format("alter @{}[dc]=0", source.name)); // it would be added
        const auto count = [](std::size_t number, const char* what) {
            return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
        };
        m_messages.information(fmt::format("co-simulation: {} of {} s to {} s, {}, {}",
                                           count(static_cast<std::size_t>(m_cosim_run->steps()), "step"),
                                           tran.step, tran.end, count(m_cosim->sources.size(), "source"),
                                           count(m_cosim->ports.size(), "port")));
    }

    void end_cosim() {
        m_cosim_run.reset();
        m_of_ports.clear();
        if (m_only_driven)
            return;
        m_text.begin_capture();
        m_simulator.command("setcirc 2"); // the newest is the first
        m_text.end_capture();
    }

    // One name a command: the simulator overruns its memory on commands of many words.
    void save(const Card& card) {
        const auto names = words(card.text);
        for (std::size_t i = 1; i < names.size(); ++i)
            m_simulator.command(fmt::format("save {}", names[i]));
    }

    int run(const Analysis& analysis) {
        m_messages.begin_section();
        m_text.begin_analysis(analysis.place);
        m_progress.begin_analysis(analysis, sweeps_ports(analysis) ? m_nports.ports() + 1 : 1);
        m_headers.clear();
        int code = CKT_GOOD;
        if (has_nports() && !allows_nports(analysis.kind)) {
            const Nport& first = m_nports.nports.front();
            tell_failure(analysis,
                         fmt::format("the N-port \"{}\" at {} has data over frequency only, and can be in "
                                     ".ac, .op, .dc and .tf",
                                     first.name, m_netlist.where(first.file, first.line)));
            code = CKT_ANALYSIS_FAILED;
        } else if (m_cosim && analysis.kind == "tran") {
            const DrivenTran tran = driven_tran(analysis);
            try {
                begin_cosim(tran);
                code = run(analysis, tran.command, tran.start);
                end_cosim();
            } catch (const JobError& error) {
                tell_failure(analysis, error.what());
                code = error.code();
            }
        } else {
            code = run(analysis, analysis.command, 0);
        }
        m_progress.end_analysis();
        return code;
    }

    int run(const Analysis& analysis, const std::string& command, double start) {
        // The noise analyses' vectors are their own: a list of node voltages to keep would leave them none.
        m_simulator.command("delete all");
        if (analysis.kind != "noise" && !m_netlist.saves.empty()) {
            for (const Card& card : m_netlist.saves)
                save(card);
            for (const std::string& node : m_measured)
                m_simulator.command("save v(" + node + ')');
            m_of_ports.clear();
            if (m_cosim_run)
                m_of_ports = not_saved(m_netlist.saves, m_cosim->vectors());
            else if (sweeps_ports(analysis))
                m_of_ports = not_saved(m_netlist.saves, m_nports.vectors());
            for (const std::string& vector : m_of_ports)
                m_simulator.command("save " + vector);
        }
        int code = sweep(command);
        const std::string fault = m_cosim_run ? m_cosim_run->fault() : std::string();
        if (m_stopped)
            m_text.end_capture();
        m_stopped = false;
        if (!fault.empty())
            code = CKT_ANALYSIS_FAILED;
        if (code != CKT_GOOD) {
            tell_failure(analysis, fault.empty() ? m_text.reason() : fault);
        } else {
            std::vector<ResultPlot> plots = collect();
            if (sweeps_ports(analysis))
                code = put_in_nports(analysis, plots);
            if (code == CKT_GOOD && !write(analysis, plots, start)) {
                m_messages.error(
                    fmt::format("{}: the analysis \".{}\" gave no points", analysis.place, analysis.command));
                code = CKT_ANALYSIS_FAILED;
            }
        }
        m_simulator.command("destroy all");
        return code;
    }

    // Has the simulator run a command of analysis.
    int sweep(const std::string& command) {
        m_simulator.command("set sim_status=77");
        m_simulator.command(command);
        const int code = m_gave_up ? static_cast<int>(CKT_ANALYSIS_FAILED) : status();
        m_text.flush();
        return code;
    }

    // One of the sweeps that follow the first one of a .ac with N-ports.
    ResultPlot sweep_port(const Analysis& analysis) {
        m_progress.begin_sweep();
        const auto headers = std::exchange(m_headers, {});
        const int code = sweep(analysis.command);
        std::string id;
        for (const auto& [name, header] : std::exchange(m_headers, headers))
            if (name.starts_with("ac"))
                id = name;
        if (code != CKT_GOOD || id.empty())
            throw JobError(CKT_ANALYSIS_FAILED, m_text.reason());
        return collect_plot(m_simulator, id);
    }

    int put_in_nports(const Analysis& analysis, std::vector<ResultPlot>& plots) {
        const auto plot = std::find_if(plots.begin(), plots.end(), [](const ResultPlot& candidate) {
            return candidate.id.starts_with("ac");
        });
        if (plot == plots.end())
            return CKT_GOOD;
        try {
            const auto left_out =
                ckt::put_in_nports(m_nports, m_simulator, *plot, [&] { return sweep_port(analysis); });
            if (!left_out.empty())
                m_messages.warning(fmt::format("{}: left out, for with N-ports they aren't known: {}",
                                               analysis.place, fmt::join(left_out, ", ")));
        } catch (const JobError& error) {
            tell_failure(analysis, error.what());
            return error.code();
        }
        m_simulator.command("setplot " + plot->id);
        for (const std::string& measure : m_measures)
            m_simulator.command(measure);
        m_text.flush();
        return CKT_GOOD;
    }

    // 0 good, 1 aborted, the value set before if the analysis was never started.
    int status() {
        m_text.begin_capture();
        m_simulator.command("echo sim_status $sim_status");
        for (const std::string& line : m_text.end_capture())
            if (line.starts_with("sim_status "))
                return trim(line.substr(11)) == "0" ? CKT_GOOD : CKT_ANALYSIS_FAILED;
        return CKT_ANALYSIS_FAILED;
    }

    void tell_failure(const Analysis& analysis, const std::string& reason) {
        m_messages.error(fmt::format("{}: the analysis \".{}\" failed{}{}", analysis.place, analysis.command,
                                     reason.empty() ? "" : ": ", reason));
    }

    // A vector of what was added to the circuit.
    bool is_aid(std::string_view name) const {
        const bool of_matrix = name.starts_with("S_") || name.starts_with("Y_") || name.starts_with("Z_");
        if (m_has_second_port &&
            ((of_matrix && !name.ends_with("_1_1")) || name.find(second_port) != name.npos))
            return true;
        if (m_nports.owns(name) || std::find(m_of_ports.begin(), m_of_ports.end(), name) != m_of_ports.end())
            return true;
        return std::any_of(m_measured.begin(), m_measured.end(),
                           [&](const std::string& node) { return name == "v(" + node + ')'; });
    }

    // The plots of the analysis that has run.
    std::vector<ResultPlot> collect() const {
        std::vector<ResultPlot> plots;
        std::vector<std::string> ids = m_simulator.plots();
        std::reverse(ids.begin(), ids.end());
        for (const std::string& id : ids) {
            const auto header = m_headers.find(id);
            if (header == m_headers.end())
                continue;
            plots.push_back(collect_plot(m_simulator, id));
            plots.back().title = header->second.title;
            plots.back().date = header->second.date;
            plots.back().name = header->second.name;
        }
        return plots;
    }

    // Writes what there is from `start` [s] on. False if the analysis has no results.
    bool write(const Analysis& analysis, std::vector<ResultPlot>& plots, double start) {
        for (ResultPlot& plot : plots) {
            std::erase_if(plot.vectors, [&](const ResultVector& vector) { return is_aid(vector.name); });
            if (start > 0)
                drop_points_before(plot, start);
        }
        std::erase_if(plots, [](const ResultPlot& plot) { return plot.vectors.empty(); });
        m_results.add(analysis, plots, analysis.kind == "sp" ? m_ports : std::vector<Port>());
        return !plots.empty();
    }

    void text(std::string_view line) noexcept override { m_text.take(line); }

    void plot_begins(const vecinfoall& plot) override {
        m_headers[plot.type] = {plot.title ? plot.title : "", plot.date ? plot.date : "",
                                plot.name ? plot.name : ""};
        m_progress.plot_begins(plot);
        if (m_cosim_run)
            m_cosim_run->locate(plot);
    }

    void point(const vecvaluesall& values) override {
        m_progress.point(values);
        if (m_cosim_run && !m_cosim_run->point(values) && !m_stopped) {
            m_stopped = true;
            m_text.begin_capture(); // it says that it was told to stop
            m_simulator.command(fmt::format("stop after {}", values.vecindex + 2));
        }
    }

    double source_value(const char* name, double time) noexcept override {
        return m_cosim_run ? m_cosim_run->source_value(name, time) : 0;
    }

    void limit_step(double time, double& step) noexcept override {
        if (m_cosim_run)
            m_cosim_run->limit(time, step);
    }

    void refused(const std::string& what) noexcept override {
        m_messages.warning("the simulator wanted " + what + ", which it may not");
    }

    void gives_up() noexcept override { m_gave_up = true; }

    Messages& m_messages;
    Progress m_progress;
    Netlist m_netlist;
    SimulatorText m_text;
    const std::optional<CosimPlan> m_cosim;
    NportCircuit m_nports;
    std::size_t m_nport_lines = 0;       // at the netlist's end, in front of ".end"
    std::vector<std::string> m_measures; // of .ac, as commands, where there are N-ports
    const std::map<std::string, void*>& m_call_backs;
    std::optional<CosimRun> m_cosim_run; // while its analysis runs
    Results m_results;
    std::vector<Analysis> m_analyses;
    std::vector<Port> m_ports;
    std::vector<std::string> m_measured;         // nodes
    std::map<std::string, PlotHeader> m_headers; // of the running analysis, by the plot's id
    std::vector<std::string> m_of_ports; // vectors that are kept for the ports of the running analysis only
    bool m_has_second_port = false;
    bool m_only_driven = false; // every analysis is the co-simulated one
    bool m_stopped = false;     // the running analysis was told to stop
    bool m_loaded = false;
    bool m_gave_up = false;
    Simulator m_simulator; // last: it talks to the others until it is unloaded
};

} // namespace

int run_job(const JobRequest& request, const Progress::Sink& progress, const Messages::Sink& sink) noexcept {
    try {
        Messages messages(sink);
        try {
            const PointLocale point_locale;
            return Job(request, progress, messages).run();
        } catch (const JobError& error) {
            if (*error.what())
                messages.error(error.what());
            return error.code();
        } catch (const std::bad_alloc&) {
            messages.error(request.netlist + ": out of memory");
        } catch (const std::exception& error) {
            messages.error(request.netlist + ": " + error.what());
        }
    } catch (...) {
    }
    return CKT_FAILED;
}

} // namespace ckt
