#pragma once

#include <stdexcept>

namespace OrvaneAlgorithm::detail
{

/// Why a file is refused, worded to stand behind the file's name.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace OrvaneAlgorithm::detail
