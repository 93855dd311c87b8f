#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <string>

namespace OrvaneAlgorithm
{

/// What reading a mesh file told beside the mesh.
struct MeshReadReport
{
    /// Why the file was refused: one line that begins with the path. Empty on success.
    std::string error;
    /// Faces that the half-edge structure cannot hold (a third face at an edge, a neighbour turned
    /// over, a repeated vertex) and that were left out. Which of several faces at an edge stay is
    /// decided by their order in the file.
    size_t faces_left_out = 0;
};

/// Reads a triangle mesh: PLY, STL, OBJ, OFF or OM (version 2.2), told by the extension in any
/// case; ascii or binary. Vertex and face order are the file's (STL, which has no vertices, gets
/// one for each distinct position, in the order of first use). Vertex normals and colours are
/// carried where the file has them for all vertices; colours of bytes are scaled to 0 to 1. A
/// normal or colour that is not finite becomes zero; the others stay. Points without any face are a
/// mesh too, except in STL.
///
/// A file that is missing, empty, cut off or damaged, that holds a coordinate that is not finite,
/// an index out of range or a face that is no triangle is refused. What a format cannot tell is not
/// noticed: an OBJ file cut at the end of a line, a text file whose last number has lost digits.
/// Memory use is bounded by the size of the file, whatever it declares.
/// \param path the file; it is not changed
/// \param mesh replaced as a whole, attributes and custom properties included; afterwards it has
///        vertex normals and colours exactly if the file has. Empty on failure, and where Cancelled
///        ends the reading.
/// \param report replaced
/// \return true on success
ALGORITHMVELD_API bool read_mesh(std::string const& path, TriMesh& mesh, MeshReadReport& report);

/// Writes a mesh in the format that the extension names (PLY, STL and OM binary, little-endian; OBJ
/// and OFF as text that brings back every float), with vertex normals and colours where the mesh
/// has them and the format can hold them (STL cannot; colours are bytes except in OBJ). Elements
/// marked deleted are left out. The file appears whole or not at all, and one that is there already
/// stays until then and leaves its permissions to the new one. Symbolic links are followed.
/// \param error replaced: why it could not be written, one line that begins with the path; empty on
///        success
/// \return true on success
ALGORITHMVELD_API bool write_mesh(std::string const& path, TriMesh const& mesh, std::string& error);

} // namespace OrvaneAlgorithm
