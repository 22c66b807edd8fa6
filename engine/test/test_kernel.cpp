// A kernel whose behaviour the test chooses: the name of the file to analyse is a list of commands, divided
// by ";".
//
//   progress V     reports progress            error CODE TEXT   sends a message
//   repeat N V     reports progress N times    project           sends the project path as a message
//   names          sends the names of the registered callbacks, in their order, as a message
//   sleep MS       waits                       spin              computes until the file "stop" appears in
//   the project folder touch NAME     makes a file in the project folder            await NAME   waits until
//   it is there crash          a null pointer              exit N            ends the process throw throws an
//   exception         expect HRESULT    sends "wrong" unless the last progress call gave it return N the
//   result

#include <kernel/ckt_kernel.h>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

std::string g_Project;
std::string g_Names;
ckt_progress_call_back g_Progress = nullptr;
ckt_error_call_back g_Error = nullptr;

std::string InProject(const std::string& name) {
    return g_Project + "/" + name;
}
bool Exists(const std::string& name) {
    return access(InProject(name).c_str(), F_OK) == 0;
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
void set_cosim_call_back(const char* name, void*) {
    g_Names += std::string(name) + " ";
}

int analyze(const char* utf8_file) {
    std::istringstream commands(utf8_file);
    int lastResult = 0;
    for (std::string command; std::getline(commands, command, ';');) {
        std::istringstream words(command);
        std::string verb, name;
        int number = 0;
        double value = 0;
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
