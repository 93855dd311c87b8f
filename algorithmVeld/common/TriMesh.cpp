#include "algorithmVeld/common/TriMesh.h"

#include "algorithmVeld/common/files/BinaryFile.h"
#include "algorithmVeld/common/geometry/BoundingBox.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/KernelExchange.h"
#include "algorithmVeld/common/mesh/MeshRoom.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

/// The array of a standard attribute. All of them consist of scalars of four bytes.
template <typename Mesh, typename PropertyHandle>
auto& array_of(Mesh& mesh, PropertyHandle property)
{
    return mesh.property(property).data_vector();
}

/// Calls `visit` with the array of every standard attribute that the mesh has, in a fixed order.
template <typename Mesh, typename Visitor>
void for_each_attribute(Mesh& mesh, Visitor const& visit)
{
    auto const visit_one = [&](auto property)
    {
        if (property.is_valid())
        {
            visit(array_of(mesh, property));
        }
    };
    visit_one(mesh.points_property_handle());
    visit_one(mesh.vertex_normals_pph());
    visit_one(mesh.vertex_colors_pph());
    visit_one(mesh.vertex_texcoords1D_pph());
    visit_one(mesh.vertex_texcoords2D_pph());
    visit_one(mesh.vertex_texcoords3D_pph());
    visit_one(mesh.vertex_status_pph());
    visit_one(mesh.halfedge_normals_pph());
    visit_one(mesh.halfedge_colors_pph());
    visit_one(mesh.halfedge_texcoords1D_pph());
    visit_one(mesh.halfedge_texcoords2D_pph());
    visit_one(mesh.halfedge_texcoords3D_pph());
    visit_one(mesh.halfedge_status_pph());
    visit_one(mesh.edge_colors_pph());
    visit_one(mesh.edge_status_pph());
    visit_one(mesh.face_normals_pph());
    visit_one(mesh.face_colors_pph());
    visit_one(mesh.face_texture_index_pph());
    visit_one(mesh.face_status_pph());
}

/// The kernel's items of one kind as one array. Items are nothing but linked handles, which the
/// kernel keeps in a vector.
template <typename Item, typename Mesh, typename Access>
Item* items(Mesh& mesh, size_t n, Access const& first)
{
    static_assert(std::is_trivially_copyable_v<std::remove_const_t<Item>> &&
                      sizeof(Item) % sizeof(std::int32_t) == 0,
                  "an item consists of handles");
    return n > 0 ? &first(mesh) : nullptr;
}

/// Calls `visit` with the first item and the number of the vertices, edges and faces.
template <typename Mesh, typename Visitor>
void for_each_item_array(Mesh& mesh, Visitor const& visit)
{
    using OpenMesh::EdgeHandle;
    using OpenMesh::FaceHandle;
    using OpenMesh::VertexHandle;
    using Vertex = std::remove_reference_t<decltype(mesh.vertex(VertexHandle(0)))>;
    using Edge = std::remove_reference_t<decltype(mesh.edge(EdgeHandle(0)))>;
    using Face = std::remove_reference_t<decltype(mesh.face(FaceHandle(0)))>;
    visit(items<Vertex>(mesh, mesh.n_vertices(),
                        [](Mesh& m) -> Vertex& { return m.vertex(VertexHandle(0)); }),
          mesh.n_vertices());
    visit(items<Edge>(mesh, mesh.n_edges(), [](Mesh& m) -> Edge& { return m.edge(EdgeHandle(0)); }),
          mesh.n_edges());
    visit(items<Face>(mesh, mesh.n_faces(), [](Mesh& m) -> Face& { return m.face(FaceHandle(0)); }),
          mesh.n_faces());
}

void write_mesh(TriMesh const& mesh, detail::BinaryWriter& writer)
{
    writer.scalar<std::uint64_t>(mesh.n_vertices());
    writer.scalar<std::uint64_t>(mesh.n_edges());
    writer.scalar<std::uint64_t>(mesh.n_faces());
    for_each_item_array(mesh, [&](auto const* first, size_t n)
                        { writer.elements<std::int32_t>(first, n); });
    for_each_attribute(mesh, [&](auto const& values)
                       { writer.elements<std::uint32_t>(values.data(), values.size()); });
}

void read_mesh(TriMesh& mesh, detail::BinaryReader& reader)
{
    auto const n_vertices = reader.scalar<std::uint64_t>();
    auto const n_edges = reader.scalar<std::uint64_t>();
    auto const n_faces = reader.scalar<std::uint64_t>();
    // Every element has at least its links in the file, so a wrong number takes no memory.
    bool const possible = reader.has_room_for<TriMesh::Vertex>(n_vertices) &&
                          reader.has_room_for<TriMesh::Edge>(n_edges) &&
                          reader.has_room_for<TriMesh::Face>(n_faces);
    if (!possible)
    {
        reader.fail();
        return;
    }
    mesh.resize(static_cast<size_t>(n_vertices), static_cast<size_t>(n_edges),
                static_cast<size_t>(n_faces));
    for_each_item_array(mesh,
                        [&](auto* first, size_t n) { reader.elements<std::int32_t>(first, n); });
    for_each_attribute(mesh, [&](auto& values)
                       { reader.elements<std::uint32_t>(values.data(), values.size()); });
}

/// Whether the face's halfedges form a triangle of three different vertices.
bool is_triangle(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    auto const first = mesh.halfedge_handle(face);
    auto h = first;
    for (int i = 0; i < 3; ++i)
    {
        if (!mesh.is_valid_handle(h) || mesh.face_handle(h) != face ||
            !mesh.is_valid_handle(mesh.to_vertex_handle(h)) ||
            mesh.to_vertex_handle(h) == mesh.from_vertex_handle(h))
        {
            return false;
        }
        h = mesh.next_halfedge_handle(h);
    }
    return h == first;
}

/// Whether the halfedge and its neighbours in the walk agree, and its vertex knows of them.
bool is_halfedge_linked(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    auto const next = mesh.next_halfedge_handle(h);
    auto const prev = mesh.prev_halfedge_handle(h);
    auto const face = mesh.face_handle(h);
    return mesh.is_valid_handle(next) && mesh.is_valid_handle(prev) &&
           mesh.prev_halfedge_handle(next) == h && mesh.next_halfedge_handle(prev) == h &&
           mesh.is_valid_handle(mesh.to_vertex_handle(h)) &&
           mesh.halfedge_handle(mesh.to_vertex_handle(h)).is_valid() &&
           mesh.from_vertex_handle(next) == mesh.to_vertex_handle(h) &&
           mesh.face_handle(next) == face && (!face.is_valid() || mesh.is_valid_handle(face));
}

/// Whether the vertex is isolated or starts its halfedge.
bool is_vertex_linked(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    auto const h = mesh.halfedge_handle(vertex);
    return !h.is_valid() || (mesh.is_valid_handle(h) && mesh.from_vertex_handle(h) == vertex);
}

} // namespace

TriMesh::TriMesh(TriMesh const& other) : TriMesh()
{
    *this = other;
}

TriMesh& TriMesh::operator=(TriMesh const& other)
{
    // OpenMesh would delete the properties before it copies them.
    if (this != &other)
    {
        BaseData::operator=(other);
        detail::make_room_for_copy(*this, other);
        Kernel::operator=(other);
    }
    return *this;
}

TriMesh::TriMesh(TriMesh&& other) noexcept
{
    exchange(other);
}

TriMesh& TriMesh::operator=(TriMesh&& other) noexcept
{
    TriMesh taken(std::move(other));
    exchange(taken);
    return *this;
}

void TriMesh::exchange(TriMesh& other) noexcept
{
    BaseData::exchange(other);
    detail::exchange_kernels(*this, other);
}

int TriMesh::swap_out_data()
{
    if (is_swapped_out())
    {
        return 0;
    }
    if (!write_swap_file([this](detail::BinaryWriter& writer) { write_mesh(*this, writer); }))
    {
        return 1;
    }
    clean();
    for_each_attribute(*this, [](auto& values)
                       { std::remove_reference_t<decltype(values)>().swap(values); });
    return 0;
}

int TriMesh::swap_in_data()
{
    if (!is_swapped_out())
    {
        return 0;
    }
    if (!read_swap_file([this](detail::BinaryReader& reader) { read_mesh(*this, reader); }))
    {
        Kernel::clear();
        return 1;
    }
    return 0;
}

void TriMesh::clear()
{
    drop_swap_file();
    Kernel::clear();
}

void TriMesh::squeeze()
{
    detail::compact(*this);
}

void TriMesh::get_boundBox(Vector3f& min, Vector3f& max) const
{
    detail::bounding_box(points(), n_vertices(), min, max);
}

bool TriMesh::is_legal() const
{
    detail::Stages stages({1, 9});
    stages.next();
    detail::CancelPoll poll;
    for (auto const vertex : vertices())
    {
        poll.next();
        if (!point(vertex).allFinite())
        {
            return false;
        }
    }
    stages.next();
    return is_linked();
}

bool TriMesh::is_linked() const
{
    detail::LoopProgress progress(n_vertices() + n_edges() + n_faces());
    for (auto const vertex : vertices())
    {
        progress.next();
        if (!is_vertex_linked(*this, vertex))
        {
            return false;
        }
    }
    for (auto const edge : edges())
    {
        progress.next();
        if (!is_halfedge_linked(*this, halfedge_handle(edge, 0)) ||
            !is_halfedge_linked(*this, halfedge_handle(edge, 1)))
        {
            return false;
        }
    }
    for (auto const face : faces())
    {
        progress.next();
        if (!is_triangle(*this, face))
        {
            return false;
        }
    }
    return true;
}

void TriMesh::repair_illegal()
{
    detail::Stages stages({2, 6, 1, 1});
    stages.next();
    if (is_legal())
    {
        return;
    }
    stages.next();
    if (!is_linked())
    {
        rebuild_from_faces();
    }
    stages.next();
    detail::DeletionScope const scope(*this);
    detail::CompactedOnException const compacted(*this);
    detail::CancelPoll poll;
    for (auto const vertex : all_vertices())
    {
        poll.next();
        if (!point(vertex).allFinite() && !status(vertex).deleted())
        {
            detail::delete_vertex_checked(*this, vertex, detail::IsolatedVertices::KEPT);
        }
    }
    stages.next();
    detail::compact(*this);
}

void TriMesh::rebuild_from_faces()
{
    std::vector<std::array<OpenMesh::VertexHandle, 3>> triangles;
    detail::CancelPoll poll;
    for (auto const face : faces())
    {
        poll.next();
        if (is_triangle(*this, face))
        {
            auto const h = halfedge_handle(face);
            triangles.push_back({{to_vertex_handle(h), to_vertex_handle(next_halfedge_handle(h)),
                                  from_vertex_handle(h)}});
        }
    }
    // From here on the mesh has no faces, then more and more of them: it is valid at any time.
    size_t const n = n_vertices();
    resize(n, 0, 0);
    for (auto const vertex : all_vertices())
    {
        set_isolated(vertex);
    }
    detail::LoopProgress progress(triangles.size());
    for (auto const& [a, b, c] : triangles)
    {
        progress.next();
        bool const is_left = !detail::is_deleted(*this, a) && !detail::is_deleted(*this, b) &&
                             !detail::is_deleted(*this, c);
        if (is_left)
        {
            detail::add_face_checked(*this, a, b, c);
        }
    }
}

void TriMesh::reserve_more(size_t vertices, size_t edges, size_t faces)
{
    auto const room = detail::room_for_more(*this, {vertices, edges, faces});
    reserve(room.vertices, room.edges, room.faces);
}

} // namespace OrvaneAlgorithm
