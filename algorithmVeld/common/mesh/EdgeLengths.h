#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

/// Sum of the lengths of all edges that are not deleted, hidden ones too: bit for bit what adding
/// one after the other gives, for any number of threads.
double sum_of_edge_lengths(TriMesh const& mesh);

} // namespace OrvaneAlgorithm::detail
