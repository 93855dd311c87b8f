#include "algorithmVeld/common/mesh_files/MeshSoup.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/running/Progress.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

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
        mesh.request_vertex_normals();
        for (auto const vertex : mesh.vertices())
        {
            mesh.set_normal(vertex, soup.normals[static_cast<std::size_t>(vertex.idx())]);
        }
    }
    if (!soup.colors.empty())
    {
        mesh.request_vertex_colors();
        for (auto const vertex : mesh.vertices())
        {
            mesh.set_color(vertex, soup.colors[static_cast<std::size_t>(vertex.idx())]);
        }
    }
}

std::size_t add_faces(MeshSoup const& soup, TriMesh& mesh)
{
    std::size_t left_out = 0;
    LoopProgress progress(soup.faces.size());
    for (auto const& [a, b, c] : soup.faces)
    {
        progress.next();
        auto const face = add_face_checked(mesh, OpenMesh::VertexHandle(a),
                                           OpenMesh::VertexHandle(b), OpenMesh::VertexHandle(c));
        left_out += face.is_valid() ? 0 : 1;
    }
    return left_out;
}

void zero_where_not_finite(std::vector<Vector3f>& vectors)
{
    for (auto& v : vectors)
    {
        v = v.allFinite() ? v : Vector3f(Vector3f::Zero());
    }
}

} // namespace

void require_triangle(std::uint64_t face, std::uint64_t corners)
{
    if (corners != 3)
    {
        throw FileError("face " + std::to_string(face) + " has " + std::to_string(corners) +
                        " corners; only triangles are supported");
    }
}

void check_soup(MeshSoup const& soup)
{
    if (soup.points.size() > MOST_FACES || soup.faces.size() > MOST_FACES)
    {
        throw FileError("holds more than a mesh can");
    }
    auto const number = [&](auto index) { return std::to_string(index + soup.first_number); };
    CancelPoll poll;
    for (std::size_t i = 0; i < soup.points.size(); ++i)
    {
        poll.next();
        if (!soup.points[i].allFinite())
        {
            throw FileError("vertex " + number(static_cast<std::int64_t>(i)) +
                            " has a coordinate that is not finite");
        }
    }
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        poll.next();
        for (std::int64_t const corner : soup.faces[i])
        {
            if (corner < 0 || static_cast<std::size_t>(corner) >= soup.points.size())
            {
                throw FileError("face " + number(static_cast<std::int64_t>(i)) + " names vertex " +
                                number(corner) + ", but there are only " +
                                std::to_string(soup.points.size()));
            }
        }
    }
}

void clean_attributes(MeshSoup& soup)
{
    zero_where_not_finite(soup.normals);
    zero_where_not_finite(soup.colors);
}

std::size_t build_mesh(MeshSoup const& soup, TriMesh& mesh)
{
    mesh = TriMesh();
    // A triangulated surface has at most about three edges a vertex: room for those that will fill
    // its holes is in that too.
    auto const edges = soup.faces.empty() ? 0 : 3 * soup.points.size();
    mesh.reserve(soup.points.size(), edges, soup.faces.size());
    add_vertices(soup, mesh);
    return add_faces(soup, mesh);
}

} // namespace OrvaneAlgorithm::detail
