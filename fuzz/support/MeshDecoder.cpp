#include "fuzz/support/MeshDecoder.h"

#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "tests/support/meshes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace veld_fuzz
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

namespace
{

constexpr int MOST_EDITS = 96;
constexpr int MOST_VERTICES = 400;

bool is_deleted(TriMesh const& mesh, int vertex)
{
    return mesh.has_vertex_status() && mesh.status(OpenMesh::VertexHandle(vertex)).deleted();
}

OpenMesh::VertexHandle any_vertex(ByteSource& source, TriMesh const& mesh)
{
    return OpenMesh::VertexHandle(source.below(static_cast<int>(mesh.n_vertices())));
}

void add_face(TriMesh& mesh, int a, int b, int c)
{
    OrvaneAlgorithm::detail::add_face_checked(mesh, OpenMesh::VertexHandle(a),
                                              OpenMesh::VertexHandle(b), OpenMesh::VertexHandle(c));
}

/// A sheet of cells, of which a byte for each row takes some out, and another lifts it.
void add_sheet(ByteSource& source, TriMesh& mesh)
{
    int const columns = 1 + source.below(8);
    int const rows = 1 + source.below(8);
    int const first = static_cast<int>(mesh.n_vertices());
    for (int y = 0; y <= rows; ++y)
    {
        for (int x = 0; x <= columns; ++x)
        {
            mesh.add_vertex({static_cast<float>(x), static_cast<float>(y),
                             0.1F * static_cast<float>((x * x + 3 * y) % 5)});
        }
    }
    for (int y = 0; y < rows; ++y)
    {
        unsigned const missing = static_cast<unsigned>(source.byte());
        for (int x = 0; x < columns; ++x)
        {
            int const a = first + y * (columns + 1) + x;
            if ((missing >> static_cast<unsigned>(x) & 1U) == 0)
            {
                add_face(mesh, a, a + 1, a + columns + 2);
                add_face(mesh, a, a + columns + 2, a + columns + 1);
            }
        }
    }
}

/// A tube around z, open at both ends, or closed by a tip at one of them.
void add_tube(ByteSource& source, TriMesh& mesh)
{
    int const around = 3 + source.below(30);
    int const rings = 1 + source.below(5);
    bool const has_tip = source.flag();
    int const first = static_cast<int>(mesh.n_vertices());
    for (int ring = 0; ring < rings; ++ring)
    {
        for (int i = 0; i < around; ++i)
        {
            double const angle = 2.0 * OrvaneAlgorithm::detail::PI * i / around;
            mesh.add_vertex({static_cast<float>(3.0 * std::cos(angle)),
                             static_cast<float>(3.0 * std::sin(angle)), static_cast<float>(ring)});
        }
    }
    int const tip = mesh.add_vertex({0.0F, 0.0F, static_cast<float>(rings)}).idx();
    for (int i = 0; i < around; ++i)
    {
        int const next = (i + 1) % around;
        for (int ring = 0; ring + 1 < rings; ++ring)
        {
            int const below = first + ring * around;
            add_face(mesh, below + i, below + next, below + around + next);
            add_face(mesh, below + i, below + around + next, below + around + i);
        }
        if (has_tip)
        {
            int const top = first + (rings - 1) * around;
            add_face(mesh, top + i, top + next, tip);
        }
    }
}

void request_attributes(ByteSource& source, TriMesh& mesh)
{
    unsigned const attributes = static_cast<unsigned>(source.byte());
    if ((attributes & 1U) != 0)
    {
        mesh.request_vertex_normals();
    }
    if ((attributes & 2U) != 0)
    {
        mesh.request_face_normals();
    }
    if ((attributes & 4U) != 0)
    {
        mesh.request_vertex_colors();
    }
    if ((attributes & 8U) != 0)
    {
        mesh.request_vertex_status();
        mesh.request_halfedge_status();
        mesh.request_edge_status();
        mesh.request_face_status();
    }
    if ((attributes & 16U) != 0)
    {
        mesh.request_halfedge_texcoords2D();
    }
}

bool has_status(TriMesh const& mesh)
{
    return mesh.has_vertex_status() && mesh.has_halfedge_status() && mesh.has_edge_status() &&
           mesh.has_face_status();
}

/// Whether OpenMesh can delete a vertex: it leaves edges without faces behind.
bool has_only_faces(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    auto const is_bare = [&](auto const h)
    { return mesh.is_boundary(h) && mesh.is_boundary(mesh.opposite_halfedge_handle(h)); };
    auto const around = mesh.voh_range(vertex);
    return std::none_of(around.begin(), around.end(), is_bare);
}

void delete_something(ByteSource& source, TriMesh& mesh)
{
    bool const with_vertices = source.flag();
    if (!has_status(mesh) || mesh.n_faces() == 0)
    {
        return;
    }
    if (source.flag())
    {
        auto const vertex = any_vertex(source, mesh);
        if (!mesh.status(vertex).deleted() && has_only_faces(mesh, vertex))
        {
            mesh.delete_vertex(vertex, with_vertices);
        }
        return;
    }
    OpenMesh::FaceHandle const face(source.below(static_cast<int>(mesh.n_faces())));
    if (!mesh.status(face).deleted())
    {
        mesh.delete_face(face, with_vertices);
    }
}

void mark_something(ByteSource& source, TriMesh& mesh)
{
    if (!has_status(mesh) || mesh.n_vertices() == 0)
    {
        source.below(static_cast<int>(mesh.n_vertices()));
        source.below(4);
        return;
    }
    auto& status = mesh.status(any_vertex(source, mesh));
    int const what = source.below(4);
    status.set_locked(what == 0);
    status.set_selected(what == 1);
    status.set_feature(what == 2);
    status.set_hidden(what == 3);
}

void add_some_face(ByteSource& source, TriMesh& mesh)
{
    if (mesh.n_vertices() == 0)
    {
        return;
    }
    int const a = any_vertex(source, mesh).idx();
    int const b = any_vertex(source, mesh).idx();
    int const c = any_vertex(source, mesh).idx();
    if (!is_deleted(mesh, a) && !is_deleted(mesh, b) && !is_deleted(mesh, c))
    {
        add_face(mesh, a, b, c);
    }
}

void add_some_vertex(ByteSource& source, TriMesh& mesh)
{
    mesh.add_vertex(decode_point(source));
}

void move_some_vertex(ByteSource& source, TriMesh& mesh)
{
    if (mesh.n_vertices() > 0)
    {
        auto const vertex = any_vertex(source, mesh);
        mesh.set_point(vertex, decode_point(source));
    }
}

/// Puts a vertex where another one is.
void spoil_some_vertex(ByteSource& source, TriMesh& mesh)
{
    if (mesh.n_vertices() > 0)
    {
        auto const vertex = any_vertex(source, mesh);
        mesh.set_point(vertex, mesh.point(any_vertex(source, mesh)));
    }
}

/// As hosts may make one with OpenMesh's own means.
void add_some_lone_edge(ByteSource& source, TriMesh& mesh)
{
    Vector3f const from = decode_point(source);
    veld_test::add_lone_edge(mesh, from, decode_point(source));
}

void spoil_some_normal(ByteSource& source, TriMesh& mesh)
{
    if (mesh.has_vertex_normals() && mesh.n_vertices() > 0)
    {
        auto const vertex = any_vertex(source, mesh);
        mesh.set_normal(vertex, decode_point(source));
    }
}

/// Faces are added twice as often. The order is that of the seeds.
constexpr std::array<void (*)(ByteSource&, TriMesh&), 9> EDITS{
    add_some_face,    add_some_face,  add_some_vertex,    move_some_vertex, spoil_some_vertex,
    delete_something, mark_something, add_some_lone_edge, spoil_some_normal};

[[noreturn]] void complain(char const* what, int element)
{
    std::fprintf(stderr, "fuzz: the mesh is damaged: %s at %d\n", what, element);
    std::abort();
}

} // namespace

Vector3f decode_point(ByteSource& source)
{
    float const x = source.coordinate();
    float const y = source.coordinate();
    return {x, y, source.coordinate()};
}

std::vector<Vector3f> decode_points(ByteSource& source)
{
    std::vector<Vector3f> points(static_cast<std::size_t>(source.below(5)));
    for (auto& point : points)
    {
        point = decode_point(source);
    }
    return points;
}

TriMesh decode_mesh(ByteSource& source)
{
    TriMesh mesh;
    request_attributes(source, mesh);
    int const shape = source.below(4);
    if (shape == 1 || shape == 3)
    {
        add_sheet(source, mesh);
    }
    if (shape == 2 || shape == 3)
    {
        add_tube(source, mesh);
    }
    if (mesh.has_vertex_normals() && mesh.has_face_normals())
    {
        mesh.update_normals();
    }
    for (int n = source.below(MOST_EDITS); n > 0 && mesh.n_vertices() < MOST_VERTICES; --n)
    {
        auto const number = source.below(static_cast<int>(EDITS.size()));
        EDITS[static_cast<std::size_t>(number)](source, mesh);
    }
    return mesh;
}

std::vector<OpenMesh::VertexHandle> decode_vertices(ByteSource& source, TriMesh const& mesh)
{
    std::vector<OpenMesh::VertexHandle> vertices(static_cast<std::size_t>(source.below(8)));
    for (auto& vertex : vertices)
    {
        vertex = OpenMesh::VertexHandle(source.below(static_cast<int>(mesh.n_vertices()) + 2) - 1);
    }
    return vertices;
}

void require_sound_links(TriMesh const& mesh)
{
    auto const is_deleted = [&](auto element)
    { return mesh.has_edge_status() && mesh.status(mesh.edge_handle(element)).deleted(); };
    for (auto const h : mesh.all_halfedges())
    {
        if (is_deleted(h))
        {
            continue;
        }
        auto const next = mesh.next_halfedge_handle(h);
        if (!mesh.is_valid_handle(next) || mesh.prev_halfedge_handle(next) != h)
        {
            complain("next and prev", h.idx());
        }
        if (mesh.to_vertex_handle(h) != mesh.from_vertex_handle(next))
        {
            complain("the next halfedge begins elsewhere", h.idx());
        }
        if (mesh.face_handle(h) != mesh.face_handle(next))
        {
            complain("the next halfedge is of another face", h.idx());
        }
    }
}

} // namespace veld_fuzz
