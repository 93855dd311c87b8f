#include "workflow/frames/SourceCopy.h"

#include "workflow/Error.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/frames/FrameSource.h"
#include "workflow/words.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/files/wide_path.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <system_error>

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::RangeData;

namespace
{

void write_twin(SourceCopy::Twin const& twin, OutputFile const& file)
{
    std::error_code error;
    fs::copy_file(twin.from, file.temporary(), fs::copy_options::overwrite_existing, error);
    if (error)
    {
        throw OperationError(shown(file.path()) + ": cannot be written: " + why_not_written(error));
    }
}

void write_posed(SourceCopy::Frame const& frame, OutputFile const& file)
{
    RangeData data;
    std::string const reason = read_frame(frame.from, data);
    if (!reason.empty())
    {
        throw InputError(shown(frame.from) + ": " + reason);
    }
    data.set_rigidMatrix(frame.pose);
    auto const name = OrvaneAlgorithm::detail::wide_from_path(file.temporary());
    if (OrvaneAlgorithm::CRangeDataIO::write_rge(name, data) != 0)
    {
        throw OperationError(shown(file.path()) + ": cannot be written");
    }
}

template <typename Files>
void append_files(Files const& files, fs::path const& folder, std::vector<fs::path>& list)
{
    for (auto const& file : files)
    {
        list.push_back(folder / file.name);
    }
}

} // namespace

OrvaneAlgorithm::RigidMatrix const* find_new(NewPoses const& poses, int number)
{
    auto const found = poses.find(number);
    return found != poses.end() && found->second.is_new ? &found->second.pose : nullptr;
}

SourceCopy copy_source(fs::path const& path, NewPoses const& poses)
{
    FrameSource const source = find_frame_source(path);
    switch (source.kind)
    {
    case FrameSourceKind::DEPTH_IMAGES:
        return copy_depth_images(source.path, source.description, poses);
    case FrameSourceKind::TEXT_FRAMES:
        return copy_text_frames(source.path, source.description, poses);
    case FrameSourceKind::RANGE_SCANS:
        return copy_range_scans(source.path, poses);
    case FrameSourceKind::RGE_FOLDER:
        break;
    }
    return copy_rge_folder(source.path, poses);
}

SourceCopy copy_rge_folder(fs::path const& folder, NewPoses const& poses)
{
    SourceCopy copy;
    auto const files = frame_files_in(folder);
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        auto const* const pose = find_new(poses, static_cast<int>(i));
        if (pose != nullptr)
        {
            copy.frames.push_back({files[i].filename(), files[i], *pose});
        }
        else
        {
            add_twin(copy, files[i].filename(), files[i]);
        }
    }
    return copy;
}

fs::path name_in_copy(fs::path const& named)
{
    fs::path const clean = named.lexically_normal();
    bool const leads_out =
        clean.is_absolute() || clean.has_root_path() || (!clean.empty() && *clean.begin() == "..");
    return leads_out ? clean.filename() : clean;
}

void add_twin(SourceCopy& copy, fs::path const& name, fs::path const& from)
{
    auto const is_same = [&](SourceCopy::Twin const& twin)
    { return twin.name == name && twin.from == from; };
    std::error_code error;
    if (fs::is_regular_file(from, error) &&
        std::none_of(copy.twins.begin(), copy.twins.end(), is_same))
    {
        copy.twins.push_back({name, from});
    }
}

std::vector<fs::path> files_of(SourceCopy const& copy, fs::path const& folder)
{
    std::vector<fs::path> files;
    append_files(copy.texts, folder, files);
    append_files(copy.twins, folder, files);
    append_files(copy.frames, folder, files);
    return files;
}

void write_copy(SourceCopy const& copy, fs::path const& folder, Outputs& outputs)
{
    for (auto const& text : copy.texts)
    {
        write_text_file(outputs.add(folder / text.name), text.text);
    }
    for (auto const& twin : copy.twins)
    {
        OrvaneAlgorithm::detail::poll_cancel();
        write_twin(twin, outputs.add(folder / twin.name));
    }
    for (auto const& frame : copy.frames)
    {
        OrvaneAlgorithm::detail::poll_cancel();
        write_posed(frame, outputs.add(folder / frame.name));
    }
}

} // namespace veld
