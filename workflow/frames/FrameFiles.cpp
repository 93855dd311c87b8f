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

/// \param place what is written now \param name what the user knows it by
void write(fs::path const& place, fs::path const& name, RangeData const& frame)
{
    std::error_code error;
    if (CRangeDataIO::write_rge(widened(place), frame, error) != 0)
    {
        throw OperationError(shown(name) + ": cannot be written" +
                             (error ? ": " + why_not_written(error) : std::string()));
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

void write_frame(fs::path const& path, RangeData const& frame)
{
    write(path, path, frame);
}

void write_frame(OutputFile const& file, RangeData const& frame, Context& context)
{
    StepScope const scope(context, "write-frame", "write the frames");
    write(file.temporary(), file.path(), frame);
}

LoadedSource load_all(FrameStream const& stream)
{
    LoadedSource source;
    source.files = stream.files;
    source.frames.resize(stream.size);
    for_each_index(stream.size, [&](std::size_t i) { source.frames[i] = stream.load(i); });
    return source;
}

FrameStream stream_rge_folder(fs::path const& folder)
{
    FrameStream stream;
    stream.files = frame_files_in(folder);
    stream.size = stream.files.size();
    stream.load = [files = stream.files](std::size_t i)
    {
        LoadedFrame frame;
        frame.name = shown(files[i]);
        frame.number = static_cast<int>(i);
        frame.unusable = read_frame(files[i], frame.data);
        if (frame.unusable.empty() && frame.data.get_vn() > 0 && !frame.data.has_vNormal)
        {
            frame.remarks.emplace_back("has no normals: computed from its grid");
        }
        return frame;
    };
    return stream;
}

} // namespace veld
