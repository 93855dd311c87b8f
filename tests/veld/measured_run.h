#pragma once

#if !defined(_WIN32)

#include "run_veld.h"

#include "tests/support/sanitizers.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// \file
/// The program as a child process whose memory is measured and that cannot hang.

namespace veld_test
{

/// Ends runs that do not come to an end. It is no measure of speed: real runs are a hundred times
/// faster.
constexpr unsigned HANGS_AFTER_SECONDS = IS_SANITIZED ? 200 : 10;

struct MeasuredRun
{
    int status = -1;  ///< exit status, -1 where a signal ended it
    int signal = 0;   ///< that ended it
    long peak_mb = 0; ///< most memory in use; 0 under sanitizers, whose own it would tell
    std::string err;
};

/// Most memory that a child had in use.
inline long megabytes_of(rusage const& usage)
{
#if defined(__APPLE__)
    constexpr long UNITS_A_MEGABYTE = 1024L * 1024L;
#else
    constexpr long UNITS_A_MEGABYTE = 1024L;
#endif
    return IS_SANITIZED ? 0 : usage.ru_maxrss / UNITS_A_MEGABYTE;
}

/// Runs `veld` and measures it. Other threads may do the same.
inline MeasuredRun run_measured(std::vector<std::string> const& arguments)
{
    TempDir const streams;
    std::string const err = streams.file("err");
    std::vector<char*> argv{const_cast<char*>(VELD_PROGRAM)};
    for (auto const& argument : arguments)
    {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    pid_t const child = fork();
    if (child == 0)
    {
        // Nothing here takes memory or a lock: the other threads are gone.
        int const out_file = open("/dev/null", O_WRONLY | O_CLOEXEC);
        int const err_file = open(err.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        dup2(out_file, STDOUT_FILENO);
        dup2(err_file, STDERR_FILENO);
        alarm(HANGS_AFTER_SECONDS);
        execv(VELD_PROGRAM, argv.data());
        _exit(127);
    }
    MeasuredRun run;
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child)
    {
        return run;
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    run.peak_mb = megabytes_of(usage);
    run.err = file_content(err);
    return run;
}

} // namespace veld_test

#endif
