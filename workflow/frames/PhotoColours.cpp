#include "workflow/frames/PhotoColours.h"

#include "workflow/ForEachIndex.h"

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

bool shows(FramePhoto const* photo, Vector3f const& place)
{
    return photo != nullptr && photo->shows(place);
}

/// The first that shows a place, of the photographs from the own one on, nearest numbers first.
std::optional<std::size_t> photo_of(std::vector<FramePhoto const*> const& photos, std::size_t own,
                                    Vector3f const& place)
{
    if (shows(photos[own], place))
    {
        return own;
    }
    for (std::size_t off = 1; off <= FRAMES_BESIDE; ++off)
    {
        if (own >= off && shows(photos[own - off], place))
        {
            return own - off;
        }
        if (own + off < photos.size() && shows(photos[own + off], place))
        {
            return own + off;
        }
    }
    return std::nullopt;
}

Vector3f const& place_of(TriMesh const& mesh, std::size_t vertex)
{
    return mesh.point(VertexHandle(static_cast<int>(vertex)));
}

/// For each photograph the vertices without a colour that take theirs from it.
std::vector<std::vector<std::size_t>> share_out(std::vector<FramePhoto const*> const& photos,
                                                std::vector<int> const& vertex_frames,
                                                TriMesh const& mesh, VertexColours const& colours)
{
    std::vector<std::optional<std::size_t>> chosen(mesh.n_vertices());
    OrvaneAlgorithm::detail::parallel_for_even(
        static_cast<std::ptrdiff_t>(mesh.n_vertices()),
        [&](std::ptrdiff_t v)
        {
            auto const i = static_cast<std::size_t>(v);
            if (colours.is_known[i] == 0)
            {
                chosen[i] =
                    photo_of(photos, static_cast<std::size_t>(vertex_frames[i]), place_of(mesh, i));
            }
        });
    std::vector<std::vector<std::size_t>> shares(photos.size());
    for (std::size_t i = 0; i < chosen.size(); ++i)
    {
        if (chosen[i])
        {
            shares[*chosen[i]].push_back(i);
        }
    }
    return shares;
}

/// Colours the vertices of each photograph. \return for each why it gave none
std::vector<std::string> take_colours(std::vector<FramePhoto const*> const& photos,
                                      std::vector<std::vector<std::size_t>> const& shares,
                                      TriMesh const& mesh, VertexColours& colours)
{
    std::vector<std::string> reasons(photos.size());
    for_each_index(photos.size(),
                   [&](std::size_t f)
                   {
                       if (shares[f].empty())
                       {
                           return;
                       }
                       FramePhoto::Pixels pixels;
                       reasons[f] = photos[f]->read(pixels);
                       if (!reasons[f].empty())
                       {
                           return;
                       }
                       for (std::size_t const i : shares[f])
                       {
                           colours.colour[i] = photos[f]->colour_of(place_of(mesh, i), pixels);
                           colours.is_known[i] = 1;
                       }
                   });
    return reasons;
}

/// Leaves photographs out that gave no colours. \return those
std::vector<PhotoProblem> leave_out(std::vector<std::string> const& reasons,
                                    std::vector<FramePhoto const*>& photos)
{
    std::vector<PhotoProblem> problems;
    for (std::size_t f = 0; f < photos.size(); ++f)
    {
        if (!reasons[f].empty())
        {
            problems.push_back({f, reasons[f]});
            photos[f] = nullptr;
        }
    }
    return problems;
}

bool is_any(std::vector<FramePhoto const*> const& photos)
{
    return std::any_of(photos.begin(), photos.end(),
                       [](FramePhoto const* photo) { return photo != nullptr; });
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

void set_colours(VertexColours const& colours, TriMesh& mesh)
{
    mesh.request_vertex_colors();
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_color(vertex, colours.colour[static_cast<std::size_t>(vertex.idx())]);
    }
}

} // namespace

std::vector<PhotoProblem> colour_from_photos(std::vector<FramePhoto const*> photos,
                                             std::vector<int> const& vertex_frames, TriMesh& mesh)
{
    std::vector<PhotoProblem> problems;
    VertexColours colours;
    colours.colour.assign(mesh.n_vertices(), Vector3f::Constant(0.5F));
    colours.is_known.assign(mesh.n_vertices(), 0);
    bool is_done = mesh.has_vertex_colors();
    while (!is_done && is_any(photos))
    {
        auto const shares = share_out(photos, vertex_frames, mesh, colours);
        auto const found = leave_out(take_colours(photos, shares, mesh, colours), photos);
        problems.insert(problems.end(), found.begin(), found.end());
        is_done = found.empty();
    }
    if (is_any(photos) && !mesh.has_vertex_colors())
    {
        spread(mesh, colours);
        set_colours(colours, mesh);
    }
    std::sort(problems.begin(), problems.end(),
              [](PhotoProblem const& a, PhotoProblem const& b) { return a.photo < b.photo; });
    return problems;
}

} // namespace veld
