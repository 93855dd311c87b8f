#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonFields.h"
#include "workflow/photos/cameras/CameraLists.h"
#include "workflow/words.h"

#include <fmt/format.h>

/// \file
/// `cameras.json`: a list of views, each with its photograph, intrinsics, and the pose from world
/// to camera coordinates.

namespace veld
{

using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::Vector3d;

namespace
{

RigidMatrix parse_pose(JsonFields const& fields, std::string const& place)
{
    auto const rows = fields.rows("R", 3, 3);
    auto const shift = fields.numbers("t", 3);
    Matrix3d const rotation =
        Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor> const>(rows.data());
    if (!is_rotation(rotation))
    {
        throw InputError(place + "'R' is no rotation");
    }
    RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(Vector3d(shift[0], shift[1], shift[2]));
    return pose;
}

/// Of a view without a photograph's name, its number is all that there is.
std::string place_of(Json const& view, std::string const& list, std::size_t number)
{
    bool const is_named = view.is_object() && view.contains("image") && view["image"].is_string() &&
                          is_file_name(view["image"].get<std::string>());
    return is_named ? fmt::format("{}: view {} ({}): ", list, number,
                                  shown(view["image"].get<std::string>()))
                    : fmt::format("{}: view {}: ", list, number);
}

PhotoView parse_photo_view(Json const& json, std::string const& place,
                           std::filesystem::path const& list)
{
    JsonFields const fields(json, place);
    PhotoView view;
    view.image = fields.text("image");
    if (!is_file_name(view.image))
    {
        throw InputError(place + "'image' has to be the name of a file");
    }
    view.file = path_beside(list, view.image);
    view.width = fields.integer("width", 1, LONGEST_PHOTO_SIDE);
    view.height = fields.integer("height", 1, LONGEST_PHOTO_SIDE);
    double const fx = fields.number("fx");
    double const fy = fields.number("fy");
    double const cx = fields.number("cx");
    double const cy = fields.number("cy");
    view.intrinsics = CameraInParam(fx, fy, cx, cy);
    view.pose = parse_pose(fields, place);
    check_camera(view, place);
    return view;
}

/// A view of a depth image, which is no photograph.
bool is_depth_only(Json const& view)
{
    return view.is_object() && view.contains("depth") && !view.contains("image");
}

} // namespace

std::vector<PhotoView> read_json_cameras(std::filesystem::path const& path)
{
    std::string const name = shown(path);
    Json const json = read_json(path);
    if (!json.is_object())
    {
        throw InputError(name + ": is no JSON object");
    }
    auto const list = json.find("views");
    if (list == json.end() || !list->is_array())
    {
        throw InputError(name + ": 'views' has to be a list");
    }
    std::vector<PhotoView> views;
    std::size_t number = 0;
    for (auto const& view : *list)
    {
        if (!is_depth_only(view))
        {
            views.push_back(parse_photo_view(view, place_of(view, name, number), path));
        }
        ++number;
    }
    if (views.empty())
    {
        throw InputError(name + ": has no view of a photograph");
    }
    return views;
}

} // namespace veld
