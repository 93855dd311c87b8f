#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "tests/reconstruction/frames.h"
#include "tests/reconstruction/real_frames.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

struct Merged
{
    TriMesh mesh;
    std::vector<int> frames;
};

Merged merge(std::vector<RangeData> const& ranges, int threads)
{
    Threads const scope(threads);
    constexpr double SPACING = 0.6;
    MeshMerge merger;
    merger.set_point_spacing(SPACING);
    Merged result;
    EXPECT_EQ(merger.mesh_merge(pointers(ranges), SPACING, result.mesh, false, 30, 100,
                                5.0 * SPACING, result.frames),
              RET_SUCCESS);
    return result;
}

/// Every vertex is a point of its frame, and no two are the same point of one frame.
void expect_points_of_frames(Merged const& merged, std::vector<RangeData> const& ranges)
{
    std::vector<std::multiset<std::array<float, 3>>> points(ranges.size());
    for (std::size_t r = 0; r < ranges.size(); ++r)
    {
        for (std::size_t i = 0; i < ranges[r].get_vn(); ++i)
        {
            Vector3f p;
            ranges[r].get_global_vCoord(i, p);
            points[r].insert({{p.x(), p.y(), p.z()}});
        }
    }
    ASSERT_EQ(merged.frames.size(), merged.mesh.n_vertices());
    for (auto const v : merged.mesh.vertices())
    {
        auto const& p = merged.mesh.point(v);
        auto& left =
            points.at(static_cast<std::size_t>(merged.frames[static_cast<std::size_t>(v.idx())]));
        auto const found = left.find({{p.x(), p.y(), p.z()}});
        ASSERT_NE(found, left.end()) << v.idx();
        left.erase(found);
    }
}

using MergeRealData = RealData;

// With all layers, borders lie over other borders and surfaces everywhere.
TEST_F(MergeRealData, SameMeshForAnyNumberOfThreadsAndEveryVertexFromItsFrame)
{
    auto ranges = real_bunny_frames();
    ASSERT_EQ(ranges.size(), 10U);
    if (IS_SANITIZED)
    {
        ranges.resize(3);
    }
    std::vector<RangeData> single_layer;
    ASSERT_EQ(FrameOverlap().remove_overlap(pointers(ranges), single_layer), RET_SUCCESS);
    for (auto const* frames : {&ranges, &single_layer})
    {
        Merged const one = merge(*frames, 1);
        EXPECT_GT(one.mesh.n_faces(), 10000U);
        expect_points_of_frames(one, *frames);
        auto const print = fingerprint(one.mesh);
        for (int const threads : {2, 8})
        {
            Merged const many = merge(*frames, threads);
            EXPECT_EQ(many.frames, one.frames) << threads;
            EXPECT_TRUE(fingerprint(many.mesh) == print) << threads;
        }
    }
}

} // namespace
