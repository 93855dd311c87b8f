#include "workflow/photos/CameraLists.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include <system_error>

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

bool is_file(fs::path const& path)
{
    std::error_code error;
    return fs::is_regular_file(path, error);
}

/// The places below a folder where COLMAP and its undistorter put a model.
std::vector<fs::path> model_folders(fs::path const& folder)
{
    return {folder, folder / "sparse", folder / "sparse" / "0"};
}

ListPlace find_in_folder(fs::path const& folder)
{
    if (is_file(folder / "cameras.json"))
    {
        return {folder / "cameras.json", {}};
    }
    for (auto const& model : model_folders(folder))
    {
        if (is_file(model / "cameras.txt") && is_file(model / "images.txt"))
        {
            return {{}, model};
        }
    }
    for (auto const& model : model_folders(folder))
    {
        if (is_file(model / "cameras.bin"))
        {
            throw InputError(shown(model / "cameras.bin") +
                             ": is a binary model; write it as text (colmap model_converter "
                             "--output_type TXT)");
        }
    }
    throw InputError(shown(folder) +
                     ": has neither cameras.json nor cameras.txt and images.txt of COLMAP");
}

ListPlace find_list(fs::path const& source)
{
    std::error_code error;
    if (fs::is_directory(source, error))
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

void check_focal_lengths(CameraInParam const& camera, std::string const& place)
{
    if (!(camera.get_fx() > 0.0 && camera.get_fy() > 0.0))
    {
        throw InputError(place + "the focal lengths have to be more than 0");
    }
}

} // namespace veld
