#include "algorithmVeld/TextureFusion/seams/PatchColour.h"

#include "algorithmVeld/TextureFusion/seams/EdgeSeam.h"
#include "algorithmVeld/TextureFusion/solve/ColourClamp.h"
#include "algorithmVeld/TextureFusion/solve/RectangleTasks.h"
#include "algorithmVeld/TextureFusion/solve/systems/SparseLuSolve.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace OrvaneAlgorithm::detail
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

namespace
{

using PhotoImage = Image<3, unsigned char>;
using VertexColours = std::vector<std::pair<VertexHandle, PixelColor>>;

/// What all patches share while they are solved.
struct ColourFusion
{
    TriMesh const& mesh;
    TexProperties const& properties;
    std::vector<TexImage> const& images;
    std::vector<PatchTex> const& patches;
    PatchFaces const& faces;
    RectangleSolver solver;
    SeamShape shape;
    std::vector<std::vector<SeamPixel>> seams; ///< of each patch
    std::vector<std::uint8_t> is_on_seam;      ///< of each vertex, of any patch

    PhotoImage const& photo(std::size_t p) const
    {
        return images[static_cast<std::size_t>(patches[p].label)].image;
    }
};

PhotoImage cut_out(PhotoImage const& photo, PatchTex const& patch)
{
    PhotoImage image(patch.width(), patch.height());
    for (int y = 0; y < patch.height(); ++y)
    {
        std::copy_n(photo.pixel(patch.min_x, patch.min_y + y),
                    static_cast<std::size_t>(3) * static_cast<std::size_t>(patch.width()),
                    image.pixel(0, y));
    }
    return image;
}

PixelColor corrected(unsigned char const* photo, float const* correction)
{
    PixelColor colour{};
    for (std::size_t c = 0; c < 3; ++c)
    {
        colour[c] = clamped_colour(correction[c] + static_cast<float>(photo[c]));
    }
    return colour;
}

/// Prescribes the correction at the seam, where the image takes the mean of the views as it is.
void prescribe(std::vector<SeamPixel> const& seam, PhotoImage& image, Image<3, float>& correction,
               Image<1, unsigned char>& mask)
{
    for (SeamPixel const& pixel : seam)
    {
        std::copy(pixel.mean.begin(), pixel.mean.end(), image.pixel(pixel.x, pixel.y));
        std::copy(pixel.correction.begin(), pixel.correction.end(),
                  correction.pixel(pixel.x, pixel.y));
        *mask.pixel(pixel.x, pixel.y) = KNOWN_PIXEL;
    }
}

/// Adds the correction to an image everywhere else.
void correct_unknown(PhotoImage& image, Image<3, float> const& correction,
                     Image<1, unsigned char> const& mask)
{
    parallel_for_even(image.height(),
                      [&](std::ptrdiff_t row)
                      {
                          int const y = static_cast<int>(row);
                          for (int x = 0; x < image.width(); ++x)
                          {
                              if (*mask.pixel(x, y) == 0)
                              {
                                  auto const colour =
                                      corrected(image.pixel(x, y), correction.pixel(x, y));
                                  std::copy(colour.begin(), colour.end(), image.pixel(x, y));
                              }
                          }
                      });
}

/// The colours of a patch's vertices that are on no seam.
VertexColours vertex_colours(ColourFusion const& fusion, std::size_t p,
                             Image<3, float> const& correction)
{
    PatchTex const& patch = fusion.patches[p];
    VertexColours colours;
    for (auto const face : fusion.faces.patch_faces[p])
    {
        FaceTex const& chosen = fusion.properties.chosen(fusion.mesh, face);
        std::size_t k = 0;
        for (auto const vertex : fusion.mesh.fv_range(face))
        {
            VertTex const& corner = chosen.corner[k++];
            if (fusion.is_on_seam[static_cast<std::size_t>(vertex.idx())] == 0)
            {
                colours.emplace_back(vertex, corrected(fusion.photo(p).pixel(corner.px, corner.py),
                                                       correction.pixel(corner.px - patch.min_x,
                                                                        corner.py - patch.min_y)));
            }
        }
    }
    return colours;
}

constexpr FailureTexts PATCH_FAILURES{"  patch [%4d] SimplicialLDLT decomposition failed.\n",
                                      "  patch [%4d] SimplicialLDLT solving failed.\n"};

/// The image of a patch, empty if it cannot be solved.
PhotoImage fuse_patch(ColourFusion const& fusion, std::size_t p, VertexColours& colours)
{
    PatchTex const& patch = fusion.patches[p];
    if (patch.width() <= 0 || patch.height() <= 0)
    {
        log("  skip face patch [%6d] [%s (%d)]\n", static_cast<int>(p), __FILE__, __LINE__);
        log("    with size: [(minx,miny) (maxx,maxy)] = [(%d,%d) (%d,%d)]\n", patch.min_x,
            patch.min_y, patch.max_x, patch.max_y);
        return {};
    }
    PhotoImage image = cut_out(fusion.photo(p), patch);
    if (fusion.faces.patch_boundary_faces[p].empty())
    {
        log("  isolated patch [%4d] (size = %5d)\n", static_cast<int>(p),
            static_cast<int>(fusion.faces.patch_faces[p].size()));
        return image;
    }
    Image<3, float> correction(patch.width(), patch.height());
    Image<1, unsigned char> mask(patch.width(), patch.height());
    prescribe(fusion.seams[p], image, correction, mask);
    auto const failure = solve_rectangle_timed(correction, mask, fusion.solver, "poisson-solve");
    if (failure != RectangleFailure::NONE)
    {
        log_failure(failure, PATCH_FAILURES, p);
        return {};
    }
    correct_unknown(image, correction, mask);
    colours = vertex_colours(fusion, p, correction);
    return image;
}

void log_rasterized(RasterizedEdges const& rasterized)
{
    log("rasterization info:\n");
    log("  rasterization times:         %10d\n", rasterized.n_edges);
    log("  rasterization total points:  %10d\n", static_cast<int>(rasterized.n_points));
    log("  rasterization min points:    %10d\n", rasterized.fewest);
    log("  rasterization max points:    %10d\n", rasterized.most);
    log("  avg rasterization points:    %10.2f\n", rasterized.mean());
}

/// Finds the seams of all patches as whole edges.
void rasterize_seams(ColourFusion& fusion)
{
    StepTimer const timer("edge-rasterization", "poisson-solve");
    std::vector<RasterizedEdges> rasterized(fusion.patches.size());
    TaskLines lines(fusion.patches.size());
    parallel_for_uneven(static_cast<std::ptrdiff_t>(fusion.patches.size()),
                        [&](std::ptrdiff_t i)
                        {
                            auto const p = static_cast<std::size_t>(i);
                            CollectedLog const collected(lines[p]);
                            fusion.seams[p] = edge_seam(
                                fusion.mesh, fusion.properties, fusion.images, fusion.patches[p],
                                fusion.faces.patch_boundary_faces[p], rasterized[p]);
                        });
    RasterizedEdges all;
    for (auto const& of_patch : rasterized)
    {
        all.add(of_patch);
    }
    print_in_order(lines);
    log_rasterized(all);
}

void find_vertex_seams(ColourFusion& fusion)
{
    parallel_for_uneven(static_cast<std::ptrdiff_t>(fusion.patches.size()),
                        [&](std::ptrdiff_t i)
                        {
                            auto const p = static_cast<std::size_t>(i);
                            fusion.seams[p] =
                                patch_seam(fusion.mesh, fusion.properties, fusion.images,
                                           fusion.patches[p], fusion.faces.patch_boundary_faces[p]);
                        });
}

/// Finds the seams of all patches before any patch is solved: a vertex on the seam of one patch may
/// be an inner one of another.
void find_seams(ColourFusion& fusion)
{
    fusion.seams.resize(fusion.patches.size());
    fusion.is_on_seam.resize(fusion.mesh.n_vertices());
    if (fusion.shape == SeamShape::EDGES)
    {
        rasterize_seams(fusion);
    }
    else
    {
        find_vertex_seams(fusion);
    }
    for (auto const& seam : fusion.seams)
    {
        for (SeamPixel const& pixel : seam)
        {
            if (pixel.vertex.is_valid())
            {
                fusion.is_on_seam[static_cast<std::size_t>(pixel.vertex.idx())] = 1;
            }
        }
    }
}

/// Gives the vertices their colours; of several patches at one vertex the last one counts.
void set_vertex_colours(TriMesh& mesh, TexProperties const& properties,
                        std::vector<std::vector<SeamPixel>> const& seams,
                        std::vector<VertexColours> const& colours)
{
    for (auto const vertex : mesh.vertices())
    {
        mesh.property(properties.vert_color, vertex) = {};
    }
    for (auto const& seam : seams)
    {
        for (SeamPixel const& pixel : seam)
        {
            if (pixel.vertex.is_valid())
            {
                mesh.property(properties.vert_color, pixel.vertex) = pixel.mean;
            }
        }
    }
    for (auto const& of_patch : colours)
    {
        for (auto const& [vertex, colour] : of_patch)
        {
            mesh.property(properties.vert_color, vertex) = colour;
        }
    }
}

} // namespace

std::vector<Image<3, unsigned char>>
fuse_patch_colours(TriMesh& mesh, TexProperties const& properties,
                   std::vector<TexImage> const& images, std::vector<PatchTex> const& patches,
                   PatchFaces const& faces, RectangleSolver solver, SeamShape shape)
{
    ColourFusion fusion{mesh, properties, images, patches, faces, solver, shape, {}, {}};
    Stages stages({1, 100});
    stages.next();
    find_seams(fusion);
    stages.next();
    std::vector<std::size_t> n_pixels;
    n_pixels.reserve(patches.size());
    for (PatchTex const& patch : patches)
    {
        n_pixels.push_back(static_cast<std::size_t>(patch.n_pixels()));
    }
    std::vector<PhotoImage> textures(patches.size());
    std::vector<VertexColours> colours(patches.size());
    for_each_rectangle(n_pixels,
                       [&](std::size_t p) { textures[p] = fuse_patch(fusion, p, colours[p]); });
    set_vertex_colours(mesh, properties, fusion.seams, colours);
    return textures;
}

} // namespace OrvaneAlgorithm::detail
