#include "workflow/files/OutputFile.h"

#include "workflow/Error.h"
#include "workflow/words.h"

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

constexpr int MOST_LINKS = 40; // in a chain, as Linux counts

/// The file that a path names, behind symbolic links; it need not exist.
fs::path behind_links(fs::path path)
{
    std::error_code error;
    for (int i = 0; i < MOST_LINKS && fs::is_symlink(fs::symlink_status(path, error)); ++i)
    {
        fs::path const next = fs::read_symlink(path, error);
        if (error)
        {
            break;
        }
        path = path.parent_path() / next; // an absolute one replaces all
    }
    return path;
}

/// A name in the directory of `path` that nobody has, with the same extension. Without the rest of
/// the name, to which nothing could be added if it is as long as names may be.
fs::path name_beside(fs::path const& path)
{
    constexpr std::size_t LONGEST_EXTENSION = 16;
    std::string const extension = path.extension().string();
    std::random_device random;
    fs::path beside;
    std::error_code error;
    do
    {
        beside = path;
        beside.replace_filename(
            fmt::format(".veld-{:08x}{:08x}{}", random(), random(),
                        extension.size() <= LONGEST_EXTENSION ? extension : std::string()));
    } while (fs::exists(fs::symlink_status(beside, error)));
    return beside;
}

bool same_file(fs::path const& a, fs::path const& b)
{
    std::error_code error;
    if (fs::equivalent(a, b, error))
    {
        return true;
    }
    // One of them does not exist yet: the names tell.
    fs::path const whole = fs::weakly_canonical(behind_links(a), error);
    return !error && whole == fs::weakly_canonical(behind_links(b), error) && !error;
}

void check_output(fs::path const& path)
{
    std::error_code error;
    auto const status = fs::status(path, error);
    if (fs::is_directory(status))
    {
        throw InputError(shown(path) + ": is a directory, not a file to write");
    }
    if (status.type() == fs::file_type::none)
    {
        throw InputError(shown(path) + ": cannot be written: " + error.message());
    }
    if (fs::exists(status) && !fs::is_regular_file(status))
    {
        throw InputError(shown(path) + ": is no plain file to write");
    }
    OutputFile const trial(path);
    if (path.filename().empty() || !std::ofstream(trial.temporary(), std::ios::binary))
    {
        throw InputError(shown(path) + ": cannot be written there");
    }
}

} // namespace

OutputFile::OutputFile(fs::path path)
    : path_(std::move(path)), target_(behind_links(path_)), temporary_(name_beside(target_))
{
}

OutputFile::OutputFile(fs::path path, fs::path temporary)
    : path_(std::move(path)), target_(behind_links(path_)), temporary_(std::move(temporary))
{
}

OutputFile::~OutputFile()
{
    std::error_code ignored;
    fs::remove(temporary_, ignored);
}

void OutputFile::commit()
{
    std::error_code error;
    auto const earlier = fs::status(target_, error);
    if (fs::exists(earlier))
    {
        fs::permissions(temporary_, earlier.permissions(), error);
    }
    fs::rename(temporary_, target_, error);
    if (error == std::errc::cross_device_link)
    {
        // A link that leads to another volume: what it names changes in one step all the same.
        auto const beside = name_beside(target_);
        fs::copy_file(temporary_, beside, fs::copy_options::overwrite_existing, error);
        if (!error)
        {
            fs::rename(beside, target_, error);
        }
    }
    if (error)
    {
        throw OperationError(shown(path_) + ": cannot be written: " + error.message());
    }
}

Outputs::~Outputs()
{
    files_.clear();
    remove_stagings();
    std::error_code ignored;
    for (auto directory = directories_.rbegin(); directory != directories_.rend(); ++directory)
    {
        fs::remove(*directory, ignored); // refused if somebody else has put a file there
    }
}

void Outputs::make_directory(fs::path const& path)
{
    std::error_code error;
    fs::path step;
    for (auto const& part : path)
    {
        step /= part;
        if (fs::create_directory(step, error))
        {
            directories_.push_back(step);
        }
    }
    if (!fs::is_directory(path, error))
    {
        throw InputError(shown(path) + ": is no directory and cannot be made one");
    }
}

OutputFile const& Outputs::add(fs::path const& path)
{
    files_.push_back(std::make_unique<OutputFile>(path));
    return *files_.back();
}

fs::path Outputs::make_staging(fs::path const& directory)
{
    fs::path const staging = name_beside(directory / "staging");
    std::error_code error;
    if (!fs::create_directory(staging, error))
    {
        throw OperationError(shown(directory) + ": cannot be written there");
    }
    stagings_.push_back(staging);
    return staging;
}

OutputFile const& Outputs::add_staged(fs::path const& path, fs::path const& staging)
{
    files_.push_back(std::make_unique<OutputFile>(path, staging / path.filename()));
    return *files_.back();
}

void Outputs::remove_stagings()
{
    std::error_code ignored;
    for (auto const& staging : stagings_)
    {
        fs::remove(staging, ignored);
    }
    stagings_.clear();
}

void Outputs::commit()
{
    for (auto const& file : files_)
    {
        file->commit();
    }
    remove_stagings();
    directories_.clear();
}

void check_outputs(std::vector<fs::path> const& outputs, std::vector<fs::path> const& inputs)
{
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
        for (auto const& input : inputs)
        {
            if (same_file(outputs[i], input))
            {
                throw InputError(shown(outputs[i]) + ": is an input, which is never written");
            }
        }
        for (std::size_t j = 0; j < i; ++j)
        {
            if (same_file(outputs[i], outputs[j]))
            {
                throw InputError(shown(outputs[i]) + ": is named for two outputs");
            }
        }
        check_output(outputs[i]);
    }
}

std::string lower_extension(fs::path const& path)
{
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

void check_extension(fs::path const& path, std::vector<std::string> const& extensions)
{
    std::string const extension = lower_extension(path);
    if (std::find(extensions.begin(), extensions.end(), extension) == extensions.end())
    {
        throw InputError(fmt::format("{}: the extension has to be one of {}", shown(path),
                                     fmt::join(extensions, " ")));
    }
}

void write_text_file(OutputFile const& file, std::string const& text)
{
    std::ofstream stream(file.temporary(), std::ios::binary);
    stream << text;
    stream.close();
    if (!stream)
    {
        throw OperationError(shown(file.path()) + ": cannot be written");
    }
}

} // namespace veld
