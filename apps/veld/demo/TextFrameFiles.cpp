#include "demo/TextFrameFiles.h"

#include "workflow/ForEachIndex.h"
#include "workflow/files/Json.h"

#include <fmt/format.h>

#include <iterator>

namespace veld::cli
{

using OrvaneAlgorithm::RigidMatrix;

namespace
{

char const* const POINTS_PREFIX = "cloud";
char const* const POINTS_SUFFIX = ".asc";
char const* const POSE_PREFIX = "rt";
char const* const POSE_SUFFIX = ".txt";

/// One record for each pixel, of which the last three numbers are read over.
std::string point_text(ScannedFrame const& frame)
{
    std::string text;
    for (auto const& point : frame.points)
    {
        if (point == Vector3f::Zero())
        {
            text += "0 0 0 0 0 0\n";
            continue;
        }
        fmt::format_to(std::back_inserter(text), "{:.4f} {:.4f} {:.4f} 0 0 0\n", point.x(),
                       point.y(), point.z());
    }
    return text;
}

std::string pose_text(RigidMatrix const& pose)
{
    std::string text;
    for (int row = 0; row < 3; ++row)
    {
        auto const r = pose.get_rotation().row(row);
        text += fmt::format("{:.10f} {:.10f} {:.10f}\n", r.x(), r.y(), r.z());
    }
    auto const& t = pose.get_translation();
    return text + fmt::format("{:.6f} {:.6f} {:.6f}\n", t.x(), t.y(), t.z());
}

Json description_of(std::vector<ScannedFrame> const& frames)
{
    return {{"rows", frames.at(0).rows},
            {"columns", frames.at(0).columns},
            {"points", {{"prefix", POINTS_PREFIX}, {"suffix", POINTS_SUFFIX}}},
            {"poses", {{"form", "twelve"}, {"prefix", POSE_PREFIX}, {"suffix", POSE_SUFFIX}}},
            {"first", 1},
            {"last", frames.size()},
            {"sensor", "origin"}};
}

} // namespace

std::string TextFrameFiles::file(std::string const& name) const
{
    return (std::filesystem::path(directory_) / name).string();
}

std::string TextFrameFiles::points(std::size_t frame) const
{
    return file(fmt::format("{}{}{}", POINTS_PREFIX, frame + 1, POINTS_SUFFIX));
}

std::string TextFrameFiles::pose(std::size_t frame) const
{
    return file(fmt::format("{}{}{}", POSE_PREFIX, frame + 1, POSE_SUFFIX));
}

std::vector<std::string> TextFrameFiles::all() const
{
    std::vector<std::string> files{description()};
    for (std::size_t i = 0; i < frames_; ++i)
    {
        files.push_back(points(i));
        files.push_back(pose(i));
    }
    return files;
}

std::string TextFrameFiles::save(std::vector<ScannedFrame> const& frames, Outputs& outputs) const
{
    StagingDirectory const& staging = outputs.make_staging(directory_);
    OutputFile const& description_file = outputs.add_staged(description(), staging);
    write_text_file(description_file, description_of(frames).dump(2) + "\n");
    std::vector<OutputFile const*> point_files;
    std::vector<OutputFile const*> pose_files;
    for (std::size_t i = 0; i < frames.size(); ++i)
    {
        point_files.push_back(&outputs.add_staged(points(i), staging));
        pose_files.push_back(&outputs.add_staged(pose(i), staging));
    }
    for_each_index(frames.size(),
                   [&](std::size_t i)
                   {
                       write_text_file(*point_files[i], point_text(frames[i]));
                       write_text_file(*pose_files[i], pose_text(frames[i].pose));
                   });
    return description_file.temporary().string();
}

} // namespace veld::cli
