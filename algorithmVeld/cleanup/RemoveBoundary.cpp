#include "algorithmVeld/cleanup/RemoveBoundary.h"

#include "algorithmVeld/cleanup/BaseTriMeshSearch.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/arrays/ChannelScope.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

#include <algorithm>

namespace OrvaneAlgorithm
{

namespace
{

using detail::ChannelScope;
using detail::log_line;
using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

void log_info(bool verbose, char const* banner, Cloud const& cloud)
{
    log_line(verbose, banner);
    log_line(verbose, "  verts:     %8d\n", static_cast<int>(cloud.get_vn()));
}

void log_info(bool verbose, char const* banner, BaseTriMesh const& mesh)
{
    log_info(verbose, banner, static_cast<Cloud const&>(mesh));
    log_line(verbose, "  faces:     %8d\n", static_cast<int>(mesh.get_fn()));
}

void log_info(bool verbose, char const* banner, TriMesh const& mesh)
{
    log_line(verbose, banner);
    log_line(verbose, "  verts:     %8d\n", static_cast<int>(mesh.n_vertices()));
    log_line(verbose, "  faces:     %8d\n", static_cast<int>(mesh.n_faces()));
}

bool are_matched(std::vector<Vector3f> const& marker_points,
                 std::vector<Vector3f> const& marker_normals, bool verbose)
{
    if (marker_points.size() != marker_normals.size())
    {
        log_line(verbose, "  !!!error: unmatched vert and norm size.\n");
        return false;
    }
    return true;
}

/// Finds what is near markers. The tree is not told of what goes meanwhile.
class MarkerSearch
{
public:
    MarkerSearch(std::vector<Vector3f> const& points, double radius)
        : radius_(static_cast<float>(radius))
    {
        tree_.build_kdtree(points);
        tree_.set_sorted(false);
    }

    /// The points nearer to the marker than the radius, good until the next call.
    std::vector<int> const& near(Vector3f const& marker)
    {
        tree_.radius_search(marker, radius_, hits_, sq_dists_, 0);
        return hits_;
    }

private:
    KdTree3f tree_;
    float radius_;
    std::vector<int> hits_;
    std::vector<float> sq_dists_;
};

ChannelScope<Cloud> vertex_flags(Cloud& cloud)
{
    return {cloud, &Cloud::has_vFlag, &Cloud::enable_vFlag, &Cloud::disable_vFlag};
}

/// An array mesh, for the search of pieces: faces that share a vertex are neighbours.
class ArraySurface
{
public:
    using Face = int;

    explicit ArraySurface(BaseTriMesh& mesh) : mesh_(mesh), search_(mesh) {}

    template <typename Visit>
    void faces_around(int vertex, Visit const& visit)
    {
        Face* face = nullptr;
        Face* end = nullptr;
        search_.v2fRing1(vertex, face, end);
        std::for_each(face, end, visit);
    }

    template <typename Visit>
    bool neighbours(Face f, Visit const& visit)
    {
        Face* face = nullptr;
        Face* end = nullptr;
        search_.f2fRing1(f, face, end);
        return std::all_of(face, end, visit);
    }

    std::size_t n_faces() const { return mesh_.get_fn(); }
    static std::size_t index(Face face) { return static_cast<std::size_t>(face); }
    Vector3f const& normal(Face face) const { return mesh_.get_fNrv(index(face)); }

private:
    BaseTriMesh& mesh_;
    BaseTriMeshSearch search_;
};

/// A half-edge mesh, for the same: faces that share an edge are neighbours.
class HalfEdgeSurface
{
public:
    using Face = FaceHandle;

    explicit HalfEdgeSurface(TriMesh const& mesh) : mesh_(mesh), across_edges_(mesh) {}

    template <typename Visit>
    void faces_around(int vertex, Visit const& visit)
    {
        if (mesh_.is_valid_handle(VertexHandle(vertex)))
        {
            for (auto const face : mesh_.vf_range(VertexHandle(vertex)))
            {
                visit(FaceHandle(face));
            }
        }
    }

    template <typename Visit>
    bool neighbours(Face face, Visit const& visit)
    {
        return across_edges_(face, visit);
    }

    std::size_t n_faces() const { return mesh_.n_faces(); }
    static std::size_t index(Face face) { return static_cast<std::size_t>(face.idx()); }
    Vector3f normal(Face face) const { return mesh_.normal(face); }

private:
    TriMesh const& mesh_;
    detail::AcrossEdges across_edges_;
};

/// Groups the faces near markers into connected pieces and finds those that look the way their
/// marker does.
template <typename Surface>
class PieceJudge
{
public:
    using Face = typename Surface::Face;

    PieceJudge(Surface& surface, double normal_dot_thr)
        : surface_(surface),
          normal_dot_thr_(normal_dot_thr),
          states_(surface.n_faces(), State::UNSEEN)
    {
    }

    /// Judges the pieces around the vertices near one marker. What was judged for a marker before
    /// it is not looked at again, and does not join pieces.
    void judge(std::vector<int> const& hits, Vector3f const& marker_normal)
    {
        for (Face const face : faces_in_radius(hits))
        {
            poll_.next();
            if (state(face) != State::IN_RADIUS)
            {
                continue;
            }
            std::vector<Face> const piece = piece_of(face);
            if (static_cast<double>(marker_normal.dot(normal_of(piece))) > normal_dot_thr_)
            {
                guilty_.insert(guilty_.end(), piece.begin(), piece.end());
            }
        }
    }

    /// The faces that have to go, piece by piece.
    std::vector<Face> const& guilty() const { return guilty_; }

private:
    enum class State : unsigned char
    {
        UNSEEN,
        IN_RADIUS, ///< of the marker that is being looked at
        JUDGED
    };

    State& state(Face face) { return states_[Surface::index(face)]; }

    /// The faces around the vertices, each once, without those that were judged before.
    std::vector<Face> faces_in_radius(std::vector<int> const& hits)
    {
        std::vector<Face> faces;
        for (int const vertex : hits)
        {
            poll_.next();
            surface_.faces_around(vertex,
                                  [&](Face face)
                                  {
                                      if (state(face) == State::UNSEEN)
                                      {
                                          state(face) = State::IN_RADIUS;
                                          faces.push_back(face);
                                      }
                                  });
        }
        return faces;
    }

    std::vector<Face> piece_of(Face first)
    {
        std::vector<Face> piece{first};
        state(first) = State::JUDGED;
        detail::grow(
            piece,
            [this](Face face, auto const& visit) { return surface_.neighbours(face, visit); },
            [this](Face, Face neighbour)
            {
                if (state(neighbour) != State::IN_RADIUS)
                {
                    return detail::Growth::PASS;
                }
                state(neighbour) = State::JUDGED;
                return detail::Growth::TAKE;
            });
        return piece;
    }

    Vector3f normal_of(std::vector<Face> const& piece) const
    {
        Vector3f sum = Vector3f::Zero();
        for (Face const face : piece)
        {
            sum += surface_.normal(face);
        }
        sum.normalize();
        return sum;
    }

    Surface& surface_;
    double normal_dot_thr_;
    std::vector<State> states_; ///< of each face
    std::vector<Face> guilty_;
    detail::CancelPoll poll_;
};

/// The faces of the pieces that look the way their markers do.
template <typename Surface>
std::vector<typename Surface::Face>
faces_of_markers(Surface surface, std::vector<Vector3f> const& points,
                 std::vector<Vector3f> const& marker_points,
                 std::vector<Vector3f> const& marker_normals, double radius, double normal_dot_thr)
{
    PieceJudge<Surface> judge(surface, normal_dot_thr);
    detail::Stages stages({4, 1});
    stages.next();
    MarkerSearch search(points, radius);
    stages.next();
    detail::Progress progress(marker_points.size());
    for (std::size_t m = 0; m < marker_points.size(); ++m)
    {
        progress.advance();
        judge.judge(search.near(marker_points[m]), marker_normals[m]);
    }
    return judge.guilty();
}

/// Deletes faces in the order of their indices and fills the gaps. Vertices stay.
void delete_faces(TriMesh& mesh, std::vector<FaceHandle> faces)
{
    std::sort(faces.begin(), faces.end());
    detail::DeletionScope const scope(mesh);
    detail::CompactedOnException const compacted(mesh);
    detail::Stages stages({1, 1});
    stages.next();
    {
        detail::LoopProgress progress(faces.size());
        for (auto const face : faces)
        {
            progress.next();
            detail::delete_face_checked(mesh, face, detail::IsolatedVertices::KEPT);
        }
    }
    stages.next();
    detail::compact(mesh);
}

/// More rings than anyone asks for.
constexpr int FAR_RING = 10000;

/// The faces along all boundaries and those in the rings behind them.
///
/// All boundaries grow together, breadth first, so that each face is met in its lowest ring and a
/// mesh with many holes costs no more than one with few.
std::vector<FaceHandle> faces_in_rings(TriMesh& mesh, int ring_num)
{
    std::vector<int> rings(mesh.n_faces(), FAR_RING);
    std::vector<bool> is_taken(mesh.n_faces(), false);
    auto const index = [](FaceHandle face) { return static_cast<std::size_t>(face.idx()); };
    std::vector<FaceHandle> faces;
    for (auto const& walk : detail::boundary_walks(mesh))
    {
        for (auto const h : walk)
        {
            // Behind an edge that has lost both of its faces there is none.
            auto const face = mesh.face_handle(mesh.opposite_halfedge_handle(h));
            if (face.is_valid() && !is_taken[index(face)])
            {
                is_taken[index(face)] = true;
                rings[index(face)] = 0;
                faces.push_back(face);
            }
        }
    }
    detail::grow_faces(mesh, faces,
                       [&](FaceHandle face, FaceHandle other)
                       {
                           int& ring = rings[index(other)];
                           ring = std::min(ring, rings[index(face)] + 1);
                           // The number itself included: one ring more goes than it says.
                           if (is_taken[index(other)] || ring > ring_num)
                           {
                               return detail::Growth::PASS;
                           }
                           is_taken[index(other)] = true;
                           return detail::Growth::TAKE;
                       });
    return faces;
}

} // namespace

RetVal RemoveBoundary::remove_marker_cloud(Cloud& cloud, std::vector<Vector3f> const& marker_points,
                                           std::vector<Vector3f> const& marker_normals,
                                           double radius, bool use_normals, double normal_dot_thr,
                                           bool verbose)
{
    log_line(verbose, "remove_marker_cloud() ..\n");
    log_info(verbose, "\n==========< initial Cloud info >==========\n", cloud);
    if (use_normals && !are_matched(marker_points, marker_normals, verbose))
    {
        return RET_INVALID_INPUT;
    }
    if (use_normals && !cloud.has_vNormal)
    {
        log_line(verbose, "  !!!error: missing cloud vertex normal.\n");
        return RET_INVALID_INPUT;
    }
    {
        auto const flags = vertex_flags(cloud);
        detail::Stages stages({6, 2, 2});
        stages.next();
        MarkerSearch search(cloud.vCoord, radius);
        stages.next();
        detail::Progress progress(marker_points.size());
        for (std::size_t m = 0; m < marker_points.size(); ++m)
        {
            progress.advance();
            for (int const hit : search.near(marker_points[m]))
            {
                auto const i = static_cast<std::size_t>(hit);
                bool const agrees =
                    !use_normals ||
                    static_cast<double>(marker_normals[m].dot(cloud.get_vNrv(i))) > normal_dot_thr;
                if (agrees)
                {
                    cloud.set_vDeleted(i, true);
                }
            }
        }
        stages.next();
        cloud.squeeze();
    }
    log_info(verbose, "\n==========< final Cloud info >==========\n", cloud);
    return RET_SUCCESS;
}

RetVal RemoveBoundary::remove_marker_mesh(BaseTriMesh& mesh,
                                          std::vector<Vector3f> const& marker_points, double radius,
                                          bool verbose)
{
    log_line(verbose, "remove_marker_mesh() ..\n");
    log_info(verbose, "\n==========< initial BaseTriMesh info >==========\n", mesh);
    {
        auto const flags = vertex_flags(mesh);
        detail::Stages stages({6, 2, 2});
        stages.next();
        MarkerSearch search(mesh.vCoord, radius);
        stages.next();
        detail::Progress progress(marker_points.size());
        for (auto const& marker : marker_points)
        {
            progress.advance();
            for (int const hit : search.near(marker))
            {
                mesh.set_vDeleted(static_cast<std::size_t>(hit), true);
            }
        }
        stages.next();
        mesh.squeeze();
    }
    log_info(verbose, "\n==========< final BaseTriMesh info >==========\n", mesh);
    return RET_SUCCESS;
}

RetVal RemoveBoundary::remove_marker_mesh(TriMesh& mesh, std::vector<Vector3f> const& marker_points,
                                          double radius, bool verbose)
{
    log_line(verbose, "remove_marker_mesh() ..\n");
    log_info(verbose, "\n==========< initial TriMesh info >==========\n", mesh);
    {
        detail::Stages stages({6, 2, 2});
        stages.next();
        MarkerSearch search(detail::points_of(mesh), radius);
        stages.next();
        detail::DeletionScope const scope(mesh);
        detail::CompactedOnException const compacted(mesh);
        detail::CancelPoll poll;
        detail::Progress progress(marker_points.size());
        for (auto const& marker : marker_points)
        {
            progress.advance();
            for (int const hit : search.near(marker))
            {
                poll.next();
                // It may have gone with another marker already.
                detail::delete_vertex_checked(mesh, VertexHandle(hit),
                                              detail::IsolatedVertices::DELETED);
            }
        }
        stages.next();
        detail::compact(mesh);
    }
    log_info(verbose, "\n==========< final TriMesh info >==========\n", mesh);
    return RET_SUCCESS;
}

RetVal RemoveBoundary::remove_marker_mesh_ex(BaseTriMesh& mesh,
                                             std::vector<Vector3f> const& marker_points,
                                             std::vector<Vector3f> const& marker_normals,
                                             double radius, double normal_dot_thr, bool verbose)
{
    log_line(verbose, "remove_marker_mesh_ex( BaseTriMesh ) ..\n");
    log_info(verbose, "\n==========< initial BaseTriMesh info >==========\n", mesh);
    if (!are_matched(marker_points, marker_normals, verbose))
    {
        return RET_INVALID_INPUT;
    }
    {
        detail::Stages stages({9, 1});
        stages.next();
        using Scope = ChannelScope<BaseTriMesh>;
        auto const vertex_flag = vertex_flags(mesh);
        Scope const face_flag(mesh, &BaseTriMesh::has_fFlag, &BaseTriMesh::enable_fFlag,
                              &BaseTriMesh::disable_fFlag);
        {
            // Normals that are there for this call only go before the mesh is squeezed, the flags
            // after it.
            Scope const vertex_normal(mesh, &BaseTriMesh::has_vNormal, &BaseTriMesh::update_VNrv,
                                      &BaseTriMesh::disable_vNormal);
            Scope const face_normal(mesh, &BaseTriMesh::has_fNormal, &BaseTriMesh::update_FNrv,
                                    &BaseTriMesh::disable_fNormal);
            for (int const face : faces_of_markers(ArraySurface(mesh), mesh.vCoord, marker_points,
                                                   marker_normals, radius, normal_dot_thr))
            {
                mesh.set_fDeleted(static_cast<std::size_t>(face), true);
            }
        }
        stages.next();
        mesh.squeeze();
    }
    log_info(verbose, "\n==========< final BaseTriMesh info >==========\n", mesh);
    return RET_SUCCESS;
}

RetVal RemoveBoundary::remove_marker_mesh_ex(TriMesh& mesh,
                                             std::vector<Vector3f> const& marker_points,
                                             std::vector<Vector3f> const& marker_normals,
                                             double radius, double normal_dot_thr, bool verbose)
{
    log_line(verbose, "remove_marker_mesh_ex() ..\n");
    log_info(verbose, "\n==========< initial TriMesh info >==========\n", mesh);
    if (!are_matched(marker_points, marker_normals, verbose))
    {
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({3, 6, 1});
    stages.next();
    detail::provide_normals(mesh);
    stages.next();
    auto const faces = faces_of_markers(HalfEdgeSurface(mesh), detail::points_of(mesh),
                                        marker_points, marker_normals, radius, normal_dot_thr);
    stages.next();
    delete_faces(mesh, faces);
    log_info(verbose, "\n==========< final TriMesh info >==========\n", mesh);
    return RET_SUCCESS;
}

RetVal RemoveBoundary::remove_n_rings(TriMesh& mesh, int ring_num, bool verbose)
{
    log_line(verbose, "remove_n_rings( %d-rings ) ..\n", ring_num);
    detail::Stages stages({1, 3});
    stages.next();
    auto const faces = faces_in_rings(mesh, ring_num);
    stages.next();
    delete_faces(mesh, faces);
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
