#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A property of the mesh that removes itself at the end of the scope. Properties of one name may
/// stand side by side, so they are never looked up by name.
template <typename Handle>
class ScopedProperty
{
public:
    ScopedProperty(TriMesh& mesh, char const* name) : mesh_(mesh)
    {
        mesh_.add_property(handle_, name);
    }
    ~ScopedProperty() { mesh_.remove_property(handle_); }
    ScopedProperty(ScopedProperty const&) = delete;
    ScopedProperty& operator=(ScopedProperty const&) = delete;

    Handle handle() const { return handle_; }

    /// The property's whole array.
    auto& data() { return mesh_.property(handle_).data_vector(); }

private:
    TriMesh& mesh_;
    Handle handle_;
};

/// A kind of elements: how many there are, and how a mesh is given a property of theirs.
struct ElementKind
{
    std::size_t n;
    std::size_t (OpenMesh::BaseKernel::*give)(OpenMesh::BaseProperty*);
};
template <typename T>
ElementKind kind_of(TriMesh const& mesh, OpenMesh::VPropHandleT<T> /*handle*/)
{
    return {mesh.n_vertices(), &OpenMesh::BaseKernel::_add_vprop};
}
template <typename T>
ElementKind kind_of(TriMesh const& mesh, OpenMesh::EPropHandleT<T> /*handle*/)
{
    return {mesh.n_edges(), &OpenMesh::BaseKernel::_add_eprop};
}
template <typename T>
ElementKind kind_of(TriMesh const& mesh, OpenMesh::FPropHandleT<T> /*handle*/)
{
    return {mesh.n_faces(), &OpenMesh::BaseKernel::_add_fprop};
}

/// Adds a property to the mesh with the same value on every element. OpenMesh itself would first
/// write other values to all of them.
/// \param capacity for how many elements it gets room at least
template <typename Handle, typename Value>
void add_filled_property(TriMesh& mesh, Handle& handle, char const* name, Value const& value,
                         std::size_t capacity = 0)
{
    static_assert(std::is_same_v<typename Handle::Value, Value>);
    auto const kind = kind_of(mesh, handle);
    auto property =
        std::make_unique<OpenMesh::PropertyT<Value>>(name, OpenMesh::get_type_name<Value>());
    property->data_vector().reserve(capacity);
    property->data_vector().assign(kind.n, value);
    handle = Handle(static_cast<int>((mesh.*kind.give)(property.get())));
    static_cast<void>(property.release()); // the mesh has it
}

/// Whether a deletion marks halfedges too. Nothing is removed by their marks.
enum class HalfedgeStatus
{
    REQUESTED,
    LEFT_OUT
};

/// The four status attributes, or those of vertices, faces and edges, requested for a scope.
/// Requests are counted by the mesh, so a status that the host requested stays.
class DeletionScope
{
public:
    explicit DeletionScope(TriMesh& mesh, HalfedgeStatus halfedges = HalfedgeStatus::REQUESTED)
        : mesh_(mesh), halfedges_(halfedges)
    {
        mesh_.request_vertex_status();
        mesh_.request_face_status();
        if (halfedges_ == HalfedgeStatus::REQUESTED)
        {
            mesh_.request_halfedge_status();
        }
        mesh_.request_edge_status();
    }
    ~DeletionScope()
    {
        mesh_.release_vertex_status();
        mesh_.release_face_status();
        if (halfedges_ == HalfedgeStatus::REQUESTED)
        {
            mesh_.release_halfedge_status();
        }
        mesh_.release_edge_status();
    }
    DeletionScope(DeletionScope const&) = delete;
    DeletionScope& operator=(DeletionScope const&) = delete;

private:
    TriMesh& mesh_;
    HalfedgeStatus halfedges_;
};

/// Whether an element is marked deleted; never where the mesh has no status.
inline bool is_deleted(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    return mesh.has_face_status() && mesh.status(face).deleted();
}
inline bool is_deleted(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    return mesh.has_vertex_status() && mesh.status(vertex).deleted();
}
inline bool is_deleted(TriMesh const& mesh, OpenMesh::EdgeHandle edge)
{
    return mesh.has_edge_status() && mesh.status(edge).deleted();
}
/// Hosts that delete faces need the status of edges, but not that of halfedges.
inline bool is_deleted(TriMesh const& mesh, OpenMesh::HalfedgeHandle halfedge)
{
    return (mesh.has_halfedge_status() && mesh.status(halfedge).deleted()) ||
           is_deleted(mesh, mesh.edge_handle(halfedge));
}

/// What happens to a vertex that loses its last face.
enum class IsolatedVertices
{
    KEPT,
    DELETED
};

/// Deletes a face. One that is marked deleted already is left alone, where OpenMesh itself would
/// end the process. The mesh needs its status attributes.
inline void delete_face_checked(TriMesh& mesh, OpenMesh::FaceHandle face, IsolatedVertices isolated)
{
    if (mesh.is_valid_handle(face) && !is_deleted(mesh, face))
    {
        mesh.delete_face(face, isolated == IsolatedVertices::DELETED);
    }
}

/// Takes an end of an edge without faces off it.
inline void unlink_end(TriMesh& mesh, OpenMesh::HalfedgeHandle out)
{
    auto const vertex = mesh.from_vertex_handle(out);
    auto const in = mesh.opposite_halfedge_handle(out);
    auto const next = mesh.next_halfedge_handle(in);
    if (next == out)
    {
        mesh.set_isolated(vertex);
        return;
    }
    mesh.set_next_halfedge_handle(mesh.prev_halfedge_handle(out), next);
    if (mesh.halfedge_handle(vertex) == out)
    {
        mesh.set_halfedge_handle(vertex, next);
    }
}

/// Whether a halfedge is of an edge that is there and has no face on either side.
inline bool is_bare(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    return h.is_valid() && mesh.is_boundary(h) &&
           mesh.is_boundary(mesh.opposite_halfedge_handle(h)) &&
           !is_deleted(mesh, mesh.edge_handle(h));
}

/// Deletes an edge without faces, whose vertices stay. OpenMesh's own deletion leaves it linked.
/// The mesh needs its status attributes.
inline void delete_bare_edge(TriMesh& mesh, OpenMesh::EdgeHandle edge)
{
    for (unsigned const side : {0U, 1U})
    {
        auto const h = mesh.halfedge_handle(edge, side);
        unlink_end(mesh, h);
        if (mesh.has_halfedge_status())
        {
            mesh.status(h).set_deleted(true);
        }
    }
    mesh.status(edge).set_deleted(true);
}

/// Deletes a vertex with its faces, and with edges that have none; one that is marked deleted
/// already does no harm.
inline void delete_vertex_checked(TriMesh& mesh, OpenMesh::VertexHandle vertex,
                                  IsolatedVertices isolated)
{
    if (!mesh.is_valid_handle(vertex))
    {
        return;
    }
    std::vector<OpenMesh::FaceHandle> faces;
    for (auto const face : mesh.vf_range(vertex))
    {
        faces.push_back(face);
    }
    for (auto const face : faces)
    {
        delete_face_checked(mesh, face, isolated);
    }
    for (auto h = mesh.halfedge_handle(vertex); is_bare(mesh, h); h = mesh.halfedge_handle(vertex))
    {
        delete_bare_edge(mesh, mesh.edge_handle(h));
    }
    mesh.status(vertex).set_deleted(true);
}

} // namespace OrvaneAlgorithm::detail
