#include "algorithmVeld/common/mesh_conversion.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Progress.h"

namespace OrvaneAlgorithm
{

namespace
{

Vector3f entry_or_zero(bool is_on, std::vector<Vector3f> const& channel, size_t i)
{
    return is_on && i < channel.size() ? channel[i] : Vector3f(Vector3f::Zero());
}

/// Requests the attributes that the source has. What a mesh has already is not requested again,
/// for requests are counted.
void request_attributes(BaseTriMesh const& source, TriMesh& target)
{
    if (source.has_vNormal && !target.has_vertex_normals())
    {
        target.request_vertex_normals();
    }
    if (source.has_vColor && !target.has_vertex_colors())
    {
        target.request_vertex_colors();
    }
    if (source.has_fNormal && !target.has_face_normals())
    {
        target.request_face_normals();
    }
}

/// Adds the vertices. An attribute that only the target has becomes zero.
void add_vertices(BaseTriMesh const& source, TriMesh& target)
{
    detail::LoopProgress progress(source.get_vn());
    for (size_t i = 0; i < source.get_vn(); ++i)
    {
        progress.next();
        auto const vertex = target.add_vertex(source.vCoord[i]);
        if (target.has_vertex_normals())
        {
            target.set_normal(vertex, entry_or_zero(source.has_vNormal, source.vNrv, i));
        }
        if (target.has_vertex_colors())
        {
            target.set_color(vertex, entry_or_zero(source.has_vColor, source.vColor, i));
        }
    }
}

/// Adds the faces that the mesh can hold. \return the number of the others
size_t add_faces(BaseTriMesh const& source, TriMesh& target)
{
    size_t left_out = 0;
    detail::LoopProgress progress(source.get_fn());
    for (size_t i = 0; i < source.get_fn(); ++i)
    {
        progress.next();
        BaseTriFace const& face = source.faces[i];
        auto const added = detail::add_face_checked(target, OpenMesh::VertexHandle(face[0]),
                                                    OpenMesh::VertexHandle(face[1]),
                                                    OpenMesh::VertexHandle(face[2]));
        if (!added.is_valid())
        {
            ++left_out;
        }
        else if (target.has_face_normals())
        {
            target.set_normal(added, entry_or_zero(source.has_fNormal, source.fNrv, i));
        }
    }
    return left_out;
}

/// Copies the vertices. \return for each vertex its new index, -1 for a deleted one
std::vector<int> copy_vertices(TriMesh const& source, BaseTriMesh& target)
{
    target.has_vNormal = source.has_vertex_normals();
    target.has_vColor = source.has_vertex_colors();
    target.reserve_vn(source.n_vertices());
    std::vector<int> new_index(source.n_vertices(), -1);
    detail::LoopProgress progress(source.n_vertices());
    for (auto const vertex : source.all_vertices())
    {
        progress.next();
        if (detail::is_deleted(source, vertex))
        {
            continue;
        }
        new_index[static_cast<size_t>(vertex.idx())] = static_cast<int>(target.get_vn());
        target.vCoord.push_back(source.point(vertex));
        if (target.has_vNormal)
        {
            target.vNrv.push_back(source.normal(vertex));
        }
        if (target.has_vColor)
        {
            target.vColor.push_back(source.color(vertex));
        }
    }
    return new_index;
}

/// The corners of a face by their new indices, in the order in which OpenMesh walks them.
BaseTriFace corners_of(TriMesh const& mesh, OpenMesh::FaceHandle face,
                       std::vector<int> const& new_index)
{
    BaseTriFace corners;
    auto h = mesh.halfedge_handle(face);
    for (int& corner : corners.v)
    {
        corner = new_index[static_cast<size_t>(mesh.to_vertex_handle(h).idx())];
        h = mesh.next_halfedge_handle(h);
    }
    return corners;
}

} // namespace

size_t BaseTriMesh_convert_to_TriMesh(BaseTriMesh const& source, TriMesh& target)
{
    target.clear();
    request_attributes(source, target);
    target.reserve_more(source.get_vn(), source.get_fn() + source.get_fn() / 2, source.get_fn());
    detail::Stages stages({1, 9});
    stages.next();
    add_vertices(source, target);
    stages.next();
    return add_faces(source, target);
}

void TriMesh_convert_to_BaseTriMesh(TriMesh const& source, BaseTriMesh& target)
{
    target.clear();
    detail::Stages stages({1, 1});
    stages.next();
    std::vector<int> const new_index = copy_vertices(source, target);
    target.has_fNormal = source.has_face_normals();
    target.faces.reserve(source.n_faces());
    stages.next();
    detail::LoopProgress progress(source.n_faces());
    for (auto const face : source.all_faces())
    {
        progress.next();
        if (!detail::is_deleted(source, face))
        {
            target.faces.push_back(corners_of(source, face, new_index));
            if (target.has_fNormal)
            {
                target.fNrv.push_back(source.normal(face));
            }
        }
    }
}

} // namespace OrvaneAlgorithm
