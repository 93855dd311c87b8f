#include "workflow/files/InputFile.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace veld
{

namespace
{

/// Where a byte of a text is, as editors count.
std::string place_in(std::string const& text, std::size_t at)
{
    std::size_t const end = std::min(at, text.size());
    auto const begin = text.begin();
    auto const line = std::count(begin, begin + static_cast<std::ptrdiff_t>(end), '\n') + 1;
    std::size_t const newline = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
    std::size_t const column = newline == std::string::npos ? end + 1 : end - newline;
    return fmt::format("line {}, column {}", line, column);
}

/// What a message has between its single quotes.
std::string in_quotes(std::string const& message)
{
    auto const begin = message.find('\'');
    auto const end = message.rfind('\'');
    return end > begin ? message.substr(begin + 1, end - begin - 1) : std::string();
}

} // namespace

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

Json read_json(std::filesystem::path const& path)
{
    auto stream = open_input(path);
    std::string const text{std::istreambuf_iterator<char>(stream), {}};
    try
    {
        return Json::parse(text);
    }
    catch (Json::parse_error const& error)
    {
        std::size_t const at = std::min(std::max<std::size_t>(error.byte, 1) - 1, text.size());
        throw InputError(fmt::format("{}: is no JSON: {}", shown(path), place_in(text, at)));
    }
    catch (Json::out_of_range const& error)
    {
        std::string const number = in_quotes(error.what());
        throw InputError(
            fmt::format("{}: is no JSON that can be read: {}: the number {} is too large",
                        shown(path), place_in(text, text.find(number)), number));
    }
    catch (Json::exception const&)
    {
        throw InputError(shown(path) + ": is no JSON that can be read");
    }
}

std::filesystem::path path_beside(std::filesystem::path const& file, std::string const& named)
{
    return file.parent_path() / named;
}

} // namespace veld
