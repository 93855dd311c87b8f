#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/TriMesh.h"

#include <map>
#include <string>
#include <vector>

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

/// Faces or triangles of a file that are not in the mesh.
struct MissingFaces
{
    size_t count = 0; ///< How many.
    size_t first = 0; ///< The first one's number, as the format counts.
};

/// What a mesh file holds, and what had to be done to make a mesh of it.
struct MeshFileContents
{
    /// Why the file was refused: one line that begins with the path. Empty on success.
    std::string error;

    size_t vertices = 0;            ///< All, also those that are not finite.
    std::map<size_t, size_t> faces; ///< How many there are, by the number of their corners.

    /// Vertices that have a coordinate that is not finite. They are left out, and their faces too.
    size_t vertices_not_finite = 0;
    /// The faces of these.
    MissingFaces not_finite;

    /// \name Faces that are left out
    /// @{
    MissingFaces degenerate; ///< With fewer than three different corners.
    MissingFaces too_large;  ///< With more than 4096 corners.
    MissingFaces repeated;   ///< With the same corners in the same order as one before.
    /// What the half-edge structure cannot hold all the same: one face of a surface that passes an
    /// edge twice.
    MissingFaces unheld;
    /// @}

    size_t triangles_of_polygons = 0; ///< Made of faces of more than three corners.
    size_t turned_faces = 0; ///< Turned over, to be like most of the faces that hang together.
    /// Edges where surfaces were taken apart: of more than two faces, or of two faces that no
    /// turning makes agree.
    size_t crowded_edges = 0;
    size_t added_vertices = 0; ///< Copies of vertices at which surfaces were taken apart.

    /// What the mesh has beside its surface, by the names in the file.
    std::vector<std::string> kept;
    /// What else the file carries and the mesh does not, in words. Of a great many things the first
    /// ones.
    std::vector<std::string> dropped;

    /// The sum of all faces that are left out.
    size_t faces_left_out() const
    {
        return not_finite.count + degenerate.count + too_large.count + repeated.count +
               unheld.count;
    }
};

/// Reads a mesh file as read_mesh() does, but makes a mesh of what is none, and hands on more.
///
/// Polygons of a file are cut into triangles: ears in the plane that fits best, the shortest cut
/// first. Points that are not finite go with their faces, and what names fewer than three points or
/// repeats a face. Where the rest does not fit into a mesh,
/// - faces are turned over so that the two faces of an edge agree, the fewer of those that hang
///   together;
/// - surfaces that share an edge of more than two faces are taken apart there: pairs of faces that
///   agree stay together, first those that hang together elsewhere, then the flattest, and what is
///   left over ends there;
/// - where a closed fan of faces shares a vertex with others, each gets a vertex of its own.
/// So hardly a face is lost. Added vertices come behind those of the file. A file that needs none
/// of this gives the mesh that read_mesh() gives. What is damaged is refused as there.
///
/// Texture coordinates of corners (PLY, OBJ) become those of halfedges, NaN where a corner has
/// none. Values of PLY vertices of the names quality, intensity, confidence, s, t, u, v, texture_u,
/// texture_v and scalar_... become float properties of vertices, named "file:" and the name. Both
/// stay with their elements, whatever is deleted, and write_mesh() writes them.
/// \param mesh replaced as a whole, attributes and custom properties included. Empty on failure,
///        and where Cancelled ends the reading.
/// \param contents replaced
/// \return true on success
ALGORITHMVELD_API bool read_and_mend_mesh(std::string const& path, TriMesh& mesh,
                                          MeshFileContents& contents);

/// Makes a mesh of arrays as read_and_mend_mesh() does of a file: of points, normals and colours,
/// of faces, and of texture coordinates. Flags, face normals and the texture's image are not looked
/// at. A channel that has not one entry for each vertex, a face that names a vertex which is not
/// there, and a texture index that is no -1 and names no coordinate are refused. \param name stands
/// in front of the reason for which arrays are refused \param arrays what they hold may be gone
/// afterwards \param mesh replaced as a whole. Empty on failure, and where Cancelled ends the work.
/// \param contents replaced
/// \return true on success
ALGORITHMVELD_API bool mend_mesh(std::string const& name, BaseTriMesh&& arrays, TriMesh& mesh,
                                 MeshFileContents& contents);

/// Reads points: a mesh file as read_and_mend_mesh() does, with its faces if it has any, or a text
/// file with the extension .xyz, .txt or .asc, a point a line: "x y z", "x y z intensity" or
/// "x y z nx ny nz", the same in all lines; "#" begins a comment. A normal has length 1, or is zero
/// where there is none. Points that are not finite are left out and counted.
/// \param cloud replaced as a whole: points, with normals, colours and values where the file has
///        them. Empty on failure, and where Cancelled ends the reading.
/// \param contents replaced
/// \return true on success
ALGORITHMVELD_API bool read_cloud(std::string const& path, TriMesh& cloud,
                                  MeshFileContents& contents);

/// Writes a mesh in the format that the extension names (PLY, STL and OM binary, little-endian; OBJ
/// and OFF as text that brings back every float), with vertex normals and colours where the mesh
/// has them and the format can hold them (STL cannot; colours are bytes except in OBJ), and with
/// what read_and_mend_mesh() hands on: values of vertices in PLY, texture coordinates in PLY and
/// OBJ. Elements marked deleted are left out. The file appears whole or not at all, and one that is
/// there already stays until then and leaves its permissions to the new one. Symbolic links are
/// followed. \param error replaced: why it could not be written, one line that begins with the
/// path; empty on
///        success
/// \return true on success
ALGORITHMVELD_API bool write_mesh(std::string const& path, TriMesh const& mesh, std::string& error);

} // namespace OrvaneAlgorithm
