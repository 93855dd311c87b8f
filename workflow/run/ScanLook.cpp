#include "workflow/run/ScanLook.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/MarkerFile.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/files/OutputFile.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/photos/Photos.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// Folders beside a scan in which photographs are looked for.
constexpr char const* PHOTO_FOLDERS[] = {"photos", "photographs", "images"};

/// A source of frames, and all that it reads.
struct FrameSource
{
    fs::path source;
    std::vector<fs::path> files;
    std::size_t frames = 0;
};

bool is_plain_file(fs::path const& path)
{
    std::error_code error;
    return fs::is_regular_file(path, error);
}

bool is_folder(fs::path const& path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

/// The plain files in a folder, by name.
std::vector<fs::path> files_in(fs::path const& folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
    {
        if (is_plain_file(entry->path()))
        {
            files.push_back(entry->path());
        }
    }
    if (error)
    {
        throw InputError(shown(folder) + ": cannot be read: " + error.message());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// The views of depth images in a list of cameras.
std::size_t count_depth_views(Json const& cameras)
{
    auto const views = cameras.is_object() ? cameras.find("views") : cameras.end();
    if (views == cameras.end() || !views->is_array())
    {
        return 0;
    }
    return static_cast<std::size_t>(
        std::count_if(views->begin(), views->end(),
                      [](Json const& view) { return view.is_object() && view.contains("depth"); }));
}

/// Whether a JSON object describes text frames.
bool describes_text_frames(Json const& json)
{
    return json.is_object() && json.contains("points") && json.contains("poses") &&
           json.contains("rows");
}

/// The files that any text in a JSON value names, beside its own.
void add_named_files(Json const& json, fs::path const& list, std::vector<fs::path>& files)
{
    if (json.is_structured())
    {
        for (auto const& value : json)
        {
            add_named_files(value, list, files);
        }
    }
    else if (json.is_string())
    {
        fs::path const file = path_beside(list, json.get<std::string>());
        if (is_plain_file(file))
        {
            files.push_back(file);
        }
    }
}

/// \return whether a JSON file is a source of frames
bool take_json(fs::path const& path, FrameSource& found)
{
    Json const json = read_json(path);
    found = {path, {path}, count_depth_views(json)};
    if (found.frames > 0)
    {
        add_named_files(json, path, found.files);
        return true;
    }
    if (!describes_text_frames(json))
    {
        return false;
    }
    auto const directory = json.find("directory");
    bool const is_named = directory != json.end() && directory->is_string();
    for (auto const& file :
         files_in(path_beside(path, is_named ? directory->get<std::string>() : ".")))
    {
        found.files.push_back(file);
    }
    auto const number = [&json](char const* key)
    { return json.contains(key) && json[key].is_number_integer() ? json[key].get<long>() : 0; };
    found.frames = static_cast<std::size_t>(std::max(0L, number("last") - number("first") + 1));
    return true;
}

/// The same for a file that nobody named: what is no JSON is none.
bool try_json(fs::path const& path, FrameSource& found)
{
    try
    {
        return take_json(path, found);
    }
    catch (InputError const&)
    {
        if (path.filename() == "cameras.json")
        {
            throw;
        }
        return false;
    }
}

/// The sources of frames in a folder.
std::vector<FrameSource> frame_sources_in(fs::path const& folder,
                                          std::vector<fs::path> const& files)
{
    std::vector<FrameSource> sources;
    auto const rge = frame_files_in(folder);
    if (!rge.empty())
    {
        sources.push_back({folder, rge, rge.size()});
    }
    for (auto const& file : files)
    {
        FrameSource found;
        if (lower_extension(file) == ".conf")
        {
            auto const named = range_scan_files(file);
            sources.push_back({file, named, named.size() - 1});
        }
        else if (lower_extension(file) == ".json" && try_json(file, found))
        {
            sources.push_back(std::move(found));
        }
    }
    return sources;
}

/// The meshes and clouds of a folder that are no frames of its sources.
std::vector<fs::path> meshes_in(std::vector<fs::path> const& files,
                                std::vector<FrameSource> const& sources)
{
    static std::set<std::string> const EXTENSIONS{".ply", ".stl", ".obj", ".off",
                                                  ".om",  ".xyz", ".asc"};
    std::set<fs::path> frames;
    for (auto const& source : sources)
    {
        for (auto const& file : source.files)
        {
            frames.insert(file.lexically_normal());
        }
    }
    std::vector<fs::path> meshes;
    for (auto const& file : files)
    {
        if (EXTENSIONS.count(lower_extension(file)) > 0 &&
            frames.count(file.lexically_normal()) == 0)
        {
            meshes.push_back(file);
        }
    }
    return meshes;
}

std::string names_of(std::vector<fs::path> const& paths)
{
    std::string text;
    for (auto const& path : paths)
    {
        text += (text.empty() ? "" : ", ") + shown(path.filename());
    }
    return text;
}

void take_frames(FrameSource const& source, ScanLook& look)
{
    look.kind = ScanKind::FRAMES;
    look.source = source.source;
    look.files = source.files;
    look.found = source.frames == 0 ? "frames" : counted(source.frames, "frame");
}

void take_mesh(fs::path const& path, ScanLook& look, Context& context)
{
    look.source = path;
    look.files = {path};
    look.mesh = read_cloud(path, context).mesh;
    look.kind = look.mesh.n_faces() == 0 ? ScanKind::CLOUD : ScanKind::MESH;
    look.found = look.kind == ScanKind::MESH
                     ? fmt::format("a mesh of {}", counted(look.mesh.n_faces(), "face"))
                     : fmt::format("a cloud of {}{}", counted(look.mesh.n_vertices(), "point"),
                                   look.mesh.has_vertex_normals() ? " with normals" : "");
}

void look_into_folder(fs::path const& folder, ScanLook& look, Context& context)
{
    auto const files = files_in(folder);
    auto const sources = frame_sources_in(folder, files);
    auto const meshes = meshes_in(files, sources);
    if (!sources.empty() && !meshes.empty())
    {
        throw InputError(fmt::format("{}: holds frames and also {}: name the file that is meant",
                                     shown(folder), names_of(meshes)));
    }
    if (sources.size() > 1 || meshes.size() > 1)
    {
        std::vector<fs::path> several = meshes;
        for (auto const& source : sources)
        {
            several.push_back(source.source);
        }
        throw InputError(fmt::format("{}: holds {}: name the one that is meant", shown(folder),
                                     names_of(several)));
    }
    if (!sources.empty())
    {
        take_frames(sources.front(), look);
    }
    else if (!meshes.empty())
    {
        take_mesh(meshes.front(), look, context);
    }
    else
    {
        throw InputError(shown(folder) + (files.empty() ? ": is empty" : ": holds no scan") +
                         "; a scan is a mesh, a cloud or frames: .rge files, a .conf, a "
                         "cameras.json of depth images, the description of text frames");
    }
}

void look_at_file(fs::path const& path, ScanLook& look, Context& context)
{
    std::string const extension = lower_extension(path);
    FrameSource source;
    open_input(path); // to tell a missing file from one of another kind
    if (extension == ".conf")
    {
        auto const named = range_scan_files(path);
        take_frames({path, named, named.size() - 1}, look);
    }
    else if (extension == ".json")
    {
        if (!take_json(path, source))
        {
            throw InputError(shown(path) +
                             ": describes no frames, neither as text nor as depth images");
        }
        take_frames(source, look);
    }
    else
    {
        take_mesh(path, look, context);
    }
}

/// The folders in which markers and photographs of a scan are looked for.
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

void take_photos(fs::path const& photos, ScanLook& look)
{
    look.photos = photos;
    look.photo_files = camera_list_files(photos);
    auto const views = read_camera_list(photos);
    for (auto const& view : views)
    {
        open_input(view.file); // now, and not when an hour is over
        look.photo_files.push_back(view.file);
    }
    look.found += fmt::format(", {} in {}", counted(views.size(), "photograph"), shown(photos));
}

void take_markers(fs::path const& markers, ScanLook& look)
{
    look.markers = markers;
    look.found +=
        fmt::format(", {} in {}", counted(read_markers(markers, false).points.size(), "marker"),
                    shown(markers));
}

} // namespace

ScanLook look_at_scan(fs::path const& scan, fs::path const& markers, fs::path const& photos,
                      Context& context)
{
    ScanLook look;
    is_folder(scan) ? look_into_folder(scan, look, context) : look_at_file(scan, look, context);
    if (look.source != scan)
    {
        look.found += " in " + shown(look.source);
    }
    auto const places = places_beside(scan, look.kind);
    fs::path const its_markers = markers.empty() ? find_markers(places) : markers;
    fs::path const its_photos = photos.empty() ? find_photos(places) : photos;
    if (!its_markers.empty())
    {
        take_markers(its_markers, look);
    }
    if (!its_photos.empty())
    {
        take_photos(its_photos, look);
    }
    return look;
}

} // namespace veld
