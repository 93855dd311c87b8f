#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <string>

namespace OrvaneAlgorithm::detail
{

/// Writes a mesh for diagnosis, binary, in the format of the path's extension. The time is booked
/// under `step`, apart from the operation's own. A file that cannot be written is logged.
void dump_mesh(TriMesh const& mesh, std::string const& path, std::string const& step);

} // namespace OrvaneAlgorithm::detail
