#include "workflow/frames/PhotoColours.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace veld
{

using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// Frames before and behind the own one that are asked.
constexpr std::size_t FRAMES_BESIDE = 12;
/// Rounds in which colours spread to vertices that no photograph shows.
constexpr int SPREAD_ROUNDS = 20;

/// Colours, and whether there is one.
struct VertexColours
{
    std::vector<Vector3f> colour;
    std::vector<char> is_known;
};

std::optional<Vector3f> colour_in(FramePhoto const* photo, Vector3f const& place)
{
    return photo != nullptr ? photo->colour_of(place) : std::nullopt;
}

/// Of the frames from the own one on, nearest numbers first.
std::optional<Vector3f> colour_of(std::vector<FramePhoto const*> const& photos, std::size_t own,
                                  Vector3f const& place)
{
    std::optional<Vector3f> colour = colour_in(photos[own], place);
    for (std::size_t off = 1; off <= FRAMES_BESIDE && !colour; ++off)
    {
        if (own >= off)
        {
            colour = colour_in(photos[own - off], place);
        }
        if (!colour && own + off < photos.size())
        {
            colour = colour_in(photos[own + off], place);
        }
    }
    return colour;
}

/// Gives each vertex without a colour the mean of those around that have one.
void spread(TriMesh const& mesh, VertexColours& colours)
{
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < colours.is_known.size(); ++i)
    {
        if (colours.is_known[i] == 0)
        {
            open.push_back(i);
        }
    }
    for (int round = 0; round < SPREAD_ROUNDS && !open.empty(); ++round)
    {
        std::vector<std::size_t> found;
        for (std::size_t const i : open)
        {
            Vector3f sum = Vector3f::Zero();
            float n = 0.0F;
            for (auto const other : mesh.vv_range(VertexHandle(static_cast<int>(i))))
            {
                auto const j = static_cast<std::size_t>(other.idx());
                if (colours.is_known[j] == 1)
                {
                    sum += colours.colour[j];
                    n += 1.0F;
                }
            }
            if (n > 0.0F)
            {
                colours.colour[i] = sum / n;
                found.push_back(i);
            }
        }
        for (std::size_t const i : found)
        {
            colours.is_known[i] = 1;
        }
        open.erase(std::remove_if(open.begin(), open.end(),
                                  [&](std::size_t i) { return colours.is_known[i] == 1; }),
                   open.end());
    }
}

} // namespace

void colour_from_photos(std::vector<FramePhoto const*> const& photos,
                        std::vector<int> const& vertex_frames, TriMesh& mesh)
{
    bool const has_photos = std::any_of(photos.begin(), photos.end(),
                                        [](FramePhoto const* photo) { return photo != nullptr; });
    if (!has_photos || mesh.has_vertex_colors())
    {
        return;
    }
    VertexColours colours;
    colours.colour.assign(mesh.n_vertices(), Vector3f::Constant(0.5F));
    colours.is_known.assign(mesh.n_vertices(), 0);
    OrvaneAlgorithm::detail::parallel_for_even(
        static_cast<std::ptrdiff_t>(mesh.n_vertices()),
        [&](std::ptrdiff_t v)
        {
            auto const i = static_cast<std::size_t>(v);
            auto const own = static_cast<std::size_t>(vertex_frames[i]);
            auto const colour =
                colour_of(photos, own, mesh.point(VertexHandle(static_cast<int>(v))));
            if (colour)
            {
                colours.colour[i] = *colour;
                colours.is_known[i] = 1;
            }
        });
    spread(mesh, colours);
    mesh.request_vertex_colors();
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_color(vertex, colours.colour[static_cast<std::size_t>(vertex.idx())]);
    }
}

} // namespace veld
