#include "workflow/words.h"

#include <fmt/format.h>

namespace veld
{

std::string counted(std::size_t n, std::string const& noun)
{
    bool const is_vertex = noun == "vertex";
    return fmt::format("{} {}", n, n == 1 ? noun : is_vertex ? "vertices" : noun + "s");
}

std::string percent(double part)
{
    constexpr double LEAST_WHOLE = 0.1; // below it two digits are told
    return part >= LEAST_WHOLE ? fmt::format("{:.0f} %", 100.0 * part)
                               : fmt::format("{:.2g} %", 100.0 * part);
}

std::string shown(std::filesystem::path const& path)
{
    return path.u8string();
}

std::string why_not_written(std::error_code const& error)
{
    if (error == std::errc::read_only_file_system)
    {
        return "the disk is read-only";
    }
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted)
    {
        return "there is no permission to write there";
    }
    if (error == std::errc::no_space_on_device)
    {
        return "the disk is full";
    }
    return error ? error.message() : "unknown reason";
}

} // namespace veld
