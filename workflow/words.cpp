#include "workflow/words.h"

#include <fmt/format.h>

namespace veld
{

std::string counted(std::size_t n, std::string const& noun)
{
    bool const is_vertex = noun == "vertex";
    return fmt::format("{} {}", n, n == 1 ? noun : is_vertex ? "vertices" : noun + "s");
}

std::string shown(std::filesystem::path const& path)
{
    return path.u8string();
}

} // namespace veld
