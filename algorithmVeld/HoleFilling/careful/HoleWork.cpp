#include "algorithmVeld/HoleFilling/careful/HoleWork.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <omp.h>

#include <algorithm>
#include <numeric>

namespace OrvaneAlgorithm::detail
{
namespace
{

using Loops = std::vector<std::vector<OpenMesh::HalfedgeHandle>>;

/// The small ones fill the gaps that the large ones leave.
std::vector<std::size_t> large_first(Loops const& loops)
{
    constexpr std::size_t LARGE = 256;
    std::vector<std::size_t> order(loops.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_partition(order.begin(), order.end(),
                          [&](std::size_t i) { return loops[i].size() >= LARGE; });
    return order;
}

/// Time grows faster than the number of edges, in some stages.
std::size_t effort(std::vector<OpenMesh::HalfedgeHandle> const& loop)
{
    return loop.size() * loop.size();
}

} // namespace

void for_each_hole(Loops const& loops, HoleStage const& stage)
{
    poll_cancel();
    if (loops.size() == 1)
    {
        stage(0, nullptr);
        return;
    }
    auto const order = large_first(loops);
    Progress progress(std::accumulate(loops.begin(), loops.end(), std::size_t{0},
                                      [](std::size_t sum, auto const& loop)
                                      { return sum + effort(loop); }));
    HoleCrew crew(loops.size());
    ExceptionCarrier carrier;
    auto const work_on = [&](std::ptrdiff_t k)
    {
        poll_cancel();
        std::size_t const hole = order[static_cast<std::size_t>(k)];
        ProgressShare share(progress, effort(loops[hole]));
        HoleTurn const turn{crew, share};
        stage(hole, &turn);
        share.reach(1.0);
    };
    auto const n = static_cast<std::ptrdiff_t>(order.size());
#pragma omp parallel num_threads(omp_get_max_threads()) if (n > 1)
    {
        ContextScope const worker(progress.carried());
#pragma omp for schedule(dynamic, 1) nowait
        for (std::ptrdiff_t k = 0; k < n; ++k)
        {
            carrier.run_iteration(k, work_on);
            crew.finish_hole();
        }
        crew.help();
    }
    carrier.rethrow();
    progress.finish();
}

void reserve_for_fills(TriMesh& mesh, std::vector<HoleWork> const& works)
{
    std::size_t vertices = 0;
    std::size_t edges = 0;
    std::size_t faces = 0;
    for (auto const& work : works)
    {
        if (!work.open)
        {
            vertices += work.fill.points.size();
            edges += work.fill.edges;
            faces += work.fill.faces.size();
        }
    }
    mesh.reserve_more(vertices, edges, faces);
}

} // namespace OrvaneAlgorithm::detail
