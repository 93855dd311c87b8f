#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "fuzz/support/ByteSource.h"

#include <vector>

namespace veld_fuzz
{

/// Makes a small mesh of some bytes: a shape with holes, and a list of what is done to it, which
/// moves vertices to where they spoil arithmetic, adds faces whether they fit or not, and deletes
/// elements without taking them out.
OrvaneAlgorithm::TriMesh decode_mesh(ByteSource& source);

/// A few points near the mesh that decode_mesh() makes, or far from it.
std::vector<OrvaneAlgorithm::Vector3f> decode_points(ByteSource& source);

/// A point of three coordinates.
OrvaneAlgorithm::Vector3f decode_point(ByteSource& source);

/// For a list of vertices: numbers of the mesh, and some that it does not have.
std::vector<OpenMesh::VertexHandle> decode_vertices(ByteSource& source,
                                                    OrvaneAlgorithm::TriMesh const& mesh);

/// Whether the links of a mesh are what they have to be after any operation; ends the process
/// otherwise. Coordinates may be anything.
void require_sound_links(OrvaneAlgorithm::TriMesh const& mesh);

} // namespace veld_fuzz
