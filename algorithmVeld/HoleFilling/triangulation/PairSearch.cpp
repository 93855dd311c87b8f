#include "algorithmVeld/HoleFilling/triangulation/PairSearch.h"

#include "algorithmVeld/HoleFilling/triangulation/CosineLimits.h"
#include "algorithmVeld/common/geometry/TriangleGeometry.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace OrvaneAlgorithm::detail
{
namespace
{

/// Angles nearer than this count as equal, in degrees.
constexpr double ANGLE_TOLERANCE = 1e-5;

/// An angle that is not less than another plus this one is not equal to it by the tolerance. The
/// sum is off by at most 4e-6 below 128 degrees; above, floats lie 1.5e-5 apart, so that no two
/// count as equal.
constexpr float NEARBY = 2e-5F;

/// Less than an existing edge adds: 360 degrees, of which rounding takes less than 1e-3.
constexpr float EXISTING_EDGE = 359.0F;

/// Squared length of a normal whose cosines can be relied on. The squares that underflow are less
/// than 1e-38, 1e-8 of the sum, and so less than its rounding; none overflows.
constexpr float SHORTEST_NORMAL = 1e-30F;
constexpr float LONGEST_NORMAL = 1e30F;

/// Cost while no split was taken.
constexpr float NONE_YET = std::numeric_limits<float>::infinity();

/// Number of splits that are looked at side by side.
constexpr std::size_t BLOCK = 16;

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
/// is smaller, or if it is equal up to `ANGLE_TOLERANCE` and its area is smaller. The scan is not
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
               TileLengths& lengths, std::size_t i, std::size_t j)
        : rim_(rim),
          rule_(rule),
          tables_(tables),
          lengths_(lengths),
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
        closes_polygon_ = i == 0 && j + 1 == rim.points.size();
    }

    void run()
    {
        look_at_promising();
        look_at_all();
        if (runner_up_ < best_.angle + NEARBY)
        {
            scan_behind_best();
        }
    }

    SplitCost const& cost() const { return best_; }
    std::size_t split() const { return corner(best_k_); }

private:
    std::size_t corner(std::size_t k) const { return i_ + 1 + k * tables_.stride(); }
    float angle_bound(std::size_t k) const { return std::max(row_angle_[k], column_angle_[k]); }
    /// Rounding is monotone, so no area added in front makes the sum smaller.
    float area_bound(std::size_t k) const { return row_area_[k] + column_area_[k]; }

    /// A good split early on lets most others be skipped: one that was best with a corner less.
    void look_at_promising()
    {
        if (count_ > 1)
        {
            look_at_split(tables_.split(i_, j_ - 1));
            look_at_split(tables_.split(i_ + tables_.stride(), j_));
        }
    }

    void look_at_split(int m)
    {
        look_at((static_cast<std::size_t>(m) - i_ - 1) / tables_.stride());
    }

    /// The last block reaches back into the one before it: a split that is looked at twice loses
    /// twice.
    void look_at_all()
    {
        if (count_ < BLOCK)
        {
            look_at_open(0, count_);
            return;
        }
        for (std::size_t begin = 0; begin + BLOCK < count_; begin += BLOCK)
        {
            look_at_block(begin);
        }
        look_at_block(count_ - BLOCK);
    }

    void look_at_block(std::size_t begin)
    {
        int const open = count_open(begin);
        if (open > 3)
        {
            look_at_smaller(begin);
        }
        else if (open > 0)
        {
            look_at_open(begin, begin + BLOCK);
        }
    }

    void look_at_open(std::size_t begin, std::size_t end)
    {
        for (std::size_t k = begin; k < end; ++k)
        {
            if (is_open(k, area_limit(k)))
            {
                look_at(k);
            }
        }
    }

    /// The same where many splits are open: the areas of their triangles are computed side by side
    /// first.
    void look_at_smaller(std::size_t begin)
    {
        float areas[BLOCK];
        if (!compute_areas(begin, areas))
        {
            return;
        }
        for (std::size_t k = begin; k < begin + BLOCK; ++k)
        {
            float const area = areas[k - begin];
            float const bound = angle_bound(k);
            if (bound < best_.angle ||
                (bound <= best_.angle + NEARBY && with_parts(area, k) <= area_limit(k)))
            {
                look_at(k, bound, area);
            }
        }
    }

    /// Number of splits of a block that could be better than the best, or as good and before it.
    int count_open(std::size_t begin) const
    {
        float const limit = area_limit(begin);
        int open = 0;
        for (std::size_t k = begin; k < begin + BLOCK; ++k)
        {
            open += static_cast<int>(is_open(k, limit));
        }
        return open;
    }

    /// Without branches, so that it can be asked for several splits side by side.
    bool is_open(std::size_t k, float limit) const
    {
        float const a = row_angle_[k];
        float const b = column_angle_[k];
        float const limit_angle = best_.angle + NEARBY;
        int const is_near = static_cast<int>(a <= limit_angle) & static_cast<int>(b <= limit_angle);
        int const is_less = static_cast<int>(a < best_.angle) & static_cast<int>(b < best_.angle);
        int const is_small = static_cast<int>(area_bound(k) <= limit);
        return (is_near & (is_less | is_small)) != 0;
    }

    /// Largest area with which split k, or one after it, is still of interest.
    float area_limit(std::size_t k) const { return k > best_k_ ? area_below_ : best_.area; }

    /// Areas of the triangles of a block's splits, without penalties.
    /// \return whether one of the splits may win
    bool compute_areas(std::size_t begin, float* areas)
    {
        float const* const im = lengths_.row(i_) + begin;
        float const* const mj = lengths_.column(j_, i_ + 1) + begin;
        float const ji = (pi_ - pj_).norm();
        float const limit = area_limit(begin);
        int open = 0;
        for (std::size_t k = 0; k < BLOCK; ++k)
        {
            areas[k] = triangle_area(im[k], mj[k], ji);
            int const is_less = static_cast<int>(row_angle_[begin + k] < best_.angle) &
                                static_cast<int>(column_angle_[begin + k] < best_.angle);
            open += is_less | static_cast<int>(with_parts(areas[k], begin + k) <= limit);
        }
        return open > 0;
    }

    /// Compares a split with the best by angle, area and place, and computes no more of it than
    /// that takes.
    void look_at(std::size_t k)
    {
        look_at(k, angle_bound(k), triangle_area(pi_, rim_.points[corner(k)], pj_));
    }

    /// \param area of the triangle, without penalties
    void look_at(std::size_t k, float bound, float area)
    {
        if (bound > best_.angle)
        {
            note_runner_up(bound);
        }
        else if (k != best_k_ && (bound < best_.angle || precedes(with_parts(area, k), k)))
        {
            look_closer(k, bound, with_needle(area, k));
        }
    }

    /// \param area of the triangle, without the penalty of a fold
    void look_closer(std::size_t k, float bound, float area)
    {
        SplitCost cost{bound, with_parts(area, k)};
        if (bound == best_.angle && !precedes(cost.area, k))
        {
            return;
        }
        Steepness const steepness = steepness_of(k, bound);
        if (steepness == Steepness::TOO_STEEP)
        {
            return;
        }
        if (steepness == Steepness::CLOSE_CALL)
        {
            float const angle = own_angle(k);
            cost.angle = std::max(bound, angle);
            if (angle > FOLD_ANGLE)
            {
                cost.area = with_parts(area + rule_.bad_triangle_area, k);
            }
        }
        if (cost.angle > best_.angle)
        {
            note_runner_up(cost.angle);
        }
        else if (cost.angle < best_.angle || precedes(cost.area, k))
        {
            take(k, cost);
        }
    }

    /// Whether a split of the best angle is better than the best.
    bool precedes(float area, std::size_t k) const
    {
        return area < best_.area || (area == best_.area && k < best_k_);
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

    /// Area of a split from that of its triangle.
    float with_parts(float area, std::size_t k) const
    {
        return area + row_area_[k] + column_area_[k];
    }

    float with_needle(float area, std::size_t k) const
    {
        return is_needle(pi_, rim_.points[corner(k)], pj_) ? area + rule_.bad_triangle_area : area;
    }

    /// With flat weights only folds count, and cosines do not tell them.
    void limit_cosine(float angle)
    {
        cosine_limit_ =
            rule_.flat_weight ? NO_COSINE : steeper_cosine(angle - (edge_exists_ ? 360.0 : 0.0));
    }

    /// What the cosines tell of the angles at the split's triangle.
    enum class Steepness
    {
        TOO_STEEP,   ///< One is surely larger than the best split's.
        BELOW_BOUND, ///< All are surely smaller than those of the split's parts.
        CLOSE_CALL   ///< They have to be computed.
    };

    Steepness steepness_of(std::size_t k, float bound) const
    {
        std::size_t const m = corner(k);
        int const existing = existing_edges(m);
        if (existing > (edge_exists_ ? 1 : 0))
        {
            return best_.angle < EXISTING_EDGE * static_cast<float>(existing)
                       ? Steepness::TOO_STEEP
                       : Steepness::CLOSE_CALL;
        }
        Vector3f const normal = (pi_ - pj_).cross(rim_.points[m] - pj_);
        float const square = normal.squaredNorm();
        if (!(square > SHORTEST_NORMAL && square < LONGEST_NORMAL))
        {
            return Steepness::CLOSE_CALL;
        }
        Vector3f const& left = tables_.normal(i_, m);
        Vector3f const& right = tables_.normal(m, j_);
        if (!is_unit(left) || !is_unit(right))
        {
            return Steepness::CLOSE_CALL;
        }
        float const length = std::sqrt(square);
        float const cosine = std::min(normal.dot(left), normal.dot(right));
        if (cosine < cosine_limit_ * length)
        {
            return Steepness::TOO_STEEP;
        }
        bool const is_inner = existing == 0 && !closes_polygon_;
        return is_inner && cosine > gentler_cosine(bound) * length ? Steepness::BELOW_BOUND
                                                                   : Steepness::CLOSE_CALL;
    }

    int existing_edges(std::size_t m) const
    {
        return (edge_exists_ ? 1 : 0) + (rim_.edge_exist[m * rim_.points.size() + j_] ? 1 : 0);
    }

    /// Angle of the split's triangle.
    float own_angle(std::size_t k) const
    {
        std::size_t const m = corner(k);
        NeighbourNormals neighbours;
        neighbours.add_unit(tables_.normal(i_, m));
        neighbours.add_unit(tables_.normal(m, j_));
        if (closes_polygon_)
        {
            neighbours.add(rim_.normals[j_]);
        }
        return triangle_angle(pi_, rim_.points[m], pj_, neighbours, existing_edges(m), rule_);
    }

    /// Cost of the sub-polygon with this split.
    SplitCost cost_of(std::size_t k) const
    {
        float const angle = own_angle(k);
        float area = with_needle(triangle_area(pi_, rim_.points[corner(k)], pj_), k);
        if (angle > FOLD_ANGLE)
        {
            area += rule_.bad_triangle_area;
        }
        return {std::max(angle_bound(k), angle), with_parts(area, k)};
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
                (std::fabs(cost.angle - best_.angle) < ANGLE_TOLERANCE && cost.area < best_.area))
            {
                best_ = cost;
                best_k_ = k;
            }
        }
    }

    bool may_tie(std::size_t k, float bound) const
    {
        return bound - best_.angle < ANGLE_TOLERANCE && area_bound(k) < best_.area;
    }

    PolygonRim const& rim_;
    TriangulationRule const& rule_;
    SplitTables const& tables_;
    TileLengths& lengths_;
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
    bool closes_polygon_;

    SplitCost best_{NONE_YET, NONE_YET};
    std::size_t best_k_ = std::numeric_limits<std::size_t>::max();
    float area_below_ = NONE_YET;
    float runner_up_ = NONE_YET;
    float cosine_limit_ = NO_COSINE;
};

/// Unit normal of a triangle as its neighbours see it: what is compared is normalised once more.
Vector3f neighbour_unit(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj)
{
    Vector3f const normal = reversed_normal(pj, pm, pi);
    return normal.normalized();
}

// Wider registers hold more splits. Each number is rounded as before, so the choice is the same.
#if defined(__x86_64__) && defined(__GLIBC__) && defined(__GNUC__) && !defined(__clang__) &&       \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VELD_WIDE_REGISTERS __attribute__((target_clones("avx2", "default")))
#else
#define VELD_WIDE_REGISTERS
#endif

VELD_WIDE_REGISTERS void solve(PolygonRim const& rim, TriangulationRule const& rule,
                               SplitTables& tables, TileLengths& lengths, std::size_t first_i,
                               std::size_t first_j, std::size_t side)
{
    std::size_t const end_j = std::min(first_j + side, tables.size());
    lengths.enter(first_i, end_j);
    for (std::size_t j = std::max<std::size_t>(first_j, 2); j < end_j; ++j)
    {
        for (std::size_t i = std::min(first_i + side, j - 1); i-- > first_i;)
        {
            PairSearch search(rim, rule, tables, lengths, i, j);
            search.run();
            std::size_t const m = search.split();
            tables.set(i, j, search.cost(), static_cast<int>(m),
                       neighbour_unit(rim.points[i], rim.points[m], rim.points[j]));
        }
    }
}

} // namespace

void solve_tile(PolygonRim const& rim, TriangulationRule const& rule, SplitTables& tables,
                TileLengths& lengths, std::size_t first_i, std::size_t first_j, std::size_t side)
{
    solve(rim, rule, tables, lengths, first_i, first_j, side);
}

} // namespace OrvaneAlgorithm::detail
