#include "workflow/clouds/NormalOrientation.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>

namespace veld
{

namespace
{

namespace detail = OrvaneAlgorithm::detail;
using OrvaneAlgorithm::Vector3d;

/// Sets of points whose normals are turned together; each point knows whether it is to be turned
/// when the lowest number of its set is not.
class TurnedSets
{
public:
    explicit TurnedSets(std::size_t n) : parents_(n), turned_(n, 0)
    {
        for (std::size_t i = 0; i < n; ++i)
        {
            parents_[i] = static_cast<int>(i);
        }
    }

    /// The lowest number of a point's set.
    int root(int i)
    {
        int top = i;
        char turned = 0;
        for (; parent(top) != top; top = parent(top))
        {
            turned ^= is_turned(top);
        }
        for (int next = i; i != top; i = next)
        {
            next = parent(i);
            parent(i) = top;
            turned = static_cast<char>(turned ^ std::exchange(is_turned(i), turned));
        }
        return top;
    }

    /// Whether a point is turned against the root of its set.
    bool is_against_root(int i) { return root(i) != i && is_turned(i) != 0; }

    void join(int a, int b, bool are_opposite)
    {
        int const top_a = root(a);
        int const top_b = root(b);
        if (top_a == top_b)
        {
            return;
        }
        bool const against = is_against_root(a) != is_against_root(b);
        parent(std::max(top_a, top_b)) = std::min(top_a, top_b);
        is_turned(std::max(top_a, top_b)) = against != are_opposite ? 1 : 0;
    }

private:
    int& parent(int i) { return parents_[static_cast<std::size_t>(i)]; }
    char& is_turned(int i) { return turned_[static_cast<std::size_t>(i)]; }

    std::vector<int> parents_;
    std::vector<char> turned_; ///< against the parent
};

struct Way
{
    float doubt; ///< 0 where the normals tell all of each other
    int a;
    int b;
};

bool is_surer(Way const& v, Way const& w)
{
    return std::tie(v.doubt, v.a, v.b) < std::tie(w.doubt, w.a, w.b);
}

constexpr float NO_WAY = 2.0F;

/// What is left of the dot product of two normals in the plane across the way between the points.
double agreement(std::vector<Vector3f> const& points, PlaneFits const& fits, int a, int b)
{
    auto const i = static_cast<std::size_t>(a);
    auto const j = static_cast<std::size_t>(b);
    Vector3d const way = (points[j].cast<double>() - points[i].cast<double>()).normalized();
    Vector3d const n = fits.normals[i].cast<double>();
    Vector3d const m = fits.normals[j].cast<double>();
    return n.dot(m) - n.dot(way) * m.dot(way);
}

/// The ways between neighbours, each once.
std::vector<Way> ways_of(std::vector<Vector3f> const& points, PlaneFits const& fits)
{
    constexpr double LEAST_AGREEMENT = 0.1;
    constexpr std::size_t N = std::tuple_size<SomeNeighbours>::value;
    auto const names = [&](int a, int b)
    {
        auto const& neighbours = fits.neighbours[static_cast<std::size_t>(a)];
        return std::find(neighbours.begin(), neighbours.end(), b) != neighbours.end();
    };
    std::vector<Way> ways(N * points.size(), Way{NO_WAY, 0, 0});
    detail::parallel_for_short(
        points.size(),
        [&](std::size_t i)
        {
            auto const a = static_cast<int>(i);
            for (std::size_t k = 0; k < N; ++k)
            {
                int const b = fits.neighbours[i][k];
                if (b < 0 || fits.fits[static_cast<std::size_t>(b)] != PlaneFit::DONE ||
                    (b < a && names(b, a)))
                {
                    continue;
                }
                double const agrees =
                    std::abs(agreement(points, fits, std::min(a, b), std::max(a, b)));
                ways[N * i + k] = {agrees < LEAST_AGREEMENT ? NO_WAY
                                                            : static_cast<float>(1.0 - agrees),
                                   std::min(a, b), std::max(a, b)};
            }
        });
    ways.erase(std::remove_if(ways.begin(), ways.end(),
                              [](Way const& way) { return way.doubt == NO_WAY; }),
               ways.end());
    return ways;
}

/// Joins points along the surest ways first, some at a time: most of the others lead within a set
/// by then, and never have to be sorted.
void join_along(std::vector<Way>& ways, std::vector<Vector3f> const& points, PlaneFits const& fits,
                TurnedSets& sets)
{
    constexpr std::size_t FEW = 4096;
    constexpr std::size_t PART = 8;
    detail::Progress progress(ways.size());
    while (!ways.empty())
    {
        std::size_t const before = ways.size();
        auto const surest = ways.begin() + static_cast<std::ptrdiff_t>(
                                               std::min(before, std::max(FEW, before / PART)));
        if (surest != ways.end())
        {
            std::nth_element(ways.begin(), surest, ways.end(), is_surer);
        }
        std::sort(ways.begin(), surest, is_surer);
        detail::CancelPoll poll;
        std::for_each(ways.begin(), surest,
                      [&](Way const& way)
                      {
                          poll.next();
                          sets.join(way.a, way.b, agreement(points, fits, way.a, way.b) < 0.0);
                      });
        ways.erase(std::remove_if(ways.begin(), ways.end(),
                                  [&](Way const& way)
                                  {
                                      poll.next();
                                      return sets.root(way.a) == sets.root(way.b);
                                  }),
                   ways.end());
        progress.advance(before - ways.size());
    }
    progress.finish();
}

/// The axes in the order in which they are asked.
Vector3d axis_of(std::size_t k)
{
    return (k < 3 ? 1.0 : -1.0) * Vector3d::Unit(static_cast<Eigen::Index>(2 - k % 3));
}

constexpr std::size_t AXES = 6;
using Extremes = std::array<int, AXES>;

/// Whether a piece has to be turned so that it looks outwards where it ends.
bool looks_inwards(Extremes const& extremes, PlaneFits const& fits, TurnedSets& sets)
{
    constexpr double NEAR_AXIS = 0.5;
    double nearest = 0.0;
    for (std::size_t k = 0; k < AXES; ++k)
    {
        int const i = extremes[k];
        double const along =
            (sets.is_against_root(i) ? -1.0 : 1.0) *
            fits.normals[static_cast<std::size_t>(i)].cast<double>().dot(axis_of(k));
        if (std::abs(along) > std::abs(nearest))
        {
            nearest = along;
        }
        if (std::abs(along) >= NEAR_AXIS)
        {
            break;
        }
    }
    return nearest < 0.0;
}

/// For each set, by the number of its root, the points that lie farthest along the axes; of equal
/// ones the first.
std::vector<Extremes> extremes_of(std::vector<Vector3f> const& points,
                                  std::vector<int> const& pieces, std::size_t n_pieces)
{
    Extremes none;
    none.fill(-1);
    std::vector<Extremes> extremes(n_pieces, none);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        for (std::size_t k = 0; pieces[i] >= 0 && k < AXES; ++k)
        {
            int& extreme = extremes[static_cast<std::size_t>(pieces[i])][k];
            auto const reach = [&](std::size_t p)
            { return points[p].cast<double>().dot(axis_of(k)); };
            if (extreme < 0 || reach(i) > reach(static_cast<std::size_t>(extreme)))
            {
                extreme = static_cast<int>(i);
            }
        }
    }
    return extremes;
}

/// Turns each set outwards.
/// \return how many sets there are
std::size_t turn_outwards(std::vector<Vector3f> const& points, TurnedSets& sets, PlaneFits& fits)
{
    std::vector<int> pieces(points.size(), -1);
    int n_pieces = 0;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        if (fits.fits[i] == PlaneFit::DONE)
        {
            // A root is the lowest number of its set, and comes first.
            auto const root = static_cast<std::size_t>(sets.root(static_cast<int>(i)));
            pieces[i] = root == i ? n_pieces++ : pieces[root];
        }
    }
    auto const extremes = extremes_of(points, pieces, static_cast<std::size_t>(n_pieces));
    std::vector<char> inwards;
    inwards.reserve(extremes.size());
    for (auto const& piece : extremes)
    {
        inwards.push_back(looks_inwards(piece, fits, sets) ? 1 : 0);
    }
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        if (pieces[i] >= 0 && sets.is_against_root(static_cast<int>(i)) !=
                                  (inwards[static_cast<std::size_t>(pieces[i])] != 0))
        {
            fits.normals[i] = -fits.normals[i];
        }
    }
    return extremes.size();
}

} // namespace

std::size_t orient_by_neighbours(std::vector<Vector3f> const& points, PlaneFits& fits)
{
    detail::Stages stages({1, 4, 1});
    stages.next();
    auto ways = ways_of(points, fits);
    stages.next();
    TurnedSets sets(points.size());
    join_along(ways, points, fits, sets);
    stages.next();
    return turn_outwards(points, sets, fits);
}

} // namespace veld
