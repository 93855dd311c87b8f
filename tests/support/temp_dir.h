#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace veld_test
{

/// A new, empty directory that goes with its scope.
class TempDir
{
public:
    TempDir()
    {
        std::random_device random;
        do
        {
            path_ = std::filesystem::temp_directory_path() /
                    ("veld-test-" + std::to_string(random()) + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;

    std::filesystem::path const& path() const { return path_; }
    std::string file(std::string const& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

} // namespace veld_test
