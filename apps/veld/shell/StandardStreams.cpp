#include "shell/StandardStreams.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/words.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iostream>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace veld::cli
{

namespace
{

/// Some systems turn line ends round in what they take for text.
void leave_bytes_alone(std::FILE* stream)
{
#if defined(_WIN32)
    _setmode(_fileno(stream), _O_BINARY);
#else
    static_cast<void>(stream);
#endif
}

} // namespace

void copy_standard_input(std::filesystem::path const& file, Context& context)
{
    StepScope const scope(context, "read-standard-input", "read standard input");
    leave_bytes_alone(stdin);
    std::ofstream copy(file, std::ios::binary);
    std::array<char, std::size_t{1} << 16U> block{};
    std::size_t n = block.size();
    while (n == block.size() && copy)
    {
        n = std::fread(block.data(), 1, block.size(), stdin);
        std::error_code const reason(errno, std::generic_category());
        OrvaneAlgorithm::detail::poll_cancel(); // a signal ends the reading, too
        if (std::ferror(stdin) != 0)
        {
            throw InputError("standard input: cannot be read: " + reason.message());
        }
        errno = 0;
        copy.write(block.data(), static_cast<std::streamsize>(n));
    }
    copy.close();
    if (!copy)
    {
        throw OperationError("standard input: cannot be kept in " + shown(file.parent_path()) +
                             ": " + why_not_written({errno, std::generic_category()}));
    }
}

std::ostream& binary_standard_output()
{
    leave_bytes_alone(stdout);
    return std::cout;
}

} // namespace veld::cli
