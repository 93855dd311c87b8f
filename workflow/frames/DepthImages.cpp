#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonFields.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/words.h"

#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/image_io.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>

/// \file
/// Depth images: `cameras.json` with a list of views, each with intrinsics, the pose from global to
/// camera coordinates, and a PNG file of depths in millimetres.

namespace veld
{

using OrvaneAlgorithm::CameraInParam;
using OrvaneAlgorithm::Image;
using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::Vector3d;

namespace
{

using DepthImage = Image<1, std::uint16_t>;

constexpr std::uint16_t TOO_FAR = 65535;

/// A camera that sees two neighbouring pixels on one surface, and their depths differ by more than
/// this part, looks along the surface: with 500 pixels of focal length, under a fortieth of a
/// degree short of 88. So it is the rim of one thing before another one.
constexpr double LARGEST_JUMP = 0.05;

/// What a view tells beside its image.
struct View
{
    std::string name;
    int width = 0;
    int height = 0;
    CameraInParam camera{1.0, 1.0, 0.0, 0.0};
    RigidMatrix pose; ///< camera to global
};

/// How many millimetres the unit of the poses is long.
double unit_of(Json const& cameras, std::string const& name)
{
    std::string const units = JsonFields(cameras, name + ": ").text("units", "millimetre");
    auto const begins_with = [&units](char const* word) { return units.rfind(word, 0) == 0; };
    if (begins_with("metre") || begins_with("meter") || units == "m")
    {
        return 1000.0;
    }
    if (begins_with("millimetre") || begins_with("millimeter") || begins_with("mm"))
    {
        return 1.0;
    }
    throw InputError(fmt::format("{}: 'units' has to be metre or millimetre, the unit of the "
                                 "poses, and is '{}'",
                                 name, units));
}

/// The camera of the depth image: what stands under a key with `depth_` in front, and where that is
/// missing under the key itself, which is the photograph's.
class DepthCamera
{
public:
    explicit DepthCamera(JsonFields const& fields) : fields_(fields) {}

    int side(std::string const& key) const
    {
        constexpr int LONGEST_SIDE = 1 << 20;
        return fields_.integer(name_of(key), 1, LONGEST_SIDE);
    }

    /// The intrinsics of a photograph hold for a depth image of the same size only.
    CameraInParam intrinsics() const
    {
        bool const is_own_size = differs("width") || differs("height");
        auto const number = [&](char const* key)
        { return fields_.number(is_own_size ? PREFIX + std::string(key) : name_of(key)); };
        double const fx = number("fx");
        double const fy = number("fy");
        if (!(fx > 0.0 && fy > 0.0))
        {
            throw InputError("'fx' and 'fy' have to be more than 0");
        }
        double const cx = number("cx");
        double const cy = number("cy");
        return CameraInParam(fx, fy, cx, cy);
    }

private:
    static constexpr char const* PREFIX = "depth_";

    std::string name_of(std::string const& key) const
    {
        return fields_.has(PREFIX + key) ? PREFIX + key : key;
    }

    bool differs(std::string const& side_key) const
    {
        return fields_.has(side_key) && name_of(side_key) != side_key &&
               fields_.number(name_of(side_key)) != fields_.number(side_key);
    }

    JsonFields const& fields_;
};

View parse_view(Json const& json, double unit)
{
    JsonFields const fields(json, "");
    DepthCamera const camera(fields);
    View view;
    view.width = camera.side("width");
    view.height = camera.side("height");
    view.camera = camera.intrinsics();
    auto const rows = fields.rows("R", 3, 3);
    auto const shift = fields.numbers("t", 3);
    RigidMatrix from_global;
    from_global.set_rotation(
        Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor> const>(rows.data()));
    from_global.set_translation(Vector3d(shift[0], shift[1], shift[2]) * unit);
    view.pose = from_global.inverse();
    return view;
}

bool is_depth(std::uint16_t depth)
{
    return depth != 0 && depth != TOO_FAR;
}

/// Whether the cell that begins at a pixel lies on one surface.
bool is_cell(DepthImage const& image, int row, int column)
{
    if (row + 1 >= image.height() || column + 1 >= image.width())
    {
        return false;
    }
    std::array<std::uint16_t, 4> const depths{
        *image.pixel(column, row), *image.pixel(column + 1, row), *image.pixel(column, row + 1),
        *image.pixel(column + 1, row + 1)};
    auto const [nearest, farthest] = std::minmax_element(depths.begin(), depths.end());
    return std::all_of(depths.begin(), depths.end(), is_depth) &&
           *farthest - *nearest <= LARGEST_JUMP * *nearest;
}

RangeData frame_of(DepthImage const& image, View const& view)
{
    RangeData frame;
    frame.set_grid_size(image.height(), image.width());
    frame.set_rigidMatrix(view.pose);
    for (int row = 0; row < image.height(); ++row)
    {
        for (int column = 0; column < image.width(); ++column)
        {
            std::uint16_t const depth = *image.pixel(column, row);
            if (!is_depth(depth))
            {
                continue;
            }
            Vector3d const ray((column - view.camera.get_cx()) / view.camera.get_fx(),
                               (row - view.camera.get_cy()) / view.camera.get_fy(), 1.0);
            auto const vertex =
                frame.add_vCoord_and_vUV((ray * depth).cast<float>(), {row, column});
            frame.set_cellFlag(vertex, static_cast<char>(is_cell(image, row, column)));
        }
    }
    return frame;
}

void load_view(LoadedFrame& frame, Json const& json, double unit)
{
    View view;
    try
    {
        view = parse_view(json, unit);
    }
    catch (InputError const& error)
    {
        frame.unusable = std::string("its view: ") + error.what();
        return;
    }
    DepthImage image;
    int const code = read_depth_image(frame.file.string(), image);
    if (code != 0)
    {
        frame.unusable = code == 1 ? "it cannot be opened or is no PNG"
                                   : "it is damaged, or no image of one grey channel of 16 bits";
        return;
    }
    if (image.width() != view.width || image.height() != view.height)
    {
        frame.unusable = fmt::format("it has {} x {} pixels, and its view {} x {}", image.width(),
                                     image.height(), view.width, view.height);
        return;
    }
    frame.data = frame_of(image, view);
}

} // namespace

LoadedSource load_depth_images(std::filesystem::path const& path, Json const& cameras)
{
    std::string const name = shown(path);
    double const unit = unit_of(cameras, name);
    auto const views = cameras.find("views");
    if (views == cameras.end() || !views->is_array())
    {
        throw InputError(name + ": 'views' has to be a list");
    }
    LoadedSource source;
    source.files.push_back(path);
    std::vector<Json const*> with_depth;
    for (auto const& view : *views)
    {
        // The others are photographs.
        if (view.is_object() && view.contains("depth") && view["depth"].is_string())
        {
            with_depth.push_back(&view);
            source.frames.emplace_back();
            source.files.push_back(path_beside(path, view["depth"].get<std::string>()));
            source.frames.back().file = source.files.back();
            source.frames.back().name = shown(source.files.back());
            source.frames.back().sensor = Sensor::ORIGIN;
        }
    }
    if (source.frames.empty())
    {
        throw InputError(name + ": no view has a depth image ('depth')");
    }
    for_each_index(source.frames.size(),
                   [&](std::size_t i) { load_view(source.frames[i], *with_depth[i], unit); });
    return source;
}

} // namespace veld
