#include "workflow/files/StagingDirectory.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include "algorithmVeld/common/files/TemporaryPlace.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace veld
{

/// Says that this process is at work here.
struct StagingDirectory::Mark : OrvaneAlgorithm::detail::UseMark
{
};

namespace
{

fs::path current_if_empty(fs::path const& directory)
{
    return directory.empty() ? fs::path(".") : directory;
}

/// Why nothing can be written in a directory.
std::string reason_in_words(fs::path const& directory, std::error_code const& error)
{
    std::error_code ignored;
    auto const status = fs::status(directory, ignored);
    if (status.type() == fs::file_type::not_found)
    {
        return fmt::format("there is no directory {}", shown(directory));
    }
    if (fs::exists(status) && !fs::is_directory(status))
    {
        return fmt::format("{} is no directory", shown(directory));
    }
    return why_not_written(error);
}

bool is_full(fs::path const& directory)
{
    std::error_code error;
    auto const space = fs::space(directory, error);
    return !error && space.capacity > 0 && space.available == 0;
}

} // namespace

StagingDirectory::StagingDirectory(fs::path const& directory)
    : directory_(current_if_empty(directory)), mark_(std::make_unique<Mark>())
{
    OrvaneAlgorithm::detail::remove_left_over(directory_);
    do
    {
        path_ = OrvaneAlgorithm::detail::temporary_path(directory_);
        std::error_code error;
        if (!fs::create_directory(path_, error))
        {
            throw OperationError(reason_in_words(directory_, error));
        }
        fs::permissions(path_, fs::perms::owner_all, error); // while it is empty
        // Before it is marked, somebody may take it for left over and remove it.
    } while (!mark_->put_on(path_));
    if (is_full(directory_))
    {
        std::error_code ignored;
        fs::remove(path_, ignored);
        throw OperationError(why_not_written(std::make_error_code(std::errc::no_space_on_device)));
    }
}

StagingDirectory::~StagingDirectory()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::unique_ptr<StagingDirectory> StagingDirectory::for_stream(std::string const& name)
{
    std::error_code error;
    fs::path const directory = fs::temp_directory_path(error);
    if (error)
    {
        throw OperationError(name + ": there is no directory for temporary files");
    }
    try
    {
        return std::make_unique<StagingDirectory>(directory);
    }
    catch (OperationError const& reason)
    {
        throw OperationError(
            fmt::format("{}: cannot be kept in {}: {}", name, shown(directory), reason.what()));
    }
}

} // namespace veld
