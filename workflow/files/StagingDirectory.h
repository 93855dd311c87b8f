#pragma once

#include "workflow/export.h"

#include <filesystem>
#include <memory>
#include <string>

namespace veld
{

/// A temporary directory for files that are not in their places yet, under the names that they will
/// have. Nobody else may look into it. It goes with its scope, and with what is left in it; where
/// the process ends before that, the next one that stages in the same directory removes it.
class VELD_WORKFLOW_API StagingDirectory
{
public:
    /// \param directory where it stands; the current one if empty
    /// Throws `OperationError` with the reason if it cannot be made.
    explicit StagingDirectory(std::filesystem::path const& directory);
    ~StagingDirectory();

    /// One where the system has its temporary files, for what comes from a stream or goes to one.
    /// \param name of the stream, for the error
    static std::unique_ptr<StagingDirectory> for_stream(std::string const& name);

    StagingDirectory(StagingDirectory const&) = delete;
    StagingDirectory& operator=(StagingDirectory const&) = delete;

    /// Where it is.
    std::filesystem::path const& path() const { return path_; }

    /// The directory in which it stands.
    std::filesystem::path const& directory() const { return directory_; }

private:
    struct Mark;

    std::filesystem::path directory_;
    std::filesystem::path path_;
    std::unique_ptr<Mark> mark_;
};

} // namespace veld
