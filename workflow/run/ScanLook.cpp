#include "workflow/run/ScanLook.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/MarkerFile.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/files/OutputFile.h"
#include "workflow/photos/Photos.h"
#include "workflow/run/scan/FoundFrames.h"
#include "workflow/run/scan/PlacesBeside.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <set>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// The meshes and clouds of a folder that are no frames of its sources.
std::vector<fs::path> meshes_in(std::vector<fs::path> const& files,
                                std::vector<FoundFrames> const& sources)
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

void take_frames(FoundFrames const& source, ScanLook& look)
{
    look.kind = ScanKind::FRAMES;
    look.source = source.source;
    look.files = source.files;
    look.frames = source.frames;
}

void take_mesh(fs::path const& path, ScanLook& look)
{
    look.kind = ScanKind::MESH;
    look.source = path;
    look.files = {path};
}

void read_mesh_of(ScanLook& look, Context& context)
{
    look.mesh = read_cloud(look.source, context).mesh;
    look.kind = look.mesh.n_faces() == 0 ? ScanKind::CLOUD : ScanKind::MESH;
}

std::string name_of_kind(ScanLook const& look)
{
    switch (look.kind)
    {
    case ScanKind::FRAMES:
        return look.frames == 0 ? "frames" : counted(look.frames, "frame");
    case ScanKind::CLOUD:
        return fmt::format("a cloud of {}{}", counted(look.mesh.n_vertices(), "point"),
                           look.mesh.has_vertex_normals() ? " with normals" : "");
    case ScanKind::MESH:
        break;
    }
    return fmt::format("a mesh of {}", counted(look.mesh.n_faces(), "face"));
}

void look_into_folder(fs::path const& folder, ScanLook& look)
{
    auto const files = files_in(folder);
    auto const sources = frames_in(folder, files);
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
        take_mesh(meshes.front(), look);
    }
    else
    {
        throw InputError(shown(folder) + (files.empty() ? ": is empty" : ": holds no scan") +
                         "; a scan is a mesh, a cloud or frames: .rge files, a .conf, a "
                         "cameras.json of depth images, the description of text frames");
    }
}

void look_at_file(fs::path const& path, ScanLook& look)
{
    std::string const extension = lower_extension(path);
    FoundFrames source;
    open_input(path); // to tell a missing file from one of another kind
    if (extension == ".conf")
    {
        take_frames(range_scans(path), look);
    }
    else if (extension == ".json")
    {
        if (!take_json_frames(path, source))
        {
            throw InputError(shown(path) +
                             ": describes no frames, neither as text nor as depth images");
        }
        take_frames(source, look);
    }
    else
    {
        take_mesh(path, look);
    }
}

void take_photos(fs::path const& photos, ScanLook& look)
{
    look.photos = photos;
    look.photo_files = camera_list_files(photos);
    for (auto const& view : read_camera_list(photos))
    {
        open_input(view.file); // now, and not when an hour is over
        look.photo_files.push_back(view.file);
    }
}

std::string found_in(fs::path const& scan, ScanLook const& look)
{
    std::string found = name_of_kind(look);
    if (look.source != scan)
    {
        found += " in " + shown(look.source);
    }
    if (!look.markers.empty())
    {
        found += fmt::format(", {} in {}",
                             counted(read_markers(look.markers, false).points.size(), "marker"),
                             shown(look.markers));
    }
    if (!look.photos.empty())
    {
        auto const photographs = look.photo_files.size() - camera_list_files(look.photos).size();
        found += fmt::format(", {} in {}", counted(photographs, "photograph"), shown(look.photos));
    }
    return found;
}

} // namespace

ScanLook look_at_scan(fs::path const& scan, fs::path const& markers, fs::path const& photos,
                      Context& context)
{
    ScanLook look = find_scan(scan, markers, photos);
    if (look.kind != ScanKind::FRAMES)
    {
        read_mesh_of(look, context);
    }
    look.found = found_in(scan, look);
    return look;
}

ScanLook find_scan(fs::path const& scan, fs::path const& markers, fs::path const& photos)
{
    ScanLook look;
    is_folder(scan) ? look_into_folder(scan, look) : look_at_file(scan, look);
    auto const places = places_beside(scan, look.kind);
    look.markers = markers.empty() ? find_markers(places) : markers;
    fs::path const its_photos = photos.empty() ? find_photos(places) : photos;
    if (!its_photos.empty())
    {
        take_photos(its_photos, look);
    }
    return look;
}

} // namespace veld
