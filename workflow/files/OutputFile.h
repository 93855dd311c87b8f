#pragma once

#include "workflow/export.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace veld
{

/// A file under a temporary name beside its place. It goes with its scope unless it was committed,
/// so an output appears whole or not at all, and a file that is there already stays until then.
class VELD_WORKFLOW_API OutputFile
{
public:
    /// \param path the final name; a symbolic link stays one, and what it points to is replaced.
    ///        The temporary name has the same extension, and is short whatever this one is.
    explicit OutputFile(std::filesystem::path path);
    /// \param path the final name \param temporary the one until then
    OutputFile(std::filesystem::path path, std::filesystem::path temporary);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    std::filesystem::path const& path() const { return path_; }

    /// Where to write.
    std::filesystem::path const& temporary() const { return temporary_; }

    /// Gives the file its final name, and the permissions of the file that had it.
    void commit();

private:
    std::filesystem::path path_;
    std::filesystem::path target_;
    std::filesystem::path temporary_;
};

/// All that a command writes. Nothing of it is in its place before the whole command is done.
class VELD_WORKFLOW_API Outputs
{
public:
    Outputs() = default;
    /// Takes everything back that was not committed, the directories too.
    ~Outputs();
    Outputs(Outputs const&) = delete;
    Outputs& operator=(Outputs const&) = delete;

    /// Makes a directory, with those above it, if it is not there.
    void make_directory(std::filesystem::path const& path);

    /// A further file.
    OutputFile const& add(std::filesystem::path const& path);

    /// Makes a temporary directory in `directory`, for files that are read again before they are in
    /// their places: there they have their own names. It goes when they have gone from it.
    std::filesystem::path make_staging(std::filesystem::path const& directory);

    /// A further file, which is in the staging directory until it is committed.
    OutputFile const& add_staged(std::filesystem::path const& path,
                                 std::filesystem::path const& staging);

    /// Puts all files in their places, in the order in which they were added.
    void commit();

private:
    void remove_stagings();

    std::vector<std::unique_ptr<OutputFile>> files_;
    std::vector<std::filesystem::path> directories_; ///< Made here, the upper ones first.
    std::vector<std::filesystem::path> stagings_;
};

/// Refuses outputs that cannot be written, that are no plain files, or that are one of the inputs
/// or each other. Called before the work, so that an hour of it is not lost on a typing error.
VELD_WORKFLOW_API void check_outputs(std::vector<std::filesystem::path> const& outputs,
                                     std::vector<std::filesystem::path> const& inputs);

/// The extension of a path in small letters, with its dot.
VELD_WORKFLOW_API std::string lower_extension(std::filesystem::path const& path);

/// Refuses an output whose extension is none of the given ones (".ply", in either case).
VELD_WORKFLOW_API void check_extension(std::filesystem::path const& path,
                                       std::vector<std::string> const& extensions);

VELD_WORKFLOW_API void write_text_file(OutputFile const& file, std::string const& text);

} // namespace veld
