#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>
#include <utility>

namespace OrvaneAlgorithm::detail
{

/// A part of a file name that no other call in any process gives.
inline std::string unique_file_suffix()
{
    static std::atomic<unsigned> count{0};
    static std::uint64_t const process = []
    {
        std::random_device random;
        return (std::uint64_t{random()} << 32U) | random();
    }();
    return std::to_string(process) + "-" + std::to_string(count++);
}

/// A binary file that is written beside its place and moved there when it is complete: an existing
/// file stays as it is until then. An unfinished one goes away with its scope.
class AtomicFile
{
public:
    explicit AtomicFile(std::filesystem::path target)
        : target_(std::move(target)), partial_(target_)
    {
        partial_ += "." + unique_file_suffix() + ".part";
        stream_.open(partial_, std::ios::binary | std::ios::trunc);
    }

    ~AtomicFile()
    {
        if (!committed_)
        {
            stream_.close();
            std::error_code ignored;
            std::filesystem::remove(partial_, ignored);
        }
    }
    AtomicFile(AtomicFile const&) = delete;
    AtomicFile& operator=(AtomicFile const&) = delete;

    /// Keeps its errors, so it is enough to commit at the end.
    std::ofstream& stream() { return stream_; }

    /// Moves the file to its place.
    /// \return false if anything of it could not be written; there is no new file then
    bool commit()
    {
        stream_.close();
        if (stream_)
        {
            std::error_code error;
            std::filesystem::rename(partial_, target_, error);
            committed_ = !error;
        }
        return committed_;
    }

private:
    std::filesystem::path target_;
    std::filesystem::path partial_;
    std::ofstream stream_;
    bool committed_ = false;
};

} // namespace OrvaneAlgorithm::detail
