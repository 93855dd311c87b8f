#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
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

/// Path of a file or folder in that folder, in the form "meshes_holes/lion.ply". The test fails
/// where it is not there: a folder that is named has to hold everything.
inline std::string real_data(std::string const& file)
{
    std::filesystem::path const path = std::filesystem::path(real_data_dir()) / file;
    EXPECT_TRUE(std::filesystem::exists(path)) << "VELD_TEST_DATA holds no " << path;
    return path.string();
}

/// The meshes with holes among the real scans, by name.
inline std::vector<std::filesystem::path> real_meshes()
{
    std::vector<std::filesystem::path> paths;
    for (auto const& entry : std::filesystem::directory_iterator(real_data("meshes_holes")))
    {
        if (entry.path().extension() == ".ply")
        {
            paths.push_back(entry.path());
        }
    }
    EXPECT_FALSE(paths.empty());
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// Tests on real scans, in suites of their own (`using MergeRealData = RealData;`): skipped where
/// no folder is named.
template <typename Test>
class OnRealData : public Test
{
protected:
    void SetUp() override
    {
        if (real_data_dir().empty())
        {
            GTEST_SKIP() << "VELD_TEST_DATA is not set";
        }
        ASSERT_TRUE(std::filesystem::is_directory(real_data_dir()))
            << "VELD_TEST_DATA is " << real_data_dir();
    }
};

using RealData = OnRealData<testing::Test>;

} // namespace veld_test
