#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace veld
{

/// A file under a temporary name beside its place. It goes with its scope unless it was committed,
/// so an output appears whole or not at all, and a file that is there already stays until then.
class OutputFile
{
public:
    /// \param path the final name; a symbolic link stays one, and what it points to is replaced.
    ///        The temporary name has the same extension, and is short whatever this one is.
    explicit OutputFile(std::string const& path);
    /// \param path the final name \param temporary the one until then
    OutputFile(std::string const& path, std::filesystem::path temporary);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    std::string const& path() const { return path_; }

    /// Where to write.
    std::string temporary() const { return temporary_.string(); }

    /// Gives the file its final name, and the permissions of the file that had it.
    void commit();

private:
    std::string path_;
    std::filesystem::path target_;
    std::filesystem::path temporary_;
};

/// All that a command writes. Nothing of it is in its place before the whole command is done.
class Outputs
{
public:
    Outputs() = default;
    /// Takes everything back that was not committed, the directories too.
    ~Outputs();
    Outputs(Outputs const&) = delete;
    Outputs& operator=(Outputs const&) = delete;

    /// Makes a directory, with those above it, if it is not there.
    void make_directory(std::string const& path);

    /// A further file.
    OutputFile const& add(std::string const& path);

    /// Makes a temporary directory in `directory`, for files that are read again before they are in
    /// their places: there they have their own names. It goes when they have gone from it.
    std::string make_staging(std::string const& directory);

    /// A further file, which is in the staging directory until it is committed.
    OutputFile const& add_staged(std::string const& path, std::string const& staging);

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
void check_outputs(std::vector<std::string> const& outputs, std::vector<std::string> const& inputs);

/// The extension of a path in small letters, with its dot.
std::string lower_extension(std::string const& path);

/// Refuses an output whose extension is none of the given ones (".ply", in either case).
void check_extension(std::string const& path, std::vector<std::string> const& extensions);

void write_text_file(OutputFile const& file, std::string const& text);

} // namespace veld
