#pragma once

#include "benchmarks/support/bumpy_sphere.h"

#include <array>
#include <map>

/// \file
/// Scans of a given size, made once for all benchmarks of a program.

namespace veld_benchmark
{

/// A bumpy sphere with holes of a number of edges.
inline TriMesh const& scan_with_holes(int faces, int holes, int edges)
{
    static std::map<std::array<int, 3>, TriMesh> meshes;
    std::array<int, 3> const key{faces, holes, edges};
    auto found = meshes.find(key);
    if (found == meshes.end())
    {
        found = meshes.emplace(key, bumpy_sphere(faces, holes, edges)).first;
    }
    return found->second;
}

/// The same with one hole of 30 edges for 900 faces.
inline TriMesh const& scan_with_holes(int faces)
{
    return scan_with_holes(faces, faces / 900, 30);
}

/// A copy with the room that the mesh reader leaves: for an eighth more.
inline TriMesh as_read(TriMesh const& mesh)
{
    TriMesh copy = mesh;
    copy.reserve_more(copy.n_vertices() / 8, copy.n_edges() / 8, copy.n_faces() / 8);
    return copy;
}

} // namespace veld_benchmark
