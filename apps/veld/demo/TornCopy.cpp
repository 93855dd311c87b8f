#include "demo/TornCopy.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace veld::cli
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;

namespace
{

constexpr double BAND_DISTANCE = 20.0; // mm
constexpr double BAND_WIDTH = 1.6;     // mm
constexpr int LOOSE_POINT_EVERY = 8;

bool is_in_band(TriMesh const& mesh, VertexHandle vertex)
{
    auto const p = mesh.point(vertex).cast<double>().eval();
    for (int axis = 0; axis < 3; ++axis)
    {
        if (std::abs(std::remainder(p[axis] - BAND_DISTANCE / 2.0, BAND_DISTANCE)) <
            BAND_WIDTH / 2.0)
        {
            return true;
        }
    }
    return false;
}

bool is_torn(TriMesh const& mesh, FaceHandle face)
{
    for (auto const corner : mesh.fv_range(face))
    {
        if (is_in_band(mesh, corner))
        {
            return true;
        }
    }
    return false;
}

} // namespace

/// Made from its points on, so that it is the mesh that its file gives.
TriMesh torn_copy(TriMesh const& mesh)
{
    std::vector<FaceHandle> faces;
    std::vector<char> has_face(mesh.n_vertices(), 0);
    for (auto const face : mesh.faces())
    {
        if (!is_torn(mesh, face))
        {
            faces.push_back(face);
            for (auto const corner : mesh.fv_range(face))
            {
                has_face[static_cast<std::size_t>(corner.idx())] = 1;
            }
        }
    }
    TriMesh torn;
    std::vector<VertexHandle> copies(mesh.n_vertices());
    int bare = 0;
    for (auto const vertex : mesh.vertices())
    {
        auto const i = static_cast<std::size_t>(vertex.idx());
        if (has_face[i] != 0 || ++bare % LOOSE_POINT_EVERY == 0)
        {
            copies[i] = torn.add_vertex(mesh.point(vertex));
        }
    }
    for (auto const face : faces)
    {
        std::vector<VertexHandle> corners;
        for (auto const corner : mesh.fv_range(face))
        {
            corners.push_back(copies[static_cast<std::size_t>(corner.idx())]);
        }
        torn.add_face(corners);
    }
    return torn;
}

} // namespace veld::cli
