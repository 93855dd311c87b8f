#include "workflow/frames/FrameSource.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/OutputFile.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

FrameSource described(fs::path const& path)
{
    Json json = read_json(path);
    bool const has_views = json.is_object() && json.contains("views");
    return {has_views ? FrameSourceKind::DEPTH_IMAGES : FrameSourceKind::TEXT_FRAMES, path,
            std::move(json)};
}

/// The lists of range scans in a folder.
std::vector<fs::path> scan_lists_in(fs::path const& folder)
{
    std::vector<fs::path> lists;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
    {
        std::error_code ignored;
        if (lower_extension(entry->path()) == ".conf" && entry->is_regular_file(ignored))
        {
            lists.push_back(entry->path());
        }
    }
    return lists;
}

FrameSource in_folder(fs::path const& folder)
{
    std::error_code error;
    fs::path const cameras = folder / "cameras.json";
    if (!frame_files_in(folder).empty())
    {
        return {FrameSourceKind::RGE_FOLDER, folder, {}};
    }
    if (fs::exists(cameras, error))
    {
        return described(cameras);
    }
    auto const lists = scan_lists_in(folder);
    if (lists.size() == 1)
    {
        return {FrameSourceKind::RANGE_SCANS, lists.front(), {}};
    }
    if (lists.size() > 1)
    {
        throw InputError(
            fmt::format("{}: holds {} .conf files: name one of them", shown(folder), lists.size()));
    }
    throw InputError(shown(folder) + ": holds no .rge files and no cameras.json, nor a .conf");
}

} // namespace

FrameSource find_frame_source(fs::path const& path)
{
    std::error_code error;
    if (fs::is_directory(path, error))
    {
        return in_folder(path);
    }
    std::string const extension = lower_extension(path);
    if (extension == ".json")
    {
        return described(path);
    }
    if (extension == ".conf")
    {
        return {FrameSourceKind::RANGE_SCANS, path, {}};
    }
    open_input(path); // to tell a missing file from one of another kind
    throw InputError(shown(path) +
                     ": is no source of frames: a folder of .rge files or of depth images "
                     "with cameras.json, a .json or a .conf");
}

} // namespace veld
