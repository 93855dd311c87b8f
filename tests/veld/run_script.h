#pragma once

#include "run_veld.h"

/// \file
/// The program in scripts of bash, with pipes and signals.

namespace veld_test
{

/// Runs a script of bash in a directory. `$veld` is the program.
inline Outcome run_script_in(std::filesystem::path const& directory, std::string const& script)
{
    TempDir streams;
    write_file(streams.file("script"), "veld=" + quoted(VELD_PROGRAM) + "\ncd " +
                                           quoted(directory.string()) + " || exit 99\n" + script);
    std::string const line = "bash " + quoted(streams.file("script")) + " > " +
                             quoted(streams.file("out")) + " 2> " + quoted(streams.file("err"));
    int const result = std::system(line.c_str());
    Outcome run;
#if !defined(_WIN32)
    run.status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
#else
    run.status = result;
#endif
    run.out = file_content(streams.file("out"));
    run.err = file_content(streams.file("err"));
    return run;
}

} // namespace veld_test
