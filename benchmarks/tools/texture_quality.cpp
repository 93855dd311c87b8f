#include "algorithmVeld/TextureFusion/SelectKeyframes.h"
#include "algorithmVeld/TextureFusion/atlas/AtlasCoordinates.h"
#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"
#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/projection/SmoothNormals.h"
#include "algorithmVeld/TextureFusion/seams/FacePatches.h"
#include "algorithmVeld/TextureFusion/seams/PatchColour.h"
#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "demo/GourdPattern.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/photos/GainBalance.h"
#include "workflow/photos/TextureJudge.h"
#include "workflow/steps/LoadPhotos.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

/// \file
/// What a texture is worth: textures a mesh with photographs, as they are and with their gains
/// balanced, and prints for each two rows of a table: patches cut out of the photographs, and the
/// same behind the solve at their seams. A row has the number of seam edges, the step across them
/// (mean / 95th percentile), and the error of the colours where the truth is known (mean / 95th
/// percentile), in grey levels of 255; and the share of faces that no photograph colours.
///
///   texture_quality NAME MESH PHOTOS SCALE TOLERANCE [gourd]
///
/// SCALE makes millimetres of the mesh's and the poses' unit, TOLERANCE is that of depths;
/// `gourd` is for the object of the demonstration.

namespace
{

using namespace OrvaneAlgorithm;
using RgbPhoto = Image<3, unsigned char>;

constexpr int SMALL_REGION = 50;
constexpr int PATCH_MARGIN = 3;
constexpr int PACKING_GAP = 1;

/// The views in the order of preference.
std::vector<detail::TexImage> ordered_views(veld::PhotoSet const& photos)
{
    std::vector<RigidMatrix> poses;
    for (auto const& view : photos.views)
    {
        poses.push_back(view.pose);
    }
    std::vector<int> order;
    SelectKeyframes().space_based_sort(poses, order, false);
    std::vector<detail::TexImage> views;
    for (int const from : order)
    {
        auto const i = static_cast<std::size_t>(from);
        views.push_back({static_cast<int>(views.size()), photos.views[i].intrinsics, poses[i],
                         photos.images[i]});
    }
    return views;
}

/// The rectangles of patches as the photographs show them.
std::vector<RgbPhoto> cut_out(std::vector<detail::PatchTex> const& patches,
                              std::vector<detail::TexImage> const& views)
{
    std::vector<RgbPhoto> pieces;
    for (auto const& patch : patches)
    {
        RgbPhoto const& photo = views[static_cast<std::size_t>(patch.label)].image;
        RgbPhoto piece(patch.width(), patch.height());
        for (int y = 0; y < piece.height(); ++y)
        {
            std::copy_n(photo.pixel(patch.min_x, patch.min_y + y), 3 * piece.width(),
                        piece.pixel(0, y));
        }
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

/// The coordinates of the faces as those of the halfedges.
void set_coordinates(TriMesh& mesh, detail::TexProperties const& properties,
                     std::vector<BaseTriMesh::UVCoord> const& coordinates)
{
    mesh.request_halfedge_texcoords2D();
    for (auto const face : mesh.faces())
    {
        Vector3i const indices = mesh.property(properties.face_uv_index, face);
        int corner = 0;
        for (auto const halfedge : mesh.fh_range(face))
        {
            auto const& uv = coordinates[static_cast<std::size_t>(indices[corner++])];
            mesh.set_texcoord2D(halfedge, Vector2f(uv.u, uv.v));
        }
    }
}

/// A mesh with one set of coordinates and two images.
struct BothTextures
{
    TriMesh mesh;
    RgbPhoto before;
    RgbPhoto after;
    double unseen = 0.0; ///< Share of the faces that no photograph colours.
};

BothTextures make_textures(TriMesh const& input, veld::PhotoSet const& photos, double tolerance)
{
    BothTextures result{input, {}, {}, 0.0};
    TriMesh& mesh = result.mesh;
    detail::TexProperties properties;
    detail::renew_normals(mesh);
    properties.add_to(mesh);
    auto const views = ordered_views(photos);
    detail::smooth_vertex_normals(mesh);
    detail::VisibilityLimits limits;
    limits.dis_thr = static_cast<float>(tolerance);
    detail::project_faces(mesh, properties, detail::project_vertices(mesh, views, limits));
    detail::filter_face_tex(mesh, properties, SMALL_REGION);
    detail::optimize_face_tex(mesh, properties, SMALL_REGION);
    detail::optimize_boundary_iteration(mesh, properties);
    detail::optimize_face_tex(mesh, properties, SMALL_REGION);
    auto patches = detail::partition_mesh_by_face(mesh, properties, views, PATCH_MARGIN);
    detail::PatchFaces faces;
    detail::list_patch_faces(mesh, properties, patches.size(), faces);
    auto const fused = detail::fuse_patch_colours(mesh, properties, views, patches, faces,
                                                  detail::RectangleSolver::SIMPLICIAL);
    auto const holes = detail::find_texture_holes(mesh, properties);
    for (auto const& hole : holes)
    {
        result.unseen += static_cast<double>(hole.size()) / static_cast<double>(mesh.n_faces());
    }
    auto repaired = detail::repair_texture_holes(mesh, properties, views, holes, {});
    detail::BlackCell black;
    auto const pack = [&](std::vector<RgbPhoto> const& pieces, RgbPhoto& atlas)
    {
        detail::pack_atlas({patches, pieces, repaired.hole_patches, repaired.hole_textures},
                           PACKING_GAP, atlas, black);
    };
    pack(cut_out(patches, views), result.before);
    pack(fused, result.after);
    auto coordinates = detail::patch_coordinates(mesh, properties, patches, black,
                                                 result.after.width(), result.after.height());
    detail::append_hole_coordinates(mesh, properties, holes, repaired.hole_patches,
                                    result.after.width(), result.after.height(), coordinates);
    set_coordinates(mesh, properties, coordinates);
    properties.remove_from(mesh);
    return result;
}

void print_row(std::string const& name, BothTextures const& textures, RgbPhoto const& image,
               bool is_gourd)
{
    // The library's coordinates have the middles of pixels at whole numbers.
    veld::JudgedTexture const texture{textures.mesh, image, 0.0};
    veld::SeamStep const step = veld::measure_seam_step(texture);
    std::printf("| %s | %.1f %% | %zu | %.2f / %.1f |", name.c_str(), 100.0 * textures.unseen,
                step.edges, step.mean, step.percentile_95);
    if (is_gourd)
    {
        veld::ColourError const error =
            veld::measure_colour_error(texture, [](Vector3d const& place)
                                       { return veld::cli::gourd_colour(place.normalized()); });
        std::printf(" %.2f / %.1f |", error.mean, error.percentile_95);
    }
    else
    {
        std::printf(" - |");
    }
    std::printf("\n");
    std::fflush(stdout);
}

void print_rows(std::string const& name, TriMesh const& mesh, veld::PhotoSet const& photos,
                double tolerance, bool is_gourd)
{
    BothTextures const textures = make_textures(mesh, photos, tolerance);
    print_row(name + ", cut out", textures, textures.before, is_gourd);
    print_row(name + ", solved", textures, textures.after, is_gourd);
}

void run(std::string const& name, char const* mesh_path, char const* photo_path, double scale,
         double tolerance, bool is_gourd)
{
    veld::Context context;
    TriMesh mesh = veld::read_mesh(mesh_path, context).mesh;
    veld::PhotoSet photos = veld::load_photos(photo_path, context);
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) *= static_cast<float>(scale);
    }
    for (auto& view : photos.views)
    {
        view.pose.set_translation(view.pose.get_translation() * scale);
    }
    print_rows(name, mesh, photos, tolerance, is_gourd);
    auto const gains = veld::balance_gains(mesh, photos.views, photos.images, tolerance);
    for (std::size_t i = 0; i < gains.size(); ++i)
    {
        veld::apply_gain(photos.images[i], gains[i]);
    }
    print_rows(name + ", gains balanced", mesh, photos, tolerance, is_gourd);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 6)
    {
        std::fprintf(stderr, "usage: texture_quality NAME MESH PHOTOS SCALE TOLERANCE [gourd]\n");
        return 1;
    }
    try
    {
        run(argv[1], argv[2], argv[3], std::atof(argv[4]), std::atof(argv[5]),
            argc > 6 && std::string(argv[6]) == "gourd");
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
