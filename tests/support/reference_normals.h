#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cmath>
#include <vector>

namespace veld_test::reference
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

/// Whether a new triangle looks the way of the faces around its corners: the test of the ear
/// methods and of the stitch, as plainly as it can be written.
inline bool consistent(TriMesh const& mesh, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
                       OpenMesh::VertexHandle c, double degrees)
{
    auto const cos_thr = static_cast<float>(std::cos(degrees * 3.141592653589793 / 180.0));
    Vector3f const e1 = mesh.point(b) - mesh.point(a);
    Vector3f const e2 = mesh.point(c) - mesh.point(a);
    Vector3f n = e1.cross(e2);
    if (static_cast<double>(e1.norm()) * 0.001 * static_cast<double>(e2.norm()) >
        static_cast<double>(n.norm()))
    {
        return false;
    }
    n.normalize();
    for (auto const v : {a, b, c})
    {
        for (auto it = mesh.cvf_iter(v); it.is_valid(); ++it)
        {
            std::vector<Vector3f> r;
            for (auto h = mesh.cfh_iter(*it); h.is_valid(); ++h)
            {
                r.push_back(mesh.point(mesh.to_vertex_handle(*h)));
            }
            if (r.size() != 3)
            {
                continue;
            }
            Vector3f const m = (r[1] - r[0]).cross(r[2] - r[0]);
            if (m.norm() * cos_thr > m.dot(n))
            {
                return false;
            }
        }
    }
    return true;
}

} // namespace veld_test::reference
