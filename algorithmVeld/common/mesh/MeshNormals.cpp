#include "algorithmVeld/common/mesh/MeshNormals.h"

#include "algorithmVeld/common/mesh/MeshRoom.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <cstddef>
#include <exception>
#include <vector>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using Status = OpenMesh::Attributes::StatusInfo;

/// Status of all elements of one kind, nothing where the mesh has none.
template <typename Property>
Status const* statuses(TriMesh const& mesh, Property property)
{
    return property.is_valid() ? mesh.property(property).data() : nullptr;
}

/// Calls `update(i)` for the elements that are not deleted.
template <typename Update>
void for_each_live(std::size_t n, Status const* status, Update const& update)
{
    parallel_for_blocks(static_cast<std::ptrdiff_t>(n),
                        [&](std::ptrdiff_t begin, std::ptrdiff_t end)
                        {
                            for (auto i = begin; i < end; ++i)
                            {
                                if (status == nullptr || !status[i].deleted())
                                {
                                    update(i);
                                }
                            }
                        });
}

Vector3f face_normal(TriMesh const& mesh, Vector3f const* points, FaceHandle face)
{
    auto const h = mesh.halfedge_handle(face);
    auto const next = mesh.next_halfedge_handle(h);
    Vector3f const& a = points[mesh.to_vertex_handle(h).idx()];
    Vector3f const& b = points[mesh.to_vertex_handle(next).idx()];
    Vector3f const& c = points[mesh.to_vertex_handle(mesh.next_halfedge_handle(next)).idx()];
    Vector3f const to_a = a - b;
    Vector3f const to_c = c - b;
    Vector3f const normal = to_c.cross(to_a);
    float const length = normal.norm();
    return length != 0.0F ? Vector3f(normal * (1.0F / length)) : Vector3f(Vector3f::Zero());
}

Vector3f vertex_normal(TriMesh const& mesh, Vector3f const* face_normals, VertexHandle vertex)
{
    Vector3f sum = Vector3f::Zero();
    auto const first = mesh.halfedge_handle(vertex);
    if (first.is_valid())
    {
        auto h = first;
        do
        {
            auto const face = mesh.face_handle(h);
            if (face.is_valid())
            {
                sum += face_normals[face.idx()];
            }
            h = mesh.next_halfedge_handle(mesh.opposite_halfedge_handle(h));
        } while (h != first);
    }
    float const length = sum.norm();
    if (length != 0.0F)
    {
        sum *= 1.0F / length;
    }
    return sum;
}

/// Gives an array room, before it has values.
void make_room(std::vector<Vector3f>& normals, std::size_t room)
{
    std::vector<Vector3f> roomy;
    roomy.reserve(room);
    roomy.resize(normals.size());
    normals.swap(roomy);
}

/// Takes requests back if an exception leaves the scope: half of the normals would be taken for all
/// by the next who finds them.
class NormalRequests
{
public:
    NormalRequests(TriMesh& mesh, bool faces, bool vertices)
        : mesh_(mesh),
          faces_(faces),
          vertices_(vertices),
          new_faces_(!mesh.has_face_normals()),
          new_vertices_(!mesh.has_vertex_normals())
    {
        if (faces_)
        {
            mesh_.request_face_normals();
        }
        if (vertices_)
        {
            mesh_.request_vertex_normals();
        }
    }
    ~NormalRequests()
    {
        if (std::uncaught_exceptions() > exceptions_)
        {
            if (faces_)
            {
                mesh_.release_face_normals();
            }
            if (vertices_)
            {
                mesh_.release_vertex_normals();
            }
        }
    }
    NormalRequests(NormalRequests const&) = delete;
    NormalRequests& operator=(NormalRequests const&) = delete;

    /// Gives the arrays that were not there before the room of the others.
    void make_room_in_new_arrays() const
    {
        auto const room = room_for_new_arrays(mesh_);
        if (faces_ && new_faces_)
        {
            make_room(mesh_.property(mesh_.face_normals_pph()).data_vector(), room.faces);
        }
        if (vertices_ && new_vertices_)
        {
            make_room(mesh_.property(mesh_.vertex_normals_pph()).data_vector(), room.vertices);
        }
    }

private:
    TriMesh& mesh_;
    bool faces_;
    bool vertices_;
    bool new_faces_;
    bool new_vertices_;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace

void update_face_normals(TriMesh& mesh)
{
    auto& normals = mesh.property(mesh.face_normals_pph()).data_vector();
    Vector3f const* const points = mesh.points();
    for_each_live(mesh.n_faces(), statuses(mesh, mesh.face_status_pph()),
                  [&](std::ptrdiff_t i)
                  {
                      normals[static_cast<std::size_t>(i)] =
                          face_normal(mesh, points, FaceHandle(static_cast<int>(i)));
                  });
}

void update_vertex_normals(TriMesh& mesh)
{
    auto& normals = mesh.property(mesh.vertex_normals_pph()).data_vector();
    Vector3f const* const face_normals = mesh.property(mesh.face_normals_pph()).data();
    for_each_live(mesh.n_vertices(), statuses(mesh, mesh.vertex_status_pph()),
                  [&](std::ptrdiff_t i)
                  {
                      normals[static_cast<std::size_t>(i)] =
                          vertex_normal(mesh, face_normals, VertexHandle(static_cast<int>(i)));
                  });
}

void update_halfedge_normals(TriMesh& mesh)
{
    auto& normals = mesh.property(mesh.halfedge_normals_pph()).data_vector();
    auto const* const status = statuses(mesh, mesh.edge_status_pph());
    for_each_live(mesh.n_edges(), status,
                  [&](std::ptrdiff_t i)
                  {
                      for (auto const h : {2 * i, 2 * i + 1})
                      {
                          normals[static_cast<std::size_t>(h)] =
                              mesh.calc_halfedge_normal(HalfedgeHandle(static_cast<int>(h)));
                      }
                  });
}

void update_normals(TriMesh& mesh)
{
    bool const has_halfedge_normals = mesh.has_halfedge_normals();
    Stages stages({1.0, 1.0, has_halfedge_normals ? 10.0 : 0.0});
    stages.next();
    update_face_normals(mesh);
    stages.next();
    update_vertex_normals(mesh);
    stages.next();
    if (has_halfedge_normals)
    {
        update_halfedge_normals(mesh);
    }
}

void renew_normals(TriMesh& mesh)
{
    NormalRequests const requests(mesh, true, true);
    requests.make_room_in_new_arrays();
    update_normals(mesh);
}

void provide_normals(TriMesh& mesh)
{
    if (mesh.has_face_normals() && mesh.has_vertex_normals())
    {
        return;
    }
    NormalRequests const requests(mesh, !mesh.has_face_normals(), !mesh.has_vertex_normals());
    requests.make_room_in_new_arrays();
    Stages stages({1, 1});
    stages.next();
    update_face_normals(mesh);
    stages.next();
    update_vertex_normals(mesh);
}

} // namespace OrvaneAlgorithm::detail
