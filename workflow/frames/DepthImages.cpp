#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonFields.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/frames/SourceCopy.h"
#include "workflow/words.h"

#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/image_io.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

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
constexpr int LONGEST_SIDE = 1 << 20; ///< of an image, in pixels

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

/// The pose from global to camera coordinates under two keys, in millimetres.
RigidMatrix parse_pose(JsonFields const& fields, char const* rotation, char const* translation,
                       double unit)
{
    auto const rows = fields.rows(rotation, 3, 3);
    auto const shift = fields.numbers(translation, 3);
    RigidMatrix from_global;
    from_global.set_rotation(
        Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor> const>(rows.data()));
    from_global.set_translation(Vector3d(shift[0], shift[1], shift[2]) * unit);
    return from_global;
}

/// Whether the depth camera stands elsewhere than the photograph's.
bool has_own_pose(JsonFields const& fields)
{
    return fields.has("depth_R") || fields.has("depth_t");
}

View parse_view(Json const& json, double unit)
{
    JsonFields const fields(json, "");
    DepthCamera const camera(fields);
    View view;
    view.width = camera.side("width");
    view.height = camera.side("height");
    view.camera = camera.intrinsics();
    view.pose = (has_own_pose(fields) ? parse_pose(fields, "depth_R", "depth_t", unit)
                                      : parse_pose(fields, "R", "t", unit))
                    .inverse();
    return view;
}

bool is_depth(std::uint16_t depth)
{
    return depth != 0 && depth != TOO_FAR;
}

std::size_t count_depths(DepthImage const& image)
{
    std::size_t count = 0;
    for (int row = 0; row < image.height(); ++row)
    {
        for (int column = 0; column < image.width(); ++column)
        {
            count += is_depth(*image.pixel(column, row)) ? 1 : 0;
        }
    }
    return count;
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

/// The grid has the columns of the image from right to left: so all cells look at the camera, as
/// rays through pixels never cross.
RangeData frame_of(DepthImage const& image, View const& view)
{
    RangeData frame;
    frame.set_grid_size(image.height(), image.width());
    frame.set_rigidMatrix(view.pose);
    frame.resize_vn(count_depths(image));
    std::vector<double> across; // of the rays, column by column
    across.reserve(static_cast<std::size_t>(image.width()));
    for (int column = 0; column < image.width(); ++column)
    {
        across.push_back((column - view.camera.get_cx()) / view.camera.get_fx());
    }
    std::size_t vertex = 0;
    for (int row = 0; row < image.height(); ++row)
    {
        double const down = (row - view.camera.get_cy()) / view.camera.get_fy();
        for (int column = 0; column < image.width(); ++column)
        {
            std::uint16_t const depth = *image.pixel(column, row);
            if (!is_depth(depth))
            {
                continue;
            }
            Vector3d const ray(across[static_cast<std::size_t>(column)], down, 1.0);
            frame.vCoord[vertex] = (ray * depth).cast<float>();
            frame.vUV[vertex] = {row, image.width() - 1 - column};
            frame.cellFlag[vertex] =
                static_cast<char>(column > 0 && is_cell(image, row, column - 1));
            ++vertex;
        }
    }
    return frame;
}

bool has_text(Json const& view, char const* key)
{
    return view.is_object() && view.contains(key) && view[key].is_string();
}

bool has_depth(Json const& view)
{
    return has_text(view, "depth");
}

/// Notes the photograph of a view, if it has one, whose camera stands under the keys without
/// `depth_`. A missing one is none.
void note_photo(LoadedFrame& frame, Json const& json, double unit, double focal_length)
{
    JsonFields const fields(json, "");
    std::error_code error;
    if (!json.contains("image") || !json["image"].is_string())
    {
        return;
    }
    auto const file = path_beside(frame.file, json["image"].get<std::string>());
    if (!std::filesystem::is_regular_file(file, error))
    {
        return;
    }
    try
    {
        int const width = fields.integer("width", 1, LONGEST_SIDE);
        int const height = fields.integer("height", 1, LONGEST_SIDE);
        CameraInParam const camera(fields.number("fx"), fields.number("fy"), fields.number("cx"),
                                   fields.number("cy"));
        frame.photo = std::make_shared<FramePhoto>(file, width, height, camera,
                                                   parse_pose(fields, "R", "t", unit));
        frame.photo->list_depths(frame.data, focal_length);
    }
    catch (InputError const& problem)
    {
        frame.remarks.push_back(std::string("no colours: ") + problem.what());
    }
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
    frame.faces_sensor = true;
    note_photo(frame, json, unit, view.camera.get_fx());
}

} // namespace

FrameStream stream_depth_images(std::filesystem::path const& path, Json const& cameras)
{
    std::string const name = shown(path);
    double const unit = unit_of(cameras, name);
    auto const views = cameras.find("views");
    if (views == cameras.end() || !views->is_array())
    {
        throw InputError(name + ": 'views' has to be a list");
    }
    FrameStream stream;
    stream.files.push_back(path);
    std::vector<Json> with_depth;
    for (auto const& view : *views)
    {
        // The others are photographs.
        if (has_depth(view))
        {
            with_depth.push_back(view);
            stream.files.push_back(path_beside(path, view["depth"].get<std::string>()));
        }
    }
    if (with_depth.empty())
    {
        throw InputError(name + ": no view has a depth image ('depth')");
    }
    stream.size = with_depth.size();
    stream.load = [views = std::move(with_depth), files = stream.files, unit](std::size_t i)
    {
        LoadedFrame frame;
        frame.number = static_cast<int>(i);
        frame.file = files[i + 1];
        frame.name = shown(frame.file);
        frame.sensor = Sensor::ORIGIN;
        load_view(frame, views[i], unit);
        return frame;
    };
    return stream;
}

namespace
{

/// Puts a pose from global to camera coordinates under two keys.
void put_pose(RigidMatrix const& from_global, char const* rotation, char const* translation,
              double unit, Json& view)
{
    Json rows = Json::array();
    for (int row = 0; row < 3; ++row)
    {
        auto const& turn = from_global.get_rotation();
        rows.push_back({turn(row, 0), turn(row, 1), turn(row, 2)});
    }
    Vector3d const shift = from_global.get_translation() / unit;
    view[rotation] = std::move(rows);
    view[translation] = {shift.x(), shift.y(), shift.z()};
}

/// `first`, and `second` behind it.
RigidMatrix one_behind_the_other(RigidMatrix const& first, RigidMatrix const& second)
{
    RigidMatrix both;
    both.set_rotation(second.get_rotation() * first.get_rotation());
    both.set_translation(second.get_rotation() * first.get_translation() +
                         second.get_translation());
    return both;
}

/// Takes the camera of the photograph along with that of the depths, to which it is fixed. A
/// photograph without a pose stays without.
void move_photo(RigidMatrix const& new_depth, double unit, Json& view)
{
    JsonFields const fields(view, "");
    RigidMatrix photo;
    RigidMatrix old_depth;
    try
    {
        photo = parse_pose(fields, "R", "t", unit);
        old_depth = parse_pose(fields, "depth_R", "depth_t", unit);
    }
    catch (InputError const&)
    {
        return;
    }
    RigidMatrix const photo_from_depth = one_behind_the_other(old_depth.inverse(), photo);
    put_pose(one_behind_the_other(new_depth, photo_from_depth), "R", "t", unit, view);
}

/// Puts the pose of a depth camera into its view.
void set_pose(RigidMatrix const& pose, double unit, Json& view)
{
    RigidMatrix const from_global = pose.inverse();
    if (!has_own_pose(JsonFields(view, "")))
    {
        put_pose(from_global, "R", "t", unit, view);
        return;
    }
    move_photo(from_global, unit, view);
    put_pose(from_global, "depth_R", "depth_t", unit, view);
}

/// Adds the image that a view names under a key, if it does, and names it as in the copy.
void copy_image(std::filesystem::path const& path, char const* key, Json& view, SourceCopy& copy)
{
    if (has_text(view, key))
    {
        std::string const named = view[key].get<std::string>();
        auto const name = name_in_copy(named);
        add_twin(copy, name, path_beside(path, named));
        view[key] = name.generic_string();
    }
}

} // namespace

SourceCopy copy_depth_images(std::filesystem::path const& path, Json cameras, NewPoses const& poses)
{
    SourceCopy copy;
    copy.entry = path.filename();
    double const unit = unit_of(cameras, shown(path));
    int number = 0;
    for (auto& view : cameras.at("views"))
    {
        if (has_depth(view))
        {
            auto const* const pose = find_new(poses, number++);
            if (pose != nullptr)
            {
                set_pose(*pose, unit, view);
            }
        }
        copy_image(path, "depth", view, copy);
        copy_image(path, "image", view, copy);
    }
    copy.texts.push_back({copy.entry, cameras.dump(1) + '\n'});
    return copy;
}

} // namespace veld
