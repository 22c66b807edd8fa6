// The result files of one job: which there are, how they are called, and when they appear.
#pragma once

#include "analysis.h"
#include "messages.h"
#include "output_file.h"
#include "result_plot.h"
#include "result_writers.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ckt {

class Results {
public:
    // `inputs` are the files that the job reads: none of them is ever written over.
    Results(const std::string& netlist, const std::string& project, std::vector<std::string> inputs,
            Messages& messages);

    // Writes the plots of one analysis that has come to its end; `ports` is empty for all but S-parameters.
    void add(const Analysis& analysis, const std::vector<ResultPlot>& plots, const std::vector<Port>& ports);

    // Completes the raw file, if there was any result.
    void finish();

private:
    std::string path_of(const std::string& suffix) const;
    std::unique_ptr<OutputFile> create(const std::string& suffix) const;
    void complete(OutputFile& file);

    std::filesystem::path m_folder;
    std::string m_name;
    std::vector<std::string> m_inputs;
    Messages& m_messages;
    std::unique_ptr<OutputFile> m_raw;
    std::map<std::string, int> m_counts; // files of a kind so far
};

} // namespace ckt
