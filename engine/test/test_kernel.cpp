// A kernel whose behaviour the test chooses: the name of the file to analyse is a list of commands, divided
// by ";".
//
//   progress V      reports progress                 repeat N V     reports progress N times
//   tell N TEXT     sends a message N times
//   error CODE TEXT sends a message                  project        sends the project path as a message
//   names           sends the names of the registered callbacks, in their order, as a message
//   sleep MS        waits                            spin           computes until the file "stop" is in the project folder
//   touch NAME      makes a file in the project folder              await NAME     waits until it is there
//   crash           aborts                           exit N         ends the process
//   throw           throws an exception              return N       the result
//   expect HRESULT  sends "wrong" unless the last progress call gave it
//   source I T      asks for a source at a time and sends result, value and slope, which were 7 and 8 before
//   port P A B      hands in the pair of a port      flush          ends a step; both send results that aren't 0
//   request TEXT    asks the client and sends result, length and answer
//   cosim N S P DT  runs N steps of DT with S sources and P ports: port p gets the value of source p % S at the end of the step, and
//                   p less that value; the result is that of the first callback that fails
//   field D I P N F ...  asks for the network of design D, instance I, with parameters P, room for N numbers, at frequencies F;
//                   sends result, count and the N numbers, or "untouched"

#include <kernel/ckt_kernel.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

std::string g_Project;
std::string g_Names;
ckt_progress_call_back g_Progress = nullptr;
ckt_error_call_back g_Error = nullptr;
int (*g_Source)(const char* name, double time, double* value, double* slope) = nullptr;
int (*g_Port)(const char* name, double time, double first, double second) = nullptr;
int (*g_Flush)() = nullptr;
int (*g_Request)(const char* request, char* buffer, unsigned* length) = nullptr;
int (*g_FieldSolver)(const char* design, const char* instance, const char* parameters,
                     const double* frequencies, int count, double* out, int capacity,
                     int* outCount) = nullptr;

std::string InProject(const std::string& name) {
    return g_Project + "/" + name;
}
bool Exists(const std::string& name) {
    return access(InProject(name).c_str(), F_OK) == 0;
}

void AskSource(const std::string& index, double time) {
    double value = 7, slope = 8;
    const int result = g_Source(index.c_str(), time, &value, &slope);
    std::ostringstream text;
    text << "source " << result << " " << value << " " << slope;
    g_Error(text.str().c_str(), 1);
}

void AskClient(const std::string& request) {
    char answer[256];
    unsigned length = 99;
    const int result = g_Request(request.c_str(), answer, &length);
    std::ostringstream text;
    text << "request " << result << " " << length << " ";
    for (unsigned i = 0; i < length; ++i)
        text << std::hex << static_cast<int>(static_cast<unsigned char>(answer[i])) << " ";
    g_Error(text.str().c_str(), 1);
}

void AskFieldSolver(std::istream& words) {
    constexpr double kUntouched = -7;
    std::string design, instance, parameters;
    int capacity = 0, count = 99;
    words >> design >> instance >> parameters >> capacity;
    std::vector<double> frequencies, out(static_cast<std::size_t>(std::max(capacity, 0)), kUntouched);
    for (std::string frequency; words >> frequency;)
        frequencies.push_back(std::strtod(frequency.c_str(), nullptr));
    const int result = g_FieldSolver(design.c_str(), instance.c_str(), parameters.c_str(), frequencies.data(),
                                     static_cast<int>(frequencies.size()), out.data(), capacity, &count);
    std::ostringstream text;
    text << std::setprecision(15) << "field " << result << " " << count;
    if (std::all_of(out.begin(), out.end(), [](double value) { return value == kUntouched; }))
        text << " untouched";
    else
        for (double value : out)
            text << " " << value;
    g_Error(text.str().c_str(), 1);
}

void SayResult(const std::string& verb, int result) {
    if (result != 0)
        g_Error((verb + " " + std::to_string(result)).c_str(), 1);
}

int Cosimulate(long steps, int sources, int ports, double dt) {
    std::vector<std::string> names;
    for (int i = 0; i < std::max(sources, ports); ++i)
        names.push_back(std::to_string(i));
    std::vector<double> values(static_cast<std::size_t>(sources) + 1);
    for (long k = 0; k < steps; ++k) {
        const double time = static_cast<double>(k + 1) * dt;
        for (int i = 0; i < sources; ++i) {
            double slope = 0;
            if (int result = g_Source(names[i].c_str(), time, &values[i], &slope))
                return result;
        }
        for (int p = 0; p < ports; ++p) {
            const double value = values[sources > 0 ? p % sources : 0];
            if (int result = g_Port(names[p].c_str(), time, value, p - value))
                return result;
        }
        if (int result = g_Flush())
            return result;
    }
    return 0;
}

} // namespace

void set_project_path(const char* utf8) {
    g_Project = utf8;
}
void set_progress_call_back(ckt_progress_call_back call_back) {
    g_Progress = call_back;
}
void set_error_call_back(ckt_error_call_back call_back) {
    g_Error = call_back;
}
void set_cosim_call_back(const char* name, void* call_back) {
    g_Names += std::string(name) + " ";
    const std::string_view known(name);
    if (known == "SystemCosimSource")
        g_Source = reinterpret_cast<decltype(g_Source)>(call_back);
    else if (known == "SystemCosimPort")
        g_Port = reinterpret_cast<decltype(g_Port)>(call_back);
    else if (known == "SystemCosimPortFlush")
        g_Flush = reinterpret_cast<decltype(g_Flush)>(call_back);
    else if (known == "KPT_COSIM_CALLBACK")
        g_Request = reinterpret_cast<decltype(g_Request)>(call_back);
    else if (known == "FieldSolver")
        g_FieldSolver = reinterpret_cast<decltype(g_FieldSolver)>(call_back);
}

int analyze(const char* utf8_file) {
    std::istringstream commands(utf8_file);
    int lastResult = 0;
    for (std::string command; std::getline(commands, command, ';');) {
        std::istringstream words(command);
        std::string verb, name;
        int number = 0, sources = 0, ports = 0;
        double value = 0, second = 0;
        words >> verb;
        if (verb.starts_with('/'))
            continue; // a client that makes the name absolute puts its folder in front of the commands
        if (verb == "progress" && words >> value) {
            lastResult = g_Progress(value);
        } else if (verb == "repeat" && words >> number >> value) {
            for (int i = 0; i < number; ++i)
                g_Progress(value);
        } else if (verb == "error" && words >> number) {
            std::getline(words >> std::ws, name);
            g_Error(name.c_str(), number);
        } else if (verb == "tell" && words >> number) {
            std::getline(words >> std::ws, name);
            for (int i = 0; i < number; ++i)
                g_Error(name.c_str(), 1);
        } else if (verb == "project") {
            g_Error(g_Project.c_str(), 1);
        } else if (verb == "names") {
            g_Error(g_Names.c_str(), 1);
        } else if (verb == "sleep" && words >> number) {
            std::this_thread::sleep_for(std::chrono::milliseconds(number));
        } else if (verb == "spin") {
            while (!Exists("stop")) {
            }
        } else if (verb == "touch" && words >> name) {
            std::ofstream(InProject(name)).close();
        } else if (verb == "await" && words >> name) {
            while (!Exists(name))
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } else if (verb == "crash") {
            std::abort();
        } else if (verb == "exit" && words >> number) {
            _exit(number);
        } else if (verb == "throw") {
            throw std::runtime_error("from the kernel");
        } else if (verb == "expect") {
            words >> name;
            if (lastResult != static_cast<int>(std::stoul(name, nullptr, 16)))
                g_Error("wrong", 3);
        } else if (verb == "source" && words >> name >> value) {
            AskSource(name, value);
        } else if (verb == "port" && words >> name >> value >> second) {
            SayResult(verb, g_Port(name.c_str(), 0, value, second));
        } else if (verb == "flush") {
            SayResult(verb, g_Flush());
        } else if (verb == "request") {
            std::getline(words >> std::ws, name);
            AskClient(name);
        } else if (verb == "field") {
            AskFieldSolver(words);
        } else if (verb == "cosim" && words >> number >> sources >> ports >> value) {
            if (int result = Cosimulate(number, sources, ports, value))
                return result;
        } else if (verb == "return" && words >> number) {
            return number;
        } else {
            g_Error(("unknown command: " + command).c_str(), 3);
            return 99;
        }
    }
    return 0;
}

#ifndef TEST_KERNEL_WITHOUT_RUN_SIM
int run_sim(int argc, char** argv) {
    for (int i = 0; i < argc; ++i)
        g_Error(argv[i], 1);
    if (g_Progress(0.5) != 0)
        g_Error("progress without a client is not 0", 3);
    return 1;
}
#endif
