#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonFields.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/frames/SourceCopy.h"
#include "workflow/words.h"

#include "algorithmVeld/common/files/limits.h"
#include "algorithmVeld/reconstruction/PointCloud2RangeData.h"
#include "algorithmVeld/util/UtilTool.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>

/// \file
/// Text frames with their pose files, described by a JSON file beside them.

namespace veld
{

using OrvaneAlgorithm::PointCloud2RangeData;
using OrvaneAlgorithm::UtilTool;
using OrvaneAlgorithm::detail::MOST_CELLS;

namespace
{

enum class PoseForm
{
    TWELVE, ///< a file of 12 numbers a frame
    COMMON, ///< one file for all
    SIXTEEN ///< a file of 16 numbers a frame
};

struct NameParts
{
    std::string prefix;
    std::string suffix;
};

struct TextScan
{
    std::string description;
    std::string directory;
    int rows = 0;
    int columns = 0;
    NameParts points;
    NameParts poses;
    PoseForm form = PoseForm::TWELVE;
    bool has_header = true;
    bool has_range = false; ///< whether the numbers of the frames are told
    int first = 0;
    int last = -1;
    Sensor sensor = Sensor::ORIGIN;
};

template <typename Value>
Value one_of(std::string const& path, std::string const& key, std::string const& text,
             std::vector<std::pair<char const*, Value>> const& known)
{
    std::vector<char const*> names;
    for (auto const& [name, value] : known)
    {
        if (text == name)
        {
            return value;
        }
        names.push_back(name);
    }
    throw InputError(
        fmt::format("{}: '{}' has to be one of {}", path, key, fmt::join(names, ", ")));
}

NameParts parse_names(JsonFields const& fields)
{
    return {fields.text("prefix", ""), fields.text("suffix", "")};
}

void parse_poses(JsonFields const& fields, TextScan& scan)
{
    fields.allow_only({"form", "prefix", "suffix", "header"});
    scan.form = one_of<PoseForm>(scan.description, "form", fields.text("form"),
                                 {{"twelve", PoseForm::TWELVE},
                                  {"common", PoseForm::COMMON},
                                  {"sixteen", PoseForm::SIXTEEN}});
    scan.poses = parse_names(fields);
    if (fields.has("header") && scan.form != PoseForm::SIXTEEN)
    {
        throw InputError(scan.description + ": only poses of the form sixteen have a 'header'");
    }
    scan.has_header = fields.flag("header", true);
}

/// The numbers of the frames, which a common pose file brings along.
void parse_range(JsonFields const& fields, TextScan& scan)
{
    constexpr int LARGEST_NUMBER = 999999999;
    constexpr int MOST_FRAMES = 100000;
    scan.has_range = scan.form != PoseForm::COMMON || fields.has("first") || fields.has("last");
    if (!scan.has_range)
    {
        return;
    }
    scan.first = fields.integer("first", 0, LARGEST_NUMBER);
    scan.last = fields.integer("last", 0, LARGEST_NUMBER);
    if (scan.last < scan.first || scan.last - scan.first >= MOST_FRAMES)
    {
        throw InputError(fmt::format("{}: 'first' to 'last' have to be 1 to {} frames",
                                     scan.description, MOST_FRAMES));
    }
}

void parse_grid(JsonFields const& fields, TextScan& scan)
{
    constexpr int LARGEST = std::numeric_limits<int>::max();
    scan.rows = fields.integer("rows", 1, LARGEST);
    scan.columns = fields.integer("columns", 1, LARGEST);
    if (scan.columns > MOST_CELLS / scan.rows)
    {
        throw InputError(fmt::format("{}: a grid of {} 'rows' and {} 'columns' is too large: more "
                                     "than {} pixels",
                                     scan.description, scan.rows, scan.columns, MOST_CELLS));
    }
}

TextScan parse_scan(std::filesystem::path const& path, Json const& json)
{
    JsonFields const fields(json, shown(path) + ": ");
    fields.allow_only(
        {"rows", "columns", "directory", "points", "poses", "first", "last", "sensor"});
    TextScan scan;
    scan.description = shown(path);
    scan.directory = path_beside(path, fields.text("directory", ".")).string();
    parse_grid(fields, scan);
    fields.object("points").allow_only({"prefix", "suffix"});
    scan.points = parse_names(fields.object("points"));
    parse_poses(fields.object("poses"), scan);
    parse_range(fields, scan);
    scan.sensor = one_of<Sensor>(
        scan.description, "sensor", fields.text("sensor", "origin"),
        {{"origin", Sensor::ORIGIN}, {"+z", Sensor::PLUS_Z}, {"-z", Sensor::MINUS_Z}});
    return scan;
}

std::string file_name(TextScan const& scan, NameParts const& parts, int number)
{
    UtilTool::FileSeriesDesc series;
    series.set_name_info(scan.directory, parts.prefix, parts.suffix);
    series.set_fileNumArr({number});
    std::vector<std::string> names;
    series.get_filenames(names);
    return names.at(0);
}

std::string common_pose_file(TextScan const& scan)
{
    return scan.directory + "/" + scan.poses.prefix + scan.poses.suffix;
}

std::string pose_file(TextScan const& scan, int number)
{
    return scan.form == PoseForm::COMMON ? common_pose_file(scan)
                                         : file_name(scan, scan.poses, number);
}

PointCloud2RangeData reader_for(TextScan const& scan)
{
    PointCloud2RangeData reader;
    reader.set_ImageSize(scan.rows, scan.columns);
    reader.set_DataInputDir(scan.directory);
    reader.set_PointCloudName(scan.points.prefix, scan.points.suffix);
    reader.set_RtParamName(scan.poses.prefix, scan.poses.suffix);
    reader.set_FrameIdInfo(scan.first, scan.last);
    reader.set_rt_file_with_12_params(scan.form == PoseForm::TWELVE);
    reader.set_RtParamStoreType(scan.form == PoseForm::COMMON);
    reader.set_HasFrameIdInfo(scan.has_header);
    reader.set_OwnPointsOnly(true);
    reader.Initialize();
    return reader;
}

void read_all(TextScan const& scan, PointCloud2RangeData& reader)
{
    if (scan.form == PoseForm::COMMON)
    {
        open_input(common_pose_file(scan)); // the library takes a missing one for no frames
    }
    try
    {
        reader.processPointCloud();
    }
    catch (std::out_of_range const&)
    {
        // The list ends with the frame whose pose was being read.
        throw InputError(pose_file(scan, reader.get_frame_id_arr().back()) +
                         ": a header line has no number");
    }
}

/// Why a frame cannot be used; empty if it can.
std::string trouble_of(TextScan const& scan, PointCloud2RangeData::FrameInput const& input,
                       int number)
{
    if (!input.has_points)
    {
        return "there is no point file " + file_name(scan, scan.points, number);
    }
    if (input.pose_values_missing > 0)
    {
        return fmt::format("its pose lacks {} of {} numbers", input.pose_values_missing,
                           scan.form == PoseForm::SIXTEEN ? 16 : 12);
    }
    return input.has_pose ? std::string() : "its pose file is that of another frame";
}

LoadedFrame take_frame(TextScan const& scan, PointCloud2RangeData& reader, int index)
{
    int const number = reader.get_frame_id(index);
    auto const& input = reader.get_frame_input(index);
    LoadedFrame frame;
    frame.name = fmt::format("{}: frame {}", scan.description, number);
    frame.sensor = scan.sensor;
    frame.number = number;
    frame.unusable = trouble_of(scan, input, number);
    frame.data = std::move(reader.get_rangeData(index));
    auto const pixels =
        static_cast<std::size_t>(scan.rows) * static_cast<std::size_t>(scan.columns);
    if (frame.unusable.empty() && input.points_read < pixels)
    {
        frame.remarks.push_back(fmt::format("its point file ends after {} of {} pixels: the others "
                                            "hold no points",
                                            input.points_read, pixels));
    }
    return frame;
}

/// A frame that was expected and has no pose.
LoadedFrame missing_frame(TextScan const& scan, int number)
{
    LoadedFrame frame;
    frame.name = fmt::format("{}: frame {}", scan.description, number);
    frame.number = number;
    frame.unusable = "there is no pose for it in " + pose_file(scan, number);
    return frame;
}

} // namespace

LoadedSource load_text_frames(std::filesystem::path const& path, Json const& description)
{
    TextScan const scan = parse_scan(path, description);
    PointCloud2RangeData reader = reader_for(scan);
    read_all(scan, reader);
    LoadedSource source;
    source.files.push_back(path);
    std::set<int> numbers;
    for (int i = 0; i < static_cast<int>(reader.get_frames()); ++i)
    {
        LoadedFrame frame = take_frame(scan, reader, i);
        int const number = reader.get_frame_id(i);
        if (numbers.insert(number).second)
        {
            source.files.push_back(pose_file(scan, number));
            source.files.push_back(file_name(scan, scan.points, number));
        }
        else
        {
            frame.unusable = "its number stands twice in the pose file";
        }
        source.frames.push_back(std::move(frame));
    }
    for (int number = scan.first; scan.has_range && number <= scan.last; ++number)
    {
        if (numbers.count(number) == 0)
        {
            source.frames.push_back(missing_frame(scan, number));
        }
    }
    std::sort(source.files.begin(), source.files.end());
    source.files.erase(std::unique(source.files.begin(), source.files.end()), source.files.end());
    return source;
}

namespace
{

/// Loads the one frame of a number.
LoadedFrame load_frame(TextScan scan, int number)
{
    scan.first = number;
    scan.last = number;
    PointCloud2RangeData reader = reader_for(scan);
    read_all(scan, reader);
    return reader.get_frames() > 0 ? take_frame(scan, reader, 0) : missing_frame(scan, number);
}

FrameStream stream_of(LoadedSource source)
{
    FrameStream stream;
    stream.files = std::move(source.files);
    stream.size = source.frames.size();
    stream.load = [frames = std::move(source.frames)](std::size_t i) { return frames[i]; };
    return stream;
}

} // namespace

FrameStream stream_text_frames(std::filesystem::path const& path, Json const& description)
{
    TextScan const scan = parse_scan(path, description);
    if (scan.form == PoseForm::COMMON)
    {
        return stream_of(load_text_frames(path, description));
    }
    FrameStream stream;
    stream.size = static_cast<std::size_t>(scan.last - scan.first) + 1;
    stream.files.push_back(path);
    for (int number = scan.first; number <= scan.last; ++number)
    {
        stream.files.push_back(pose_file(scan, number));
        stream.files.push_back(file_name(scan, scan.points, number));
    }
    stream.load = [scan](std::size_t i)
    { return load_frame(scan, scan.first + static_cast<int>(i)); };
    return stream;
}

namespace
{

using OrvaneAlgorithm::RigidMatrix;

/// Three rows of a pose, each with the translation behind the rotation.
std::string rows_text(RigidMatrix const& pose)
{
    std::string text;
    for (int row = 0; row < 3; ++row)
    {
        auto const& turn = pose.get_rotation();
        text += fmt::format("{} {} {} {}\n", turn(row, 0), turn(row, 1), turn(row, 2),
                            pose.get_translation()[row]);
    }
    return text;
}

/// The rotation by rows, then the translation.
std::string twelve_text(RigidMatrix const& pose)
{
    std::string text;
    for (int row = 0; row < 3; ++row)
    {
        auto const& turn = pose.get_rotation();
        text += fmt::format("{} {} {}\n", turn(row, 0), turn(row, 1), turn(row, 2));
    }
    auto const& shift = pose.get_translation();
    return text + fmt::format("{} {} {}\n", shift.x(), shift.y(), shift.z());
}

std::string pose_text_of(TextScan const& scan, int number, RigidMatrix const& pose)
{
    switch (scan.form)
    {
    case PoseForm::TWELVE:
        return twelve_text(pose);
    case PoseForm::COMMON:
        return fmt::format("frame {}\n", number) + rows_text(pose);
    case PoseForm::SIXTEEN:
        break;
    }
    return (scan.has_header ? fmt::format("frame 1\nframe {}\n", number) : std::string()) +
           rows_text(pose) + "0 0 0 1\n";
}

/// The numbers of the frames that have a pose of their own, and of all that are expected.
std::set<int> numbers_of(TextScan const& scan, NewPoses const& poses)
{
    std::set<int> numbers;
    for (auto const& [number, pose] : poses)
    {
        numbers.insert(number);
    }
    for (int number = scan.first; scan.has_range && number <= scan.last; ++number)
    {
        numbers.insert(number);
    }
    return numbers;
}

/// Names files as they are called in the copy, where all stand beside the description.
NameParts parts_in_copy(NameParts parts)
{
    bool const names_folder = !parts.prefix.empty() && parts.prefix.back() == '/';
    parts.prefix = names_folder ? std::string() : name_in_copy(parts.prefix).generic_string();
    parts.prefix = parts.prefix == "." ? std::string() : parts.prefix;
    return parts;
}

} // namespace

SourceCopy copy_text_frames(std::filesystem::path const& path, Json const& description,
                            NewPoses const& poses)
{
    TextScan const scan = parse_scan(path, description);
    TextScan there = scan;
    there.directory = ".";
    there.points = parts_in_copy(scan.points);
    there.poses = parts_in_copy(scan.poses);
    SourceCopy copy;
    copy.entry = path.filename();
    std::string common;
    for (int const number : numbers_of(scan, poses))
    {
        auto const place = [](std::string const& name)
        { return std::filesystem::path(name).lexically_normal(); };
        add_twin(copy, place(file_name(there, there.points, number)),
                 file_name(scan, scan.points, number));
        auto const* const pose = find_new(poses, number);
        if (scan.form == PoseForm::COMMON)
        {
            // One file for all: also what stays is written anew.
            auto const any = poses.find(number);
            common += any != poses.end() ? pose_text_of(scan, number, any->second.pose) : "";
        }
        else if (pose != nullptr)
        {
            copy.texts.push_back(
                {place(pose_file(there, number)), pose_text_of(scan, number, *pose)});
        }
        else
        {
            add_twin(copy, place(pose_file(there, number)), pose_file(scan, number));
        }
    }
    if (scan.form == PoseForm::COMMON)
    {
        copy.texts.push_back(
            {std::filesystem::path(common_pose_file(there)).lexically_normal(), common});
    }
    Json json = description;
    json.erase("directory");
    json["points"]["prefix"] = there.points.prefix;
    json["poses"]["prefix"] = there.poses.prefix;
    copy.texts.push_back({copy.entry, json.dump(1) + '\n'});
    return copy;
}

} // namespace veld
