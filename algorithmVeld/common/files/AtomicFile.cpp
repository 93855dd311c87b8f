#include "algorithmVeld/common/files/AtomicFile.h"

#include "algorithmVeld/common/files/Links.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <locale>
#include <random>

namespace OrvaneAlgorithm::detail
{

namespace
{

std::error_code last_error()
{
    return {errno, std::generic_category()};
}

} // namespace

std::string unique_file_suffix()
{
    static std::atomic<unsigned> count{0};
    static std::uint64_t const process = []
    {
        std::random_device random;
        return (std::uint64_t{random()} << 32U) | random();
    }();
    return std::to_string(process) + "-" + std::to_string(count++);
}

AtomicFile::AtomicFile(std::filesystem::path const& target)
    : target_(path_behind_links(target, error_))
{
    std::error_code ignored;
    auto const before = std::filesystem::status(target_, ignored);
    if (std::filesystem::is_directory(before))
    {
        error_ = std::make_error_code(std::errc::is_a_directory);
    }
    else if (std::filesystem::exists(before) && !std::filesystem::is_regular_file(before))
    {
        // A device or a pipe would be lost.
        error_ = std::make_error_code(std::errc::operation_not_supported);
    }
    open(before);
}

AtomicFile::~AtomicFile()
{
    if (is_opened_ && !is_committed_)
    {
        stream_.close();
        std::error_code ignored;
        std::filesystem::remove(partial_, ignored);
    }
}

bool AtomicFile::commit()
{
    if (stream_)
    {
        errno = 0; // a write that failed before has told its reason there
    }
    stream_.close();
    if (stream_)
    {
        std::filesystem::rename(partial_, target_, error_);
        is_committed_ = !error_;
    }
    else if (!error_)
    {
        error_ = last_error();
    }
    return is_committed_;
}

void AtomicFile::open(std::filesystem::file_status const& before)
{
    if (error_)
    {
        stream_.setstate(std::ios::failbit);
        return;
    }
    remove_left_over(target_.parent_path());
    bool const replaces = std::filesystem::is_regular_file(before);
    errno = 0;
    create(replaces);
    stream_.imbue(std::locale::classic());
    stream_.open(partial_, std::ios::binary | std::ios::trunc);
    is_opened_ = stream_.is_open();
    if (!is_opened_)
    {
        error_ = last_error();
    }
    else if (replaces)
    {
        std::error_code ignored;
        std::filesystem::permissions(partial_, before.permissions() & std::filesystem::perms::all,
                                     ignored);
    }
}

/// Makes the empty file. One that replaces another is its owner's alone until it has got the
/// permissions of that one: what others may not read they never may.
void AtomicFile::create(bool for_owner_only)
{
    do
    {
        partial_ = temporary_path(target_.parent_path());
#if defined(_WIN32)
        static_cast<void>(for_owner_only);
        std::ofstream const made(partial_, std::ios::binary);
#else
        int const made =
            ::open(partial_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                   for_owner_only ? S_IRUSR | S_IWUSR
                                  : S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
        if (made < 0)
        {
            return; // to open it fails for the same reason
        }
        ::close(made);
#endif
        // Between the two, somebody may take it for left over and remove it.
    } while (!mark_.put_on(partial_));
}

} // namespace OrvaneAlgorithm::detail
