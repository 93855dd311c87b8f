#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "algorithmVeld/common/mesh/MeshPatch.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Whether the circle through a, b and c, given against the clock, has d inside or on it.
bool is_in_circle(Vector2f const& a, Vector2f const& b, Vector2f const& c, Vector2f const& d);

/// Whether c, seen from the origin, is in front of the segment from a to b or beside it. A segment
/// that points at the origin hides nothing.
bool is_can_see_point(Vector2f const& a, Vector2f const& b, Vector2f const& c);

/// A segment as it stands in the way of sight from the origin. It writes a point as t a + s b.
class SightScreen
{
public:
    SightScreen(Vector2f const& a, Vector2f const& b);

    bool hides_nothing() const { return hides_nothing_; }

    /// Which coordinate `hides` wants as `w`: the one in which the first end is not 0.
    bool divides_by_x() const { return divides_by_x_; }

    /// Whether the point (x, y) is hidden; only to be asked if anything can be. `w` is x or y. A
    /// point whose coordinates are no numbers is hidden.
    bool hides(float x, float y, float w) const
    {
        float const s = (x * a_y_ - y * a_x_) / determinant_;
        float const t = (w - b_w_ * s) / a_w_;
        // Without branches, so that several points are looked at side by side.
        return static_cast<int>(!(s <= 0.0F)) & static_cast<int>(!(t <= 0.0F)) &
               static_cast<int>(!(s + t < 1.0F));
    }

private:
    float a_x_, a_y_, determinant_;
    float a_w_ = 0.0F;
    float b_w_ = 0.0F;
    bool divides_by_x_ = true;
    bool hides_nothing_ = false;
};

/// What limits a fan.
struct FanSettings
{
    float start_radius =
        0.0F; ///< Of the search around a centre whose own border edges are shorter.
    double largest_radius = 0.0;   ///< A centre that needs a larger one gets no fan.
    double longest_edge = 0.0;     ///< Longest side of a triangle across from the centre.
    float cos_normal_angle = 0.0F; ///< Cosine of the largest angle to the faces around.
};

/// How far to search around a vertex: just beyond its longest border edge, but `start_radius` at
/// least.
float search_radius(TriMesh const& mesh, OpenMesh::VertexHandle centre, float start_radius);

/// A triangle with the centre of its fan as the corner before `a`.
struct FanTriangle
{
    OpenMesh::VertexHandle a;
    OpenMesh::VertexHandle b;
    Vector3f normal; ///< Of unit length.
};

/// Closes the gaps between the faces around a border vertex, the centre, with a fan of triangles to
/// other border vertices nearby: those that it can see past the edges of the mesh, connected in the
/// plane of the surface in the manner of Delaunay. Vertices don't move.
///
/// `plan` only reads the mesh, `add_fan` adds what was planned: together they do what testing and
/// adding one triangle after the other would. A plan holds as long as the mesh around its
/// neighbourhood stays as it was. Each thread needs an object of its own.
class DelaunayFan
{
public:
    /// \param tree over all vertices of the mesh, unsorted
    DelaunayFan(TriMesh const& mesh, KdTree3f const& tree, FanSettings const& settings)
        : mesh_(mesh), tree_(tree), settings_(settings)
    {
    }

    /// Works out the triangles around a vertex: those that pass all tests against the mesh as it
    /// is. There are none around a vertex that is not on the border.
    void plan(OpenMesh::VertexHandle centre, std::vector<FanTriangle>& triangles);

private:
    /// A border vertex that the centre can see. Its rank is its place in the order of angles.
    struct Visible
    {
        int member;
        float angle;
    };

    /// Where a gap between faces begins, or ends, going round the centre against the clock.
    struct GapMark
    {
        int rank;
        bool begins;
    };

    void gather(float radius);
    void add_member(OpenMesh::VertexHandle vertex);
    Vector2f to_local(Vector3f const& point) const;
    void delaundy_mesh(std::vector<FanTriangle>& triangles);
    void find_visible();
    void hide_behind_edges_of(int member);
    void hide_behind(Vector2f const& a, Vector2f const& b, int a_place, int b_place);
    void rank_by_angle();
    bool mark_gaps();
    void mark_whole_circle();
    int rank_of(OpenMesh::VertexHandle vertex) const;
    void fill_gap(int from, int to);
    void pop_hidden_tops(int k);
    void test_triangles(std::vector<FanTriangle>& triangles) const;
    bool has_fitting_shape(int rank_a, int rank_b, Vector3f& normal) const;
    bool agrees_with_normals(FanTriangle const& triangle) const;

    Vector2f const& local(int rank) const
    {
        return local_[static_cast<std::size_t>(visible_[static_cast<std::size_t>(rank)].member)];
    }
    float angle(int rank) const { return visible_[static_cast<std::size_t>(rank)].angle; }
    OpenMesh::VertexHandle vertex(int rank) const
    {
        return OpenMesh::VertexHandle(
            members_.key(visible_[static_cast<std::size_t>(rank)].member));
    }

    TriMesh const& mesh_;
    KdTree3f const& tree_;
    FanSettings settings_;

    // What follows belongs to the centre in work; the memory is used again.
    OpenMesh::VertexHandle centre_;
    Eigen::Matrix3f lrf_ = Eigen::Matrix3f::Identity();
    std::vector<int> hits_;
    std::vector<float> square_distances_;
    std::vector<Vector3f> points_;
    KeyNumbers members_;                     // The vertices around the centre.
    std::vector<Vector2f> local_;            // Positions of members in the plane of the surface.
    std::vector<int> place_;                 // Of members among those on the border, else -1.
    std::vector<int> border_, inner_;        // Members.
    std::vector<float> border_x_, border_y_; // Positions once more, by place.
    std::vector<std::int32_t> is_hidden_;    // By place.
    std::vector<Visible> visible_;
    std::vector<int> ranks_; // Of members, -1 if they are not visible.
    std::vector<GapMark> marks_;
    std::vector<int> stack_; // Ranks.
    CancelPoll poll_;
};

/// Adds the triangles of a fan to the mesh, in their order, as far as they agree with each other
/// and the mesh can take them.
/// \param elements gives new edges and faces
/// \param refused called with each triangle that the mesh could not take
template <typename Elements, typename Refused>
void add_fan(TriMesh& mesh, OpenMesh::VertexHandle centre,
             std::vector<FanTriangle> const& triangles, float cos_normal_angle, Elements& elements,
             Refused const& refused)
{
    std::vector<OpenMesh::FaceHandle> added;
    for (auto const& triangle : triangles)
    {
        // The plan has asked the faces that were there; those of this fan are new around it.
        bool const agrees =
            std::all_of(added.begin(), added.end(),
                        [&](OpenMesh::FaceHandle face)
                        { return face_agrees(mesh, face, triangle.normal, cos_normal_angle); });
        if (!agrees)
        {
            continue;
        }
        auto const face = add_face_checked(mesh, centre, triangle.a, triangle.b, elements);
        if (face.is_valid())
        {
            added.push_back(face);
        }
        else
        {
            refused(triangle);
        }
    }
}

} // namespace OrvaneAlgorithm::detail
