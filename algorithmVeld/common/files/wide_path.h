#pragma once

#include <filesystem>
#include <string>
#include <system_error>

/// \file
/// Wide names and paths of files, into each other. Where a wide character is a whole letter, the
/// standard's own conversion follows the locale, and the one that programs start with knows no
/// letters beyond ASCII: there the files' names are UTF-8.

namespace OrvaneAlgorithm::detail
{

/// \throw std::system_error for characters that no file name can have
inline std::filesystem::path path_from_wide(std::wstring const& name)
{
    if constexpr (sizeof(wchar_t) == sizeof(char32_t))
    {
        return std::u32string(name.begin(), name.end());
    }
    else
    {
        return name;
    }
}

/// \return false, with the path as it was, for characters that no file name can have
inline bool path_from_wide(std::wstring const& name, std::filesystem::path& path)
{
    try
    {
        path = path_from_wide(name);
        return true;
    }
    catch (std::system_error const&)
    {
        return false;
    }
}

/// \throw std::system_error for a path that is no UTF-8
inline std::wstring wide_from_path(std::filesystem::path const& path)
{
    if constexpr (sizeof(wchar_t) == sizeof(char32_t))
    {
        std::u32string const name = path.u32string();
        return std::wstring(name.begin(), name.end());
    }
    else
    {
        return path.wstring();
    }
}

} // namespace OrvaneAlgorithm::detail
