#pragma once

#include "algorithmVeld/common/files/TemporaryPlace.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace OrvaneAlgorithm::detail
{

/// A part of a file name that no other call in any process gives.
std::string unique_file_suffix();

/// A binary file that is written beside its place and moved there when it is complete: an existing
/// file stays as it is until then, and leaves its permissions to the new one, which has them from
/// the start. Where the place is a symbolic link the link stays, and the file that it names is
/// written. An unfinished file goes away with its scope; where the process ends before that, the
/// next one that writes in the same directory removes it.
class AtomicFile
{
public:
    explicit AtomicFile(std::filesystem::path const& target);
    ~AtomicFile();
    AtomicFile(AtomicFile const&) = delete;
    AtomicFile& operator=(AtomicFile const&) = delete;

    /// Keeps its errors, so it is enough to commit at the end.
    std::ofstream& stream() { return stream_; }

    /// Why the file could not be opened, or not be committed; none where the system did not say.
    std::error_code const& error() const { return error_; }

    /// Moves the file to its place.
    /// \return false if anything of it could not be written; there is no new file then
    bool commit();

private:
    void open(std::filesystem::file_status const& before);
    void create(bool for_owner_only);

    std::error_code error_;
    std::filesystem::path target_;
    std::filesystem::path partial_;
    UseMark mark_;
    std::ofstream stream_;
    bool is_opened_ = false;
    bool is_committed_ = false;
};

} // namespace OrvaneAlgorithm::detail
