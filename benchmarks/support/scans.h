#pragma once

#include "benchmarks/support/bumpy_sphere.h"

#include <map>

/// \file
/// Scans of a given size, made once for all benchmarks of a program.

namespace veld_benchmark
{

/// A bumpy sphere with one hole of 30 edges for 900 faces.
inline TriMesh const& scan_with_holes(int faces)
{
    static std::map<int, TriMesh> meshes;
    auto found = meshes.find(faces);
    if (found == meshes.end())
    {
        found = meshes.emplace(faces, bumpy_sphere(faces, faces / 900, 30)).first;
    }
    return found->second;
}

/// A copy with the room that the mesh reader leaves: three edges and two faces a vertex.
inline TriMesh as_read(TriMesh const& mesh)
{
    TriMesh copy = mesh;
    copy.reserve(copy.n_vertices(), 3 * copy.n_vertices(), 2 * copy.n_vertices());
    return copy;
}

} // namespace veld_benchmark
