#include "algorithmVeld/reconstruction/stitch/DelaunayFan.h"

#include "algorithmVeld/common/geometry/LocalFrame.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/MeshScope.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr float TURN = 2.0F * PI_F;
constexpr double SMALLEST_DIVISOR = 1e-5;
constexpr double BEYOND_LONGEST_EDGE = 1e-5;

constexpr double NARROWEST_CORNER = radians(18.0);
constexpr double WIDEST_CORNER = radians(144.0);

/// The turn from one angle to another, against the clock.
float turn(float from, float to)
{
    float const d = to - from;
    return d < 0.0F ? d + TURN : d;
}

/// The order in which angles are walked. Those that are no numbers come last.
bool comes_before(float a, float b)
{
    return std::isnan(b) ? !std::isnan(a) : a < b;
}

} // namespace

// --------------------------------------------------------------------------- tests in the plane

SightScreen::SightScreen(Vector2f const& a, Vector2f const& b)
    : a_x_(a.x()), a_y_(a.y()), determinant_(b.x() * a.y() - a.x() * b.y())
{
    divides_by_x_ = static_cast<double>(std::abs(a.x())) > SMALLEST_DIVISOR;
    a_w_ = divides_by_x_ ? a.x() : a.y();
    b_w_ = divides_by_x_ ? b.x() : b.y();
    hides_nothing_ = static_cast<double>(std::abs(determinant_)) < SMALLEST_DIVISOR ||
                     !(static_cast<double>(std::abs(a_w_)) > SMALLEST_DIVISOR);
}

bool is_can_see_point(Vector2f const& a, Vector2f const& b, Vector2f const& c)
{
    SightScreen const screen(a, b);
    return screen.hides_nothing() ||
           !screen.hides(c.x(), c.y(), screen.divides_by_x() ? c.x() : c.y());
}

bool is_in_circle(Vector2f const& a, Vector2f const& b, Vector2f const& c, Vector2f const& d)
{
    Eigen::Matrix4d rows;
    int row = 0;
    for (auto const* p : {&a, &b, &c, &d})
    {
        // The squares are float: where points lie on one circle, that decides.
        float const square = p->x() * p->x() + p->y() * p->y();
        rows.row(row++) << 1.0, static_cast<double>(p->x()), static_cast<double>(p->y()),
            static_cast<double>(square);
    }
    return rows.determinant() <= 0.0;
}

float search_radius(TriMesh const& mesh, OpenMesh::VertexHandle centre, float start_radius)
{
    float radius = start_radius;
    for (auto it = mesh.cvoh_iter(centre); it.is_valid(); ++it)
    {
        if (mesh.is_boundary(mesh.edge_handle(*it)))
        {
            float const length = mesh.calc_edge_length(*it);
            if (length >= radius)
            {
                radius = static_cast<float>(static_cast<double>(length) + BEYOND_LONGEST_EDGE);
            }
        }
    }
    return radius;
}

// ---------------------------------------------------------------------------- the neighbourhood

void DelaunayFan::plan(OpenMesh::VertexHandle centre, std::vector<FanTriangle>& triangles)
{
    triangles.clear();
    if (!mesh_.is_boundary(centre))
    {
        return;
    }
    centre_ = centre;
    float const radius = search_radius(mesh_, centre, settings_.start_radius);
    if (static_cast<double>(radius) > settings_.largest_radius)
    {
        return;
    }
    gather(radius);
    if (border_.size() >= 2)
    {
        delaundy_mesh(triangles);
    }
}

/// Collects the vertices around the centre, and the frame of the surface there.
void DelaunayFan::gather(float radius)
{
    members_.clear();
    local_.clear();
    place_.clear();
    border_.clear();
    inner_.clear();
    border_x_.clear();
    border_y_.clear();
    tree_.radius_search(mesh_.point(centre_), radius, hits_, square_distances_, 0);
    if (hits_.size() < 3)
    {
        return;
    }
    points_.clear();
    for (int const hit : hits_)
    {
        points_.push_back(mesh_.point(OpenMesh::VertexHandle(hit)));
    }
    lrf_ = compute_lrf(points_, mesh_.normal(centre_));
    for (int const hit : hits_)
    {
        if (hit != centre_.idx() && !is_deleted(mesh_, OpenMesh::VertexHandle(hit)))
        {
            add_member(OpenMesh::VertexHandle(hit));
        }
    }
}

void DelaunayFan::add_member(OpenMesh::VertexHandle vertex)
{
    int const member = members_.add(vertex.idx()).first;
    local_.push_back(to_local(mesh_.point(vertex)));
    if (mesh_.is_boundary(vertex))
    {
        place_.push_back(static_cast<int>(border_.size()));
        border_.push_back(member);
        border_x_.push_back(local_.back().x());
        border_y_.push_back(local_.back().y());
    }
    else
    {
        place_.push_back(-1);
        inner_.push_back(member);
    }
}

Vector2f DelaunayFan::to_local(Vector3f const& point) const
{
    Vector3f const local = lrf_.transpose() * (point - mesh_.point(centre_));
    return local.head<2>();
}

// --------------------------------------------------------------------------------------- the fan

void DelaunayFan::delaundy_mesh(std::vector<FanTriangle>& triangles)
{
    find_visible();
    rank_by_angle();
    if (visible_.empty() || !mark_gaps())
    {
        return;
    }
    for (std::size_t m = 0; m + 1 < marks_.size(); m += 2)
    {
        fill_gap(marks_[m].rank, marks_[m + 1].rank);
        test_triangles(triangles);
    }
}

/// Edges between the vertices around hide what lies behind them.
void DelaunayFan::find_visible()
{
    is_hidden_.assign(border_.size(), 0);
    for (auto const* members : {&border_, &inner_})
    {
        for (int const member : *members)
        {
            poll_.next(); // A far reach makes one fan of a whole mesh.
            hide_behind_edges_of(member);
        }
    }
}

void DelaunayFan::hide_behind_edges_of(int member)
{
    OpenMesh::VertexHandle const vertex(members_.key(member));
    auto const& here = local_[static_cast<std::size_t>(member)];
    auto const first = mesh_.halfedge_handle(vertex);
    for (auto out = first; out.is_valid();)
    {
        auto const end = mesh_.to_vertex_handle(out);
        int const end_member = members_.find(end.idx());
        // An edge between two members is met twice.
        if (end != centre_ && (end_member < 0 || end.idx() < vertex.idx()))
        {
            bool const is_member = end_member >= 0;
            hide_behind(here,
                        is_member ? local_[static_cast<std::size_t>(end_member)]
                                  : to_local(mesh_.point(end)),
                        place_[static_cast<std::size_t>(member)],
                        is_member ? place_[static_cast<std::size_t>(end_member)] : -1);
        }
        out = mesh_.next_halfedge_handle(mesh_.opposite_halfedge_handle(out));
        if (out == first)
        {
            break;
        }
    }
}

/// Marks the border vertices behind the edge from a to b, but not its own ends.
void DelaunayFan::hide_behind(Vector2f const& a, Vector2f const& b, int a_place, int b_place)
{
    SightScreen const screen(a, b);
    if (screen.hides_nothing())
    {
        return;
    }
    auto const flag_at = [&](int place)
    { return place < 0 ? 0 : is_hidden_[static_cast<std::size_t>(place)]; };
    auto const a_before = flag_at(a_place);
    auto const b_before = flag_at(b_place);
    auto const* const x = border_x_.data();
    auto const* const y = border_y_.data();
    auto const* const w = screen.divides_by_x() ? x : y;
    auto* const flags = is_hidden_.data();
    for (std::size_t i = 0; i < is_hidden_.size(); ++i)
    {
        flags[i] |= static_cast<std::int32_t>(screen.hides(x[i], y[i], w[i]));
    }
    if (a_place >= 0)
    {
        flags[a_place] = a_before;
    }
    if (b_place >= 0)
    {
        flags[b_place] = b_before;
    }
}

void DelaunayFan::rank_by_angle()
{
    visible_.clear();
    for (std::size_t place = 0; place < border_.size(); ++place)
    {
        if (is_hidden_[place] == 0)
        {
            visible_.push_back({border_[place], std::atan2(border_y_[place], border_x_[place])});
        }
    }
    // Equal angles stay in the order in which the search gave the vertices.
    std::sort(visible_.begin(), visible_.end(),
              [](Visible const& a, Visible const& b)
              {
                  return comes_before(a.angle, b.angle) ||
                         (!comes_before(b.angle, a.angle) && a.member < b.member);
              });
    ranks_.assign(local_.size(), -1);
    for (std::size_t rank = 0; rank < visible_.size(); ++rank)
    {
        ranks_[static_cast<std::size_t>(visible_[rank].member)] = static_cast<int>(rank);
    }
}

int DelaunayFan::rank_of(OpenMesh::VertexHandle vertex) const
{
    int const member = members_.find(vertex.idx());
    return member < 0 ? -1 : ranks_[static_cast<std::size_t>(member)];
}

/// Finds the gaps between the faces at the centre. \return false if they cannot be told apart, as
/// where a neighbour on the border is not visible
bool DelaunayFan::mark_gaps()
{
    marks_.clear();
    if (mesh_.is_isolated(centre_))
    {
        mark_whole_circle();
        return true;
    }
    for (auto it = mesh_.cvoh_iter(centre_); it.is_valid(); ++it)
    {
        bool const begins = mesh_.is_boundary(*it);
        if (begins || mesh_.is_boundary(mesh_.opposite_halfedge_handle(*it)))
        {
            marks_.push_back({rank_of(mesh_.to_vertex_handle(*it)), begins});
        }
    }
    if (marks_.empty() || marks_.size() % 2 != 0)
    {
        return false;
    }
    std::sort(marks_.begin(), marks_.end(),
              [](GapMark const& a, GapMark const& b) { return a.rank < b.rank; });
    auto const cannot_follow = [](GapMark const& a, GapMark const& b)
    { return a.begins == b.begins || a.rank == b.rank; };
    if (marks_.front().rank < 0 ||
        std::adjacent_find(marks_.begin(), marks_.end(), cannot_follow) != marks_.end())
    {
        return false;
    }
    if (!marks_.front().begins)
    {
        std::rotate(marks_.begin(), marks_.begin() + 1, marks_.end());
    }
    return true;
}

/// One gap round a centre without faces, from the nearest vertex back to it.
void DelaunayFan::mark_whole_circle()
{
    auto const distance = [this](int rank)
    {
        auto const& p = local(rank);
        return std::sqrt(p.x() * p.x() + p.y() * p.y());
    };
    int nearest = 0;
    for (int rank = 1; rank < static_cast<int>(visible_.size()); ++rank)
    {
        if (distance(rank) < distance(nearest))
        {
            nearest = rank;
        }
    }
    marks_.push_back({nearest, true});
    marks_.push_back({nearest, false});
}

/// Puts the corners of the gap from one rank to another, against the clock, on the stack.
void DelaunayFan::fill_gap(int from, int to)
{
    int const n = static_cast<int>(visible_.size());
    stack_.assign(1, from);
    int k = from;
    do
    {
        k = (k + 1) % n;
        pop_hidden_tops(k);
        stack_.push_back(k);
    } while (k != to);
}

/// Takes off the corners whose triangle's circle would have the next corner in it.
void DelaunayFan::pop_hidden_tops(int k)
{
    if (!(static_cast<double>(turn(angle(stack_.back()), angle(k))) < PI))
    {
        return;
    }
    while (stack_.size() >= 2)
    {
        int const below = stack_[stack_.size() - 2];
        if (static_cast<double>(turn(angle(below), angle(k))) >= PI ||
            !is_in_circle(Vector2f::Zero(), local(below), local(stack_.back()), local(k)))
        {
            return;
        }
        stack_.pop_back();
    }
}

// ------------------------------------------------------------------------ tests of the triangles

/// Appends those triangles between neighbours on the stack that pass all tests. One that fails is
/// left out, and the next is tried.
void DelaunayFan::test_triangles(std::vector<FanTriangle>& triangles) const
{
    for (std::size_t q = 1; q < stack_.size(); ++q)
    {
        FanTriangle triangle{vertex(stack_[q - 1]), vertex(stack_[q]), Vector3f::Zero()};
        if (has_fitting_shape(stack_[q - 1], stack_[q], triangle.normal) &&
            agrees_with_normals(triangle))
        {
            triangles.push_back(triangle);
        }
    }
}

bool DelaunayFan::has_fitting_shape(int rank_a, int rank_b, Vector3f& normal) const
{
    auto corner = static_cast<double>(angle(rank_b) - angle(rank_a));
    if (corner < 0.0)
    {
        corner += 2.0 * PI;
    }
    if (!(NARROWEST_CORNER < corner && corner < WIDEST_CORNER))
    {
        return false;
    }
    auto const& a = mesh_.point(vertex(rank_a));
    auto const& b = mesh_.point(vertex(rank_b));
    if (static_cast<double>((a - b).norm()) > settings_.longest_edge)
    {
        return false;
    }
    Vector3f const e1 = a - mesh_.point(centre_);
    Vector3f const e2 = b - mesh_.point(centre_);
    normal = e1.cross(e2);
    if (is_sliver(e1, e2, normal))
    {
        return false;
    }
    normal.normalize();
    return true;
}

/// Compares with the normals of the corners first, which costs less than the faces around them.
bool DelaunayFan::agrees_with_normals(FanTriangle const& triangle) const
{
    for (auto const corner : {centre_, triangle.a, triangle.b})
    {
        if (!(triangle.normal.dot(mesh_.normal(corner)) >= 0.0F))
        {
            return false;
        }
    }
    for (auto const corner : {centre_, triangle.a, triangle.b})
    {
        if (!faces_agree(mesh_, corner, triangle.normal, settings_.cos_normal_angle))
        {
            return false;
        }
    }
    return true;
}

} // namespace OrvaneAlgorithm::detail
