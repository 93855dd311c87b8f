#include "workflow/run/scan/PlacesBeside.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/photos/Photos.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// Folders beside a scan in which photographs are looked for.
constexpr char const* PHOTO_FOLDERS[] = {"photos", "photographs", "images"};

/// Whether there is a list of cameras with photographs.
bool has_photographs(fs::path const& folder)
{
    if (!is_plain_file(folder / "cameras.json") && !is_plain_file(folder / "cameras.txt") &&
        !is_plain_file(folder / "sparse" / "cameras.txt") &&
        !is_plain_file(folder / "sparse" / "0" / "cameras.txt"))
    {
        return false;
    }
    try
    {
        auto const views = read_camera_list(folder);
        return std::any_of(views.begin(), views.end(),
                           [](PhotoView const& view) { return is_plain_file(view.file); });
    }
    catch (InputError const&)
    {
        return false; // a list for something else
    }
}

} // namespace

std::vector<fs::path> places_beside(fs::path const& scan, ScanKind kind)
{
    fs::path const folder = is_folder(scan) ? scan : scan.parent_path();
    std::vector<fs::path> places{folder.empty() ? fs::path(".") : folder};
    if (is_folder(scan) || kind == ScanKind::FRAMES)
    {
        places.push_back((places.front() / "..").lexically_normal());
    }
    return places;
}

fs::path find_photos(std::vector<fs::path> const& places)
{
    if (has_photographs(places.front()))
    {
        return places.front();
    }
    for (auto const& place : places)
    {
        for (char const* name : PHOTO_FOLDERS)
        {
            if (has_photographs(place / name))
            {
                return place / name;
            }
        }
    }
    return {};
}

fs::path find_markers(std::vector<fs::path> const& places)
{
    auto const found =
        std::find_if(places.begin(), places.end(),
                     [](fs::path const& place) { return is_plain_file(place / "markers.txt"); });
    return found == places.end() ? fs::path() : *found / "markers.txt";
}

} // namespace veld
