#include "deliver.h"

#include "exit_status.h"
#include "output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

int Fail(const std::string& reason) {
    Output err(STDERR_FILENO);
    err.Write("kelda: " + reason + "\n");
    err.Flush();
    return kWorkFailed;
}

int Deliver(const std::string& bytes, const std::string& name, int status) {
    const bool standard = name == "-";
    const int file =
        standard ? STDOUT_FILENO : open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0)
        return Fail(name + ": " + std::strerror(errno));
    Output out(file);
    out.Write(bytes);
    out.Flush();
    int error = out.Error();
    if (!standard && close(file) != 0 && error == 0)
        error = errno;
    if (error == 0 || (standard && error == EPIPE))
        return status;
    return Fail("can't write to " + (standard ? std::string("standard output") : name) + ": " +
                std::strerror(error));
}
