#include "workflow/frames/FrameFiles.h"
#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/StepScope.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/words.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/files/wide_path.h"
#include "algorithmVeld/util/WinCallWrapper.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::CRangeDataIO;
using OrvaneAlgorithm::WinCallWrapper;

namespace
{

/// A path as the library's classes for frame files take it.
std::wstring widened(fs::path const& path)
{
    try
    {
        return OrvaneAlgorithm::detail::wide_from_path(path);
    }
    catch (std::system_error const&)
    {
        throw InputError(shown(path) + ": its name is no UTF-8");
    }
}

} // namespace

std::vector<fs::path> frame_files_in(fs::path const& folder)
{
    std::vector<fs::path> files;
    // The list puts the separator behind the folder, which so needs none of its own.
    std::wstring name = widened(folder);
    while (name.size() > 1 && name.back() == L'/')
    {
        name.pop_back();
    }
    for (auto const& path : WinCallWrapper::get_file_arr(name, L".rge", false))
    {
        files.push_back(OrvaneAlgorithm::detail::path_from_wide(path));
    }
    return files;
}

std::vector<fs::path> new_frame_files_in(fs::path const& folder, std::size_t frames)
{
    std::size_t const digits = std::max<std::size_t>(4, std::to_string(frames).size());
    std::vector<fs::path> files;
    for (std::size_t i = 0; i < frames; ++i)
    {
        files.push_back(folder / fmt::format("frame-{:0{}}.rge", i, digits));
    }
    for (auto const& file : frame_files_in(folder))
    {
        auto const is_same = [name = file.filename()](fs::path const& path)
        { return path.filename() == name; };
        if (std::none_of(files.begin(), files.end(), is_same))
        {
            throw InputError(shown(file) + ": is a frame of something else; an empty directory is "
                                           "needed for the output");
        }
    }
    return files;
}

std::string read_frame(fs::path const& path, RangeData& frame)
{
    std::string reason;
    CRangeDataIO::read_rge(widened(path), frame, reason);
    return reason;
}

void write_frame(OutputFile const& file, RangeData const& frame, Context& context)
{
    StepScope const scope(context, "write-frame", "write the frames");
    if (CRangeDataIO::write_rge(widened(file.temporary()), frame) != 0)
    {
        throw OperationError(shown(file.path()) + ": cannot be written");
    }
}

LoadedSource load_rge_folder(fs::path const& folder)
{
    LoadedSource source;
    source.files = frame_files_in(folder);
    source.frames.resize(source.files.size());
    for_each_index(source.frames.size(),
                   [&source](std::size_t i)
                   {
                       LoadedFrame& frame = source.frames[i];
                       frame.name = shown(source.files[i]);
                       frame.number = static_cast<int>(i);
                       frame.unusable = read_frame(source.files[i], frame.data);
                       if (frame.unusable.empty() && frame.data.get_vn() > 0 &&
                           !frame.data.has_vNormal)
                       {
                           frame.remarks.emplace_back("has no normals: computed from its grid");
                       }
                   });
    return source;
}

} // namespace veld
