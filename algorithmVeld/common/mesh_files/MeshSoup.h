#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/files/FileError.h"
#include "algorithmVeld/common/mesh_files/Carried.h"

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A value of each vertex that the library only hands on, such as its quality.
struct VertexValues
{
    std::string name;
    std::vector<float> values; ///< one for each point
};

/// A face of more or fewer than three corners.
struct Polygon
{
    std::size_t face = 0; ///< its place in the list of all faces
    std::size_t first_corner = 0;
    std::size_t n_corners = 0;
};

/// What a mesh file holds, before it becomes a mesh: nothing here can fail on damaged files.
struct MeshSoup
{
    std::vector<Vector3f> points;
    std::vector<std::array<int, 3>> faces; ///< at the places of polygons there is anything
    std::vector<Polygon> polygons;         ///< in the order of the faces
    std::vector<int> polygon_corners;      ///< those of all polygons
    std::vector<Vector3f> normals;         ///< one for each point, or none at all
    std::vector<Vector3f> colors; ///< one for each point (each channel 0 to 1), or none at all
    std::vector<VertexValues> values;
    /// Texture coordinates: three for each face, and one for each corner of the polygons; or none
    /// at all. A corner that has none has NaN.
    std::vector<Vector2f> texcoords;
    std::vector<Vector2f> polygon_texcoords;
    std::vector<std::string> dropped; ///< what else the file carries, in words
    int first_number = 0;             ///< what the format counts from, for messages
    /// The place in the file of each face, where that is not its place here.
    std::vector<int> places;

    void add_face(std::vector<int> const& corners);

    /// Texture coordinates of the face that was added last. If they are not as many as its corners
    /// it has none.
    void add_texcoords(std::size_t n_corners, std::vector<Vector2f> const& coordinates);

    /// Notes something that is not kept, once. Of a great many things the first ones are noted.
    void drop(std::string const& what);

    /// The number of a face in messages.
    std::string face_number(std::size_t face) const;

    /// Calls `visit(face, corners, n)` for all faces in their order.
    template <typename Visit>
    void for_each_face(Visit const& visit) const
    {
        auto polygon = polygons.begin();
        for (std::size_t face = 0; face < faces.size(); ++face)
        {
            if (polygon == polygons.end() || polygon->face != face)
            {
                visit(face, faces[face].data(), std::size_t{3});
                continue;
            }
            visit(face, polygon_corners.data() + polygon->first_corner, polygon->n_corners);
            ++polygon;
        }
    }
};

/// The most faces that a half-edge mesh can hold: each may need six halfedges, which have `int`
/// indices. No more vertices than that are taken either.
constexpr std::uint64_t MOST_FACES = std::numeric_limits<int>::max() / 6;

/// Refuses a soup with a face that has more or fewer than three corners.
void require_triangles(MeshSoup const& soup);

/// Refuses a soup with a coordinate that is not finite.
void require_finite_points(MeshSoup const& soup);

/// Refuses a soup that is too large or has a face that names a point that is not there.
void check_soup(MeshSoup const& soup);

/// Sets normals and colours that are not finite to zero: the mesh is usable without them, and what
/// it is written to is not damaged by them.
void clean_attributes(MeshSoup& soup);

/// Makes the mesh of a checked soup of triangles, elements in the soup's order.
/// \param mesh replaced as a whole; it has normals and colours exactly if the soup has them
/// \return the faces that the half-edge structure cannot hold and that were left out
std::vector<std::size_t> build_mesh(MeshSoup const& soup, TriMesh& mesh);

/// Gives a mesh that was built of the whole soup what it hands on: values of vertices and texture
/// coordinates.
void add_carried(MeshSoup const& soup, TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
