#pragma once

#include "tests/support/mesh_arrays.h"
#include "tests/support/real_data.h"
#include "tests/support/sanitizers.h"

#include "algorithmVeld/common/mesh_io.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

/// \file
/// What fillings of real scans have to fulfil.

namespace veld_test
{

/// Reads each scan and calls `check(mesh, holes)` for those with holes.
template <typename Check>
void for_each_scan(Check const& check)
{
    int with_holes = 0;
    for (auto const& file : real_meshes())
    {
        if (IS_SANITIZED && std::filesystem::file_size(file) >= 250000)
        {
            continue; // takes too long there
        }
        SCOPED_TRACE(file.filename().string());
        TriMesh mesh;
        OrvaneAlgorithm::MeshReadReport report;
        ASSERT_TRUE(OrvaneAlgorithm::read_mesh(file.string(), mesh, report)) << report.error;
        OrvaneAlgorithm::Holes holes;
        OrvaneAlgorithm::FindHolesEx::find_holes(mesh, holes, false);
        if (!holes.empty())
        {
            ++with_holes;
            check(mesh, holes);
        }
    }
    EXPECT_GT(with_holes, 0);
}

inline void expect_oriented_manifold(TriMesh const& mesh, std::vector<int> const& gaps_before)
{
    std::set<std::pair<int, int>> sides;
    for (auto const f : mesh.faces())
    {
        for (auto const h : mesh.fh_range(f))
        {
            EXPECT_TRUE(sides.emplace(h.from().idx(), h.to().idx()).second)
                << "two faces on the same side of an edge";
        }
    }
    auto const gaps = gaps_of(mesh);
    for (std::size_t v = 0; v < gaps.size(); ++v)
    {
        // What the mesh refuses leaves a smaller hole, which may pass through a new vertex.
        EXPECT_LE(gaps[v], v < gaps_before.size() ? std::max(gaps_before[v], 1) : 1);
    }
}

/// The angle by which the surface turns at an edge, in degrees. None at a border, and beside a
/// sliver, for rounding decides where that looks.
inline std::optional<double> turn_at(TriMesh const& mesh, OpenMesh::EdgeHandle edge)
{
    using OrvaneAlgorithm::Vector3d;
    Vector3d normals[2];
    for (unsigned side = 0; side < 2; ++side)
    {
        auto const face = mesh.face_handle(mesh.halfedge_handle(edge, side));
        if (!face.is_valid())
        {
            return std::nullopt;
        }
        Vector3d p[3];
        int k = 0;
        for (auto const v : mesh.fv_range(face))
        {
            p[k++] = mesh.point(v).cast<double>();
        }
        Vector3d const cross = (p[1] - p[0]).cross(p[2] - p[0]);
        double const longest =
            std::max({(p[1] - p[0]).norm(), (p[2] - p[1]).norm(), (p[0] - p[2]).norm()});
        if (!(cross.norm() > 1e-2 * longest * longest))
        {
            return std::nullopt;
        }
        normals[side] = cross.normalized();
    }
    return std::atan2(normals[0].cross(normals[1]).norm(), normals[0].dot(normals[1])) * 180.0 /
           3.141592653589793;
}

} // namespace veld_test
