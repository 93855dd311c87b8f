#pragma once

#include "workflow/export.h"
#include "workflow/files/StagingDirectory.h"

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace veld
{

/// What happens where an output has the name of a file that is there.
enum class Existing
{
    REPLACED, ///< In one step, when the new one is complete.
    KEPT      ///< The output is refused.
};

/// A file that is not in its place yet. It is written in a staging directory and moved when it is
/// complete, so an output appears whole or not at all, and a file that is there already stays until
/// then. It has the permissions of that one from the start.
class VELD_WORKFLOW_API OutputFile
{
public:
    /// \param path the final name; a symbolic link stays one, and what it points to is replaced
    /// \param existing what happens to a file that is there
    explicit OutputFile(std::filesystem::path path, Existing existing = Existing::REPLACED);
    /// \param staging where the file is until it is committed
    /// \param path,existing as above
    OutputFile(std::filesystem::path path, StagingDirectory const& staging,
               Existing existing = Existing::REPLACED);
    /// What has to go to a stream in the end, such as standard output.
    /// \param stream is written to by `commit`
    /// \param name for messages \param extension of the format, with its dot
    OutputFile(std::ostream& stream, std::string const& name, std::string const& extension);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    /// The final name.
    std::filesystem::path const& path() const { return path_; }

    /// Where to write. The name is that of `path`.
    std::filesystem::path const& temporary() const { return temporary_; }

    /// Puts the file in its place.
    void commit();

private:
    void take_permissions();
    void copy_to_stream();

    std::filesystem::path path_;
    std::filesystem::path target_;
    std::ostream* stream_ = nullptr;
    Existing existing_ = Existing::REPLACED;
    std::unique_ptr<StagingDirectory> own_staging_;
    std::filesystem::path temporary_;
};

/// All that a command writes. Nothing of it is in its place before the whole command is done.
class VELD_WORKFLOW_API Outputs
{
public:
    /// \param existing what happens to files that are there
    explicit Outputs(Existing existing = Existing::REPLACED);
    /// Takes everything back that was not committed, the directories too.
    ~Outputs();
    Outputs(Outputs const&) = delete;
    Outputs& operator=(Outputs const&) = delete;

    /// Refuses files that cannot be written, that are no plain files, or that are one of the inputs
    /// or each other. Called before the work, so that an hour of it is not lost on a typing error.
    void check(std::vector<std::filesystem::path> const& files,
               std::vector<std::filesystem::path> const& inputs) const;

    /// Makes a directory, with those above it, if it is not there.
    void make_directory(std::filesystem::path const& path);

    /// A further file.
    OutputFile const& add(std::filesystem::path const& path);

    /// A further output, for a stream that outlives this.
    OutputFile const& add(std::ostream& stream, std::string const& name,
                          std::string const& extension);

    /// Makes a staging directory in `directory`, for files that are read again before they are in
    /// their places.
    StagingDirectory const& make_staging(std::filesystem::path const& directory);

    /// A further file, which is in the staging directory until it is committed.
    OutputFile const& add_staged(std::filesystem::path const& path,
                                 StagingDirectory const& staging);

    /// Where a file can be read that is or will be at `path`: until it is committed it is not
    /// there.
    std::filesystem::path place_now(std::filesystem::path const& path) const;

    /// Puts all files in their places, in the order in which they were added.
    void commit();

    /// What happens to files that are there.
    Existing existing() const { return existing_; }

private:
    Existing existing_;
    std::vector<std::unique_ptr<StagingDirectory>> stagings_;
    std::vector<std::unique_ptr<OutputFile>> files_;
    std::vector<std::filesystem::path> directories_; ///< Made here, the upper ones first.
};

/// The extension of a path in small letters, with its dot.
VELD_WORKFLOW_API std::string lower_extension(std::filesystem::path const& path);

/// Refuses an output whose extension is none of the given ones (".ply", in either case).
VELD_WORKFLOW_API void check_extension(std::filesystem::path const& path,
                                       std::vector<std::string> const& extensions);

/// Writes a text, whole. Throws `OperationError` where that is not possible.
VELD_WORKFLOW_API void write_text_file(OutputFile const& file, std::string const& text);

} // namespace veld
