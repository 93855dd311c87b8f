#include "workflow/files/OutputFile.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include "algorithmVeld/common/files/Links.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <ostream>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// As far as links can be followed; what stops them tells whoever opens the file.
fs::path behind_links(fs::path const& path)
{
    std::error_code ignored;
    return OrvaneAlgorithm::detail::path_behind_links(path, ignored);
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

InputError is_there(fs::path const& path)
{
    return InputError(shown(path) + ": is there already", "no_overwrite");
}

void check_output(fs::path const& path, Existing existing)
{
    std::error_code error;
    auto const status = fs::status(path, error);
    if (fs::is_directory(status))
    {
        throw InputError(shown(path) + ": is a directory, not a file to write");
    }
    if (status.type() == fs::file_type::none)
    {
        throw InputError(shown(path) + ": cannot be written: " + why_not_written(error));
    }
    if (fs::exists(status) && !fs::is_regular_file(status))
    {
        throw InputError(shown(path) + ": is no plain file to write");
    }
    if (fs::exists(status) && existing == Existing::KEPT)
    {
        throw is_there(path);
    }
    if (path.filename().empty())
    {
        throw InputError(shown(path) + ": is a directory, not a file to write");
    }
}

/// Refuses a directory in which nothing can be written.
void try_directory(fs::path const& path)
{
    try
    {
        OutputFile const trial(path);
    }
    catch (OperationError const& reason)
    {
        throw InputError(reason.what());
    }
}

/// The directory in which a path's file stands, or will stand.
fs::path directory_of(fs::path const& path)
{
    fs::path directory = behind_links(path).parent_path();
    return directory.empty() ? fs::path(".") : directory;
}

/// A staging directory for the output at `path`.
std::unique_ptr<StagingDirectory> stage(fs::path const& path)
{
    try
    {
        return std::make_unique<StagingDirectory>(directory_of(path));
    }
    catch (OperationError const& reason)
    {
        throw OperationError(shown(path) + ": cannot be written: " + reason.what());
    }
}

void move_over(fs::path const& from, fs::path const& to, std::error_code& error)
{
    fs::rename(from, to, error);
    if (error == std::errc::cross_device_link)
    {
        // A link that leads to another volume: what it names changes in one step all the same.
        StagingDirectory const beside(to.parent_path());
        fs::path const copy = beside.path() / to.filename();
        if (fs::copy_file(from, copy, error))
        {
            fs::rename(copy, to, error);
        }
    }
}

/// The same with a name that nobody has, or none.
void move_to_new_name(fs::path const& from, fs::path const& to, std::error_code& error)
{
#if defined(_WIN32)
    error = ::_wrename(from.c_str(), to.c_str()) == 0
                ? std::error_code()
                : std::error_code(errno, std::generic_category());
#else
    fs::create_hard_link(from, to, error);
    if (!error || error == std::errc::file_exists)
    {
        return;
    }
    // A file system without hard links: an empty file takes the name first.
    std::FILE* const taken = std::fopen(to.c_str(), "wx");
    if (taken == nullptr)
    {
        error.assign(errno, std::generic_category());
        return;
    }
    std::fclose(taken);
    move_over(from, to, error);
    if (error)
    {
        std::error_code ignored;
        fs::remove(to, ignored);
    }
#endif
}

} // namespace

OutputFile::OutputFile(fs::path path, Existing existing)
    : path_(std::move(path)),
      target_(behind_links(path_)),
      existing_(existing),
      own_staging_(stage(path_)),
      temporary_(own_staging_->path() / path_.filename())
{
    take_permissions();
}

OutputFile::OutputFile(fs::path path, StagingDirectory const& staging, Existing existing)
    : path_(std::move(path)),
      target_(behind_links(path_)),
      existing_(existing),
      temporary_(staging.path() / path_.filename())
{
    take_permissions();
}

OutputFile::OutputFile(std::ostream& stream, std::string const& name, std::string const& extension)
    : path_(name),
      stream_(&stream),
      own_staging_(StagingDirectory::for_stream(name)),
      temporary_(own_staging_->path() / ("output" + extension))
{
}

OutputFile::~OutputFile()
{
    std::error_code ignored;
    fs::remove(temporary_, ignored);
}

/// Makes an empty file with the permissions of the one that will be replaced, for whoever writes
/// it to leave as they are. Its owner may write it until then.
void OutputFile::take_permissions()
{
    std::error_code ignored;
    auto const earlier = fs::status(target_, ignored);
    if (fs::is_regular_file(earlier))
    {
        std::ofstream const empty(temporary_, std::ios::binary);
        fs::permissions(temporary_,
                        earlier.permissions() | fs::perms::owner_read | fs::perms::owner_write,
                        ignored);
    }
}

void OutputFile::commit()
{
    if (stream_ != nullptr)
    {
        copy_to_stream();
        return;
    }
    std::error_code error;
    auto const earlier = fs::status(target_, error);
    if (fs::exists(earlier))
    {
        fs::permissions(temporary_, earlier.permissions(), error);
    }
    auto const move = existing_ == Existing::KEPT ? move_to_new_name : move_over;
    move(temporary_, target_, error);
    if (error == std::errc::file_exists && existing_ == Existing::KEPT)
    {
        throw is_there(path_);
    }
    if (error)
    {
        throw OperationError(shown(path_) + ": cannot be written: " + why_not_written(error));
    }
}

void OutputFile::copy_to_stream()
{
    std::ifstream file(temporary_, std::ios::binary);
    std::vector<char> block(std::size_t{1} << 16U);
    errno = 0;
    while (file && *stream_)
    {
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        stream_->write(block.data(), file.gcount());
    }
    if (!file.eof() || !stream_->flush())
    {
        std::error_code const reason(errno, std::generic_category());
        throw OperationError(shown(path_) + ": cannot be written" +
                             (reason ? ": " + why_not_written(reason) : std::string()));
    }
}

Outputs::Outputs(Existing existing) : existing_(existing) {}

Outputs::~Outputs()
{
    files_.clear();
    stagings_.clear();
    std::error_code ignored;
    for (auto directory = directories_.rbegin(); directory != directories_.rend(); ++directory)
    {
        fs::remove(*directory, ignored); // refused if somebody else has put a file there
    }
}

void Outputs::check(std::vector<fs::path> const& files, std::vector<fs::path> const& inputs) const
{
    std::vector<fs::path> tried;
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        for (auto const& input : inputs)
        {
            if (same_file(files[i], input))
            {
                throw InputError(shown(files[i]) + ": is an input, which is never written");
            }
        }
        for (std::size_t j = 0; j < i; ++j)
        {
            if (same_file(files[i], files[j]))
            {
                throw InputError(shown(files[i]) + ": is named for two outputs");
            }
        }
        check_output(files[i], existing_);
        auto const directory = directory_of(files[i]);
        if (std::find(tried.begin(), tried.end(), directory) == tried.end())
        {
            try_directory(files[i]);
            tried.push_back(directory);
        }
    }
}

void Outputs::make_directory(fs::path const& path)
{
    std::error_code error;
    fs::path step;
    for (auto const& part : path)
    {
        step /= part;
        std::error_code made;
        if (fs::create_directory(step, made))
        {
            directories_.push_back(step);
        }
        else if (!fs::is_directory(step, error))
        {
            throw InputError(
                shown(path) + ": cannot be made a directory: " +
                (fs::exists(step, error) ? shown(step) + " is a file" : why_not_written(made)));
        }
    }
}

OutputFile const& Outputs::add(fs::path const& path)
{
    // One directory for all that go to the same place, as long as their names differ.
    auto const takes = [&, directory = directory_of(path)](auto const& staging)
    {
        return staging->directory() == directory &&
               std::none_of(files_.begin(), files_.end(),
                            [name = staging->path() / path.filename()](auto const& file)
                            { return file->temporary() == name; });
    };
    auto const found = std::find_if(stagings_.begin(), stagings_.end(), takes);
    if (found != stagings_.end())
    {
        return add_staged(path, **found);
    }
    stagings_.push_back(stage(path));
    return add_staged(path, *stagings_.back());
}

OutputFile const& Outputs::add(std::ostream& stream, std::string const& name,
                               std::string const& extension)
{
    files_.push_back(std::make_unique<OutputFile>(stream, name, extension));
    return *files_.back();
}

StagingDirectory const& Outputs::make_staging(fs::path const& directory)
{
    stagings_.push_back(std::make_unique<StagingDirectory>(directory));
    return *stagings_.back();
}

OutputFile const& Outputs::add_staged(fs::path const& path, StagingDirectory const& staging)
{
    files_.push_back(std::make_unique<OutputFile>(path, staging, existing_));
    return *files_.back();
}

fs::path Outputs::place_now(fs::path const& path) const
{
    auto const found = std::find_if(files_.begin(), files_.end(),
                                    [&](auto const& file) { return file->path() == path; });
    return found != files_.end() ? (*found)->temporary() : path;
}

void Outputs::commit()
{
    for (auto const& file : files_)
    {
        file->commit();
    }
    stagings_.clear();
    directories_.clear();
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
    errno = 0;
    std::ofstream stream(file.temporary(), std::ios::binary);
    stream << text;
    stream.close();
    if (!stream)
    {
        throw OperationError(shown(file.path()) + ": cannot be written: " +
                             why_not_written({errno, std::generic_category()}));
    }
}

} // namespace veld
