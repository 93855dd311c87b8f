#pragma once

#include "Console.h"

#include "algorithmVeld/common/RangeData.h"

#include <cstddef>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace veld
{

using OrvaneAlgorithm::RangeData;

/// Where frames come from, as the command line names it.
struct FrameSourceOptions
{
    std::string source;
    double scale = 1.0; ///< of all lengths, to millimetres
};

/// Adds SOURCE and --scale.
void add_frame_source(CLI::App& app, FrameSourceOptions& options);

/// A frame, and what messages call it.
struct NamedFrame
{
    std::string name;
    RangeData data;
};

/// The frames of a source, in its order. Each has vertices, all of them finite, a pose that is a
/// rigid motion, and normals. Faces of a cell agree with the normals, and both look at the sensor
/// where the source tells where it is.
struct FrameSet
{
    std::vector<NamedFrame> frames;
    std::vector<std::string> files; ///< all that were read
    std::size_t left_out = 0;       ///< frames that could not be used
};

/// Loads the frames of a source: a folder of `.rge` files or of depth images with `cameras.json`,
/// that `cameras.json`, the description of text frames (JSON), or the `.conf` of range scans.
///
/// A frame that cannot be used is left out, and one that had to be mended is mended, both with a
/// warning that names it. Throws `InputError` where no frame is left.
FrameSet load_frames(FrameSourceOptions const& options, Console& console);

} // namespace veld
