#include "simulator.h"

#include "imports.h"
#include "job_error.h"

#include <ckt_kernel.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <sys/timeb.h>
#include <sys/types.h>
#include <unistd.h>

namespace ckt {

namespace {

constexpr const char* library_name = "libngspice.so.0";

// The listener of the loaded library, for the replaced C functions, which get no user pointer.
Simulator::Listener* current_listener = nullptr;

// Thrown in place of the process's end.
struct ProcessEnd {};

void refused(const std::string& what) {
    if (current_listener)
        current_listener->refused(what);
    errno = EPERM;
}

int refused_system(const char* command) {
    refused(std::string("to run the shell command \"") + (command ? command : "") + '"');
    return -1;
}

FILE* refused_popen(const char* command, const char*) {
    refused_system(command);
    return nullptr;
}

pid_t refused_fork() {
    refused("to start a process");
    return -1;
}

int refused_execl(const char* path, const char*, ...) {
    refused(std::string("to run \"") + path + '"');
    return -1;
}

int refused_chdir(const char*) {
    refused("to change the working directory");
    return -1;
}

int refused_remove(const char* path) {
    refused(std::string("to remove \"") + path + '"');
    return -1;
}

[[noreturn]] void refused_exit(int) {
    throw ProcessEnd{};
}
[[noreturn]] void refused_abort() {
    throw ProcessEnd{};
}

[[noreturn]] void refused_assert(const char* condition, const char*, unsigned, const char*) {
    if (current_listener)
        current_listener->text(std::string("stderr Error: the simulator's own check failed: ") + condition);
    throw ProcessEnd{};
}

sighandler_t no_signal(int, sighandler_t) {
    return SIG_DFL;
}

char* no_setlocale(int, const char*) {
    static char c_locale[] = "C";
    return c_locale;
}

bool is_start_file(const char* path) {
    const char* slash = std::strrchr(path, '/');
    const char* name = slash ? slash + 1 : path;
    return std::strcmp(name, ".spiceinit") == 0 || std::strcmp(name, "spice.rc") == 0;
}

int guarded_access(const char* path, int mode) {
    if (is_start_file(path)) {
        errno = ENOENT;
        return -1;
    }
    return ::access(path, mode);
}

// Some device models leave a log file in the working directory. They get a place to write to, for without one
// they skip their parameter checks.
FILE* guarded_fopen(const char* path, const char* mode) {
    if (is_start_file(path)) {
        errno = ENOENT;
        return nullptr;
    }
    if (std::strpbrk(mode, "wa+"))
        return ::fopen("/dev/null", "we");
    return ::fopen(path, mode);
}

int no_puts(const char*) {
    return 0;
}
int no_printf(int, const char*, ...) {
    return 0;
}

// Asked at every point to pace output that isn't shown here, and a system call each time.
clock_t no_clock() {
    return 0;
}

int no_ftime(void* time) {
    std::memset(time, 0, sizeof(timeb));
    return 0;
}

// Taken round every allocation against a thread of the simulator's own, which is never started here.
int no_lock(void*) {
    return 0;
}

template <class Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

int on_text(char* text, int, void* user) {
    static_cast<Simulator::Listener*>(user)->text(text);
    return 0;
}

int on_exit(int, bool, bool by_quit, int, void* user) {
    if (!by_quit)
        static_cast<Simulator::Listener*>(user)->gives_up();
    return 0;
}

int on_point(pvecvaluesall values, int, int, void* user) {
    static_cast<Simulator::Listener*>(user)->point(*values);
    return 0;
}

int on_plot(pvecinfoall plot, int, void* user) {
    static_cast<Simulator::Listener*>(user)->plot_begins(*plot);
    return 0;
}

int on_background(bool, int, void*) {
    return 0;
}

int on_source(double* value, double time, char* name, int, void* user) {
    *value = static_cast<Simulator::Listener*>(user)->source_value(name, time);
    return 0;
}

// The step is set before it is taken, at location 0; a step that is taken again is a smaller one of its own.
int on_step(double time, double* step, double, int again, int, int location, void* user) {
    if (location == 0 && again == 0)
        static_cast<Simulator::Listener*>(user)->limit_step(time, *step);
    return 0;
}

} // namespace

Simulator::Simulator(Listener& listener) : m_listener(listener) {
    // Its pool thread outlives the devices that start it: unloading it under that thread would crash.
    ::dlopen("libgomp.so.1", RTLD_NOW | RTLD_NODELETE);
    m_library = ::dlopen(library_name, RTLD_NOW | RTLD_LOCAL);
    if (!m_library)
        throw JobError(CKT_NO_SIMULATOR, std::string("can't load the simulator: ") + ::dlerror());
    const auto find = [&](auto& entry, const char* name) {
        entry = reinterpret_cast<std::remove_reference_t<decltype(entry)>>(::dlsym(m_library, name));
        if (!entry) {
            const std::string reason = ::dlerror();
            ::dlclose(m_library);
            throw JobError(CKT_NO_SIMULATOR, "the simulator lacks an entry: " + reason);
        }
    };
    find(m_init, "ngSpice_Init");
    find(m_init_sync, "ngSpice_Init_Sync");
    find(m_command, "ngSpice_Command");
    find(m_circ, "ngSpice_Circ");
    find(m_vector, "ngGet_Vec_Info");
    find(m_plots, "ngSpice_AllPlots");
    find(m_vectors, "ngSpice_AllVecs");
    find(m_input_path, "ngCM_Input_Path");
    const bool guarded_library = replace_imports(m_library, {{"system", address(refused_system)},
                                                             {"popen", address(refused_popen)},
                                                             {"fork", address(refused_fork)},
                                                             {"execl", address(refused_execl)},
                                                             {"execlp", address(refused_execl)},
                                                             {"chdir", address(refused_chdir)},
                                                             {"remove", address(refused_remove)},
                                                             {"unlink", address(refused_remove)},
                                                             {"exit", address(refused_exit)},
                                                             {"abort", address(refused_abort)},
                                                             {"__assert_fail", address(refused_assert)},
                                                             {"signal", address(no_signal)},
                                                             {"setlocale", address(no_setlocale)},
                                                             {"access", address(guarded_access)},
                                                             {"fopen", address(guarded_fopen)},
                                                             {"puts", address(no_puts)},
                                                             {"__printf_chk", address(no_printf)},
                                                             {"clock", address(no_clock)},
                                                             {"ftime", address(no_ftime)},
                                                             {"pthread_mutex_lock", address(no_lock)},
                                                             {"pthread_mutex_unlock", address(no_lock)}});
    if (!guarded_library) {
        ::dlclose(m_library);
        throw JobError(CKT_NO_SIMULATOR, "the simulator's import table can't be written");
    }
    current_listener = &m_listener;
    try {
        guarded([&] { m_init(on_text, nullptr, on_exit, on_point, on_plot, on_background, &m_listener); });
        command("set num_threads=1");
        command("set noinit"); // no table of all node voltages before each transient analysis
        command("set numdgt=16");
    } catch (...) {
        unload();
        throw;
    }
}

Simulator::~Simulator() {
    unload();
}

void Simulator::unload() {
    if (!m_ended)
        command("quit");
    current_listener = nullptr;
    ::dlclose(m_library);
}

// Runs a call into the library. Its attempt to end the process unwinds to here.
template <class Call>
void Simulator::guarded(Call call) {
    if (m_ended)
        return;
    try {
        call();
    } catch (const ProcessEnd&) {
        m_ended = true;
    }
}

void Simulator::synchronise() {
    int identity = 0; // copied by the simulator
    guarded([&] { m_init_sync(on_source, on_source, on_step, &identity, &m_listener); });
}

void Simulator::set_input_folder(const std::string& folder) {
    guarded([&] { m_input_path(folder.c_str()); });
}

void Simulator::load(std::vector<char*> lines) {
    lines.push_back(nullptr);
    guarded([&] { m_circ(lines.data()); });
}

void Simulator::command(const std::string& text) {
    std::string writable = text;
    guarded([&] { m_command(writable.data()); });
}

std::vector<std::string> Simulator::plots() const {
    std::vector<std::string> names;
    for (char** name = m_plots(); name && *name; ++name)
        names.emplace_back(*name);
    return names;
}

std::vector<std::string> Simulator::vectors(const std::string& plot) const {
    std::vector<std::string> names;
    std::string writable = plot;
    for (char** name = m_vectors(writable.data()); name && *name; ++name)
        names.emplace_back(*name);
    return names;
}

vector_info Simulator::vector(const std::string& name) const {
    std::string writable = name;
    const pvector_info found = m_vector(writable.data());
    return found ? *found : vector_info{};
}

} // namespace ckt
