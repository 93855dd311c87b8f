#include "workflow/run/scan/FoundFrames.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonFields.h"
#include "workflow/files/OutputFile.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/words.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// The views of depth images in a list of cameras.
std::size_t count_depth_views(Json const& cameras)
{
    auto const views = cameras.is_object() ? cameras.find("views") : cameras.end();
    if (views == cameras.end() || !views->is_array())
    {
        return 0;
    }
    return static_cast<std::size_t>(
        std::count_if(views->begin(), views->end(),
                      [](Json const& view) { return view.is_object() && view.contains("depth"); }));
}

/// Whether a JSON object describes text frames.
bool describes_text_frames(Json const& json)
{
    return json.is_object() && json.contains("points") && json.contains("poses") &&
           json.contains("rows");
}

/// The files that any text in a JSON value names, beside its own.
void add_named_files(Json const& json, fs::path const& list, std::vector<fs::path>& files)
{
    if (json.is_structured())
    {
        for (auto const& value : json)
        {
            add_named_files(value, list, files);
        }
    }
    else if (json.is_string())
    {
        fs::path const file = path_beside(list, json.get<std::string>());
        if (is_plain_file(file))
        {
            files.push_back(file);
        }
    }
}

/// The same for a file that nobody named: what is no JSON is none.
bool try_json(fs::path const& path, FoundFrames& found)
{
    try
    {
        return take_json_frames(path, found);
    }
    catch (InputError const&)
    {
        if (path.filename() == "cameras.json")
        {
            throw;
        }
        return false;
    }
}

/// How many frames the description of a text scan expects; 0 where it names no range.
std::size_t count_numbers(Json const& json)
{
    constexpr int LARGEST_NUMBER = 999999999;
    JsonFields const fields(json, "");
    try
    {
        int const first = fields.integer("first", 0, LARGEST_NUMBER);
        return static_cast<std::size_t>(fields.integer("last", first, LARGEST_NUMBER) - first + 1);
    }
    catch (InputError const&)
    {
        return 0;
    }
}

} // namespace

FoundFrames range_scans(fs::path const& path)
{
    auto const named = range_scan_files(path);
    return {path, named, named.size() - 1};
}

bool take_json_frames(fs::path const& path, FoundFrames& found)
{
    Json const json = read_json(path);
    found = {path, {path}, count_depth_views(json)};
    if (found.frames > 0)
    {
        add_named_files(json, path, found.files);
        return true;
    }
    if (!describes_text_frames(json))
    {
        return false;
    }
    auto const directory = json.find("directory");
    bool const is_named = directory != json.end() && directory->is_string();
    for (auto const& file :
         files_in(path_beside(path, is_named ? directory->get<std::string>() : ".")))
    {
        found.files.push_back(file);
    }
    found.frames = count_numbers(json);
    return true;
}

std::vector<FoundFrames> frames_in(fs::path const& folder, std::vector<fs::path> const& files)
{
    std::vector<FoundFrames> sources;
    auto const rge = frame_files_in(folder);
    if (!rge.empty())
    {
        sources.push_back({folder, rge, rge.size()});
    }
    for (auto const& file : files)
    {
        FoundFrames found;
        if (lower_extension(file) == ".conf")
        {
            sources.push_back(range_scans(file));
        }
        else if (lower_extension(file) == ".json" && try_json(file, found))
        {
            sources.push_back(std::move(found));
        }
    }
    return sources;
}

std::vector<fs::path> files_in(fs::path const& folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
    {
        if (is_plain_file(entry->path()))
        {
            files.push_back(entry->path());
        }
    }
    if (error)
    {
        throw InputError(shown(folder) + ": cannot be read: " + error.message());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace veld
