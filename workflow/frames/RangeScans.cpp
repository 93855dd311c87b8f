#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/Numbers.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/frames/SourceCopy.h"
#include "workflow/words.h"

#include "algorithmVeld/common/range_scan_io.h"

#include <Eigen/Geometry>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <locale>
#include <sstream>
#include <utility>

/// \file
/// Range scans of public collections: a `.conf` file with a line `bmesh FILE tx ty tz qx qy qz qw`
/// for each, and PLY files with range grids. Names with blanks stand in double quotes, or are what
/// stands before the seven numbers.

namespace veld
{

using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::Vector3d;

namespace
{

/// What the classic locale takes for white space.
constexpr char const* BLANKS = " \t\n\v\f\r";

std::vector<std::string> words_of(std::string const& line)
{
    std::istringstream stream(line);
    stream.imbue(std::locale::classic());
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
    {
        words.push_back(word);
    }
    return words;
}

constexpr std::size_t POSE_NUMBERS = 7;

/// What stands behind `bmesh`.
struct ScanRow
{
    std::string file;
    std::vector<std::string> pose; ///< word by word, whatever they are
};

bool is_number(std::string const& word)
{
    double ignored = 0.0;
    return parse_number(word, ignored);
}

/// Where the name of a row without quotes ends. Behind it stands the pose; a name with blanks is
/// known by the seven numbers that end the row.
std::size_t count_name_words(std::vector<std::string> const& words)
{
    auto const is_no_number = [](std::string const& word) { return !is_number(word); };
    auto const last = std::find_if(words.rbegin(), words.rend(), is_no_number);
    bool const has_pose = last - words.rbegin() == static_cast<std::ptrdiff_t>(POSE_NUMBERS);
    return has_pose ? words.size() - POSE_NUMBERS : 1;
}

/// The text up to the end of its word of this number, counted from 1.
std::string first_words(std::string const& text, std::size_t count)
{
    std::size_t end = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        end = text.find_first_of(BLANKS, text.find_first_not_of(BLANKS, end));
    }
    return text.substr(0, end);
}

/// \return false if there is no name, or none that ends
bool parse_row(std::string const& text, ScanRow& row)
{
    std::size_t const begin = text.find_first_not_of(BLANKS);
    if (begin == std::string::npos)
    {
        return false;
    }
    if (text[begin] == '"')
    {
        std::size_t const end = text.find('"', begin + 1);
        if (end == std::string::npos || end == begin + 1)
        {
            return false;
        }
        row = {text.substr(begin + 1, end - begin - 1), words_of(text.substr(end + 1))};
        return true;
    }
    row.pose = words_of(text);
    std::size_t const n = count_name_words(row.pose);
    row.file = first_words(text.substr(begin), n);
    row.pose.erase(row.pose.begin(), row.pose.begin() + static_cast<std::ptrdiff_t>(n));
    return true;
}

/// The pose of a row: its quaternion, scalar last, tells the turn from global coordinates to the
/// frame's, so it is turned round; the translation is used as it stands.
/// \return what is wrong with the row; empty on success
std::string parse_pose(std::vector<std::string> const& words, RigidMatrix& pose)
{
    std::array<double, POSE_NUMBERS> values{};
    if (words.size() != values.size())
    {
        return fmt::format("its pose has {} numbers and not {}", words.size(), values.size());
    }
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        if (!parse_number(words[i], values[i]))
        {
            return fmt::format("'{}' in its pose is no number", words[i]);
        }
    }
    Eigen::Quaterniond const turn(values[6], values[3], values[4], values[5]);
    if (!(turn.norm() > 0.0))
    {
        return "the quaternion of its pose is zero";
    }
    pose.set_rotation(turn.normalized().toRotationMatrix().transpose());
    pose.set_translation(Vector3d(values[0], values[1], values[2]));
    return {};
}

/// Reads the file of a frame that has its name and its pose.
void load_scan(LoadedFrame& frame)
{
    if (!frame.unusable.empty())
    {
        return;
    }
    RigidMatrix const pose = frame.data.get_rigidMatrix();
    std::string error;
    if (!read_range_ply(frame.file.string(), frame.data, error))
    {
        frame.unusable = error.substr(error.find(frame.name) == 0 ? frame.name.size() + 2 : 0);
        return;
    }
    frame.data.set_rigidMatrix(pose);
}

/// Reads a list line by line: `take_row(row)` for each scan, `take_other(line)` for lines that are
/// none.
template <typename TakeRow, typename TakeOther>
void read_lines(std::filesystem::path const& conf, TakeRow const& take_row,
                TakeOther const& take_other)
{
    auto stream = open_input(conf);
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number)
    {
        auto const words = words_of(line);
        // Where the camera of a picture stands, and meshes made of the scans, are no frames.
        if (words.empty() || words[0] == "camera" || words[0] == "mesh" || words[0][0] == '#')
        {
            take_other(line);
            continue;
        }
        ScanRow row;
        if (words[0] != "bmesh" || !parse_row(line.substr(line.find("bmesh") + 5), row))
        {
            throw InputError(fmt::format("{}: line {} is not understood", shown(conf), number));
        }
        take_row(row);
    }
    if (stream.bad())
    {
        throw InputError(shown(conf) + ": cannot be read");
    }
}

/// The frames of a list, with their poses and without their points.
LoadedSource read_list(std::filesystem::path const& conf)
{
    LoadedSource source;
    source.files.push_back(conf);
    auto const take_row = [&](ScanRow const& row)
    {
        LoadedFrame frame;
        source.files.push_back(path_beside(conf, row.file));
        frame.file = source.files.back();
        frame.name = shown(frame.file);
        frame.sensor = Sensor::PLUS_Z;
        frame.number = static_cast<int>(source.frames.size());
        RigidMatrix pose;
        frame.unusable = parse_pose(row.pose, pose);
        frame.data.set_rigidMatrix(pose);
        source.frames.push_back(std::move(frame));
    };
    read_lines(conf, take_row, [](std::string const&) {});
    if (source.frames.empty())
    {
        throw InputError(shown(conf) + ": names no range scan: 'bmesh FILE tx ty tz qx qy qz qw'");
    }
    return source;
}

/// A pose as a row has it.
std::string pose_text(RigidMatrix const& pose)
{
    Eigen::Quaterniond const turn(Eigen::Matrix3d(pose.get_rotation().transpose()));
    Vector3d const& shift = pose.get_translation();
    return fmt::format("{} {} {} {} {} {} {}", shift.x(), shift.y(), shift.z(), turn.x(), turn.y(),
                       turn.z(), turn.w());
}

std::string in_quotes(std::string const& name)
{
    return name.find_first_of(BLANKS) == std::string::npos ? name : '"' + name + '"';
}

} // namespace

FrameStream stream_range_scans(std::filesystem::path const& conf)
{
    LoadedSource source = read_list(conf);
    FrameStream stream;
    stream.files = std::move(source.files);
    stream.size = source.frames.size();
    stream.load = [frames = std::move(source.frames)](std::size_t i)
    {
        LoadedFrame frame = frames[i];
        load_scan(frame);
        return frame;
    };
    return stream;
}

std::vector<std::filesystem::path> range_scan_files(std::filesystem::path const& conf)
{
    return read_list(conf).files;
}

SourceCopy copy_range_scans(std::filesystem::path const& conf, NewPoses const& poses)
{
    SourceCopy copy;
    copy.entry = conf.filename();
    std::string text;
    int number = 0;
    auto const take_row = [&](ScanRow const& row)
    {
        auto const name = name_in_copy(row.file);
        add_twin(copy, name, path_beside(conf, row.file));
        auto const* const pose = find_new(poses, number++);
        text += fmt::format("bmesh {} {}\n", in_quotes(name.generic_string()),
                            pose != nullptr ? pose_text(*pose)
                                            : fmt::format("{}", fmt::join(row.pose, " ")));
    };
    read_lines(conf, take_row, [&](std::string const& line) { text += line + '\n'; });
    copy.texts.push_back({copy.entry, text});
    return copy;
}

} // namespace veld
