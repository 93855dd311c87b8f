#include "algorithmVeld/HoleFilling/triangulation/PolygonSearch.h"

#include "algorithmVeld/HoleFilling/triangulation/PairSearch.h"
#include "algorithmVeld/HoleFilling/triangulation/SplitTables.h"
#include "algorithmVeld/HoleFilling/triangulation/TileLengths.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

namespace OrvaneAlgorithm::detail
{
namespace
{

/// The sides of the polygon cost nothing; their neighbours are the faces beyond them.
void set_sides(PolygonRim const& rim, SplitTables& tables)
{
    for (std::size_t i = 0; i + 1 < tables.size(); ++i)
    {
        tables.set(i, i + 1, {}, -1, rim.normals[i].normalized());
    }
}

/// Solves all sub-polygons in columns of tiles, each from the diagonal up. A tile needs the one
/// below it and the one left of it, so a thread works on a column close behind the one that has
/// the column before, and waits for nothing else.
class TileSolver
{
public:
    TileSolver(PolygonRim const& rim, TriangulationRule const& rule, SplitTables& tables)
        : rim_(rim),
          rule_(rule),
          tables_(tables),
          side_(std::clamp<std::size_t>(tables.size() / 24, 8, 64)),
          first_done_((tables.size() + side_ - 1) / side_)
    {
        for (std::size_t j = 0; j < first_done_.size(); ++j)
        {
            first_done_[j] = static_cast<std::ptrdiff_t>(j) + 1;
        }
    }

    /// \param threads number of threads, if they are not those of a crew
    void run(int threads, HoleTurn const* turn)
    {
        std::size_t const tiles = first_done_.size() * (first_done_.size() + 1) / 2;
        Progress progress(tiles);
        ExceptionCarrier carrier;
        auto const work = [&]
        {
            WorkerProgress worker(progress, 1);
            std::function<void()> const count = [&]
            {
                worker.next();
                if (turn != nullptr)
                {
                    turn->progress.reach(static_cast<double>(++done_) / static_cast<double>(tiles));
                }
            };
            carrier.run([&] { help(count); });
        };
        if (turn != nullptr)
        {
            turn->crew.share(work);
        }
        else
        {
#pragma omp parallel num_threads(threads) if (threads > 1)
            work();
        }
        carrier.rethrow();
    }

private:
    /// What each thread does. Those that wait for the tiles of one that threw go home.
    /// \param count is called behind each tile
    void help(std::function<void()> const& count)
    {
        try
        {
            std::optional<TileLengths> lengths;
            for (auto j = next_column_++; j < first_done_.size(); j = next_column_++)
            {
                if (!lengths)
                {
                    lengths.emplace(rim_.points, tables_, side_);
                }
                solve_column(j, *lengths, count);
            }
        }
        catch (...)
        {
            stopped_ = true;
            throw;
        }
    }

    void solve_column(std::size_t j, TileLengths& lengths, std::function<void()> const& count)
    {
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
            count();
        }
    }

    PolygonRim const& rim_;
    TriangulationRule const& rule_;
    SplitTables& tables_;
    std::size_t side_;
    std::atomic<std::size_t> next_column_{0};
    std::vector<std::atomic<std::ptrdiff_t>> first_done_; ///< by column, the lowest row of tiles
    std::atomic<std::size_t> done_{0};                    ///< tiles
    std::atomic<bool> stopped_{false};
};

} // namespace

PolygonFill best_polygon_fill(PolygonRim const& rim, TriangulationRule const& rule, int threads,
                              HoleTurn const* turn)
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
    bool const is_worth_helping = n >= 96;
    TileSolver(rim, rule, tables)
        .run(is_worth_helping ? std::max(threads, 1) : 1, is_worth_helping ? turn : nullptr);
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
