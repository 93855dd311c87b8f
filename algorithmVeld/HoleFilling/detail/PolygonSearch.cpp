#include "algorithmVeld/HoleFilling/detail/PolygonSearch.h"

#include "algorithmVeld/HoleFilling/detail/SplitTables.h"
#include "algorithmVeld/HoleFilling/detail/TriangleGeometry.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>

namespace OrvaneAlgorithm::detail
{
namespace
{

constexpr float straight_angle = 3.132866F;  // 179.5 degrees
constexpr float needle_angle = 0.017453292F; // 1 degree
constexpr double angle_tolerance = 1e-5;     // angles nearer than this count as equal, in degrees

/// Whether an angle of the triangle is too small or too large.
bool is_needle(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    // Sines and cosines of the angles decide all but the close calls. The limits leave room for
    // the rounding of both ways to compute.
    Vector3f const ab = b - a;
    Vector3f const ac = c - a;
    Vector3f const bc = c - b;
    float const ab2 = ab.squaredNorm();
    float const ac2 = ac.squaredNorm();
    float const bc2 = bc.squaredNorm();
    // The smallest sine is twice the area over the two longest sides.
    float const two_longest = std::max({ab2 * ac2, ab2 * bc2, ac2 * bc2});
    if (two_longest > 1e-25F && two_longest < 1e30F)
    {
        float const sine2 = ab.cross(ac).squaredNorm();
        float const obtuse_a = std::min(ab.dot(ac), 0.0F);
        float const obtuse_b = std::max(ab.dot(bc), 0.0F);
        // A measured angle of more than 168.5 degrees reads as pi.
        bool const no_obtuse = obtuse_a * obtuse_a < 0.958F * (ab2 * ac2) &&
                               obtuse_b * obtuse_b < 0.958F * (ab2 * bc2);
        if (no_obtuse && sine2 > 3.2e-4F * two_longest) // 1.025 degrees
        {
            return false;
        }
        if (sine2 < 2.9e-4F * two_longest) // 0.976 degrees
        {
            return true;
        }
    }
    auto const angles = corner_angles(a, b, c);
    return angles.max() > straight_angle || angles.min() < needle_angle;
}

/// Largest angle between a triangle and its neighbours, in radians.
float largest_angle(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj,
                    NeighbourNormals const& neighbours)
{
    Vector3f const normal = (pi - pj).cross(pm - pj).normalized();
    Vector3f const unit = normal.normalized();
    float largest = 0.0F;
    for (std::size_t k = 0; k < neighbours.count; ++k)
    {
        float const angle = angle_between_units(unit, neighbours.units[k]);
        if (angle > largest)
        {
            largest = angle;
        }
    }
    return largest;
}

/// The greatest float below a positive one; -1 below zero.
float just_below(float x)
{
    if (!(x > 0.0F))
    {
        return -1.0F;
    }
    std::uint32_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    --bits;
    std::memcpy(&x, &bits, sizeof bits);
    return x;
}

/// The search for the best split of one sub-polygon i..j.
///
/// The choice is defined by a scan in ascending order: a split replaces the best one if its angle
/// is smaller, or if it is equal up to `angle_tolerance` and its area is smaller. The scan is not
/// carried out: most splits cannot win, because their parts are worse already.
///
/// First the split of smallest angle is found, of those the one of smallest area, of those the
/// first. When the scan comes to it, it takes it, whatever was best till then; so what lies before
/// it does not matter. Behind it only a smaller area with an angle within the tolerance can win.
/// Where such an angle was seen, the scan is carried out from there on.
class PairSearch
{
public:
    PairSearch(PolygonRim const& rim, TriangulationRule const& rule, SplitTables const& tables,
               std::size_t i, std::size_t j)
        : rim_(rim),
          rule_(rule),
          tables_(tables),
          i_(i),
          j_(j),
          count_((j - i - 2) / tables.stride() + 1),
          pi_(rim.points[i]),
          pj_(rim.points[j]),
          row_angle_(tables.row_angle(i)),
          row_area_(tables.row_area(i))
    {
        std::size_t const column = tables.at(i + 1, j);
        column_angle_ = tables.column_angle(column);
        column_area_ = tables.column_area(column);
        edge_exists_ = rim.edge_exist[i * rim.points.size() + j];
    }

    void run()
    {
        look_at_promising();
        look_at_all();
        if (runner_up_ < best_.angle + near_)
        {
            scan_behind_best();
        }
    }

    SplitCost const& cost() const { return best_; }
    std::size_t split() const { return corner(best_k_); }

private:
    /// Twice the tolerance: a margin for rounding.
    static constexpr float near_ = 2e-5F;
    static constexpr std::size_t block_ = 16;

    std::size_t corner(std::size_t k) const { return i_ + 1 + k * tables_.stride(); }
    float angle_bound(std::size_t k) const { return std::max(row_angle_[k], column_angle_[k]); }
    /// Rounding is monotone, so no area added in front makes the sum smaller.
    float area_bound(std::size_t k) const { return row_area_[k] + column_area_[k]; }

    /// A good split early on lets most others be skipped: the one that was best without corner j.
    void look_at_promising()
    {
        if (count_ > 1)
        {
            auto const m = static_cast<std::size_t>(tables_.split(i_, j_ - 1));
            look_at((m - i_ - 1) / tables_.stride());
        }
    }

    void look_at_all()
    {
        for (std::size_t begin = 0; begin < count_; begin += block_)
        {
            std::size_t const end = std::min(begin + block_, count_);
            int const open = count_open(begin, end);
            if (open > 3)
            {
                look_at_smaller(begin, end);
            }
            else if (open > 0)
            {
                look_at_open(begin, end);
            }
        }
    }

    void look_at_open(std::size_t begin, std::size_t end)
    {
        for (std::size_t k = begin; k < end; ++k)
        {
            if (count_open(k, k + 1) > 0)
            {
                look_at(k);
            }
        }
    }

    /// The same where many splits are open: their areas are computed side by side first.
    void look_at_smaller(std::size_t begin, std::size_t end)
    {
        float areas[block_];
        compute_areas(begin, end, areas);
        for (std::size_t k = begin; k < end; ++k)
        {
            bool const is_open = angle_bound(k) < best_.angle || areas[k - begin] <= area_limit(k);
            if (is_open && count_open(k, k + 1) > 0)
            {
                look_at(k);
            }
        }
    }

    /// Number of splits that could be better than the best, or as good and before it.
    int count_open(std::size_t begin, std::size_t end) const
    {
        float const angle = best_.angle;
        float const near = angle + near_;
        float const area = area_limit(begin);
        int open = 0;
        for (std::size_t k = begin; k < end; ++k)
        {
            float const a = row_angle_[k];
            float const b = column_angle_[k];
            int const is_near = static_cast<int>(a <= near) & static_cast<int>(b <= near);
            int const is_less = static_cast<int>(a < angle) & static_cast<int>(b < angle);
            int const is_small = static_cast<int>(row_area_[k] + column_area_[k] <= area);
            open += is_near & (is_less | is_small);
        }
        return open;
    }

    /// Largest area with which split k, or one after it, is still of interest.
    float area_limit(std::size_t k) const { return k > best_k_ ? area_below_ : best_.area; }

    /// Areas of splits without penalties.
    void compute_areas(std::size_t begin, std::size_t end, float* areas) const
    {
        auto const [xs, ys, zs] = tables_.coordinates(i_ + 1);
        float const ji = (pi_ - pj_).norm();
        for (std::size_t k = begin; k < end; ++k)
        {
            float const im = length(xs[k] - pi_.x(), ys[k] - pi_.y(), zs[k] - pi_.z());
            float const mj = length(pj_.x() - xs[k], pj_.y() - ys[k], pj_.z() - zs[k]);
            areas[k - begin] = triangle_area(im, mj, ji) + row_area_[k] + column_area_[k];
        }
    }

    /// As the norm of a vector is computed.
    static float length(float x, float y, float z) { return std::sqrt(x * x + (y * y + z * z)); }

    /// Compares a split with the best by angle, area and place, and computes no more of it than
    /// that takes.
    void look_at(std::size_t k)
    {
        float const bound = angle_bound(k);
        if (bound > best_.angle)
        {
            note_runner_up(bound);
            return;
        }
        if (k == best_k_ || (bound == best_.angle && !may_be_smaller(k)) || is_too_steep(k))
        {
            return;
        }
        SplitCost const cost = cost_of(k);
        if (cost.angle > best_.angle)
        {
            note_runner_up(cost.angle);
        }
        else if (cost.angle < best_.angle || cost.area < best_.area ||
                 (cost.area == best_.area && k < best_k_))
        {
            take(k, cost);
        }
    }

    void note_runner_up(float angle) { runner_up_ = std::min(runner_up_, angle); }

    void take(std::size_t k, SplitCost const& cost)
    {
        if (cost.angle < best_.angle)
        {
            note_runner_up(best_.angle);
            limit_cosine(cost.angle);
        }
        best_ = cost;
        best_k_ = k;
        area_below_ = just_below(cost.area);
    }

    /// Whether the split's area, without penalties, leaves it a chance among equal angles.
    bool may_be_smaller(std::size_t k) const
    {
        Vector3f const& pm = rim_.points[corner(k)];
        float const area = triangle_area(pi_, pm, pj_) + row_area_[k] + column_area_[k];
        return area < best_.area || (area == best_.area && k < best_k_);
    }

    /// Sets the cosine below which an angle is surely larger than the best. The margins are wide
    /// enough for the rounding of all that goes into the angle.
    void limit_cosine(float angle)
    {
        double const degrees = angle - (edge_exists_ ? 360.0 : 0.0) + 1e-3;
        bool const usable = degrees < 179.0 && !rule_.flat_weight;
        cosine_limit_ =
            usable ? std::cos(static_cast<float>(degrees * 0.017453292519943295)) - 4e-5F : -2.0F;
    }

    /// Whether the triangle surely has a larger angle than the best split.
    bool is_too_steep(std::size_t k) const
    {
        std::size_t const m = corner(k);
        int const existing = existing_edges(m);
        if (existing > (edge_exists_ ? 1 : 0))
        {
            return best_.angle < 359.0F * static_cast<float>(existing);
        }
        if (cosine_limit_ < -1.0F)
        {
            return false;
        }
        Vector3f const normal = (pi_ - pj_).cross(rim_.points[m] - pj_);
        float const square = normal.squaredNorm();
        if (!(square > 1e-30F && square < 1e30F))
        {
            return false;
        }
        float const limit = cosine_limit_ * std::sqrt(square);
        return normal.dot(tables_.normal(i_, m)) < limit ||
               normal.dot(tables_.normal(m, j_)) < limit;
    }

    int existing_edges(std::size_t m) const
    {
        return (edge_exists_ ? 1 : 0) + (rim_.edge_exist[m * rim_.points.size() + j_] ? 1 : 0);
    }

    /// Cost of the sub-polygon with this split.
    SplitCost cost_of(std::size_t k) const
    {
        std::size_t const m = corner(k);
        NeighbourNormals neighbours;
        neighbours.add_unit(tables_.normal(i_, m));
        neighbours.add_unit(tables_.normal(m, j_));
        if (i_ == 0 && j_ + 1 == rim_.points.size())
        {
            neighbours.add(rim_.normals[j_]);
        }
        SplitCost cost =
            triangle_cost(pi_, rim_.points[m], pj_, neighbours, existing_edges(m), rule_);
        cost.angle = std::max(angle_bound(k), cost.angle);
        cost.area = cost.area + row_area_[k] + column_area_[k];
        return cost;
    }

    /// The scan behind the best split, where angles within the tolerance may win by their area.
    void scan_behind_best()
    {
        float const least = best_.angle;
        for (std::size_t k = best_k_ + 1; k < count_; ++k)
        {
            float const bound = angle_bound(k);
            bool const may_be_less = best_.angle > least && bound < best_.angle;
            if (!may_be_less && !may_tie(k, bound))
            {
                continue;
            }
            SplitCost const cost = cost_of(k);
            if (cost.angle < best_.angle ||
                (std::fabs(cost.angle - best_.angle) < angle_tolerance && cost.area < best_.area))
            {
                best_ = cost;
                best_k_ = k;
            }
        }
    }

    bool may_tie(std::size_t k, float bound) const
    {
        return bound - best_.angle < angle_tolerance && area_bound(k) < best_.area;
    }

    PolygonRim const& rim_;
    TriangulationRule const& rule_;
    SplitTables const& tables_;
    std::size_t i_;
    std::size_t j_;
    std::size_t count_;
    Vector3f pi_;
    Vector3f pj_;
    float const* row_angle_;
    float const* row_area_;
    float const* column_angle_;
    float const* column_area_;
    bool edge_exists_;

    static constexpr float none_ = std::numeric_limits<float>::infinity();
    SplitCost best_{none_, none_};
    std::size_t best_k_ = std::numeric_limits<std::size_t>::max();
    float area_below_ = none_;
    float runner_up_ = none_;
    float cosine_limit_ = -2.0F;
};

/// Unit normal of a triangle as its neighbours see it: what is compared is normalised once more.
Vector3f neighbour_unit(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj)
{
    Vector3f const normal = reversed_normal(pj, pm, pi);
    return normal.normalized();
}

/// The sides of the polygon cost nothing; their neighbours are the faces beyond them.
void set_sides(PolygonRim const& rim, SplitTables& tables)
{
    for (std::size_t i = 0; i + 1 < tables.size(); ++i)
    {
        tables.set(i, i + 1, {}, -1, rim.normals[i].normalized());
    }
}

/// Solves the sub-polygons i..j of a tile. What they build on lies in it, left of it or below it.
void solve_tile(PolygonRim const& rim, TriangulationRule const& rule, SplitTables& tables,
                std::size_t first_i, std::size_t first_j, std::size_t side)
{
    std::size_t const end_j = std::min(first_j + side, tables.size());
    for (std::size_t j = std::max<std::size_t>(first_j, 2); j < end_j; ++j)
    {
        for (std::size_t i = std::min(first_i + side, j - 1); i-- > first_i;)
        {
            PairSearch search(rim, rule, tables, i, j);
            search.run();
            std::size_t const m = search.split();
            tables.set(i, j, search.cost(), static_cast<int>(m),
                       neighbour_unit(rim.points[i], rim.points[m], rim.points[j]));
        }
    }
}

/// Solves all sub-polygons in columns of tiles, each from the diagonal up. A tile needs the one
/// below it and the one left of it, so a thread works on a column close behind the one that has
/// the column before, and waits for nothing else. Nothing throws in the parallel region.
void solve(PolygonRim const& rim, TriangulationRule const& rule, SplitTables& tables, int threads)
{
    std::size_t const side = std::clamp<std::size_t>(tables.size() / 24, 8, 64);
    auto const columns = static_cast<std::ptrdiff_t>((tables.size() + side - 1) / side);
    std::atomic<std::ptrdiff_t> next_column{0};
    std::vector<std::atomic<std::ptrdiff_t>> first_done(static_cast<std::size_t>(columns));
    for (std::ptrdiff_t j = 0; j < columns; ++j)
    {
        first_done[static_cast<std::size_t>(j)] = j + 1;
    }
    bool const is_large = tables.size() >= 96;
#pragma omp parallel num_threads(threads) if (threads > 1 && is_large)
    for (auto j = static_cast<std::size_t>(next_column++); j < first_done.size();
         j = static_cast<std::size_t>(next_column++))
    {
        for (auto i = static_cast<std::ptrdiff_t>(j); i >= 0; --i)
        {
            while (j > 0 && first_done[j - 1].load(std::memory_order_acquire) > i)
            {
                std::this_thread::yield();
            }
            solve_tile(rim, rule, tables, static_cast<std::size_t>(i) * side, j * side, side);
            first_done[j].store(i, std::memory_order_release);
        }
    }
}

} // namespace

SplitCost triangle_cost(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj,
                        NeighbourNormals const& neighbours, int existing_edges,
                        TriangulationRule const& rule)
{
    float area = triangle_area(pi, pm, pj);
    if (is_needle(pi, pm, pj))
    {
        area += rule.bad_triangle_area;
    }
    float angle = largest_angle(pi, pm, pj, neighbours);
    if (rule.flat_weight && angle < straight_angle)
    {
        angle = 0.0F;
    }
    for (int k = 0; k < existing_edges; ++k)
    {
        angle += 6.2831855F;
    }
    angle = static_cast<float>(angle * 180.0 / 3.141592653589793);
    if (angle > fold_angle)
    {
        area += rule.bad_triangle_area;
    }
    return {angle, area};
}

PolygonFill best_polygon_fill(PolygonRim const& rim, TriangulationRule const& rule, int threads)
{
    PolygonFill fill;
    std::size_t const n = rim.points.size();
    if (n < 3)
    {
        return fill;
    }
    auto const samples = static_cast<std::size_t>(std::max(rule.sample_num, 1));
    SplitTables tables(rim.points, n / samples + 1);
    set_sides(rim, tables);
    solve(rim, rule, tables, threads);
    fill.cost = tables.cost(0, n - 1);
    fill.triangles.reserve(n - 2);
    visit_triangles(
        0, n - 1, [&](std::size_t i, std::size_t j) { return tables.split(i, j); },
        [&](std::size_t i, std::size_t m, std::size_t j) {
            fill.triangles.push_back(
                {static_cast<int>(i), static_cast<int>(m), static_cast<int>(j)});
        });
    return fill;
}

} // namespace OrvaneAlgorithm::detail
