#include "workflow/photos/cameras/CameraLists.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// Where a list is, and its form.
struct ListPlace
{
    fs::path json;   ///< Empty for a COLMAP model.
    fs::path colmap; ///< The folder of a COLMAP model.
};

/// The places below a folder where COLMAP and its undistorter put a model.
std::vector<fs::path> model_folders(fs::path const& folder)
{
    return {folder, folder / "sparse", folder / "sparse" / "0"};
}

ListPlace find_in_folder(fs::path const& folder)
{
    if (is_plain_file(folder / "cameras.json"))
    {
        return {folder / "cameras.json", {}};
    }
    for (auto const& model : model_folders(folder))
    {
        if (is_plain_file(model / "cameras.txt") && is_plain_file(model / "images.txt"))
        {
            return {{}, model};
        }
    }
    for (auto const& model : model_folders(folder))
    {
        if (is_plain_file(model / "cameras.bin"))
        {
            throw InputError(shown(model / "cameras.bin") +
                             ": is a binary model; write it as text (colmap model_converter "
                             "--output_type TXT)");
        }
    }
    for (auto const& model : model_folders(folder))
    {
        for (auto const& [there, missing] :
             {std::pair("cameras.txt", "images.txt"), std::pair("images.txt", "cameras.txt")})
        {
            if (is_plain_file(model / there))
            {
                throw InputError(shown(model / missing) + ": is missing beside " + there);
            }
        }
    }
    throw InputError(shown(folder) +
                     ": has neither cameras.json nor cameras.txt and images.txt of COLMAP");
}

ListPlace find_list(fs::path const& source)
{
    if (is_folder(source))
    {
        return find_in_folder(source);
    }
    if (source.filename() == "cameras.txt" || source.filename() == "images.txt")
    {
        return {{}, source.parent_path()};
    }
    return {source, {}};
}

} // namespace

std::vector<PhotoView> read_camera_list(fs::path const& source)
{
    ListPlace const place = find_list(source);
    return place.json.empty() ? read_colmap_model(place.colmap) : read_json_cameras(place.json);
}

std::vector<fs::path> camera_list_files(fs::path const& source)
{
    ListPlace const place = find_list(source);
    if (!place.json.empty())
    {
        return {place.json};
    }
    return {place.colmap / "cameras.txt", place.colmap / "images.txt"};
}

std::vector<fs::path> photo_source_files(fs::path const& source)
{
    auto files = camera_list_files(source);
    for (auto const& view : read_camera_list(source))
    {
        files.push_back(view.file);
    }
    return files;
}

void check_camera(PhotoView const& view, std::string const& place)
{
    constexpr double LONGEST_FOCAL_LENGTH = 1e7;
    constexpr double FARTHEST_CENTRE = 1e6;
    constexpr double FARTHEST_PLACE = 1e12;
    CameraInParam const& camera = view.intrinsics;
    // Written so that what is no number fails too.
    auto const is_focal_length = [](double length)
    { return length > 0.0 && length <= LONGEST_FOCAL_LENGTH; };
    if (!is_focal_length(camera.get_fx()) || !is_focal_length(camera.get_fy()))
    {
        throw InputError(place + fmt::format("the focal lengths have to be more than 0 and at most "
                                             "{:.0f} pixels: fx is {:g}, fy {:g}",
                                             LONGEST_FOCAL_LENGTH, camera.get_fx(),
                                             camera.get_fy()));
    }
    if (!(std::abs(camera.get_cx()) <= FARTHEST_CENTRE &&
          std::abs(camera.get_cy()) <= FARTHEST_CENTRE))
    {
        throw InputError(place + fmt::format("the principal point has to lie within {:.0f} pixels: "
                                             "cx is {:g}, cy {:g}",
                                             FARTHEST_CENTRE, camera.get_cx(), camera.get_cy()));
    }
    double const distance = view.pose.get_translation().stableNorm();
    if (!(distance <= FARTHEST_PLACE))
    {
        throw InputError(place + fmt::format("the translation t is {:g} long, more than any camera "
                                             "is away ({:g})",
                                             distance, FARTHEST_PLACE));
    }
}

bool is_rotation(OrvaneAlgorithm::Matrix3d const& matrix)
{
    constexpr double TOLERANCE = 1e-3; // poses are written with some digits only
    auto const identity = OrvaneAlgorithm::Matrix3d::Identity();
    OrvaneAlgorithm::Matrix3d const rest = matrix * matrix.transpose() - identity;
    return rest.cwiseAbs().maxCoeff() <= TOLERANCE && matrix.determinant() > 0.0;
}

bool is_file_name(std::string const& name)
{
    return !name.empty() && name.find('\0') == std::string::npos;
}

} // namespace veld
