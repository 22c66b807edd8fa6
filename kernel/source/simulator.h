// ngspice's shared library, loaded for the life of this object.
//
// One object at a time in a process: the library keeps its state in static data. It is loaded privately and
// unloaded again, since a second initialisation of a loaded library isn't possible.
#pragma once

#include <ngspice/sharedspice.h>

#include <string>
#include <string_view>
#include <vector>

namespace ckt {

class Simulator {
public:
    // Called on the thread that called the simulator, in the middle of that call. `text` must not throw.
    class Listener {
    public:
        virtual void
        text(std::string_view line) noexcept = 0;             // "stdout " or "stderr " and one line of output
        virtual void plot_begins(const vecinfoall& plot) = 0; // an analysis is about to give points
        virtual void point(const vecvaluesall& values) = 0;   // one accepted point
        // Only after `synchronise`. The value of a source that is declared "external" at a time point, and the step
        // that the simulator would take from `time`, which may be made smaller.
        virtual double source_value(const char* name, double time) noexcept = 0;
        virtual void limit_step(double time, double& step) noexcept = 0;
        virtual void refused(const std::string& what) noexcept = 0; // something that ngspice may not do here
        virtual void gives_up() noexcept = 0; // an error that ngspice doesn't recover from

    protected:
        ~Listener() = default;
    };

    // Throws JobError with CKT_NO_SIMULATOR.
    explicit Simulator(Listener& listener);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // From here on the listener is asked for the values of external sources, and for every step.
    void synchronise();

    // Where code models look for the files that they name.
    void set_input_folder(const std::string& folder);

    // Loads a circuit: its lines, the last of them ".end". The simulator copies them.
    void load(std::vector<char*> lines);

    void command(const std::string& text);

    // The simulator has given up and takes no more commands.
    bool ended() const { return m_ended; }

    std::vector<std::string> plots() const;                          // newest first
    std::vector<std::string> vectors(const std::string& plot) const; // newest first
    // A copy of the simulator's record of a vector; its data stays the simulator's. `v_length` 0 if there is
    // none.
    vector_info vector(const std::string& name) const;

private:
    template <class Call>
    void guarded(Call call);
    void unload();

    Listener& m_listener;
    void* m_library = nullptr;
    bool m_ended = false;

    decltype(&::ngSpice_Init) m_init = nullptr;
    decltype(&::ngSpice_Init_Sync) m_init_sync = nullptr;
    decltype(&::ngSpice_Command) m_command = nullptr;
    decltype(&::ngSpice_Circ) m_circ = nullptr;
    decltype(&::ngGet_Vec_Info) m_vector = nullptr;
    decltype(&::ngSpice_AllPlots) m_plots = nullptr;
    decltype(&::ngSpice_AllVecs) m_vectors = nullptr;
    char* (*m_input_path)(const char*) = nullptr;
};

} // namespace ckt
