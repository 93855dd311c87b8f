#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// Gives edges the numbers that they get where a mesh is read from a file: in the order in which
/// the faces come to them. A cut fills gaps with edges from the end, and holes are listed by their
/// edges; so they have the same places in the list here as behind a file.
void number_edges_as_read(OrvaneAlgorithm::TriMesh& mesh);

} // namespace veld
