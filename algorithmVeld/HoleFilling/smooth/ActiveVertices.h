#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Which vertices a mesh itself lets move.
struct ActiveRule
{
    bool skip_features =
        false;               ///< Vertices of features stay, those of feature edges and faces too.
    int rings_at_border = 0; ///< How many rings of vertices stay beside those of the border.
};

/// Of each vertex whether it may move: the selected ones, or all if none is selected, without those
/// that are on a border, locked, marked deleted, or held by the rule. The bit `tagged` of all
/// vertices is used and left off.
/// \param mesh with the status of vertices; that of edges and faces is looked at where it is there
std::vector<bool> active_vertices(TriMesh& mesh, ActiveRule const& rule);

} // namespace OrvaneAlgorithm::detail
