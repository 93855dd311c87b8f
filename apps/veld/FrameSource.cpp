#include "FrameSource.h"
#include "ForEachIndex.h"

#include "CommonOptions.h"
#include "Errors.h"
#include "FrameFiles.h"
#include "FrameLoaders.h"
#include "HoleSummary.h"
#include "InputFile.h"
#include "Session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// No scanner of objects has neighbours this near; in metres nearly all have.
constexpr double nearest_believable_neighbours = 0.01;

bool has_extension(std::string const& path, char const* extension)
{
    std::string text = fs::path(path).extension().string();
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c)
                   { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text == extension;
}

LoadedSource load_described(std::string const& path)
{
    Json const json = read_json(path);
    return json.is_object() && json.contains("views") ? load_depth_images(path, json)
                                                      : load_text_frames(path, json);
}

LoadedSource load_folder(std::string const& folder)
{
    std::error_code error;
    std::string const cameras = (fs::path(folder) / "cameras.json").string();
    if (frame_files_in(folder).empty() && fs::exists(cameras, error))
    {
        return load_described(cameras);
    }
    return load_rge_folder(folder);
}

LoadedSource load_source(std::string const& source)
{
    std::error_code error;
    if (fs::is_directory(source, error))
    {
        return load_folder(source);
    }
    if (has_extension(source, ".json"))
    {
        return load_described(source);
    }
    if (has_extension(source, ".conf"))
    {
        return load_range_scans(source);
    }
    open_input(source); // to tell a missing file from one of another kind
    throw InputError(source + ": is no source of frames: a folder of .rge files or of depth images "
                              "with cameras.json, a .json or a .conf");
}

/// Brings channels, cells and flags in order, and takes points out that are no numbers.
void repair(LoadedFrame& frame)
{
    std::size_t const before = frame.data.get_vn();
    if (!frame.data.is_legal())
    {
        frame.data.repair_illegal();
        std::size_t const gone = before - frame.data.get_vn();
        frame.remarks.push_back(
            gone > 0 ? fmt::format("{} taken out: no finite coordinates", counted(gone, "point"))
                     : "cells or channels that did not fit were mended");
    }
    frame.data.squeeze();
}

/// Makes faces and normals agree and look at the sensor.
void orient(LoadedFrame& frame)
{
    if (looks_away(frame.data, frame.sensor))
    {
        mirror_columns(frame.data);
    }
    if (!frame.data.has_vNormal)
    {
        compute_normals(frame.data);
    }
    else if (contradicts_normals(frame.data))
    {
        mirror_columns(frame.data);
        frame.remarks.emplace_back("its grid ran against its normals: mirrored");
    }
}

void finish_frame(LoadedFrame& frame, double scale)
{
    if (frame.unusable.empty() && !has_rigid_pose(frame.data))
    {
        frame.unusable = "its pose is no rotation and translation";
    }
    if (!frame.unusable.empty())
    {
        return;
    }
    scale_frame(frame.data, scale);
    repair(frame);
    if (frame.data.get_vn() == 0)
    {
        frame.unusable = "it holds no points";
        return;
    }
    orient(frame);
}

void warn_of_units(std::string const& source, FrameSet const& set, Console& console)
{
    std::vector<double> spacings(set.frames.size());
    for_each_index(spacings.size(),
                   [&](std::size_t i) { spacings[i] = spacing_of(set.frames[i].data); });
    auto const middle = spacings.begin() + static_cast<std::ptrdiff_t>(spacings.size() / 2);
    std::nth_element(spacings.begin(), middle, spacings.end());
    if (*middle > 0.0 && *middle < nearest_believable_neighbours)
    {
        console.warn(fmt::format("{}: neighbours are {:.3g} mm apart: the units look like metres "
                                 "(--scale 1000 converts)",
                                 source, *middle));
    }
}

} // namespace

void add_frame_source(CLI::App& app, FrameSourceOptions& options)
{
    constexpr double largest_scale = 1e6;
    app.add_option("SOURCE", options.source,
                   "Folder of .rge files or of depth images with cameras.json, description of text "
                   "frames (.json), or list of range scans (.conf)")
        ->required()
        ->option_text(" ");
    add_number(app, "--scale", options.scale, 1.0 / largest_scale, largest_scale,
               "Multiply all lengths by this, 1000 for metres (default: 1)");
}

FrameSet load_frames(FrameSourceOptions const& options, Console& console)
{
    Step const step("read-frames");
    LoadedSource loaded = load_source(options.source);
    for_each_index(loaded.frames.size(),
                   [&](std::size_t i) { finish_frame(loaded.frames[i], options.scale); });
    FrameSet set;
    set.files = std::move(loaded.files);
    for (auto& frame : loaded.frames)
    {
        if (!frame.unusable.empty())
        {
            console.warn(fmt::format("{}: left out: {}", frame.name, frame.unusable));
            ++set.left_out;
            continue;
        }
        for (auto const& remark : frame.remarks)
        {
            console.warn(fmt::format("{}: {}", frame.name, remark));
        }
        set.frames.push_back({frame.name, std::move(frame.data)});
    }
    if (set.frames.empty())
    {
        throw InputError(options.source + ": holds no frame that can be used");
    }
    warn_of_units(options.source, set, console);
    return set;
}

} // namespace veld
