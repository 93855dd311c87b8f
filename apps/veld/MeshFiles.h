#pragma once

#include "Console.h"
#include "OutputFile.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <string>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

/// Reads a mesh file, and warns of faces that had to be left out.
/// \return how many faces were left out
std::size_t load_mesh(std::string const& path, TriMesh& mesh, Console& console);

/// Writes a mesh file in the format that its extension names.
void save_mesh(OutputFile const& file, TriMesh const& mesh);

/// Refuses a path whose extension is no mesh format.
void check_mesh_extension(std::string const& path);

} // namespace veld
