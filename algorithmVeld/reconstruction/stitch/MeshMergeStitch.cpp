#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "algorithmVeld/common/mesh/ElementOrder.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/OrderedWork.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "algorithmVeld/reconstruction/stitch/DelaunayFan.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

/// \file
/// Stitching of borders, a stage of `MeshMerge`.

namespace OrvaneAlgorithm
{

namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

/// The axis of the largest extent. Of equal ones y goes before x, and both before z.
Eigen::Index longest_axis(Vector3f const& extent)
{
    Eigen::Index axis = extent.x() > extent.y() ? 0 : 1;
    return extent.z() > extent[axis] ? 2 : axis;
}

/// Replaces the numbers by lower ones where there would be more slabs than vertices, as with an
/// outlier far off. Their order stays, and so does which ones are even: empty slabs do nothing.
void close_up(std::vector<int>& numbers)
{
    auto const largest = std::max_element(numbers.begin(), numbers.end());
    if (largest == numbers.end() || static_cast<std::size_t>(*largest) < numbers.size())
    {
        return;
    }
    std::map<int, int> lower;
    for (int const number : numbers)
    {
        lower.emplace(number, 0);
    }
    int next = 0;
    for (auto& [number, replacement] : lower)
    {
        replacement = next + (next % 2 == number % 2 ? 0 : 1);
        next = replacement + 1;
    }
    for (int& number : numbers)
    {
        number = lower[number];
    }
}

/// The vertices in the order in which they are stitched: those of the even slabs, then those of the
/// odd ones. Those that no search can find are left out.
std::vector<VertexHandle> order_of_work(TriMesh const& mesh,
                                        std::vector<std::vector<VertexHandle>> const& slabs)
{
    std::vector<VertexHandle> centres;
    for (std::size_t pass = 0; pass < 2; ++pass)
    {
        for (std::size_t slab = pass; slab < slabs.size(); slab += 2)
        {
            std::copy_if(slabs[slab].begin(), slabs[slab].end(), std::back_inserter(centres),
                         [&](VertexHandle vertex) { return mesh.point(vertex).allFinite(); });
        }
    }
    return centres;
}

/// Unused edges and faces at the end of the mesh, which threads take in blocks. So the mesh's
/// arrays don't move while threads read and link it.
class ElementStore
{
public:
    /// Edges and faces side by side, for one thread.
    struct Block
    {
        HalfedgeHandle edge(VertexHandle from, VertexHandle to)
        {
            HalfedgeHandle const h(2 * (first_edge + edges++));
            mesh->set_vertex_handle(h, to);
            mesh->set_vertex_handle(mesh->opposite_halfedge_handle(h), from);
            return h;
        }
        FaceHandle face() { return FaceHandle(first_face + faces++); }

        TriMesh* mesh = nullptr;
        int first_edge = 0;
        int first_face = 0;
        int edges = 0; ///< How many are used.
        int faces = 0;
    };

    explicit ElementStore(TriMesh& mesh)
        : mesh_(mesh), next_edge_(mesh.n_edges()), next_face_(mesh.n_faces())
    {
    }

    /// Makes room for at least so many triangles. No thread may look at the mesh meanwhile.
    void enlarge(std::size_t triangles)
    {
        // Growing in one step by what is wanted, not to twice the size.
        mesh_.reserve_more(0, 3 * triangles, triangles);
        mesh_.resize(mesh_.n_vertices(), mesh_.n_edges() + 3 * triangles,
                     mesh_.n_faces() + triangles);
    }

    /// Takes what so many triangles can need. \return nothing if there is not so much left
    std::optional<Block> take(std::size_t triangles)
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        if (next_face_ + triangles > mesh_.n_faces() ||
            next_edge_ + 3 * triangles > mesh_.n_edges())
        {
            return std::nullopt;
        }
        Block const block{&mesh_, static_cast<int>(next_edge_), static_cast<int>(next_face_)};
        next_edge_ += 3 * triangles;
        next_face_ += triangles;
        return block;
    }

private:
    TriMesh& mesh_;
    std::mutex mutex_;
    std::size_t next_edge_;
    std::size_t next_face_;
};

/// Stitches around border vertices, those in parallel whose neighbourhoods are apart. In the end
/// the new faces and edges get the numbers that they would have got one after the other.
class Stitch
{
public:
    Stitch(TriMesh& mesh, std::vector<VertexHandle> centres, detail::FanSettings const& settings)
        : mesh_(mesh),
          centres_(std::move(centres)),
          settings_(settings),
          store_(mesh),
          n_edges_(mesh.n_edges()),
          n_faces_(mesh.n_faces())
    {
        tree_.set_sorted(false);
        // Not in the region below, where the number of threads of the next level would count.
        workers_ =
            std::vector<Worker>(static_cast<std::size_t>(omp_get_max_threads()),
                                Worker{detail::DelaunayFan(mesh_, tree_, settings_), {}, {}, 0});
        // The tree takes one thread, and as long as all the rest.
        detail::parallel_for_uneven(2, [this](std::ptrdiff_t i) { i == 0 ? plant() : prepare(); });
    }

    void run()
    {
        while (!work_->run([this](int turn) { return stitch(turn); }))
        {
            store_.enlarge(centres_.size() + largest_fan());
        }
        std::vector<detail::AddedFaces> added;
        for (auto const& worker : workers_)
        {
            added.insert(added.end(), worker.added.begin(), worker.added.end());
        }
        detail::order_by_turns(mesh_, n_edges_, n_faces_, std::move(added));
    }

private:
    /// What a thread has for itself.
    struct Worker
    {
        detail::DelaunayFan fan;
        std::vector<detail::FanTriangle> triangles;
        std::vector<detail::AddedFaces> added;
        std::size_t largest_fan = 0;
    };

    void plant()
    {
        tree_.build_kdtree(
            std::vector<Vector3f>(mesh_.points(), mesh_.points() + mesh_.n_vertices()));
    }

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
        store_.enlarge(centres_.size());
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
        detail::add_fan(mesh_, centre, worker.triangles, settings_.cos_normal_angle, *block,
                        [](detail::FanTriangle const&) {});
        worker.added.push_back(
            {turn, block->first_face, block->faces, block->first_edge, block->edges});
        return true;
    }

    TriMesh& mesh_;
    std::vector<VertexHandle> centres_;
    detail::FanSettings settings_;
    KdTree3f tree_;
    ElementStore store_;
    std::size_t n_edges_; // Before the stitch.
    std::size_t n_faces_;
    std::optional<detail::OrderedWork> work_;
    std::vector<Worker> workers_;
};

} // namespace

void MeshMerge::border_stitch(TriMesh& mesh, float radius)
{
    detail::log("border_stitch() ..\n");
    std::vector<std::vector<VertexHandle>> slabs;
    divide_mesh(mesh, slabs);

    detail::FanSettings settings;
    settings.start_radius = 2.0F * radius;
    settings.largest_radius = static_cast<double>(static_cast<float>(neighbour_factor) * radius);
    settings.longest_edge = neighbour_factor * point_spacing;
    settings.cos_normal_angle = detail::cosine_of_degrees(static_cast<double>(normal_angle_thr));
    if (settings.largest_radius > 0.0)
    {
        Stitch(mesh, order_of_work(mesh, slabs), settings).run();
    }
}

void MeshMerge::divide_mesh(TriMesh& mesh, std::vector<std::vector<VertexHandle>>& slabs)
{
    detail::log("divide_mesh() ..\n");
    auto numbers = slab_numbers(mesh);
    close_up(numbers);
    slabs.clear();
    if (numbers.empty())
    {
        return;
    }
    slabs.resize(static_cast<std::size_t>(*std::max_element(numbers.begin(), numbers.end())) + 1);
    for (auto const vertex : mesh.vertices())
    {
        if (mesh.is_boundary(vertex))
        {
            auto const number = numbers[static_cast<std::size_t>(vertex.idx())];
            slabs[static_cast<std::size_t>(number)].push_back(vertex);
        }
    }
}

/// The slab of each vertex along the longest side of the mesh's box. One for which the division
/// gives no number that counts slabs is in the first.
std::vector<int> MeshMerge::slab_numbers(TriMesh const& mesh) const
{
    Vector3f min;
    Vector3f max;
    mesh.get_boundBox(min, max);
    auto const axis = longest_axis(max - min);
    auto const width = static_cast<float>(
        static_cast<double>(static_cast<float>(neighbour_factor) * 5.0F) * point_spacing);

    std::vector<int> numbers(mesh.n_vertices());
    detail::parallel_for_even(
        static_cast<std::ptrdiff_t>(numbers.size()),
        [&](std::ptrdiff_t i)
        {
            constexpr double too_many = 2147483647.0;
            float const slab =
                (mesh.point(VertexHandle(static_cast<int>(i)))[axis] - min[axis]) / width;
            bool const counts = slab >= 0.0F && static_cast<double>(slab) < too_many;
            numbers[static_cast<std::size_t>(i)] = counts ? static_cast<int>(slab) : 0;
        });
    return numbers;
}

} // namespace OrvaneAlgorithm
