#pragma once

#include "workflow/export.h"

#include "algorithmVeld/common/types.h"

#include <filesystem>

namespace veld
{

/// The adhesive markers of a scan. Either no marker has a normal or each has one of unit length.
struct Markers
{
    OrvaneAlgorithm::Verts points;  ///< Where they are, in millimetres.
    OrvaneAlgorithm::Verts normals; ///< Their unit normals; empty if the file has none.
};

/// Reads a marker file: one marker a line, `x y z` or `x y z nx ny nz`, `#` begins a comment.
/// \param with_normals whether every marker needs a normal
/// Throws `InputError` for a line that is none, or a file without any.
VELD_WORKFLOW_API Markers read_markers(std::filesystem::path const& path, bool with_normals);

} // namespace veld
