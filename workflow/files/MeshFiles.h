#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/mesh_io.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

/// A mesh, and what its file held, or the arrays of which it was made.
struct MeshFile
{
    TriMesh mesh;                               ///< What was made of the file.
    std::size_t faces_left_out = 0;             ///< Faces of the file that are not in the mesh.
    OrvaneAlgorithm::MeshFileContents contents; ///< What the file holds.
};

/// Reads a mesh file: PLY, STL, OBJ, OFF or OM, by its extension. What is no mesh of triangles is
/// made one, as `OrvaneAlgorithm::read_and_mend_mesh` says. Warns once of that, and once of what
/// the file carries and the mesh does not. Throws `InputError` where the file cannot be read.
VELD_WORKFLOW_API MeshFile read_mesh(std::filesystem::path const& path, Context& context);

/// Makes a mesh of arrays that a host has in memory, as read_mesh() does of a file, with the same
/// warnings. A mesh without faces is a cloud. Throws `InputError` where the arrays do not fit each
/// other.
/// \param name what messages call it \param arrays what they hold may be gone afterwards
VELD_WORKFLOW_API MeshFile make_mesh(std::string const& name, OrvaneAlgorithm::BaseTriMesh&& arrays,
                                     Context& context);

/// Reads points: a mesh file as read_mesh() does, whose faces are then in the result too, or text
/// (.xyz, .txt, .asc) of "x y z", "x y z intensity" or "x y z nx ny nz" a line. The cloud has
/// vertex normals exactly if the file has them; a zero vector is none.
VELD_WORKFLOW_API MeshFile read_cloud(std::filesystem::path const& path, Context& context);

/// Writes a mesh file in the format that its extension names. It appears whole or not at all. Warns
/// where the format cannot hold texture coordinates or values of vertices that the mesh carries.
/// Throws `InputError` for an unknown extension, `OperationError` where it cannot be written.
VELD_WORKFLOW_API void write_mesh(std::filesystem::path const& path, TriMesh const& mesh,
                                  Context& context);

/// The same for a file that gets its place later, with others.
VELD_WORKFLOW_API void write_mesh(OutputFile const& file, TriMesh const& mesh, Context& context);

/// Refuses a path whose extension is no mesh format.
VELD_WORKFLOW_API void check_mesh_extension(std::filesystem::path const& path);

} // namespace veld
