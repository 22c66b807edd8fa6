// One job: read a netlist, run its analyses one after the other, write their results.
#pragma once

#include "messages.h"
#include "progress.h"

#include <map>
#include <string>

namespace ckt {

struct JobRequest {
    std::string netlist;
    std::string project;                     // empty: the netlist's own folder
    std::map<std::string, void*> call_backs; // the host's named callbacks
};

// Returns the code that `analyze` gives. Never throws.
int run_job(const JobRequest& request, const Progress::Sink& progress,
            const Messages::Sink& messages) noexcept;

} // namespace ckt
