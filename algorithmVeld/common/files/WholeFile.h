#pragma once

#include "algorithmVeld/common/RunScope.h"
#include "algorithmVeld/common/files/FileError.h"

#include <exception>
#include <filesystem>
#include <new>
#include <string>

/// \file
/// Files that are read as a whole, and errors as one line that names the file.

namespace OrvaneAlgorithm::detail
{

/// The content of a file. \throw FileError if there is none that can be read
std::string file_content(std::filesystem::path const& path);

/// A line that no name in a file or of a file can break or colour.
std::string printable(std::string line);

/// Runs `action`. An end that was asked for is no error, and passes. \return what went wrong, as a
/// line that names the file; empty if nothing did
template <typename Action>
std::string error_of(std::string const& path, Action const& action)
{
    try
    {
        action();
        return {};
    }
    catch (Cancelled const&)
    {
        throw;
    }
    catch (std::bad_alloc const&)
    {
        return printable(path) + ": needs more memory than there is";
    }
    catch (std::exception const& error)
    {
        return printable(path + ": " + error.what());
    }
}

} // namespace OrvaneAlgorithm::detail
