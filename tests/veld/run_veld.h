#pragma once

#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

/// \file
/// The program as a child process, and the files that it reads.

namespace veld_test
{

/// What a run of the program left behind.
struct Outcome
{
    int status = -1;
    std::string out;
    std::string err;

    nlohmann::json json() const { return nlohmann::json::parse(out); }
    long error_lines() const { return std::count(err.begin(), err.end(), '\n'); }
};

inline std::string quoted(std::string const& argument)
{
    return "\"" + argument + "\"";
}

/// Runs `veld` in a directory.
/// \param command the rest of the command line, as the shell takes it
/// \param standard_output where it goes instead of to the outcome
inline Outcome run_veld_in(std::filesystem::path const& directory, std::string const& command,
                           std::string const& standard_output = "")
{
    TempDir streams;
    std::string const out = standard_output.empty() ? streams.file("out") : standard_output;
    std::string const line = "cd " + quoted(directory.string()) + " && " + quoted(VELD_PROGRAM) +
                             " " + command + " > " + quoted(out) + " 2> " +
                             quoted(streams.file("err"));
    int const result = std::system(line.c_str());
    Outcome run;
#if defined(_WIN32)
    run.status = result;
#else
    run.status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
#endif
    run.out = standard_output.empty() ? file_content(out) : std::string();
    run.err = file_content(streams.file("err"));
    return run;
}

/// Runs `veld` with arguments that are handed over as they are.
inline Outcome run_veld(std::vector<std::string> const& arguments,
                        std::string const& standard_output = "")
{
    std::string command;
    for (auto const& argument : arguments)
    {
        command += quoted(argument) + " ";
    }
    return run_veld_in(std::filesystem::temp_directory_path(), command, standard_output);
}

/// A text PLY file written without the library.
inline std::string ply_text(TriMesh const& mesh)
{
    std::ostringstream text;
    text.precision(9);
    text << "ply\nformat ascii 1.0\nelement vertex " << mesh.n_vertices()
         << "\nproperty float x\nproperty float y\nproperty float z\nelement face "
         << mesh.n_faces() << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (auto const v : mesh.vertices())
    {
        auto const p = mesh.point(v);
        text << p.x() << " " << p.y() << " " << p.z() << "\n";
    }
    for (auto const f : mesh.faces())
    {
        text << 3;
        for (auto const v : mesh.fv_range(f))
        {
            text << " " << v.idx();
        }
        text << "\n";
    }
    return text.str();
}

/// A directory with one mesh file.
class MeshDir : public TempDir
{
public:
    explicit MeshDir(TriMesh const& mesh) { write_file(this->mesh(), ply_text(mesh)); }
    std::string mesh() const { return file("mesh.ply"); }
};

/// The names of an object's keys.
inline std::vector<std::string> keys_of(nlohmann::json const& object)
{
    std::vector<std::string> keys;
    for (auto const& item : object.items())
    {
        keys.push_back(item.key());
    }
    return keys;
}

} // namespace veld_test
