#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"

#include "algorithmVeld/TextureFusion/holes/HoleView.h"
#include "algorithmVeld/TextureFusion/solve/ColourClamp.h"
#include "algorithmVeld/TextureFusion/solve/RectangleTasks.h"
#include "algorithmVeld/TextureFusion/solve/systems/SparseLuSolve.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <limits>
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
Image<3, unsigned char> paint_hole(PlannedHole const& plan, std::size_t h,
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

/// When each hole is painted: holes of the same turn side by side give what one after the other
/// gives.
std::vector<std::size_t> turns_of(std::vector<PlannedHole> const& plans, std::size_t n_vertices)
{
    constexpr std::size_t NO_HOLE = std::numeric_limits<std::size_t>::max();
    std::vector<std::size_t> hole_of(n_vertices, NO_HOLE);
    for (std::size_t h = 0; h < plans.size(); ++h)
    {
        if (plans[h].view)
        {
            for (auto const vertex : plans[h].around.hole_vertices)
            {
                hole_of[static_cast<std::size_t>(vertex.idx())] = h;
            }
        }
    }
    std::vector<std::size_t> turns(plans.size(), 0);
    for (std::size_t h = 0; h < plans.size(); ++h)
    {
        auto const others = [&, h](auto const& visit)
        {
            for (auto const vertex : plans[h].around.ring_vertices)
            {
                std::size_t const other = hole_of[static_cast<std::size_t>(vertex.idx())];
                if (plans[h].view && other != NO_HOLE && other != h)
                {
                    visit(other);
                }
            }
        };
        others([&](std::size_t other)
               { turns[h] = other < h ? std::max(turns[h], turns[other] + 1) : turns[h]; });
        // Not before this one has seen what it paints over.
        others([&](std::size_t other)
               { turns[other] = other > h ? std::max(turns[other], turns[h]) : turns[other]; });
    }
    return turns;
}

/// The holes that are painted, turn by turn.
std::vector<std::vector<std::size_t>> painting_order(std::vector<PlannedHole> const& plans,
                                                     std::size_t n_vertices, ColoursAround colours)
{
    auto const turns = colours == ColoursAround::IN_TURN ? turns_of(plans, n_vertices)
                                                         : std::vector<std::size_t>(plans.size());
    std::vector<std::vector<std::size_t>> order;
    for (std::size_t h = 0; h < plans.size(); ++h)
    {
        if (plans[h].view)
        {
            order.resize(std::max(order.size(), turns[h] + 1));
            order[turns[h]].push_back(h);
        }
    }
    return order;
}

/// Paints the holes of a turn from the colours that the vertices have now.
void paint_turn(TriMesh& mesh, TexProperties const& properties,
                std::vector<PlannedHole> const& plans, std::vector<std::size_t> const& turn,
                RectangleSolver solver, RepairedHoles& repaired, TaskLines& lines)
{
    auto const& vertex_colours = mesh.property(properties.vert_color).data_vector();
    std::vector<std::size_t> n_pixels;
    n_pixels.reserve(turn.size());
    for (std::size_t const h : turn)
    {
        n_pixels.push_back(static_cast<std::size_t>(plans[h].view->rectangle.n_pixels()));
    }
    for_each_rectangle(n_pixels,
                       [&](std::size_t k)
                       {
                           std::size_t const h = turn[k];
                           CollectedLog const collected(lines[h]);
                           repaired.hole_textures[h] =
                               paint_hole(plans[h], h, vertex_colours, solver);
                       });
    for (std::size_t const h : turn)
    {
        if (!repaired.hole_textures[h].empty())
        {
            set_hole_colours(mesh, properties, plans[h], repaired.hole_textures[h]);
            repaired.hole_patches[h] = plans[h].view->rectangle;
            repaired.hole_patches[h].repaired = true;
            repaired.hole_patches[h].is_hole = true;
        }
    }
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
    if (*texts.total_holes != '\0')
    {
        log(texts.total_holes, static_cast<int>(holes.size()));
    }
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
    RepairedHoles repaired;
    repaired.too_large = static_cast<std::size_t>(std::count_if(
        plans.begin(), plans.end(), [](PlannedHole const& plan) { return plan.too_large; }));
    repaired.hole_textures.resize(holes.size());
    PatchTex unrepaired;
    unrepaired.is_hole = true;
    repaired.hole_patches.assign(holes.size(), unrepaired);
    auto const order = painting_order(plans, mesh.n_vertices(), settings.colours);
    TaskLines lines(holes.size());
    for (std::size_t i = 0; i < order.size(); ++i)
    {
        auto const n_turns = static_cast<double>(order.size());
        ProgressPart const part(static_cast<double>(i) / n_turns,
                                static_cast<double>(i + 1) / n_turns);
        paint_turn(mesh, properties, plans, order[i], settings.solver, repaired, lines);
    }
    print_in_order(lines);
    return repaired;
}

} // namespace OrvaneAlgorithm::detail
