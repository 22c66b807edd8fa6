// The kernel library as its host sees it: loaded by its file, called through its entries, with callbacks that
// write down what they are told. Each case has a folder of its own.
#pragma once

#include <ckt_kernel.h>

#include <testtools/temporary_folder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

struct Message {
    int code;
    std::string text;
};

struct Told {
    std::vector<Message> messages;
    std::vector<double> progress;
};

// The columns of a CSV file by their headings.
class Table {
public:
    explicit Table(const std::filesystem::path& path) {
        std::ifstream file(path);
        if (!file)
            throw std::runtime_error("there is no " + path.string());
        std::string line, cell;
        std::getline(file, line);
        for (std::istringstream headings(line); std::getline(headings, cell, ',');)
            m_headings.push_back(cell);
        while (std::getline(file, line)) {
            std::istringstream cells(line);
            for (const std::string& heading : m_headings) {
                std::getline(cells, cell, ',');
                m_columns[heading].push_back(std::strtod(cell.c_str(), nullptr));
            }
        }
    }

    const std::vector<double>& operator[](const std::string& heading) const {
        const auto found = m_columns.find(heading);
        if (found == m_columns.end())
            throw std::runtime_error("there is no column " + heading);
        return found->second;
    }
    const std::vector<std::string>& headings() const { return m_headings; }

private:
    std::vector<std::string> m_headings;
    std::map<std::string, std::vector<double>> m_columns;
};

class KernelTest : public testing::Test {
protected:
    KernelTest() {
        m_library = ::dlopen(KERNEL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (!m_library)
            throw std::runtime_error(::dlerror());
        find(set_project_path, "set_project_path");
        find(set_progress_call_back, "set_progress_call_back");
        find(set_error_call_back, "set_error_call_back");
        find(set_cosim_call_back, "set_cosim_call_back");
        find(analyze, "analyze");
        find(run_sim, "run_sim");
        set_project_path(folder.c_str());
        listen();
    }
    ~KernelTest() override { ::dlclose(m_library); }

    void listen() {
        set_progress_call_back([](double share) {
            told().progress.push_back(share);
            return 0;
        });
        set_error_call_back([](const char* text, int code) { told().messages.push_back({code, text}); });
    }

    std::filesystem::path write(const std::filesystem::path& name, const std::string& text) const {
        const std::filesystem::path path = folder / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    int run(const std::filesystem::path& netlist) {
        told() = {};
        return analyze(netlist.c_str());
    }
    int run_text(const std::string& netlist) { return run(write("t.cir", netlist)); }
    int run_example(const std::string& name) {
        return run(std::filesystem::path(EXAMPLES) / (name + ".cir"));
    }
    int run_line(std::initializer_list<std::string> arguments) {
        told() = {};
        std::vector<std::string> words(arguments);
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        return run_sim(static_cast<int>(words.size()), argv.data());
    }

    Table table(const std::string& name) const { return Table(folder / name); }

    // What lies in the test's folder, netlists left out.
    std::vector<std::string> results() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.is_regular_file() && entry.path().extension() != ".cir")
                names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    static Told& told() {
        static Told the_told;
        return the_told;
    }
    static std::string all_told() {
        std::string text;
        for (const Message& message : told().messages)
            text += std::to_string(message.code) + " " + message.text + "\n";
        return text;
    }
    static bool says(int code, const std::string& words) {
        return std::any_of(told().messages.begin(), told().messages.end(), [&](const Message& message) {
            return message.code == code && message.text.find(words) != std::string::npos;
        });
    }

    const testtools::TemporaryFolder own_folder{"kernel_test"};
    const std::filesystem::path& folder = own_folder.Path();
    decltype(&::set_project_path) set_project_path = nullptr;
    decltype(&::set_progress_call_back) set_progress_call_back = nullptr;
    decltype(&::set_error_call_back) set_error_call_back = nullptr;
    decltype(&::set_cosim_call_back) set_cosim_call_back = nullptr;
    decltype(&::analyze) analyze = nullptr;
    decltype(&::run_sim) run_sim = nullptr;

private:
    template <class Entry>
    void find(Entry& entry, const char* name) {
        entry = reinterpret_cast<Entry>(::dlsym(m_library, name));
        if (!entry)
            throw std::runtime_error(::dlerror());
    }

    void* m_library = nullptr;
};
