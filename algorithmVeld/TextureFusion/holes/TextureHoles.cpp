#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"

#include "algorithmVeld/TextureFusion/holes/HoleView.h"
#include "algorithmVeld/TextureFusion/solve/ColourClamp.h"
#include "algorithmVeld/TextureFusion/solve/RectangleTasks.h"
#include "algorithmVeld/TextureFusion/solve/SparseLuSolve.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <limits>
#include <new>
#include <optional>

namespace OrvaneAlgorithm::detail
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

namespace
{

std::vector<FaceHandle> grow_hole(TriMesh& mesh, TexProperties const& properties, FaceHandle seed,
                                  int id)
{
    auto const enter = [&](FaceHandle face)
    {
        mesh.property(properties.face_visited, face) = true;
        mesh.property(properties.face_hole_id, face) = id;
    };
    std::vector<FaceHandle> faces{seed};
    enter(seed);
    grow(faces, AroundCorners(mesh),
         [&](FaceHandle /*from*/, FaceHandle to)
         {
             if (mesh.property(properties.face_has_tex, to) ||
                 mesh.property(properties.face_visited, to))
             {
                 return Growth::PASS;
             }
             enter(to);
             return Growth::TAKE;
         });
    return faces;
}

/// What is decided about a hole before it is painted.
struct PlannedHole
{
    HoleSurroundings around;
    std::optional<HoleView> view; ///< none if the hole stays as it is
    bool too_large = false;       ///< why there is none
};

bool is_too_large(PatchTex const& rectangle, std::size_t n_vertices,
                  Image<3, unsigned char> const& photo, TextureHoleSettings const& settings)
{
    auto const n_pixels = rectangle.n_pixels();
    if (n_pixels > std::numeric_limits<int>::max() || n_pixels > settings.hole_pixel_limit)
    {
        return true;
    }
    auto const photo_pixels =
        static_cast<std::int64_t>(photo.width()) * static_cast<std::int64_t>(photo.height());
    return static_cast<std::int64_t>(n_vertices) > settings.hole_vertex_limit &&
           static_cast<float>(n_pixels) >
               static_cast<float>(photo_pixels) * settings.hole_area_ratio;
}

PlannedHole plan_hole(TriMesh const& mesh, TexProperties const& properties,
                      std::vector<TexImage> const& images, std::vector<FaceHandle> const& hole,
                      TextureHoleSettings const& settings)
{
    PlannedHole plan;
    plan.around = hole_surroundings(mesh, properties, hole);
    if (!plan.around.ring_faces.empty())
    {
        plan.view = look_at_hole(mesh, properties, images.front(), plan.around,
                                 settings.patch_margin, settings.view);
    }
    return plan;
}

/// Prescribes the colours of the vertices around a hole; of several in one pixel the last counts.
void prescribe_ring(PlannedHole const& plan, std::vector<PixelColor> const& vertex_colours,
                    Image<3, float>& colour, Image<1, unsigned char>& mask)
{
    PatchTex const& rectangle = plan.view->rectangle;
    for (std::size_t k = 0; k < plan.around.ring_vertices.size(); ++k)
    {
        int const x = plan.view->ring_pixels[k].x() - rectangle.min_x;
        int const y = plan.view->ring_pixels[k].y() - rectangle.min_y;
        if (x < 0 || y < 0 || x >= colour.width() || y >= colour.height())
        {
            continue; // It lies outside the view.
        }
        auto const vertex = static_cast<std::size_t>(plan.around.ring_vertices[k].idx());
        std::copy_n(vertex_colours[vertex].begin(), 3, colour.pixel(x, y));
        *mask.pixel(x, y) = KNOWN_PIXEL;
    }
}

/// The first one has a blank less in front of its number, as it always had.
constexpr FailureTexts HOLE_FAILURES{"  hole[%4d] SimplicialLDLT decomposition failed.\n",
                                     "  hole [%4d] SimplicialLDLT solving failed.\n"};

/// Which pixels of a hole's image have colours. The system that all channels share has not the
/// known ones among its unknowns, and they are meant to stay black then; the other solvers give
/// them back.
bool has_colour(unsigned char mask, RectangleSolver solver)
{
    return mask == 0 || solver != RectangleSolver::SIMPLICIAL;
}

/// The image of a hole, empty if it cannot be solved.
Image<3, unsigned char> solve_hole(PlannedHole const& plan, std::size_t h,
                                   std::vector<PixelColor> const& vertex_colours,
                                   RectangleSolver solver)
{
    int const width = plan.view->rectangle.width();
    int const height = plan.view->rectangle.height();
    Image<3, float> colour(width, height);
    Image<1, unsigned char> mask(width, height);
    prescribe_ring(plan, vertex_colours, colour, mask);
    auto const failure = solve_rectangle_timed(colour, mask, solver, "tex-hole-repair");
    if (failure != RectangleFailure::NONE)
    {
        log_failure(failure, HOLE_FAILURES, h);
        return {};
    }
    Image<3, unsigned char> image(width, height);
    parallel_for_even(height,
                      [&](std::ptrdiff_t row)
                      {
                          int const y = static_cast<int>(row);
                          for (int x = 0; x < width; ++x)
                          {
                              if (has_colour(*mask.pixel(x, y), solver))
                              {
                                  std::transform(colour.pixel(x, y), colour.pixel(x, y) + 3,
                                                 image.pixel(x, y), clamped_colour);
                              }
                          }
                      });
    return image;
}

/// The image of a hole, empty if it cannot be painted. The view may be so near to a vertex that
/// the rectangle takes more memory than there is: that costs this hole its colours, and no more.
Image<3, unsigned char> paint_hole(PlannedHole const& plan, std::size_t h,
                                   std::vector<PixelColor> const& vertex_colours,
                                   RectangleSolver solver)
{
    try
    {
        return solve_hole(plan, h, vertex_colours, solver);
    }
    catch (std::bad_alloc const&)
    {
        return {};
    }
}

/// Notes where a hole's vertices lie in its view.
void set_hole_pixels(TriMesh& mesh, TexProperties const& properties, PlannedHole const& plan)
{
    for (std::size_t k = 0; k < plan.around.hole_vertices.size(); ++k)
    {
        mesh.property(properties.vert_hole_uv, plan.around.hole_vertices[k]) =
            plan.view->hole_pixels[k];
    }
}

/// Gives a painted hole's vertices the colours of their pixels.
void set_hole_colours(TriMesh& mesh, TexProperties const& properties, PlannedHole const& plan,
                      Image<3, unsigned char> const& image)
{
    PatchTex const& rectangle = plan.view->rectangle;
    for (std::size_t k = 0; k < plan.around.hole_vertices.size(); ++k)
    {
        Vector2i const& pixel = plan.view->hole_pixels[k];
        std::copy_n(image.pixel(pixel.x() - rectangle.min_x, pixel.y() - rectangle.min_y), 3,
                    mesh.property(properties.vert_color, plan.around.hole_vertices[k]).begin());
    }
}

/// Decides about all holes, and notes the pixels of those that are looked at.
std::vector<PlannedHole> plan_holes(TriMesh& mesh, TexProperties const& properties,
                                    std::vector<TexImage> const& images,
                                    TextureHoleFaces const& holes,
                                    TextureHoleSettings const& settings)
{
    std::vector<PlannedHole> plans(holes.size());
    parallel_for_uneven(static_cast<std::ptrdiff_t>(holes.size()),
                        [&](std::ptrdiff_t i)
                        {
                            auto const h = static_cast<std::size_t>(i);
                            plans[h] = plan_hole(mesh, properties, images, holes[h], settings);
                        });
    for (PlannedHole& plan : plans)
    {
        if (!plan.view)
        {
            continue;
        }
        set_hole_pixels(mesh, properties, plan);
        if (is_too_large(plan.view->rectangle, plan.around.hole_vertices.size(),
                         images.front().image, settings))
        {
            plan.too_large = true;
            plan.view.reset();
        }
    }
    return plans;
}

/// How many pixels are painted for each hole.
std::vector<std::size_t> pixels_of(std::vector<PlannedHole> const& plans)
{
    std::vector<std::size_t> n_pixels;
    n_pixels.reserve(plans.size());
    for (PlannedHole const& plan : plans)
    {
        n_pixels.push_back(plan.view ? static_cast<std::size_t>(plan.view->rectangle.n_pixels())
                                     : 0);
    }
    return n_pixels;
}

} // namespace

TextureHoleFaces find_texture_holes(TriMesh& mesh, TexProperties const& properties,
                                    StageTexts const& texts)
{
    log(texts.texture_holes);
    for (auto const face : mesh.faces())
    {
        mesh.property(properties.face_visited, face) = false;
        mesh.property(properties.face_hole_id, face) = -1;
    }
    TextureHoleFaces holes;
    LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        progress.next();
        if (!mesh.property(properties.face_has_tex, face) &&
            !mesh.property(properties.face_visited, face))
        {
            holes.push_back(grow_hole(mesh, properties, face, static_cast<int>(holes.size())));
        }
    }
    log(texts.total_holes, static_cast<int>(holes.size()));
    return holes;
}

RepairedHoles repair_texture_holes(TriMesh& mesh, TexProperties const& properties,
                                   std::vector<TexImage> const& images,
                                   TextureHoleFaces const& holes,
                                   TextureHoleSettings const& settings)
{
    Stages stages({1, 10});
    stages.next();
    auto const plans = plan_holes(mesh, properties, images, holes, settings);
    stages.next();
    // A textured face between two holes has vertices of both: each hole sees the colours of before.
    auto const vertex_colours = mesh.property(properties.vert_color).data_vector();
    RepairedHoles repaired;
    repaired.too_large = static_cast<std::size_t>(std::count_if(
        plans.begin(), plans.end(), [](PlannedHole const& plan) { return plan.too_large; }));
    repaired.hole_textures.resize(holes.size());
    for_each_rectangle(pixels_of(plans),
                       [&](std::size_t h)
                       {
                           if (plans[h].view)
                           {
                               repaired.hole_textures[h] =
                                   paint_hole(plans[h], h, vertex_colours, settings.solver);
                           }
                       });
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        PatchTex& patch = repaired.hole_patches.emplace_back();
        if (!repaired.hole_textures[h].empty())
        {
            set_hole_colours(mesh, properties, plans[h], repaired.hole_textures[h]);
            patch = plans[h].view->rectangle;
            patch.repaired = true;
        }
        patch.is_hole = true;
    }
    return repaired;
}

} // namespace OrvaneAlgorithm::detail
