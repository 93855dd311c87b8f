#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace veld_test
{

/// The folder with real scans that the environment names, empty where it names none.
inline std::string real_data_dir()
{
    char const* const directory = std::getenv("VELD_TEST_DATA");
    return directory == nullptr ? std::string() : std::string(directory);
}

/// Path of a file in that folder, in the form "meshes_holes/lion.ply".
inline std::string real_data(std::string const& file)
{
    return (std::filesystem::path(real_data_dir()) / file).string();
}

/// Whether tests on real scans have to be left out, which is said then.
inline bool without_real_data()
{
    if (real_data_dir().empty())
    {
        std::cout << "left out: VELD_TEST_DATA is not set\n";
        return true;
    }
    return false;
}

/// Paths of the meshes with holes among the real scans, by name; none where they are left out.
inline std::vector<std::string> scans_with_holes()
{
    std::vector<std::string> paths;
    if (without_real_data())
    {
        return paths;
    }
    for (auto const& entry : std::filesystem::directory_iterator(real_data("meshes_holes")))
    {
        if (entry.path().extension() == ".ply")
        {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace veld_test
