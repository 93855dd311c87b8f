#pragma once

#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/TriMesh.h"

#include <string>

namespace veld
{

/// Writes a mesh as binary glTF 2.0 with its texture inside. Corners without texture coordinates
/// have (0, 0).
/// \param jpeg the texture, as the content of a file
void write_glb_file(OutputFile const& file, OrvaneAlgorithm::TriMesh const& mesh,
                    std::string const& jpeg);

} // namespace veld
