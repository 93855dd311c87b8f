#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/running/Log.h"

namespace OrvaneAlgorithm::detail
{

/// Logs the sizes of a mesh under a heading, if `enabled` is true.
inline void log_mesh_counts(bool enabled, char const* heading, TriMesh const& mesh)
{
    log_line(enabled, heading);
    log_line(enabled, "    # verts:         %8d\n", static_cast<int>(mesh.n_vertices()));
    log_line(enabled, "    # faces:         %8d\n", static_cast<int>(mesh.n_faces()));
}

inline constexpr char const* INITIAL_COUNTS = "  # initital mesh info:\n";
inline constexpr char const* FINAL_COUNTS = "  # processed mesh info:\n";

} // namespace OrvaneAlgorithm::detail
