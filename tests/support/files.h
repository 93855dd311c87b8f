#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// \file
/// Files as texts and as bytes.

namespace veld_test
{

using Bytes = std::vector<unsigned char>;

inline void write_file(std::filesystem::path const& path, std::string const& content)
{
    // A new file instead of new content: some file systems wait for the disk otherwise.
    std::filesystem::remove(path);
    std::ofstream(path, std::ios::binary) << content;
}

inline void write_bytes(std::filesystem::path const& path, Bytes const& bytes)
{
    write_file(path, std::string(bytes.begin(), bytes.end()));
}

inline std::string file_content(std::filesystem::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline Bytes read_bytes(std::filesystem::path const& path)
{
    std::string const content = file_content(path);
    return {content.begin(), content.end()};
}

/// The names of what is in a directory, sorted.
inline std::vector<std::string> files_in(std::filesystem::path const& directory)
{
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(directory))
    {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace veld_test
