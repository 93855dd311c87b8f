#include "algorithmVeld/common/mesh_files/MeshSoup.h"

#include "algorithmVeld/common/arrays/Channels.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

namespace
{

void request_attributes(MeshSoup const& soup, TriMesh& mesh)
{
    if (!soup.normals.empty())
    {
        mesh.request_vertex_normals();
    }
    if (!soup.colors.empty())
    {
        mesh.request_vertex_colors();
    }
}

void add_vertices(MeshSoup const& soup, TriMesh& mesh)
{
    CancelPoll poll;
    for (auto const& point : soup.points)
    {
        poll.next();
        mesh.add_vertex(point);
    }
    if (!soup.normals.empty())
    {
        for (auto const vertex : mesh.vertices())
        {
            mesh.set_normal(vertex, soup.normals[static_cast<std::size_t>(vertex.idx())]);
        }
    }
    if (!soup.colors.empty())
    {
        for (auto const vertex : mesh.vertices())
        {
            mesh.set_color(vertex, soup.colors[static_cast<std::size_t>(vertex.idx())]);
        }
    }
}

std::vector<std::size_t> add_faces(MeshSoup const& soup, TriMesh& mesh)
{
    std::vector<std::size_t> left_out;
    LoopProgress progress(soup.faces.size());
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        progress.next();
        auto const& [a, b, c] = soup.faces[i];
        auto const face = add_face_checked(mesh, OpenMesh::VertexHandle(a),
                                           OpenMesh::VertexHandle(b), OpenMesh::VertexHandle(c));
        if (!face.is_valid())
        {
            left_out.push_back(i);
        }
    }
    return left_out;
}

/// The corner of a face at a vertex. A face of a mesh has each vertex once.
std::size_t corner_at(std::array<int, 3> const& face, int vertex)
{
    return static_cast<std::size_t>(std::find(face.begin(), face.end() - 1, vertex) - face.begin());
}

/// Texture coordinates stand on the halfedge that leads to the corner. All faces have to be in the
/// mesh, in the soup's order.
void add_texcoords(MeshSoup const& soup, TriMesh& mesh)
{
    mesh.request_halfedge_texcoords2D();
    for (auto const h : mesh.halfedges())
    {
        mesh.set_texcoord2D(h, no_texcoord());
    }
    for (auto const face : mesh.faces())
    {
        auto const i = static_cast<std::size_t>(face.idx());
        for (auto const h : mesh.fh_range(face))
        {
            auto const corner = corner_at(soup.faces[i], mesh.to_vertex_handle(h).idx());
            mesh.set_texcoord2D(h, soup.texcoords[3 * i + corner]);
        }
    }
}

} // namespace

void MeshSoup::add_face(std::vector<int> const& corners)
{
    if (corners.size() == 3)
    {
        faces.push_back({corners[0], corners[1], corners[2]});
        return;
    }
    polygons.push_back({faces.size(), polygon_corners.size(), corners.size()});
    polygon_corners.insert(polygon_corners.end(), corners.begin(), corners.end());
    faces.push_back({});
}

void MeshSoup::add_texcoords(std::size_t n_corners, std::vector<Vector2f> const& coordinates)
{
    bool const is_polygon = n_corners != 3;
    auto& target = is_polygon ? polygon_texcoords : texcoords;
    if (coordinates.size() == n_corners)
    {
        target.insert(target.end(), coordinates.begin(), coordinates.end());
    }
    else
    {
        target.insert(target.end(), n_corners, no_texcoord());
    }
    texcoords.insert(texcoords.end(), is_polygon ? 3 : 0, no_texcoord());
}

void MeshSoup::drop(std::string const& what)
{
    constexpr std::size_t MOST = 32;
    bool const is_noted = std::find(dropped.begin(), dropped.end(), what) != dropped.end();
    if (!is_noted && dropped.size() < MOST)
    {
        dropped.push_back(what);
    }
}

std::string MeshSoup::face_number(std::size_t face) const
{
    auto const place = places.empty() ? face : static_cast<std::size_t>(places[face]);
    return std::to_string(place + static_cast<std::size_t>(first_number));
}

void require_triangles(MeshSoup const& soup)
{
    if (!soup.polygons.empty())
    {
        auto const& first = soup.polygons.front();
        throw FileError("face " + soup.face_number(first.face) + " has " +
                        std::to_string(first.n_corners) + " corners; only triangles are supported");
    }
}

void require_finite_points(MeshSoup const& soup)
{
    CancelPoll poll;
    for (std::size_t i = 0; i < soup.points.size(); ++i)
    {
        poll.next();
        if (!soup.points[i].allFinite())
        {
            throw FileError("vertex " +
                            std::to_string(i + static_cast<std::size_t>(soup.first_number)) +
                            " has a coordinate that is not finite");
        }
    }
}

void check_soup(MeshSoup const& soup)
{
    if (soup.points.size() > MOST_FACES ||
        soup.faces.size() + soup.polygon_corners.size() > MOST_FACES)
    {
        throw FileError("holds more than a mesh can");
    }
    CancelPoll poll;
    soup.for_each_face(
        [&](std::size_t face, int const* corners, std::size_t n)
        {
            poll.next();
            auto const* const wrong = std::find_if(
                corners, corners + n,
                [&](std::int64_t corner)
                { return corner < 0 || static_cast<std::size_t>(corner) >= soup.points.size(); });
            if (wrong != corners + n)
            {
                throw FileError("face " + soup.face_number(face) + " names vertex " +
                                std::to_string(std::int64_t{*wrong} + soup.first_number) +
                                ", but there are only " + std::to_string(soup.points.size()));
            }
        });
}

void clean_attributes(MeshSoup& soup)
{
    zero_where_not_finite(soup.normals);
    zero_where_not_finite(soup.colors);
}

std::vector<std::size_t> build_mesh(MeshSoup const& soup, TriMesh& mesh)
{
    mesh = TriMesh();
    request_attributes(soup, mesh);
    // A triangulated surface has at most about three edges a vertex.
    auto const edges = soup.faces.empty() ? 0 : 3 * soup.points.size();
    mesh.reserve_more(soup.points.size(), edges, soup.faces.size());
    add_vertices(soup, mesh);
    return add_faces(soup, mesh);
}

void add_carried(MeshSoup const& soup, TriMesh& mesh)
{
    for (auto const& [name, values] : soup.values)
    {
        auto const property = add_carried_value(mesh, name);
        std::copy(values.begin(), values.end(), mesh.property(property).data_vector().begin());
    }
    if (!soup.texcoords.empty())
    {
        add_texcoords(soup, mesh);
    }
}

} // namespace OrvaneAlgorithm::detail
