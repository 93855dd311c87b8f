#include "workflow/run/RunFolder.h"

#include "workflow/Error.h"
#include "workflow/files/Checksum.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/run/Recipe.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

constexpr std::size_t EXTENSION = 4; // the length of ".ply" and ".png"

bool is_digit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

std::string step_file(std::size_t step, std::string const& name, char const* extension)
{
    return fmt::format("{:02}-{}{}", step + 1, name, extension);
}

/// Whether a name is one that `step_file()` gives.
bool is_step_file(std::string const& name)
{
    auto const end = std::find_if(name.begin(), name.end(), [](char c) { return !is_digit(c); });
    auto const digits = static_cast<std::size_t>(end - name.begin());
    bool const is_numbered = digits == 2 || (digits > 2 && name.front() != '0');
    if (!is_numbered || end == name.end() || *end != '-' || name.size() < digits + 1 + EXTENSION)
    {
        return false;
    }
    std::string const kind = name.substr(digits + 1, name.size() - digits - 1 - EXTENSION);
    std::string const extension = name.substr(name.size() - EXTENSION);
    return (extension == ".ply" || extension == ".png") && step_kinds().count(kind) > 0;
}

bool has_entry(fs::path const& path)
{
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

fs::path folder_of(fs::path const& source)
{
    std::error_code error;
    if (fs::is_directory(source, error))
    {
        return source;
    }
    return source.has_parent_path() ? source.parent_path() : fs::path(".");
}

} // namespace

RunFolder::RunFolder(fs::path directory, std::vector<std::string> const& steps,
                     ScanLook const& look, Existing existing)
    : directory_(std::move(directory))
{
    check_place(look);
    claim();
    if (!has_entry(run_record_path(directory_)))
    {
        check_names(steps);
        return;
    }
    try
    {
        earlier_ = read_run_record(directory_);
    }
    catch (InputError const& error)
    {
        throw InputError(std::string(error.what()) + "; a run takes another folder");
    }
    Json const& recipe = earlier_->recipe;
    bool const has_ended = recipe.is_object() && recipe.contains("steps") &&
                           recipe["steps"].size() == earlier_->steps.size();
    if (has_ended && existing == Existing::KEPT)
    {
        throw InputError(shown(directory_) + ": a run is there already", "no_overwrite");
    }
}

void RunFolder::check_place(ScanLook const& look) const
{
    std::error_code error;
    if (fs::exists(directory_, error) && !fs::is_directory(directory_, error))
    {
        throw InputError(shown(directory_) + ": is a file, and a run needs a folder");
    }
    for (auto const& folder : {folder_of(look.source), look.photos})
    {
        if (!folder.empty() && fs::equivalent(directory_, folder_of(folder), error))
        {
            throw InputError(shown(directory_) + ": is the folder of the " +
                             (folder == look.photos ? "photographs" : "scan") +
                             ", and a run needs one of its own");
        }
    }
}

/// Keeps other runs out of the folder, if it is there, until this one ends, however it does.
void RunFolder::claim()
{
    std::error_code error;
    fs::path const place = fs::canonical(directory_, error);
    if (!error && !mark_.is_held() && !mark_.put_on(place))
    {
        throw InputError(shown(directory_) + ": another run is at work there");
    }
}

/// Refuses files of others with names that the run needs.
void RunFolder::check_names(std::vector<std::string> const& steps) const
{
    std::vector<std::string> names{MODEL, TEXTURED, RECIPE, REPORT};
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        names.push_back(mesh_name(i, steps[i]));
        names.push_back(picture_name(i, steps[i]));
    }
    for (auto const& name : names)
    {
        if (has_entry(file(name)))
        {
            throw InputError(shown(file(name)) +
                             ": is there already and of no run; take another folder");
        }
    }
}

std::string RunFolder::mesh_name(std::size_t step, std::string const& name)
{
    return step_file(step, name, ".ply");
}

std::string RunFolder::picture_name(std::size_t step, std::string const& name)
{
    return step_file(step, name, ".png");
}

bool RunFolder::has(std::string const& name, std::string const& checksum) const
{
    std::error_code error;
    return !name.empty() && fs::is_regular_file(file(name), error) &&
           checksum_of(file(name)) == checksum;
}

void RunFolder::open(RunRecord const& record)
{
    std::error_code error;
    fs::create_directories(directory_, error);
    if (!fs::is_directory(directory_))
    {
        throw InputError(shown(directory_) +
                         ": cannot be made a folder: " + why_not_written(error));
    }
    claim();
    write_run_record(directory_, record);
    remove_others(record, false);
}

void RunFolder::save(RunRecord const& record) const
{
    write_run_record(directory_, record);
    remove_others(record, true);
}

/// \param ends whether the results stay, too
void RunFolder::remove_others(RunRecord const& record, bool ends) const
{
    std::vector<std::string> kept{record.textured};
    for (auto const& step : record.steps)
    {
        kept.push_back(step.mesh);
        kept.push_back(step.picture);
    }
    if (ends)
    {
        kept.insert(kept.end(), {MODEL, RECIPE, REPORT});
    }
    std::vector<std::string> removed{MODEL, TEXTURED, RECIPE, REPORT};
    std::error_code error;
    for (auto const& entry : fs::directory_iterator(directory_, error))
    {
        std::string const name = entry.path().filename().u8string();
        if (is_step_file(name))
        {
            removed.push_back(name);
        }
    }
    for (auto const& name : removed)
    {
        if (std::find(kept.begin(), kept.end(), name) == kept.end())
        {
            fs::remove(file(name), error);
        }
    }
}

void RunFolder::write(std::string const& name, OrvaneAlgorithm::TriMesh const& mesh,
                      Context& context) const
{
    write_mesh(file(name), mesh, context);
}

void RunFolder::write(std::string const& name, TexturedMesh const& textured, Context& context) const
{
    write_textured_mesh(file(name), textured, context);
}

void RunFolder::write(std::string const& name, Picture const& picture, Context& context) const
{
    write_picture(file(name), picture, context);
}

void RunFolder::write(std::string const& name, std::string const& text) const
{
    OutputFile output(file(name));
    write_text_file(output, text);
    output.commit();
}

void RunFolder::copy(std::string const& from, std::string const& to) const
{
    OutputFile output(file(to));
    std::error_code error;
    if (!fs::copy_file(file(from), output.temporary(), fs::copy_options::overwrite_existing, error))
    {
        throw OperationError(shown(file(to)) + ": cannot be written: " + why_not_written(error));
    }
    output.commit();
}

} // namespace veld
