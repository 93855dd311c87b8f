#include "OutputFile.h"

#include "Errors.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <random>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// A name beside `path` that nobody has, with the same extension.
fs::path name_beside(fs::path const& path)
{
    std::random_device random;
    fs::path beside;
    std::error_code error;
    do
    {
        beside = path;
        beside.replace_filename(
            fmt::format(".{}.{:08x}{}", path.stem().string(), random(), path.extension().string()));
    } while (fs::exists(fs::symlink_status(beside, error)));
    return beside;
}

bool same_file(std::string const& a, std::string const& b)
{
    std::error_code error;
    if (fs::equivalent(a, b, error))
    {
        return true;
    }
    // One of them does not exist yet: the names tell.
    fs::path const whole = fs::weakly_canonical(a, error);
    return !error && whole == fs::weakly_canonical(b, error) && !error;
}

void check_output(std::string const& path)
{
    std::error_code error;
    auto const status = fs::status(path, error);
    if (fs::is_directory(status))
    {
        throw InputError(path + ": is a directory, not a file to write");
    }
    if (fs::exists(status) && !fs::is_regular_file(status))
    {
        throw InputError(path + ": is no plain file to write");
    }
    OutputFile const trial(path);
    if (fs::path(path).filename().empty() || !std::ofstream(trial.temporary(), std::ios::binary))
    {
        throw InputError(path + ": cannot be written there");
    }
}

} // namespace

OutputFile::OutputFile(std::string const& path) : final_(path), temporary_(name_beside(path)) {}

OutputFile::~OutputFile()
{
    std::error_code ignored;
    fs::remove(temporary_, ignored);
}

void OutputFile::commit()
{
    std::error_code error;
    fs::rename(temporary_, final_, error);
    if (error)
    {
        throw OperationError(final_.string() + ": cannot be written: " + error.message());
    }
}

void check_outputs(std::vector<std::string> const& outputs, std::vector<std::string> const& inputs)
{
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
        for (auto const& input : inputs)
        {
            if (same_file(outputs[i], input))
            {
                throw InputError(outputs[i] + ": is an input, which is never written");
            }
        }
        for (std::size_t j = 0; j < i; ++j)
        {
            if (same_file(outputs[i], outputs[j]))
            {
                throw InputError(outputs[i] + ": is named for two outputs");
            }
        }
        check_output(outputs[i]);
    }
}

void check_extension(std::string const& path, std::vector<std::string> const& extensions)
{
    std::string extension = fs::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (std::find(extensions.begin(), extensions.end(), extension) == extensions.end())
    {
        throw InputError(
            fmt::format("{}: the extension has to be one of {}", path, fmt::join(extensions, " ")));
    }
}

void write_text_file(std::string const& path, std::string const& text)
{
    OutputFile file(path);
    {
        std::ofstream stream(file.temporary(), std::ios::binary);
        stream << text;
        stream.close();
        if (!stream)
        {
            throw OperationError(path + ": cannot be written");
        }
    }
    file.commit();
}

} // namespace veld
