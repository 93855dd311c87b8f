#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/BallPivoting.h"
#include "algorithmVeld/reconstruction/ball_pivoting/PivotBall.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>

namespace OrvaneAlgorithm
{

namespace
{

using detail::StepTimer;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

constexpr char const* REPAIR_MESH = "Repair-Mesh";
constexpr std::size_t FEWEST_CORNERS = 3; // of a face
/// How far inside the ball a vertex has to be; it keeps the corners of the face itself out.
constexpr double EMPTINESS_MARGIN = 0.001;
constexpr double ZERO_NORMAL = 1e-5;

/// A vertex that can make a face with an edge.
struct Candidate
{
    float angle;
    int hit; ///< its place among the vertices near the edge
    VertexHandle vertex;
    Vector3f centre; ///< of the ball that touches it
};

/// Smaller angles first, of equal ones the nearer vertex. Angles that are no numbers come last.
bool comes_before(Candidate const& a, Candidate const& b)
{
    bool const is_a_number = std::isfinite(a.angle);
    bool const is_b_number = std::isfinite(b.angle);
    if (is_a_number != is_b_number)
    {
        return is_a_number;
    }
    return is_a_number && a.angle != b.angle ? a.angle < b.angle : a.hit < b.hit;
}

bool is_zero(Vector3f const& normal)
{
    return (normal.cast<double>().array().abs() < ZERO_NORMAL).all();
}

} // namespace

/// The normals that a pass computes. They go with the pass, or with an exception.
class BallPivoting::PassNormals
{
public:
    PassNormals(TriMesh& mesh, bool enabled) : mesh_(mesh), is_on_(enabled)
    {
        if (is_on_)
        {
            detail::renew_normals(mesh_);
        }
    }
    ~PassNormals()
    {
        if (std::uncaught_exceptions() > exceptions_)
        {
            release();
        }
    }
    PassNormals(PassNormals const&) = delete;
    PassNormals& operator=(PassNormals const&) = delete;

    void release()
    {
        if (is_on_)
        {
            mesh_.release_face_normals();
            mesh_.release_vertex_normals();
            is_on_ = false;
        }
    }

private:
    TriMesh& mesh_;
    bool is_on_;
    int exceptions_ = std::uncaught_exceptions();
};

/// One walk over the halfedges of a mesh.
class BallPivoting::Pass
{
public:
    Pass(BallPivoting& owner, TriMesh& mesh, float radius, int level)
        : owner_(owner), mesh_(mesh), radius_(radius), level_(level)
    {
    }

    /// Lists the vertices that are on the boundary now. \return how many there are
    std::size_t find_boundary();
    /// Prepares the search among them.
    void build_tree();
    /// Turns the ball around every boundary edge. \return the number of new faces
    int grow();

private:
    struct Edge
    {
        HalfedgeHandle halfedge; ///< without a face
        VertexHandle from;
        VertexHandle to;
        detail::PivotEdge line;
    };

    bool grow_at(HalfedgeHandle boundary);
    bool find_start(HalfedgeHandle boundary, Vector3f& centre);
    void find_candidates(Edge const& edge, Vector3f const& start_centre);
    bool has_room(Edge const& edge, VertexHandle vertex) const;
    bool agrees_with_normals(Edge const& edge, VertexHandle vertex) const;
    bool agrees_with_normal(Vector3f const& face_normal, VertexHandle vertex) const;
    Candidate const* choose() const;
    bool add_face(Edge const& edge, VertexHandle third);
    bool has_face(VertexHandle from, VertexHandle to) const;

    BallPivoting& owner_;
    TriMesh& mesh_;
    float radius_;
    int level_;
    std::vector<VertexHandle> boundary_; ///< by their places in the tree
    // Memory for one edge after the other.
    std::vector<int> hits_;
    std::vector<float> square_distances_;
    std::vector<Candidate> candidates_;
};

bool BallPivoting::repair_mesh(TriMesh& mesh, float radius, int& added_faces,
                               int& boundary_vertices, int level)
{
    added_faces = 0;
    boundary_vertices = 0;
    Pass pass(*this, mesh, radius, level);
    detail::Stages stages({1, 9});
    stages.next();
    auto building = std::make_unique<StepTimer>("Build-Kd-Tree", REPAIR_MESH);
    PassNormals normals(mesh, mNormMode);
    boundary_vertices = static_cast<int>(pass.find_boundary());
    if (boundary_vertices < static_cast<int>(FEWEST_CORNERS))
    {
        return false;
    }
    pass.build_tree();
    building.reset();

    stages.next();
    added_faces = pass.grow();
    normals.release();
    return true;
}

bool BallPivoting::no_extra_vertex_in_sphere(Vector3f const& centre, float radius)
{
    StepTimer const timer("Kd-Tree Search Node in Sphere", REPAIR_MESH);
    auto const inner = static_cast<float>(static_cast<double>(radius) - EMPTINESS_MARGIN);
    std::vector<int> hits;
    std::vector<float> square_distances;
    return mVertexTree.radius_search(centre, inner, hits, square_distances, 1) == 0;
}

std::size_t BallPivoting::Pass::find_boundary()
{
    detail::CancelPoll poll;
    for (int i = 0; i < static_cast<int>(mesh_.n_vertices()); ++i)
    {
        poll.next();
        VertexHandle const vertex(i);
        if (!detail::is_deleted(mesh_, vertex) && mesh_.is_boundary(vertex))
        {
            boundary_.push_back(vertex);
        }
    }
    return boundary_.size();
}

void BallPivoting::Pass::build_tree()
{
    std::vector<Vector3f> points;
    points.reserve(boundary_.size());
    for (auto const vertex : boundary_)
    {
        points.push_back(mesh_.point(vertex));
    }
    owner_.mBoundaryTree.build_kdtree(points);
}

int BallPivoting::Pass::grow()
{
    detail::LoopProgress progress(mesh_.n_halfedges());
    int added = 0;
    // New faces bring halfedges while the walk is on its way.
    for (int i = 0; i < static_cast<int>(mesh_.n_halfedges()); ++i)
    {
        progress.next();
        HalfedgeHandle const halfedge(i);
        if (mesh_.is_boundary(halfedge))
        {
            detail::poll_cancel();
            added += grow_at(halfedge) ? 1 : 0;
        }
    }
    return added;
}

/// Adds the face that the ball finds at an edge. \return whether there is one
bool BallPivoting::Pass::grow_at(HalfedgeHandle boundary)
{
    Vector3f start_centre;
    if (!find_start(boundary, start_centre))
    {
        return false;
    }
    auto const from = mesh_.from_vertex_handle(boundary);
    auto const to = mesh_.to_vertex_handle(boundary);
    Edge const edge{boundary, from, to, {mesh_.point(from), mesh_.point(to)}};
    find_candidates(edge, start_centre);
    std::sort(candidates_.begin(), candidates_.end(), comes_before);
    auto const* const chosen = choose();
    return chosen != nullptr && add_face(edge, chosen->vertex);
}

/// The ball on the face beside an edge.
bool BallPivoting::Pass::find_start(HalfedgeHandle boundary, Vector3f& centre)
{
    auto const face = mesh_.face_handle(mesh_.opposite_halfedge_handle(boundary));
    if (!face.is_valid())
    {
        gLH.print_past_log("Data Error - opposite halfedge.\n");
        ++owner_.mOppositeHalfedgeErrors;
        return false;
    }
    std::array<Vector3f, 3> corners;
    std::size_t n = 0;
    for (auto it = mesh_.cfv_iter(face); it.is_valid() && n < corners.size(); ++it)
    {
        corners[n++] = mesh_.point(*it);
    }
    if (n < corners.size())
    {
        gLH.print_past_log("Data Error - triangle vertices.\n");
        ++owner_.mTriangleVerticesErrors;
        return false;
    }
    if (!detail::find_enlarged_sphere(corners, radius_, owner_.mSphereRetryCount,
                                      owner_.mSphereRetryScale, centre))
    {
        gLH.print_past_log("Data Error - find origial sphere.\n");
        ++owner_.mOrigialSphereErrors;
        return false;
    }
    return true;
}

void BallPivoting::Pass::find_candidates(Edge const& edge, Vector3f const& start_centre)
{
    candidates_.clear();
    {
        StepTimer const timer("Kd-Tree Search Third Node", REPAIR_MESH);
        owner_.mBoundaryTree.radius_search(edge.line.middle(), 2.0F * radius_, hits_,
                                           square_distances_, 0);
    }
    for (std::size_t i = 0; i < hits_.size(); ++i)
    {
        auto const vertex = boundary_[static_cast<std::size_t>(hits_[i])];
        Vector3f centre;
        if (has_room(edge, vertex) &&
            detail::find_sphere(edge.line.from, edge.line.to, mesh_.point(vertex), radius_,
                                centre) &&
            agrees_with_normals(edge, vertex))
        {
            candidates_.push_back({detail::pivot_angle(edge.line, start_centre, centre),
                                   static_cast<int>(i), vertex, centre});
        }
    }
}

/// Whether the links of the mesh leave room for a face. Vertices that were on the boundary before
/// the pass may be inside by now.
bool BallPivoting::Pass::has_room(Edge const& edge, VertexHandle vertex) const
{
    return vertex != edge.to && vertex != edge.from && mesh_.is_boundary(vertex) &&
           !has_face(vertex, edge.from) && !has_face(edge.to, vertex);
}

bool BallPivoting::Pass::has_face(VertexHandle from, VertexHandle to) const
{
    auto const halfedge = detail::halfedge_between(mesh_, from, to);
    return halfedge.is_valid() && !mesh_.is_boundary(halfedge);
}

/// Whether a face is no sliver and looks to the side of its corners. This is what keeps the ball
/// from the far side of thin parts.
bool BallPivoting::Pass::agrees_with_normals(Edge const& edge, VertexHandle vertex) const
{
    Vector3f normal;
    if (!detail::find_face_normal(edge.line, mesh_.point(vertex), normal))
    {
        return false;
    }
    return !mesh_.has_vertex_normals() ||
           (agrees_with_normal(normal, edge.from) && agrees_with_normal(normal, edge.to) &&
            agrees_with_normal(normal, vertex));
}

bool BallPivoting::Pass::agrees_with_normal(Vector3f const& face_normal, VertexHandle vertex) const
{
    auto const& normal = mesh_.normal(vertex);
    return is_zero(normal) || !(face_normal.dot(normal) < owner_.mNormConsistencyThr);
}

/// The first candidate whose ball is empty. \return a null pointer if there is none
Candidate const* BallPivoting::Pass::choose() const
{
    for (auto const& candidate : candidates_)
    {
        if (!owner_.mNodeInSphereRestrain ||
            owner_.no_extra_vertex_in_sphere(candidate.centre, radius_))
        {
            return &candidate;
        }
    }
    return nullptr;
}

bool BallPivoting::Pass::add_face(Edge const& edge, VertexHandle third)
{
    if (detail::add_face_checked(mesh_, edge.from, edge.to, third).is_valid())
    {
        return true;
    }
    for (bool const with_failed_face : {false, true})
    {
        owner_.OutputNeighbourRegion(mesh_, edge.from, edge.to, third, radius_, level_,
                                     with_failed_face);
    }
    owner_.keep_failed_face({edge.halfedge, third});
    return false;
}

} // namespace OrvaneAlgorithm
