#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "tests/reconstruction/reference_merge.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

class PlainMerge : public testing::TestWithParam<int>
{
protected:
    /// Merges with one, two and eight threads and plainly, and compares every link and bit.
    void compare(std::vector<RangeData> const& frames, reference::MergeSettings const& s)
    {
        TriMesh expected;
        std::vector<int> expected_frames;
        reference::mesh_merge(frames, s, expected, expected_frames);
        auto const print = fingerprint(expected);
        for (int const threads : {1, 2, 8})
        {
            Threads const scope(threads);
            MeshMerge merger;
            merger.set_point_spacing(s.point_spacing);
            merger.set_normal_angle_thr(s.normal_angle_thr);
            merger.set_neighbour_factor(s.neighbour_factor);
            merger.set_ear_edge_factor(s.ear_edge_factor);
            TriMesh mesh;
            std::vector<int> vertex_frames;
            ASSERT_EQ(merger.mesh_merge(pointers(frames), s.stitch_radius, mesh, false,
                                        s.max_hole_edges, s.min_component_size, s.long_edge_length,
                                        vertex_frames),
                      RET_SUCCESS);
            ASSERT_EQ(vertex_frames, expected_frames) << threads << " threads";
            ASSERT_EQ(fingerprint(mesh), print) << threads << " threads";
            ASSERT_TRUE(mesh.is_legal());
        }
        faces_between_frames_ = 0;
        for (auto const f : expected.faces())
        {
            auto v = f.vertices().begin();
            int const frame = expected_frames[static_cast<std::size_t>((*v).idx())];
            bool mixed = false;
            for (int i = 0; i < 2; ++i)
            {
                ++v;
                mixed = mixed || expected_frames[static_cast<std::size_t>((*v).idx())] != frame;
            }
            faces_between_frames_ += mixed ? 1 : 0;
        }
    }

    int faces_between_frames_ = 0;
};

// Frames of random size over and through each other: many slabs, and many borders within reach of
// each other.
TEST_P(PlainMerge, SameMeshAsOneStepAfterTheOther)
{
    auto const seed = static_cast<unsigned>(GetParam());
    reference::MergeSettings settings;
    settings.point_spacing = 0.1;
    settings.stitch_radius = seed % 3 == 0 ? 0.2 : 0.1;
    settings.neighbour_factor = 4 + GetParam() % 5;
    settings.normal_angle_thr = seed % 2 == 0 ? 30.0F : 70.0F;
    settings.long_edge_length = seed % 2 == 0 ? 0.5 : 0.16;
    compare(random_frames(seed, 4, IS_SANITIZED ? 20 : 40, 0.1F), settings);
    EXPECT_GT(faces_between_frames_, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PlainMerge, testing::Range(1, IS_SANITIZED ? 5 : 25));

// Searches reach over several slabs here, so that slabs of one pass are within each other's reach.
TEST_P(PlainMerge, SameMeshWhereASearchIsWiderThanASlab)
{
    reference::MergeSettings settings;
    settings.point_spacing = 0.02;
    settings.stitch_radius = 0.15;
    settings.long_edge_length = 0.3;
    compare(random_frames(100U + static_cast<unsigned>(GetParam()), 3, 20, 0.1F), settings);
}

// Slabs are cut along y where no side of the box is longer, and their width knows nothing of the
// longest ear. Both show in the order of the faces.
TEST_P(PlainMerge, SameMeshInABoxOfEqualSides)
{
    reference::MergeSettings settings;
    settings.point_spacing = 0.05;
    settings.stitch_radius = 0.1;
    settings.ear_edge_factor = 3.0;
    auto frames = random_frames(200U + static_cast<unsigned>(GetParam()), 3, 20, 0.1F);
    frames.push_back(flat_frame(1, 1, 1.0F, {-8, -8, -8}));
    frames.push_back(flat_frame(1, 1, 1.0F, {8, 8, 8}));
    compare(frames, settings);
}

// With an outlier there are more slabs than vertices, and numbers are left out. Which slabs are
// even stays the same, and with it the order of the faces.
TEST_P(PlainMerge, SameMeshWithEmptySlabsBetweenFramesAndAnOutlier)
{
    reference::MergeSettings settings;
    settings.point_spacing = 0.1;
    settings.stitch_radius = 0.1;
    auto frames = random_frames(300U + static_cast<unsigned>(GetParam()), 4, 12, 0.1F);
    for (std::size_t i = 2; i < frames.size(); ++i)
    {
        for (auto& p : frames[i].vCoord)
        {
            p.x() += 4.0F * static_cast<float>(2 + GetParam() % 4);
        }
    }
    frames.push_back(flat_frame(1, 1, 1.0F, {40000.0F, 0, 0}));
    compare(frames, settings);
}

} // namespace
