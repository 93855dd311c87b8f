#pragma once

#include <cerrno>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

/// \file
/// Temporary files and directories beside the place of what is being written. Their names say that
/// they are ours. A lock, which the system takes away with its process however that ends, says that
/// somebody is still at work on them: what nobody holds is left over, and the next one removes it.
///
/// Where there are no such locks, nothing is removed but what the process has made itself.

namespace OrvaneAlgorithm::detail
{

/// A name in `directory` that nobody has, ".veld-0123456789abcdef.part". Not made of the target's,
/// to which nothing could be added if it is as long as names may be.
inline std::filesystem::path temporary_path(std::filesystem::path const& directory)
{
    std::random_device random;
    std::string name = ".veld-";
    for (int digit = 0; digit < 16; ++digit)
    {
        name += "0123456789abcdef"[random() % 16];
    }
    return directory / (name + ".part");
}

inline bool is_temporary_name(std::string const& name)
{
    return name.size() == 27 && name.compare(0, 6, ".veld-") == 0 &&
           name.compare(22, 5, ".part") == 0 && name.find_first_not_of("0123456789abcdef", 6) >= 22;
}

/// Says that somebody is at work on a temporary file or directory.
class UseMark
{
public:
    UseMark() = default;
    ~UseMark() { take_away(); }
    UseMark(UseMark const&) = delete;
    UseMark& operator=(UseMark const&) = delete;

    /// Marks what stands at `path`.
    /// \return false if somebody else has marked it or has removed it meanwhile; where the system
    ///         has no marks, true, and nothing is held
    bool put_on(std::filesystem::path const& path)
    {
        take_away();
#if defined(_WIN32)
        return std::filesystem::exists(path);
#else
        descriptor_ = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (descriptor_ < 0)
        {
            return errno != ENOENT;
        }
        if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0)
        {
            bool const has_another = errno == EWOULDBLOCK;
            take_away();
            return !has_another;
        }
        if (!is_still_at(path))
        {
            take_away();
            return false;
        }
        return true;
#endif
    }

    bool is_held() const
    {
        return descriptor_ >= 0;
    }

private:
    void take_away()
    {
#if !defined(_WIN32)
        if (descriptor_ >= 0)
        {
            ::close(descriptor_);
        }
#endif
        descriptor_ = -1;
    }

#if !defined(_WIN32)
    /// Whoever had marked it before may have removed it, or it and its name.
    bool is_still_at(std::filesystem::path const& path) const
    {
        struct stat marked = {};
        struct stat there = {};
        return ::fstat(descriptor_, &marked) == 0 && ::lstat(path.c_str(), &there) == 0 &&
               marked.st_dev == there.st_dev && marked.st_ino == there.st_ino;
    }
#endif

    int descriptor_ = -1;
};

/// Removes the temporary files and directories of this user's processes that have ended without
/// doing so themselves.
inline void remove_left_over(std::filesystem::path const& directory)
{
#if !defined(_WIN32)
    namespace fs = std::filesystem;
    std::error_code error;
    fs::directory_iterator entry(directory.empty() ? fs::path(".") : directory, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
    {
        fs::path const& path = entry->path();
        struct stat status = {};
        if (!is_temporary_name(path.filename().string()) || ::lstat(path.c_str(), &status) != 0 ||
            status.st_uid != ::geteuid() || !(S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)))
        {
            continue;
        }
        UseMark mark;
        if (mark.put_on(path) && mark.is_held())
        {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    }
#else
    static_cast<void>(directory);
#endif
}

} // namespace OrvaneAlgorithm::detail
