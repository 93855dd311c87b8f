#include "algorithmVeld/common/files/WholeFile.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace OrvaneAlgorithm::detail
{

namespace
{

std::string system_message(int error)
{
    return error == 0 ? "unknown reason" : std::generic_category().message(error);
}

} // namespace

std::string file_content(std::filesystem::path const& path)
{
    namespace fs = std::filesystem;
    std::error_code error;
    auto const status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
    {
        throw FileError("no such file");
    }
    if (fs::is_directory(status))
    {
        throw FileError("is a directory");
    }
    if (!fs::is_regular_file(status))
    {
        throw FileError(error ? "cannot be read: " + error.message() : "is not a file");
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    auto const size = fs::file_size(path, error);
    if (!file || error)
    {
        throw FileError("cannot be read: " + system_message(errno));
    }
    if (size == 0)
    {
        throw FileError("is empty");
    }
    std::string content(static_cast<std::size_t>(size), '\0');
    constexpr std::size_t BLOCK = std::size_t{1} << 22U;
    for (std::size_t begin = 0; begin < content.size(); begin += BLOCK)
    {
        RunScope::poll();
        std::size_t const n = std::min(content.size() - begin, BLOCK);
        if (!file.read(content.data() + begin, static_cast<std::streamsize>(n)))
        {
            throw FileError("cannot be read to its end");
        }
    }
    return content;
}

std::string printable(std::string line)
{
    for (char& c : line)
    {
        auto const code = static_cast<unsigned char>(c);
        c = code < 0x20 || code == 0x7F ? '?' : c;
    }
    return line;
}

} // namespace OrvaneAlgorithm::detail
