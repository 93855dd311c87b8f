#pragma once

#include <filesystem>
#include <system_error>

namespace OrvaneAlgorithm::detail
{

/// The file that a path stands for, which need not be there: links are followed.
/// \param error set if the links run in a circle or cannot be read
/// \return how far they could be followed
inline std::filesystem::path path_behind_links(std::filesystem::path path, std::error_code& error)
{
    constexpr int MOST_LINKS = 40; // in a chain, as Linux counts
    for (int i = 0; i < MOST_LINKS; ++i)
    {
        std::error_code ignored;
        if (!std::filesystem::is_symlink(std::filesystem::symlink_status(path, ignored)))
        {
            return path;
        }
        auto const next = std::filesystem::read_symlink(path, error);
        if (error)
        {
            return path;
        }
        path = path.parent_path() / next; // an absolute one replaces all
    }
    error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    return path;
}

} // namespace OrvaneAlgorithm::detail
