#include "algorithmVeld/reconstruction/stitch/BorderStitch.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/mesh/ElementOrder.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/running/OrderedWork.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/stitch/ElementStore.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Stitches around border vertices, those in parallel whose neighbourhoods are apart. In the end
/// the new faces and edges get the numbers that they would have got one after the other. An
/// exception leaves the mesh with what has not got them: whoever merges empties it.
///
/// The life of such an element:
/// - `enlarge` makes the mesh longer by spare edges and faces, to which no link leads. Later the
///   arrays must not move, for threads read and link them.
/// - A thread that has planned a fan takes what the fan can need, side by side and for itself, and
///   links it in as triangles fit; what those that are refused would have needed stays spare.
///   Threads take as they come, so up to here an element's number is an accident.
/// - Each turn notes which elements are its own. A turn that finds too few left stops the work and
///   changes nothing; `enlarge` adds to them while no thread is at work, and the work goes on.
/// - At the end `order_by_turns` numbers the noted ones turn by turn, moves their links along, and
///   its `resize` cuts off what lies behind them. With that, all that is spare is gone.
class Stitch
{
public:
    Stitch(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> centres, FanSettings const& settings)
        : mesh_(mesh),
          centres_(std::move(centres)),
          settings_(settings),
          store_(mesh),
          n_edges_(mesh.n_edges()),
          n_faces_(mesh.n_faces())
    {
        tree_.set_sorted(false);
        // Not in the region below, where the number of threads of the next level would count.
        workers_ = std::vector<Worker>(static_cast<std::size_t>(omp_get_max_threads()),
                                       Worker{DelaunayFan(mesh_, tree_, settings_), {}, {}, 0});
        // This may move the points, which the tree reads.
        store_.enlarge(centres_.size());
        // The tree takes one thread, and as long as all the rest.
        parallel_for_uneven(2, [this](std::ptrdiff_t i) { i == 0 ? plant() : prepare(); });
    }

    void run()
    {
        poll_cancel();
        while (!work_->run([this](int turn) { return stitch(turn); }))
        {
            store_.enlarge(centres_.size() + largest_fan());
        }
        std::vector<AddedFaces> added;
        for (auto const& worker : workers_)
        {
            added.insert(added.end(), worker.added.begin(), worker.added.end());
        }
        order_by_turns(mesh_, n_edges_, n_faces_, std::move(added));
    }

private:
    /// What a thread has for itself.
    struct Worker
    {
        DelaunayFan fan;
        std::vector<FanTriangle> triangles;
        std::vector<AddedFaces> added;
        std::size_t largest_fan = 0;
    };

    void plant() { tree_.build_kdtree(points_of(mesh_)); }

    void prepare()
    {
        std::vector<Vector3f> positions;
        positions.reserve(centres_.size());
        for (auto const centre : centres_)
        {
            positions.push_back(mesh_.point(centre));
        }
        // Nobody is stitched whose search would reach further.
        work_.emplace(positions, settings_.largest_radius);
    }

    std::size_t largest_fan() const
    {
        std::size_t result = 0;
        for (auto const& worker : workers_)
        {
            result = std::max(result, worker.largest_fan);
        }
        return result;
    }

    /// \return false if there is no room for the triangles
    bool stitch(int turn)
    {
        auto const centre = centres_[static_cast<std::size_t>(turn)];
        auto& worker = workers_[static_cast<std::size_t>(omp_get_thread_num())];
        worker.fan.plan(centre, worker.triangles);
        if (worker.triangles.empty())
        {
            return true;
        }
        worker.largest_fan = std::max(worker.largest_fan, worker.triangles.size());
        auto block = store_.take(worker.triangles.size());
        if (!block)
        {
            return false;
        }
        add_fan(mesh_, centre, worker.triangles, settings_.cos_normal_angle, *block,
                [](FanTriangle const&) {});
        worker.added.push_back(
            {turn, block->first_face, block->faces, block->first_edge, block->edges});
        return true;
    }

    TriMesh& mesh_;
    std::vector<OpenMesh::VertexHandle> centres_;
    FanSettings settings_;
    KdTree3f tree_;
    ElementStore store_;
    std::size_t n_edges_; // Before the stitch.
    std::size_t n_faces_;
    std::optional<OrderedWork> work_;
    std::vector<Worker> workers_;
};

} // namespace

void stitch_borders(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> centres,
                    FanSettings const& settings)
{
    Stages stages({3, 7});
    stages.next();
    Stitch stitch(mesh, std::move(centres), settings);
    stages.next();
    stitch.run();
}

void stitch_borders_in_turn(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& centres,
                            FanSettings const& settings, RefusedTriangle const& refused)
{
    Stages stages({3, 7});
    stages.next();
    KdTree3f tree;
    tree.set_sorted(false);
    tree.build_kdtree(points_of(mesh));
    stages.next();
    DelaunayFan fan(mesh, tree, settings);
    AppendedElements elements(mesh);
    std::vector<FanTriangle> triangles;
    LoopProgress progress(centres.size());
    for (auto const centre : centres)
    {
        progress.next();
        fan.plan(centre, triangles);
        add_fan(mesh, centre, triangles, settings.cos_normal_angle, elements,
                [&](FanTriangle const& triangle) { refused(centre, triangle); });
    }
}

} // namespace OrvaneAlgorithm::detail
