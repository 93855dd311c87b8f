#pragma once

#include "workflow/files/OutputFile.h"

#include <filesystem>
#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// Where results go, as the command line names it: a file, standard output, or a directory in which
/// each mesh gets a file of its own name.
class ResultPlace
{
public:
    enum class Kind
    {
        MESH,
        CLOUD, ///< A mesh file without faces.
        PICTURE
    };

    explicit ResultPlace(Kind kind) : kind_(kind) {}

    void add(CLI::App& app);

    /// The same for a command that has a result for each of its meshes.
    void add_for_each_mesh(CLI::App& app);

    Kind kind() const { return kind_; }

    /// Lets "DIR/" be a directory; where there are several meshes, one that is there without "/".
    void allow_directory(bool several_meshes);

    bool is_standard_output() const;
    bool is_directory() const { return is_directory_; }

    /// What `--output` says.
    std::filesystem::path given() const { return path_; }

    /// The file for a mesh, of which only the name matters.
    std::filesystem::path file_for(std::string const& mesh) const;

    /// How messages call it.
    std::string name_for(std::string const& mesh) const;

    /// The extension that tells the format.
    /// \param format that of standard output
    std::string extension_for(std::string const& mesh, std::string const& format) const;

    /// Refuses an extension that is no format. Those of files in a directory are their meshes'.
    void check_extension() const;

    OutputFile const& open(std::string const& mesh, std::string const& format,
                           Outputs& outputs) const;

private:
    Kind kind_;
    std::string path_;
    bool is_directory_ = false;
    CLI::Option* option_ = nullptr;
};

} // namespace veld::cli
