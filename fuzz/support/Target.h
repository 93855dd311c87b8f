#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

/// \file
/// What all fuzz targets have in common. The library works on one thread and is quiet; at its end
/// a target prints how many inputs got how far.

namespace veld_fuzz
{

/// Notes that an input got past its header: its format was known, a mesh came out of it.
void note_header();

/// Notes that an input was read to its end, or that the operation on it succeeded.
void note_accepted();

/// Notes that an operation succeeded, if a mesh has more faces than before it.
inline void note_growth(std::size_t before, std::size_t after)
{
    if (after > before)
    {
        note_accepted();
    }
}

/// A folder of this process in TMPDIR, made at the first call and taken away at the end.
std::filesystem::path const& work_folder();

/// Writes the content to a file in the work folder. \return its path
std::filesystem::path work_file(std::string const& name, std::string_view content);

/// Takes all files out of the work folder.
void empty_work_folder();

/// Runs `action`. \return false if it ended by the exception that is documented for it
template <typename Documented, typename Action>
bool ends_well(Action const& action)
{
    try
    {
        action();
        return true;
    }
    catch (Documented const&)
    {
        return false;
    }
}

} // namespace veld_fuzz
