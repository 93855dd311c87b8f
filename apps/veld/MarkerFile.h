#pragma once

#include "algorithmVeld/common/types.h"

#include <string>

namespace veld
{

/// The adhesive markers of a scan. Either no marker has a normal or each has one of unit length.
struct Markers
{
    OrvaneAlgorithm::Verts points;
    OrvaneAlgorithm::Verts normals;
};

/// Reads a marker file: one marker a line, `x y z` or `x y z nx ny nz`, `#` begins a comment.
/// \param with_normals whether every marker needs a normal
Markers read_markers(std::string const& path, bool with_normals);

} // namespace veld
