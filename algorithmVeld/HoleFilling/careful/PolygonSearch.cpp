#include "algorithmVeld/HoleFilling/careful/PolygonSearch.h"

#include "algorithmVeld/HoleFilling/careful/SplitTables.h"
#include "algorithmVeld/common/geometry/TriangleGeometry.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <omp.h>

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
        bool const is_straight = obtuse_a * obtuse_a > 0.963F * (ab2 * ac2) ||
                                 obtuse_b * obtuse_b > 0.963F * (ab2 * bc2);
        if (is_straight || sine2 < 2.9e-4F * two_longest) // 0.976 degrees
        {
            return true;
        }
    }
    auto const angles = corner_angles(a, b, c);
    return angles.max() > straight_angle || angles.min() < needle_angle;
}

/// Largest angle between a triangle and its neighbours with what existing edges add, in degrees.
float triangle_angle(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj,
                     NeighbourNormals const& neighbours, int existing_edges,
                     TriangulationRule const& rule)
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
    if (rule.flat_weight && largest < straight_angle)
    {
        largest = 0.0F;
    }
    for (int k = 0; k < existing_edges; ++k)
    {
        largest += 6.2831855F;
    }
    return static_cast<float>(largest * 180.0 / 3.141592653589793);
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

/// Lengths from the corners of a tile to those between them, for splits whose areas are computed
/// side by side. They are computed when they are asked for, and then serve the whole tile.
class TileLengths
{
public:
    TileLengths(std::vector<Vector3f> const& points, SplitTables const& tables, std::size_t side)
        : points_(&points),
          tables_(&tables),
          row_size_(tables.size() / tables.stride() + 1),
          rows_(side * row_size_),
          row_corner_(side, none_),
          column_(tables.size()),
          column_corner_(tables.stride(), none_)
    {
    }

    /// Goes to the tile of the rows from `first_i` on and the columns before `end_j`.
    void enter(std::size_t first_i, std::size_t end_j)
    {
        first_i_ = first_i;
        end_j_ = end_j;
        std::fill(row_corner_.begin(), row_corner_.end(), none_);
        std::fill(column_corner_.begin(), column_corner_.end(), none_);
    }

    /// Lengths from corner i to the corners i + 1, i + 1 + stride, ..
    float const* row(std::size_t i)
    {
        float* const row = &rows_[(i - first_i_) * row_size_];
        if (row_corner_[i - first_i_] != i)
        {
            row_corner_[i - first_i_] = i;
            measure(i, i + 1, end_j_, row);
        }
        return row;
    }

    /// Lengths from corner j to the corners m, m + stride, ..
    float const* column(std::size_t j, std::size_t m)
    {
        std::size_t const stride = tables_->stride();
        std::size_t const first = first_i_ + 1 + (m - first_i_ - 1) % stride;
        if (column_corner_[m % stride] != j)
        {
            column_corner_[m % stride] = j;
            measure(j, first, j, &column_[tables_->place(first)]);
        }
        return &column_[tables_->place(m)];
    }

private:
    static constexpr std::size_t none_ = std::numeric_limits<std::size_t>::max();

    /// Lengths from a corner to the corners first, first + stride, .. before end.
    void measure(std::size_t corner, std::size_t first, std::size_t end, float* lengths) const
    {
        Vector3f const p = (*points_)[corner];
        auto const [xs, ys, zs] = tables_->coordinates(first);
        std::size_t const count = (end - first + tables_->stride() - 1) / tables_->stride();
        for (std::size_t k = 0; k < count; ++k)
        {
            float const x = xs[k] - p.x();
            float const y = ys[k] - p.y();
            float const z = zs[k] - p.z();
            lengths[k] = std::sqrt(x * x + (y * y + z * z)); // as the norm of a vector is computed
        }
    }

    std::vector<Vector3f> const* points_;
    SplitTables const* tables_;
    std::size_t row_size_;
    std::size_t first_i_ = 0;
    std::size_t end_j_ = 0;
    std::vector<float> rows_;
    std::vector<std::size_t> row_corner_; ///< Whose lengths a row has.
    std::vector<float> column_;
    std::vector<std::size_t> column_corner_; ///< The same for each remainder.
};

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
        if (count_ < block_)
        {
            look_at_open(0, count_);
            return;
        }
        for (std::size_t begin = 0; begin + block_ < count_; begin += block_)
        {
            look_at_block(begin);
        }
        look_at_block(count_ - block_);
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
            look_at_open(begin, begin + block_);
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
        float areas[block_];
        if (!compute_areas(begin, areas))
        {
            return;
        }
        for (std::size_t k = begin; k < begin + block_; ++k)
        {
            float const area = areas[k - begin];
            float const bound = angle_bound(k);
            if (bound < best_.angle ||
                (bound <= best_.angle + near_ && with_parts(area, k) <= area_limit(k)))
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
        for (std::size_t k = begin; k < begin + block_; ++k)
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
        float const near = best_.angle + near_;
        int const is_near = static_cast<int>(a <= near) & static_cast<int>(b <= near);
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
        for (std::size_t k = 0; k < block_; ++k)
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
            if (angle > fold_angle)
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

    /// Sets the cosine below which an angle is surely larger than the best. The margins are wide
    /// enough for the rounding of all that goes into the angle.
    void limit_cosine(float angle)
    {
        double const degrees = angle - (edge_exists_ ? 360.0 : 0.0) + 1e-3;
        bool const usable = degrees < 179.0 && !rule_.flat_weight;
        cosine_limit_ =
            usable ? std::cos(static_cast<float>(degrees * 0.017453292519943295)) - 4e-5F : -2.0F;
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
            return best_.angle < 359.0F * static_cast<float>(existing) ? Steepness::TOO_STEEP
                                                                       : Steepness::CLOSE_CALL;
        }
        Vector3f const normal = (pi_ - pj_).cross(rim_.points[m] - pj_);
        float const square = normal.squaredNorm();
        if (!(square > 1e-30F && square < 1e30F))
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
        return is_inner && cosine > cosine_above(bound) * length ? Steepness::BELOW_BOUND
                                                                 : Steepness::CLOSE_CALL;
    }

    /// A face may be without a normal, or have one that is too short to be made a unit.
    static bool is_unit(Vector3f const& u)
    {
        return std::fabs(u.squaredNorm() - 1.0F) < 2e-6F; // 6e-7 is what rounding makes of a unit
    }

    /// A cosine above which an angle is surely smaller than one in degrees, and no fold. The power
    /// series up to a positive term is never smaller than the cosine.
    static float cosine_above(float degrees)
    {
        float const angle = std::min(degrees, 180.0F) * 0.017453292F;
        float const x = angle * angle;
        float const series =
            1.0F - x * (1.0F / 2 - x * (1.0F / 24 - x * (1.0F / 720 - x * (1.0F / 40320))));
        return std::max(series, -0.97F) + 4e-5F;
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
        if (angle > fold_angle)
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

// Wider registers hold more splits. Each number is rounded as before, so the choice is the same.
#if defined(__x86_64__) && defined(__GLIBC__) && defined(__GNUC__) && !defined(__clang__) &&       \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VELD_WIDE_REGISTERS __attribute__((target_clones("avx2", "default")))
#else
#define VELD_WIDE_REGISTERS
#endif

/// Solves the sub-polygons i..j of a tile. What they build on lies in it, left of it or below it.
VELD_WIDE_REGISTERS void solve_tile(PolygonRim const& rim, TriangulationRule const& rule,
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

/// Solves all sub-polygons in columns of tiles, each from the diagonal up. A tile needs the one
/// below it and the one left of it, so a thread works on a column close behind the one that has
/// the column before, and waits for nothing else.
class TileSolver
{
public:
    TileSolver(PolygonRim const& rim, TriangulationRule const& rule, SplitTables& tables,
               int threads)
        : rim_(rim),
          rule_(rule),
          tables_(tables),
          side_(std::clamp<std::size_t>(tables.size() / 24, 8, 64)),
          first_done_((tables.size() + side_ - 1) / side_),
          lengths_(static_cast<std::size_t>(threads), TileLengths(rim.points, tables, side_))
    {
        for (std::size_t j = 0; j < first_done_.size(); ++j)
        {
            first_done_[j] = static_cast<std::ptrdiff_t>(j) + 1;
        }
    }

    void run()
    {
        int const threads = static_cast<int>(lengths_.size());
        Progress progress(first_done_.size() * (first_done_.size() + 1) / 2);
        ExceptionCarrier carrier;
#pragma omp parallel num_threads(threads) if (threads > 1)
        {
            WorkerProgress worker(progress, 1);
            carrier.run([&] { help(worker); });
        }
        carrier.rethrow();
    }

private:
    /// What each thread does. Those that wait for the tiles of one that threw go home.
    void help(WorkerProgress& worker)
    {
        try
        {
            for (auto j = next_column_++; j < first_done_.size(); j = next_column_++)
            {
                solve_column(j, worker);
            }
        }
        catch (...)
        {
            stopped_ = true;
            throw;
        }
    }

    void solve_column(std::size_t j, WorkerProgress& worker)
    {
        auto& lengths = lengths_[static_cast<std::size_t>(omp_get_thread_num())];
        for (auto i = static_cast<std::ptrdiff_t>(j); i >= 0; --i)
        {
            while (j > 0 && first_done_[j - 1].load(std::memory_order_acquire) > i)
            {
                if (stopped_)
                {
                    return;
                }
                std::this_thread::yield();
            }
            solve_tile(rim_, rule_, tables_, lengths, static_cast<std::size_t>(i) * side_,
                       j * side_, side_);
            first_done_[j].store(i, std::memory_order_release);
            worker.next();
        }
    }

    PolygonRim const& rim_;
    TriangulationRule const& rule_;
    SplitTables& tables_;
    std::size_t side_;
    std::atomic<std::size_t> next_column_{0};
    std::vector<std::atomic<std::ptrdiff_t>> first_done_; ///< by column, the lowest row of tiles
    std::vector<TileLengths> lengths_;                    ///< of each thread
    std::atomic<bool> stopped_{false};
};

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
    float const angle = triangle_angle(pi, pm, pj, neighbours, existing_edges, rule);
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
    TileSolver(rim, rule, tables, n >= 96 ? std::max(threads, 1) : 1).run();
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
