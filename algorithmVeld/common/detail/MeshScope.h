#pragma once

#include "algorithmVeld/common/TriMesh.h"

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

/// The four status attributes, requested for a scope. Requests are counted by the mesh, so a status
/// that the host requested stays.
class DeletionScope
{
public:
    explicit DeletionScope(TriMesh& mesh) : mesh_(mesh)
    {
        mesh_.request_vertex_status();
        mesh_.request_face_status();
        mesh_.request_halfedge_status();
        mesh_.request_edge_status();
    }
    ~DeletionScope()
    {
        mesh_.release_vertex_status();
        mesh_.release_face_status();
        mesh_.release_halfedge_status();
        mesh_.release_edge_status();
    }
    DeletionScope(DeletionScope const&) = delete;
    DeletionScope& operator=(DeletionScope const&) = delete;

private:
    TriMesh& mesh_;
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

} // namespace OrvaneAlgorithm::detail
