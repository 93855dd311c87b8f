#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <string>

namespace OrvaneAlgorithm
{

/// What reading a mesh file told beside the mesh.
struct MeshReadReport
{
    /// Why the file was refused: one line that names the file. Empty on success.
    std::string error;
    /// Faces that the half-edge structure cannot hold (a third face at an edge, a repeated vertex)
    /// and that were left out.
    size_t faces_left_out = 0;
};

/// Reads a triangle mesh: PLY, STL, OBJ, OFF or OM, told by the extension; ascii or binary. Vertex
/// and face order are the file's (STL, which has no vertices, gets one for each distinct position,
/// in the order of first use). Vertex normals and colours are carried where the file has them.
///
/// A file that is missing, empty, cut off or damaged, that holds a coordinate that is not finite,
/// an index out of range or a face that is no triangle is refused, and `mesh` is left empty.
/// \return true on success
ALGORITHMVELD_API bool read_mesh(std::string const& path, TriMesh& mesh, MeshReadReport& report);

/// Writes a mesh in the format that the extension names (PLY and STL binary, little-endian), with
/// normals and colours where the mesh has them and the format can hold them. The file appears whole
/// or not at all.
/// \param error why it could not be written, one line that names the file
/// \return true on success
ALGORITHMVELD_API bool write_mesh(std::string const& path, TriMesh const& mesh, std::string& error);

} // namespace OrvaneAlgorithm
