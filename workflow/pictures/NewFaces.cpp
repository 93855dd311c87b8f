#include "workflow/pictures/NewFaces.h"

#include <algorithm>
#include <array>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

using Corner = std::array<float, 3>;
using Place = std::array<Corner, 3>;

/// The corners of a face from the smallest on, so that the same triangle always looks the same.
Place place_of(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    Place place{};
    std::size_t i = 0;
    for (auto const vertex : mesh.fv_range(face))
    {
        auto const& point = mesh.point(vertex);
        place[i++] = {point.x(), point.y(), point.z()};
    }
    std::rotate(place.begin(), std::min_element(place.begin(), place.end()), place.end());
    return place;
}

} // namespace

std::vector<char> mark_new_faces(TriMesh const& mesh, TriMesh const& original)
{
    std::vector<Place> known;
    known.reserve(original.n_faces());
    for (auto const face : original.faces())
    {
        known.push_back(place_of(original, face));
    }
    std::sort(known.begin(), known.end());
    std::vector<char> marks;
    marks.reserve(mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        bool const old = std::binary_search(known.begin(), known.end(), place_of(mesh, face));
        marks.push_back(old ? 0 : 1);
    }
    return marks;
}

} // namespace veld
