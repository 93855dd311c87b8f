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
#include <string>

namespace OrvaneAlgorithm
{

namespace
{

using detail::StepTimer;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

constexpr char const* REPAIR_MESH = "Repair-Mesh";
constexpr std::size_t FEWEST_CORNERS = 3; // of a face
constexpr double ZERO_NORMAL = 1e-5;

/// Up to it a ball's centre lies where a search in a tree finds something, if its corners do.
constexpr float LARGEST_RADIUS = 1e9F;

/// What a distance is enlarged by where rounding must not hide anything.
constexpr double ROUNDING = 1e-5;

/// A vertex that can make a face with an edge.
struct Candidate
{
    VertexHandle vertex;
    int place;             ///< in the list of the boundary
    float square_distance; ///< from the middle of the edge
    Vector3f centre;       ///< of the ball that touches it
    float angle = 0.0F;
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
    if (is_a_number && a.angle != b.angle)
    {
        return a.angle < b.angle;
    }
    return a.square_distance != b.square_distance ? a.square_distance < b.square_distance
                                                  : a.place < b.place;
}

float inner_radius(float radius)
{
    return static_cast<float>(static_cast<double>(radius) - BallPivoting::EMPTINESS_MARGIN);
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
    explicit PassNormals(TriMesh& mesh) : mesh_(mesh) {}
    ~PassNormals()
    {
        if (std::uncaught_exceptions() > exceptions_)
        {
            release();
        }
    }
    PassNormals(PassNormals const&) = delete;
    PassNormals& operator=(PassNormals const&) = delete;

    void renew()
    {
        detail::renew_normals(mesh_);
        is_on_ = true;
    }

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
    bool is_on_ = false;
    int exceptions_ = std::uncaught_exceptions();
};

/// One walk over the halfedges of a mesh.
class BallPivoting::Pass
{
public:
    Pass(BallPivoting& owner, TriMesh& mesh, float radius, int level)
        : owner_(owner),
          mesh_(mesh),
          radius_(radius),
          level_(level),
          knows_emptiness_(owner.mNodeInSphereRestrain && radius < LARGEST_RADIUS &&
                           owner.knows_all_vertices_of(mesh))
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
    void find_nearby(Edge const& edge);
    void find_taken(Edge const& edge);
    void find_candidates(Edge const& edge);
    bool has_room(Edge const& edge, VertexHandle vertex) const;
    bool agrees_with_normals(Edge const& edge, VertexHandle vertex) const;
    bool agrees_with_normal(Vector3f const& face_normal, VertexHandle vertex) const;
    bool holds_nearby_vertex(Vector3f const& centre);
    bool is_all_nearby(Edge const& edge, Vector3f const& centre) const;
    void sort_candidates(Edge const& edge, Vector3f const& start_centre);
    Candidate const* choose(Edge const& edge) const;
    bool add_face(Edge const& edge, VertexHandle third);

    BallPivoting& owner_;
    TriMesh& mesh_;
    float radius_;
    int level_;
    /// Whether a ball with a vertex near the edge inside it is sure to be found not empty.
    bool knows_emptiness_;
    std::string const search_step_ = "Kd-Tree Search Third Node";
    std::string const emptiness_step_ = "Kd-Tree Search Node in Sphere";
    std::string const parent_step_ = REPAIR_MESH;
    std::vector<VertexHandle> boundary_; ///< by their places in the tree
    std::vector<Vector3f> positions_;    ///< of the same
    // Memory for one edge after the other.
    std::vector<int> hits_;
    std::vector<float> square_distances_;
    std::vector<Vector3f> nearby_;    ///< the positions of the hits
    std::vector<VertexHandle> taken_; ///< vertices that have a face where the new one would be
    std::vector<Candidate> candidates_;
    std::size_t last_inside_ = 0; ///< which nearby vertex was inside the last ball
};

bool BallPivoting::repair_mesh(TriMesh& mesh, float radius, int& added_faces,
                               int& boundary_vertices, int level)
{
    added_faces = 0;
    boundary_vertices = 0;
    Pass pass(*this, mesh, radius, level);
    detail::Stages stages({1, 9});
    stages.next();
    PassNormals normals(mesh);
    {
        StepTimer const timer("Build-Kd-Tree", REPAIR_MESH);
        if (mNormMode)
        {
            normals.renew();
        }
        boundary_vertices = static_cast<int>(pass.find_boundary());
        if (boundary_vertices < static_cast<int>(FEWEST_CORNERS))
        {
            return false;
        }
        pass.build_tree();
    }
    stages.next();
    added_faces = pass.grow();
    normals.release();
    return true;
}

bool BallPivoting::no_extra_vertex_in_sphere(Vector3f const& centre, float radius) const
{
    std::vector<int> hits;
    std::vector<float> square_distances;
    return mVertexTree.radius_search(centre, inner_radius(radius), hits, square_distances, 1) == 0;
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
    positions_.reserve(boundary_.size());
    for (auto const vertex : boundary_)
    {
        positions_.push_back(mesh_.point(vertex));
    }
    owner_.mBoundaryTree.set_sorted(false); // Few of the hits are candidates.
    owner_.mBoundaryTree.build_kdtree(positions_);
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
    find_nearby(edge);
    find_taken(edge);
    find_candidates(edge);
    sort_candidates(edge, start_centre);
    auto const* const chosen = choose(edge);
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

/// Finds the boundary vertices that the ball can touch when it turns around an edge.
void BallPivoting::Pass::find_nearby(Edge const& edge)
{
    {
        StepTimer const timer(search_step_, parent_step_);
        owner_.mBoundaryTree.radius_search(edge.line.middle(), 2.0F * radius_, hits_,
                                           square_distances_, 0);
    }
    nearby_.clear();
    for (int const hit : hits_)
    {
        nearby_.push_back(positions_[static_cast<std::size_t>(hit)]);
    }
    last_inside_ = 0;
}

/// Lists the vertices with a halfedge to the edge, or from it, that has a face.
void BallPivoting::Pass::find_taken(Edge const& edge)
{
    taken_.clear();
    auto h = edge.halfedge;
    do // round `from`
    {
        auto const incoming = mesh_.opposite_halfedge_handle(h);
        if (!mesh_.is_boundary(incoming))
        {
            taken_.push_back(mesh_.to_vertex_handle(h));
        }
        h = mesh_.next_halfedge_handle(incoming);
    } while (h != edge.halfedge);
    auto const first = mesh_.opposite_halfedge_handle(edge.halfedge);
    h = first;
    do // round `to`
    {
        if (!mesh_.is_boundary(h))
        {
            taken_.push_back(mesh_.to_vertex_handle(h));
        }
        h = mesh_.next_halfedge_handle(mesh_.opposite_halfedge_handle(h));
    } while (h != first);
}

/// The tests are in the order of what they cost.
void BallPivoting::Pass::find_candidates(Edge const& edge)
{
    auto const& [from, to] = edge.line;
    candidates_.clear();
    for (std::size_t i = 0; i < hits_.size(); ++i)
    {
        auto const vertex = boundary_[static_cast<std::size_t>(hits_[i])];
        Vector3f centre;
        if (!detail::is_ball_surely_too_small(from, to, nearby_[i], radius_) &&
            has_room(edge, vertex) && detail::find_sphere(from, to, nearby_[i], radius_, centre) &&
            !(knows_emptiness_ && holds_nearby_vertex(centre)) && agrees_with_normals(edge, vertex))
        {
            candidates_.push_back({vertex, hits_[i], square_distances_[i], centre});
        }
    }
}

/// Whether the links of the mesh leave room for a face. Vertices that were on the boundary before
/// the pass may be inside by now.
bool BallPivoting::Pass::has_room(Edge const& edge, VertexHandle vertex) const
{
    return vertex != edge.to && vertex != edge.from && mesh_.is_boundary(vertex) &&
           std::find(taken_.begin(), taken_.end(), vertex) == taken_.end();
}

/// Whether a ball is not empty because of the vertices near the edge alone. The one in the last
/// ball is often in the next one, too.
bool BallPivoting::Pass::holds_nearby_vertex(Vector3f const& centre)
{
    float const inner = inner_radius(radius_);
    if (!(inner >= 0.0F))
    {
        return false; // Nothing is nearer than that.
    }
    float const limit = inner * inner;
    if (detail::square_distance(centre, nearby_[last_inside_]) < limit)
    {
        return true;
    }
    auto const inside = std::find_if(nearby_.begin(), nearby_.end(),
                                     [&](Vector3f const& point)
                                     { return detail::square_distance(centre, point) < limit; });
    if (inside == nearby_.end())
    {
        return false;
    }
    last_inside_ = static_cast<std::size_t>(inside - nearby_.begin());
    return true;
}

/// Whether everything in a ball is near the edge: where all vertices of the mesh were on the
/// boundary before the pass, as of points alone, the tree of all of them tells nothing new.
bool BallPivoting::Pass::is_all_nearby(Edge const& edge, Vector3f const& centre) const
{
    auto const radius = static_cast<double>(radius_);
    double const reach = static_cast<double>((centre - edge.line.middle()).norm()) + radius -
                         BallPivoting::EMPTINESS_MARGIN;
    return knows_emptiness_ && boundary_.size() == owner_.mVertexTreePoints.size() &&
           reach * (1.0 + ROUNDING) < 2.0 * radius;
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

void BallPivoting::Pass::sort_candidates(Edge const& edge, Vector3f const& start_centre)
{
    if (candidates_.size() < 2)
    {
        return;
    }
    for (auto& candidate : candidates_)
    {
        candidate.angle = detail::pivot_angle(edge.line, start_centre, candidate.centre);
    }
    std::sort(candidates_.begin(), candidates_.end(), comes_before);
}

/// The first candidate whose ball is empty. \return a null pointer if there is none
Candidate const* BallPivoting::Pass::choose(Edge const& edge) const
{
    if (candidates_.empty())
    {
        return nullptr;
    }
    if (!owner_.mNodeInSphereRestrain)
    {
        return &candidates_.front();
    }
    StepTimer const timer(emptiness_step_, parent_step_);
    for (auto const& candidate : candidates_)
    {
        if (is_all_nearby(edge, candidate.centre) ||
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
    ++owner_.mRefusedFaces;
    for (bool const with_failed_face : {false, true})
    {
        owner_.OutputNeighbourRegion(mesh_, edge.from, edge.to, third, radius_, level_,
                                     with_failed_face);
    }
    owner_.keep_failed_face({edge.halfedge, third});
    return false;
}

} // namespace OrvaneAlgorithm
