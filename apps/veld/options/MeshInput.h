#pragma once

#include "workflow/files/MeshFiles.h"

#include <filesystem>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// As an input, standard input; as an output, standard output.
constexpr char const* STANDARD_STREAM = "-";

/// The option `--format` for what has no extension.
/// \param of which meshes
CLI::Option* add_format(CLI::App& app, std::string& format, std::string const& of);

/// The meshes that a command reads one after the other: files, or standard input.
class MeshInput
{
public:
    /// \param note what else the help text has to say
    void add(CLI::App& app, std::string const& note = "");

    /// The same for a command that takes clouds of points too, also as text.
    void add_with_clouds(CLI::App& app, std::string const& note);

    /// The same for a command that works on clouds of points, and on frames, which it loads itself.
    void add_clouds(CLI::App& app);

    /// The same for a command that takes one mesh only.
    void add_one(CLI::App& app);

    std::vector<std::string> const& meshes() const { return meshes_; }

    /// Those that are files.
    std::vector<std::filesystem::path> files() const;

    /// Of standard input, and of a mesh that goes to standard output.
    std::string const& format() const { return format_; }
    bool format_is_given() const;
    bool has_standard_input() const;

    MeshFile read(std::string const& mesh, Context& context) const;

private:
    MeshFile (*read_)(std::filesystem::path const&, Context&) = read_mesh;
    std::vector<std::string> meshes_;
    std::string format_ = "ply";
    CLI::Option* format_option_ = nullptr;
};

/// How messages call a mesh.
std::string mesh_name(std::string const& mesh);

} // namespace veld::cli
