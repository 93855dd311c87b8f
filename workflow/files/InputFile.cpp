#include "workflow/files/InputFile.h"

#include "workflow/Error.h"
#include "workflow/files/JsonText.h"
#include "workflow/words.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace veld
{

std::ifstream open_input(std::filesystem::path const& path)
{
    std::error_code error;
    auto const status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
    {
        throw InputError(shown(path) + ": no such file");
    }
    if (std::filesystem::is_directory(status))
    {
        throw InputError(shown(path) + ": is a directory");
    }
    // Tested before it is opened: to open a pipe is to wait for the other end.
    if (!std::filesystem::is_regular_file(status))
    {
        throw InputError(shown(path) + ": is not a file");
    }
    errno = 0;
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
    {
        throw InputError(shown(path) + ": cannot be opened: " +
                         std::error_code(errno, std::generic_category()).message());
    }
    std::array<char, 3> start{};
    stream.read(start.data(), start.size());
    if (!stream || start != std::array<char, 3>{'\xEF', '\xBB', '\xBF'})
    {
        stream.clear();
        stream.seekg(0);
    }
    return stream;
}

std::string file_bytes(std::filesystem::path const& path)
{
    auto stream = open_input(path);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

Json read_json(std::filesystem::path const& path)
{
    return parse_json(file_bytes(path), shown(path));
}

bool is_plain_file(std::filesystem::path const& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

bool is_folder(std::filesystem::path const& path)
{
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

std::filesystem::path path_beside(std::filesystem::path const& file, std::string const& named)
{
    return file.parent_path() / named;
}

} // namespace veld
