#include "workflow/repairing/passes/SpoiltFaces.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Progress.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <utility>

namespace veld
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

using Fan = std::vector<FaceHandle>;

/// Takes faces out of a mesh one after the other, as long as there are some.
class FaceDropper
{
public:
    FaceDropper(TriMesh& mesh, OpenMesh::FPropHandleT<char> is_old) : mesh_(mesh), is_old_(is_old)
    {
    }

    void drop_back_to_back();
    void drop_turned(double min_cosine);
    void drop_pinching(Pinches which);

    std::size_t dropped() const { return dropped_; }

private:
    bool is_new(FaceHandle face) const { return mesh_.property(is_old_, face) == 0; }
    FaceHandle back_of(FaceHandle face) const;
    bool agrees_with_normals(FaceHandle face) const;
    bool is_turned(FaceHandle face, double min_cosine) const;
    std::vector<Fan> fans_around(VertexHandle vertex) const;
    void keep_one_fan(VertexHandle vertex, Pinches which);
    void drop(FaceHandle face);

    TriMesh& mesh_;
    OpenMesh::FPropHandleT<char> is_old_;
    std::size_t dropped_ = 0;
    std::vector<VertexHandle> touched_; ///< Corners of what went, which may be pinched by it.
};

Vector3d normal_of(TriMesh const& mesh, FaceHandle face)
{
    auto const h = mesh.halfedge_handle(face);
    Vector3d const a = mesh.point(mesh.from_vertex_handle(h)).cast<double>();
    Vector3d const b = mesh.point(mesh.to_vertex_handle(h)).cast<double>();
    Vector3d const c =
        mesh.point(mesh.to_vertex_handle(mesh.next_halfedge_handle(h))).cast<double>();
    return (b - a).cross(c - a).stableNormalized();
}

/// The other face with the same corners.
FaceHandle FaceDropper::back_of(FaceHandle face) const
{
    auto const h = mesh_.halfedge_handle(face);
    auto const across = [&](HalfedgeHandle side)
    { return mesh_.face_handle(mesh_.opposite_halfedge_handle(side)); };
    FaceHandle const back = across(h);
    return across(mesh_.next_halfedge_handle(h)) == back &&
                   across(mesh_.prev_halfedge_handle(h)) == back
               ? back
               : FaceHandle();
}

/// Whether the normals of a face's corners are on its side rather than on the other.
bool FaceDropper::agrees_with_normals(FaceHandle face) const
{
    Vector3d sum = Vector3d::Zero();
    if (mesh_.has_vertex_normals())
    {
        for (auto const corner : mesh_.fv_range(face))
        {
            sum += mesh_.normal(corner).cast<double>();
        }
    }
    return normal_of(mesh_, face).dot(sum) >= 0.0;
}

/// Two faces with the same corners hold nothing between them. An old one stays; of two new ones
/// that with the normals, or the first.
void FaceDropper::drop_back_to_back()
{
    for (auto const face : mesh_.faces())
    {
        if (!is_new(face) || mesh_.status(face).deleted())
        {
            continue;
        }
        FaceHandle const back = back_of(face);
        if (back.is_valid())
        {
            drop(is_new(back) && agrees_with_normals(face) ? back : face);
        }
    }
}

bool FaceDropper::is_turned(FaceHandle face, double min_cosine) const
{
    Vector3d const normal = normal_of(mesh_, face);
    auto const corners = mesh_.fv_range(face);
    return std::any_of(corners.begin(), corners.end(),
                       [&](VertexHandle corner)
                       {
                           Vector3d const at_corner = mesh_.normal(corner).cast<double>();
                           return !at_corner.isZero() && normal.dot(at_corner) < min_cosine;
                       });
}

void FaceDropper::drop_turned(double min_cosine)
{
    for (auto const face : mesh_.faces())
    {
        if (!mesh_.status(face).deleted() && is_new(face) && is_turned(face, min_cosine))
        {
            drop(face);
        }
    }
}

/// Each fan begins at a gap, seen against the clock.
std::vector<Fan> FaceDropper::fans_around(VertexHandle vertex) const
{
    std::vector<Fan> fans;
    for (auto const gap : mesh_.voh_range(vertex))
    {
        if (!mesh_.is_boundary(gap))
        {
            continue;
        }
        Fan fan;
        for (HalfedgeHandle h = mesh_.opposite_halfedge_handle(gap); !mesh_.is_boundary(h);
             h = mesh_.opposite_halfedge_handle(mesh_.next_halfedge_handle(h)))
        {
            fan.push_back(mesh_.face_handle(h));
        }
        fans.push_back(std::move(fan));
    }
    return fans;
}

/// Where fans are alike the first one stays.
void FaceDropper::keep_one_fan(VertexHandle vertex, Pinches which)
{
    auto const fans = fans_around(vertex);
    if (fans.size() < 2)
    {
        return;
    }
    auto const old_faces = [&](Fan const& fan) {
        return std::count_if(fan.begin(), fan.end(),
                             [&](FaceHandle face) { return !is_new(face); });
    };
    auto const kept = std::max_element(fans.begin(), fans.end(),
                                       [&](Fan const& a, Fan const& b) {
                                           return std::make_pair(old_faces(a), a.size()) <
                                                  std::make_pair(old_faces(b), b.size());
                                       });
    for (auto fan = fans.begin(); fan != fans.end(); ++fan)
    {
        if (fan != kept && (which == Pinches::OF_ALL_FACES || old_faces(*fan) == 0))
        {
            for (auto const face : *fan)
            {
                drop(face);
            }
        }
    }
}

/// What goes may leave others pinched.
void FaceDropper::drop_pinching(Pinches which)
{
    touched_.assign(mesh_.vertices_begin(), mesh_.vertices_end());
    while (!touched_.empty())
    {
        std::vector<VertexHandle> const now = std::move(touched_);
        touched_.clear();
        for (auto const vertex : now)
        {
            if (mesh_.is_boundary(vertex))
            {
                keep_one_fan(vertex, which);
            }
        }
        OrvaneAlgorithm::detail::poll_cancel();
    }
}

void FaceDropper::drop(FaceHandle face)
{
    if (mesh_.status(face).deleted())
    {
        return;
    }
    for (auto const corner : mesh_.fv_range(face))
    {
        touched_.push_back(corner);
    }
    mesh_.delete_face(face, false);
    ++dropped_;
}

} // namespace

std::size_t drop_spoilt_faces(TriMesh& mesh, OpenMesh::FPropHandleT<char> is_old,
                              SpoiltFaces const& spoilt)
{
    OrvaneAlgorithm::detail::DeletionScope const status(mesh);
    FaceDropper dropper(mesh, is_old);
    if (spoilt.min_cosine > -1.0 && mesh.has_vertex_normals())
    {
        dropper.drop_turned(spoilt.min_cosine);
    }
    if (spoilt.pinches != Pinches::KEPT)
    {
        dropper.drop_back_to_back();
        dropper.drop_pinching(spoilt.pinches);
    }
    if (dropper.dropped() > 0)
    {
        mesh.garbage_collection(false, true, true);
    }
    return dropper.dropped();
}

} // namespace veld
