#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/Numbers.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/words.h"

#include "algorithmVeld/common/range_scan_io.h"

#include <Eigen/Geometry>
#include <fmt/format.h>

#include <array>
#include <locale>
#include <sstream>

/// \file
/// Range scans of public collections: a `.conf` file with a line `bmesh FILE tx ty tz qx qy qz qw`
/// for each, and PLY files with range grids.

namespace veld
{

using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::Vector3d;

namespace
{

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

/// The pose of a row: its quaternion, scalar last, tells the turn from global coordinates to the
/// frame's, so it is turned round; the translation is used as it stands.
/// \return what is wrong with the row; empty on success
std::string parse_pose(std::vector<std::string> const& words, RigidMatrix& pose)
{
    constexpr std::size_t FIRST = 2;
    std::array<double, 7> values{};
    if (words.size() != FIRST + values.size())
    {
        return fmt::format("its pose has {} numbers and not 7", words.size() - FIRST);
    }
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        if (!parse_number(words[FIRST + i], values[i]))
        {
            return fmt::format("'{}' in its pose is no number", words[FIRST + i]);
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

} // namespace

LoadedSource load_range_scans(std::filesystem::path const& conf)
{
    LoadedSource source;
    source.files.push_back(conf);
    auto stream = open_input(conf);
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number)
    {
        auto const words = words_of(line);
        // Where the camera of a picture stands, and meshes made of the scans, are no frames.
        if (words.empty() || words[0] == "camera" || words[0] == "mesh" || words[0][0] == '#')
        {
            continue;
        }
        if (words[0] != "bmesh" || words.size() < 2)
        {
            throw InputError(fmt::format("{}: line {} is not understood", shown(conf), number));
        }
        LoadedFrame frame;
        source.files.push_back(path_beside(conf, words[1]));
        frame.file = source.files.back();
        frame.name = shown(frame.file);
        frame.sensor = Sensor::PLUS_Z;
        RigidMatrix pose;
        frame.unusable = parse_pose(words, pose);
        frame.data.set_rigidMatrix(pose);
        source.frames.push_back(std::move(frame));
    }
    if (stream.bad())
    {
        throw InputError(shown(conf) + ": cannot be read");
    }
    if (source.frames.empty())
    {
        throw InputError(shown(conf) + ": names no range scan: 'bmesh FILE tx ty tz qx qy qz qw'");
    }
    for_each_index(source.frames.size(), [&source](std::size_t i) { load_scan(source.frames[i]); });
    return source;
}

} // namespace veld
