#pragma once

#include "tests/support/meshes.h"

#include <algorithm>
#include <cstring>
#include <vector>

/// \file
/// What meshes are compared by.

namespace veld_test
{

/// Corners of the faces from a number on.
inline std::vector<Triangle> faces_from(TriMesh const& mesh, std::size_t first)
{
    std::vector<Triangle> result;
    for (auto f = first; f < mesh.n_faces(); ++f)
    {
        Triangle corners{};
        auto h = mesh.halfedge_handle(OpenMesh::FaceHandle(static_cast<int>(f)));
        for (auto& corner : corners)
        {
            h = mesh.next_halfedge_handle(h);
            corner = mesh.from_vertex_handle(h).idx();
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        result.push_back(corners);
    }
    return result;
}

/// Every link of the mesh and every bit of its coordinates.
inline std::vector<int> fingerprint(TriMesh const& mesh)
{
    std::vector<int> result{static_cast<int>(mesh.n_vertices()), static_cast<int>(mesh.n_edges()),
                            static_cast<int>(mesh.n_faces())};
    for (int i = 0; i < static_cast<int>(mesh.n_halfedges()); ++i)
    {
        OpenMesh::HalfedgeHandle const h(i);
        result.push_back(mesh.next_halfedge_handle(h).idx());
        result.push_back(mesh.prev_halfedge_handle(h).idx());
        result.push_back(mesh.to_vertex_handle(h).idx());
        result.push_back(mesh.face_handle(h).idx());
    }
    for (int i = 0; i < static_cast<int>(mesh.n_vertices()); ++i)
    {
        result.push_back(mesh.halfedge_handle(vh(i)).idx());
        int bits[3];
        std::memcpy(bits, mesh.point(vh(i)).data(), sizeof bits);
        result.insert(result.end(), bits, bits + 3);
    }
    for (int i = 0; i < static_cast<int>(mesh.n_faces()); ++i)
    {
        result.push_back(mesh.halfedge_handle(OpenMesh::FaceHandle(i)).idx());
    }
    return result;
}

} // namespace veld_test
