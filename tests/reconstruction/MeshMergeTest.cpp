#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>

#include <omp.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <set>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

/// Lets the tests look at what derived classes see.
class OpenMerge : public MeshMerge
{
public:
    bool has_property() const
    {
        return vert_state_prop.is_valid() || vert_local_prop.is_valid() ||
               vert_angle_prop.is_valid() || vert_frame_prop.is_valid();
    }
    double spacing() const { return point_spacing; }
    float angle() const { return normal_angle_thr; }
    int factor() const { return neighbour_factor; }
    double ear_factor() const { return ear_edge_factor; }
    double ear_angle() const { return ear_normal_angle; }
    bool saves() const { return save_debug_meshes; }
};

struct Result
{
    RetVal value = RET_SUCCESS;
    TriMesh mesh;
    std::vector<int> frames;
};

/// Settings that leave a flat frame of spacing 1 alone as far as can be: no edge is long, no hole
/// is closed, nothing is small.
struct Settings
{
    double stitch_radius = 0.01;
    bool verbose = false;
    int max_hole_edges = 0;
    int min_component_size = 0;
    double long_edge_length = 100.0;
};

Result merge(std::vector<RangeData> const& frames, Settings const& s = {},
             MeshMerge merger = MeshMerge())
{
    Result result;
    result.value = merger.mesh_merge(pointers(frames), s.stitch_radius, result.mesh, s.verbose,
                                     s.max_hole_edges, s.min_component_size, s.long_edge_length,
                                     result.frames);
    return result;
}

std::vector<int> corners_of(TriMesh const& mesh)
{
    std::vector<int> corners;
    for (auto const f : mesh.faces())
    {
        for (auto const v : f.vertices())
        {
            corners.push_back(v.idx());
        }
    }
    return corners;
}

std::size_t live_vertex_properties(TriMesh const& mesh)
{
    return static_cast<std::size_t>(std::count_if(mesh.vprops_begin(), mesh.vprops_end(),
                                                  [](auto* p) { return p != nullptr; }));
}

/// Every vertex lies where its frame has a point.
void expect_frames_are_right(Result const& result, std::vector<RangeData> const& frames)
{
    ASSERT_EQ(result.frames.size(), result.mesh.n_vertices());
    std::vector<std::set<std::array<float, 3>>> points(frames.size());
    for (std::size_t r = 0; r < frames.size(); ++r)
    {
        for (std::size_t i = 0; i < frames[r].get_vn(); ++i)
        {
            Vector3f p;
            frames[r].get_global_vCoord(i, p);
            points[r].insert({{p.x(), p.y(), p.z()}});
        }
    }
    for (auto const v : result.mesh.vertices())
    {
        auto const& p = result.mesh.point(v);
        auto const frame =
            static_cast<std::size_t>(result.frames[static_cast<std::size_t>(v.idx())]);
        ASSERT_LT(frame, frames.size());
        ASSERT_EQ(points[frame].count({{p.x(), p.y(), p.z()}}), 1U) << v.idx();
    }
}

class MeshMerging : public testing::Test
{
    LogCapture log_{false};
};

// ------------------------------------------------------------------------------------- settings

TEST_F(MeshMerging, StartsWithTheDocumentedSettings)
{
    OpenMerge const merger;
    EXPECT_EQ(merger.spacing(), 0.12);
    EXPECT_EQ(merger.angle(), 30.0F);
    EXPECT_EQ(merger.factor(), 8);
    EXPECT_EQ(merger.ear_factor(), 5.0);
    EXPECT_EQ(merger.ear_angle(), 150.0);
    EXPECT_FALSE(merger.saves());
    EXPECT_FALSE(merger.has_property());
}

TEST_F(MeshMerging, SettersStoreAndCopiesTakeThemOver)
{
    OpenMerge merger;
    merger.set_point_spacing(0.5);
    merger.set_normal_angle_thr(40.0F);
    merger.set_neighbour_factor(6);
    merger.set_ear_edge_factor(2.0);
    merger.set_ear_normal_angle(100.0);
    merger.set_save_debug_meshes(true);
    OpenMerge const copy = merger;
    EXPECT_EQ(copy.spacing(), 0.5);
    EXPECT_EQ(copy.angle(), 40.0F);
    EXPECT_EQ(copy.factor(), 6);
    EXPECT_EQ(copy.ear_factor(), 2.0);
    EXPECT_EQ(copy.ear_angle(), 100.0);
    EXPECT_TRUE(copy.saves());
}

// The spacing is the object's own: it stays where it is, whatever radius the caller gives.
TEST_F(MeshMerging, MergingChangesNoSettings)
{
    OpenMerge merger;
    TriMesh mesh;
    std::vector<int> frames;
    std::vector<RangeData> const ranges{flat_frame(4, 4, 1.0F)};
    merger.mesh_merge(pointers(ranges), 3.0, mesh, false, 30, 5, 9.0, frames);
    EXPECT_EQ(merger.spacing(), 0.12);
    EXPECT_EQ(merger.ear_factor(), 5.0);
    EXPECT_FALSE(merger.has_property());
}

// ---------------------------------------------------------------------------------- what is
// refused

TEST(MeshMerge, NoFramesAreInvalidInput)
{
    LogCapture const log;
    gLH.clear_steps();
    OpenMerge merger;
    TriMesh mesh = tetrahedron();
    std::vector<int> frames{7, 8};
    EXPECT_EQ(merger.mesh_merge({}, 0.1, mesh, true, 10, 10, 1.0, frames), RET_INVALID_INPUT);
    EXPECT_EQ(mesh.n_vertices(), 0U) << "what the mesh held is lost";
    EXPECT_THAT(frames, ElementsAre(7, 8));
    EXPECT_EQ(log.text(), "mesh_merge() ..\n"
                          "convert_rge_to_mesh() ..\n"
                          "  empty ranges.\n"
                          "  fail to convert rge to mesh.\n");
    EXPECT_FALSE(merger.has_property());
    EXPECT_EQ(live_vertex_properties(mesh), live_vertex_properties(TriMesh()));
    EXPECT_THAT(gLH.steps_as_json(), testing::Not(HasSubstr("\"running\":1")));
    EXPECT_THAT(gLH.steps_as_json(), HasSubstr("rge-to-mesh"));
}

TEST(MeshMerge, FrameWithoutNormalsIsInvalidInputEvenBehindGoodOnes)
{
    LogCapture const log;
    std::vector<RangeData> ranges{flat_frame(3, 3, 1.0F), flat_frame(3, 3, 1.0F)};
    ranges[1].disable_vNormal();
    Settings settings;
    settings.verbose = true;
    auto const result = merge(ranges, settings);
    EXPECT_EQ(result.value, RET_INVALID_INPUT);
    EXPECT_EQ(result.mesh.n_vertices(), 0U);
    EXPECT_EQ(log.text(), "mesh_merge() ..\n"
                          "convert_rge_to_mesh() ..\n"
                          "  range 1 missing vertex normal.\n"
                          "  fail to convert rge to mesh.\n");
}

TEST_F(MeshMerging, NullPointerIsAFrameWithoutNormals)
{
    RangeData const frame = flat_frame(3, 3, 1.0F);
    TriMesh mesh;
    std::vector<int> frames;
    EXPECT_EQ(MeshMerge().mesh_merge({&frame, nullptr}, 0.1, mesh, false, 10, 10, 1.0, frames),
              RET_INVALID_INPUT);
}

TEST_F(MeshMerging, ChannelShorterThanItsFrameThrowsAndLeavesTheMeshEmpty)
{
    for (bool const colours : {false, true})
    {
        std::vector<RangeData> ranges{flat_frame(3, 3, 1.0F), flat_frame(3, 3, 1.0F)};
        if (colours)
        {
            ranges[1].has_vColor = true;
        }
        else
        {
            ranges[1].vNrv.pop_back();
        }
        OpenMerge merger;
        TriMesh mesh;
        std::vector<int> frames;
        EXPECT_THROW(merger.mesh_merge(pointers(ranges), 0.1, mesh, false, 1, 1, 1.0, frames),
                     std::out_of_range);
        EXPECT_EQ(mesh.n_vertices(), 0U);
        EXPECT_FALSE(merger.has_property());
        EXPECT_EQ(live_vertex_properties(mesh), live_vertex_properties(TriMesh()));
    }
}

// A host breaks a merge off by an observer that throws, at the start of a step or at its end. The
// end of the whole merge is the last that can go wrong.
TEST_F(MeshMerging, MergeThatIsBrokenOffLeavesAnEmptyMesh)
{
    auto const ranges = random_frames(10, 2, 12, 0.12F);
    for (std::string const step :
         {"mesh-merge", "rge-to-mesh", "delete-long-edge", "border-stitch", "mesh-filter",
          "ear-trimming-round-1", "remove-small-components", "ear-trimming-round-2"})
    {
        for (bool const started : {true, false})
        {
            gLH.set_step_observer(
                [&](StepEvent const& event)
                {
                    if (event.started == started && event.step == step)
                    {
                        throw std::runtime_error("stop");
                    }
                });
            OpenMerge merger;
            TriMesh mesh = tetrahedron();
            std::vector<int> frames{1};
            EXPECT_THROW(
                merger.mesh_merge(pointers(ranges), 0.12, mesh, false, 10, 10, 0.5, frames),
                std::runtime_error);
            gLH.set_step_observer({});
            EXPECT_EQ(mesh.n_vertices(), 0U) << step << started;
            if (step != "mesh-merge" || started)
            {
                EXPECT_THAT(frames, ElementsAre(1)) << step << started;
            }
            EXPECT_FALSE(merger.has_property());
            EXPECT_THAT(gLH.steps_as_json(), testing::Not(HasSubstr("\"running\":1")));
        }
    }
}

// What the mesh held is lost also where the very first line cannot be logged.
TEST_F(MeshMerging, SinkThatThrowsLeavesAnEmptyMesh)
{
    auto const ranges = random_frames(10, 2, 12, 0.12F);
    for (std::string const line : {"mesh_merge() ..\n", "convert_rge_to_mesh() ..\n",
                                   "divide_mesh() ..\n", "mesh_filter() ..\n"})
    {
        gLH.set_sink(
            [&](std::string const& text)
            {
                if (text == line)
                {
                    throw std::runtime_error("full");
                }
            });
        OpenMerge merger;
        TriMesh mesh = tetrahedron();
        std::vector<int> frames{1};
        EXPECT_THROW(merger.mesh_merge(pointers(ranges), 0.12, mesh, true, 10, 10, 0.5, frames),
                     std::runtime_error);
        gLH.set_sink({});
        EXPECT_EQ(mesh.n_vertices(), 0U) << line;
        EXPECT_THAT(frames, ElementsAre(1)) << line;
        EXPECT_FALSE(merger.has_property());
    }
}

TEST_F(MeshMerging, FramesWithoutPointsGiveAnEmptyMesh)
{
    std::vector<RangeData> ranges(2);
    ranges[0].has_vNormal = ranges[1].has_vNormal = true;
    auto const result = merge(ranges);
    EXPECT_EQ(result.value, RET_SUCCESS);
    EXPECT_EQ(result.mesh.n_vertices(), 0U);
    EXPECT_THAT(result.frames, IsEmpty());
}

TEST_F(MeshMerging, FrameWithoutPointsBetweenOthersKeepsItsPlaceInTheList)
{
    RangeData empty;
    empty.has_vNormal = true;
    auto const result = merge({flat_frame(4, 4, 1.0F), empty, flat_frame(4, 4, 1.0F, {50, 0, 0})});
    EXPECT_EQ(result.value, RET_SUCCESS);
    ASSERT_EQ(result.mesh.n_vertices(), 28U);
    for (auto const v : result.mesh.vertices())
    {
        EXPECT_EQ(result.frames[static_cast<std::size_t>(v.idx())],
                  result.mesh.point(v).x() < 25.0F ? 0 : 2);
    }
}

// ---------------------------------------------------------------------------- frames to triangles

TEST_F(MeshMerging, EqualDiagonalsAreSplitAcrossTheSecond)
{
    // The corner (0, 0) keeps two faces if its cell is split across q0-q2, and has only one if the
    // split is across q1-q3; a border corner with one face goes in the filter.
    auto const square = merge({flat_frame(4, 4, 1.0F)});
    EXPECT_EQ(square.mesh.n_vertices(), 14U);
    for (auto const v : square.mesh.vertices())
    {
        EXPECT_GT(square.mesh.point(v).norm(), 0.5F) << "(0, 0) has one face and goes";
        EXPECT_LT(square.mesh.point(v).norm(), 4.0F) << "and so does (3, 3)";
    }
}

TEST_F(MeshMerging, QuadsAreSplitAcrossTheShorterDiagonal)
{
    // Sheared to the left, the diagonal q0-q2 is the shorter one, and all corners but (0, 3) and
    // (3, 0) keep their faces.
    auto const sheared =
        make_frame(4, 4,
                   [](int r, int c)
                   {
                       return Vector3f(static_cast<float>(c) - 0.25F * static_cast<float>(r),
                                       static_cast<float>(r), 0);
                   });
    auto const result = merge({sheared});
    EXPECT_EQ(result.mesh.n_vertices(), 14U);
    auto const has = [&](float x, float y)
    {
        return std::any_of(result.mesh.points(), result.mesh.points() + result.mesh.n_vertices(),
                           [&](Vector3f const& p) { return p == Vector3f(x, y, 0); });
    };
    EXPECT_TRUE(has(0, 0));
    EXPECT_TRUE(has(2.25F, 3));
    EXPECT_FALSE(has(3, 0));
    EXPECT_FALSE(has(-0.75F, 3));
}

TEST_F(MeshMerging, PoseMovesPointsAndTurnsNormals)
{
    RangeData frame = flat_frame(4, 4, 1.0F);
    RigidMatrix pose;
    Matrix3d turn;
    turn << 0, 0, 1, 1, 0, 0, 0, 1, 0; // x to y, y to z, z to x
    pose.set_rotation(turn);
    pose.set_translation(Vector3d(10, 20, 30));
    frame.set_rigidMatrix(pose);
    auto const result = merge({frame});
    ASSERT_EQ(result.mesh.n_vertices(), 14U);
    for (auto const v : result.mesh.vertices())
    {
        EXPECT_EQ(result.mesh.point(v).x(), 10.0F);
        EXPECT_GE(result.mesh.point(v).y(), 20.0F);
        EXPECT_GE(result.mesh.point(v).z(), 30.0F);
        EXPECT_EQ(result.mesh.normal(v), Vector3f(1, 0, 0));
    }
}

TEST_F(MeshMerging, ColouredAndUncolouredFramesMixed)
{
    std::vector<RangeData> ranges{flat_frame(4, 4, 1.0F), flat_frame(4, 4, 1.0F, {100, 0, 0})};
    ranges[1].enable_vColor();
    for (auto& colour : ranges[1].vColor)
    {
        colour = Vector3f(0.25F, 0.5F, 0.75F);
    }
    auto const result = merge(ranges);
    ASSERT_TRUE(result.mesh.has_vertex_colors());
    ASSERT_EQ(result.mesh.n_vertices(), 28U);
    for (auto const v : result.mesh.vertices())
    {
        bool const coloured = result.frames[static_cast<std::size_t>(v.idx())] == 1;
        EXPECT_EQ(result.mesh.color(v),
                  coloured ? Vector3f(0.25F, 0.5F, 0.75F) : Vector3f(0, 0, 0));
    }
    ranges[1].disable_vColor();
    EXPECT_FALSE(merge(ranges).mesh.has_vertex_colors());
}

TEST_F(MeshMerging, ColoursThatTheHostAskedForAreBlackWithoutColouredFrames)
{
    TriMesh mesh;
    mesh.request_vertex_colors();
    std::vector<int> frames;
    std::vector<RangeData> const ranges{flat_frame(4, 4, 1.0F)};
    MeshMerge().mesh_merge(pointers(ranges), 0.01, mesh, false, 0, 0, 9.0, frames);
    for (auto const v : mesh.vertices())
    {
        EXPECT_EQ(mesh.color(v), Vector3f(0, 0, 0));
    }
}

// ----------------------------------------------------------------------------------- the pipeline

TEST(MeshMerge, StagesLogInTheirOrder)
{
    LogCapture const log(false);
    Settings settings;
    settings.verbose = true;
    merge({flat_frame(4, 4, 1.0F)}, settings);
    EXPECT_THAT(log.text(), StartsWith("mesh_merge() ..\n"
                                       "convert_rge_to_mesh() ..\n"
                                       "delete_long_edge() ..\n"
                                       "  deleted long edges: 0\n"
                                       "border_stitch() ..\n"
                                       "divide_mesh() ..\n"
                                       "mesh_filter() ..\n"
                                       "ear_trimming() ..\n"));
    EXPECT_LT(log.text().find("ear_trimming() ..\n"),
              log.text().find("remove_small_objects() ..\n"));
    EXPECT_LT(log.text().find("remove_small_objects() ..\n"),
              log.text().rfind("ear_trimming() ..\n"));
    EXPECT_EQ(log.count("ear_trimming() ..\n"), 2);
    EXPECT_TRUE(gPH.log_enabled) << "the switch is left as the caller gave it";
}

TEST(MeshMerge, QuietWithoutVerboseWhateverTheSwitchWas)
{
    LogCapture const log(true);
    merge({flat_frame(4, 4, 1.0F)});
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(gPH.log_enabled);
}

TEST_F(MeshMerging, EachStageIsAStepUnderTheMerge)
{
    gLH.clear_steps();
    std::vector<std::string> started;
    gLH.set_step_observer(
        [&](StepEvent const& event)
        {
            if (event.started)
            {
                started.push_back(event.parent + "/" + event.step);
            }
        });
    merge({flat_frame(4, 4, 1.0F)});
    gLH.set_step_observer({});
    EXPECT_THAT(started,
                ElementsAre("/mesh-merge", "mesh-merge/rge-to-mesh", "mesh-merge/delete-long-edge",
                            "mesh-merge/border-stitch", "mesh-merge/mesh-filter",
                            "mesh-merge/ear-trimming-round-1", "/find-all-holes-ordered-halfedges",
                            "/fill-holes", "mesh-merge/remove-small-components",
                            "mesh-merge/ear-trimming-round-2", "/find-all-holes-ordered-halfedges",
                            "/fill-holes"));
    EXPECT_THAT(gLH.steps_as_json(), testing::Not(HasSubstr("\"running\":1")));
}

TEST(MeshMerge, DebugMeshesAreSavedOnlyWithBothSwitches)
{
    for (bool const verbose : {false, true})
    {
        for (bool const save : {false, true})
        {
            LogCapture const log(false);
            TempDir const dir;
            gPH.result_dir = dir.path().string();
            gLH.clear_steps();
            MeshMerge merger;
            merger.set_save_debug_meshes(save);
            Settings settings;
            settings.verbose = verbose;
            merge({flat_frame(4, 4, 1.0F)}, settings, merger);
            std::size_t files = 0;
            for (char const* name :
                 {"00-initial-mesh", "10-long-edge-deleted-mesh", "20-stitched-mesh",
                  "30-filtered-mesh", "40-hole-filled-round-1-mesh",
                  "50-small-components-removed-mesh", "60-hole-filled-round-2-mesh"})
            {
                files += std::filesystem::exists(dir.file(std::string(name) + ".stl")) ? 1U : 0U;
                auto const step = "save-" + std::string(name).substr(3);
                EXPECT_EQ(gLH.steps_as_json().find(step) != std::string::npos, verbose && save);
            }
            EXPECT_EQ(files, verbose && save ? 7U : 0U);
        }
    }
}

/// The mesh after a stage of a merge, from the file that is written there.
TriMesh debug_mesh(std::vector<RangeData> const& frames, std::string const& stage)
{
    LogCapture const log(false);
    TempDir const dir;
    gPH.result_dir = dir.path().string();
    MeshMerge merger;
    merger.set_save_debug_meshes(true);
    Settings settings;
    settings.verbose = true;
    merge(frames, settings, merger);
    TriMesh mesh;
    MeshReadReport report;
    EXPECT_TRUE(read_mesh(dir.file(stage + ".stl"), mesh, report)) << report.error;
    return mesh;
}

TEST(MeshMerge, DebugMeshOfTheFramesHoldsAllTheirTriangles)
{
    std::vector<RangeData> const frames{flat_frame(4, 4, 1.0F), flat_frame(2, 2, 1.0F, {9, 9, 0})};
    EXPECT_EQ(debug_mesh(frames, "00-initial-mesh").n_faces(), 20U);
    EXPECT_EQ(debug_mesh(frames, "30-filtered-mesh").n_faces(), 16U)
        << "two corners of the large frame, both faces of the small one";
}

TEST(MeshMerge, LengthLimitBeyondAllEdgesDeletesNone)
{
    LogCapture const log(false);
    Settings settings;
    settings.verbose = true;
    settings.long_edge_length = 1e300;
    auto const result = merge({flat_frame(4, 4, 1.0F)}, settings);
    EXPECT_EQ(result.mesh.n_faces(), 16U);
    EXPECT_EQ(log.count("  deleted long edges: 0\n"), 1);
}

// The limit becomes a float first: an edge of that very float is not longer.
TEST(MeshMerge, LengthLimitIsRoundedToFloat)
{
    LogCapture const log(false);
    Settings settings;
    settings.verbose = true;
    settings.long_edge_length = 0.1; // less than the float nearest to it
    merge({flat_frame(2, 2, 0.1F)}, settings);
    EXPECT_EQ(log.count("  deleted long edges: 0\n"), 1);
}

// The squares of the diagonals are 1 and the next float; their roots are both 1.
TEST(MeshMerge, DiagonalsAreComparedAsLengthsInFloat)
{
    std::vector<Vector3f> const corners{
        {0, 0, 0}, {0.5F, -0.5F, 0}, {0.5F, 0.5F, 0.00034527F}, {1, 0, 0}};
    ASSERT_GT((corners[1] - corners[2]).squaredNorm(), 1.0F);
    auto const frame = make_frame(
        2, 2, [&](int r, int c) { return corners[static_cast<std::size_t>(2 * r + c)]; });
    TriMesh const mesh = debug_mesh({frame}, "00-initial-mesh");
    ASSERT_EQ(mesh.n_faces(), 2U);
    for (auto const f : mesh.faces())
    {
        std::vector<Vector3f> found;
        for (auto const v : f.vertices())
        {
            found.push_back(mesh.point(v));
        }
        // Equal lengths are cut across the second diagonal, from corner 1 to corner 3 of the cell.
        EXPECT_THAT(found, testing::Contains(corners[1]));
        EXPECT_THAT(found, testing::Contains(corners[2]));
    }
}

TEST(MeshMerge, LongBorderEdgesAreCountedAndTheirVerticesGoInTheFilter)
{
    LogCapture const log(false);
    Settings settings;
    settings.verbose = true;
    settings.long_edge_length = 1.0;
    // Two frames; the second one has a single cell with edges of 2.
    auto const result =
        merge({flat_frame(4, 4, 1.0F), flat_frame(2, 2, 2.0F, {50, 0, 0})}, settings);
    EXPECT_EQ(log.count("  deleted long edges: 5\n"), 1)
        << "the four sides, and the diagonal, which is a border once the first face is gone";
    EXPECT_THAT(result.frames, Each(0));
    EXPECT_EQ(result.mesh.n_vertices(), 14U);
}

TEST_F(MeshMerging, NearBordersOfTwoFramesAreStitched)
{
    // Two frames side by side, one spacing apart. The gap gets two rows of triangles at most, and
    // what is left of it at its ends is the border of the whole.
    std::vector<RangeData> const ranges{flat_frame(10, 10, 0.12F),
                                        flat_frame(10, 10, 0.12F, {1.2F, 0.02F, 0})};
    Settings settings;
    settings.stitch_radius = 0.12;
    settings.long_edge_length = 1.0;
    auto const result = merge(ranges, settings);
    EXPECT_EQ(count_loops(result.mesh), 1);
    auto const apart = merge({ranges[0], flat_frame(10, 10, 0.12F, {4.0F, 0.02F, 0})}, settings);
    EXPECT_EQ(count_loops(apart.mesh), 2);
    expect_frames_are_right(result, ranges);
    for (auto const f : result.mesh.faces())
    {
        EXPECT_GT(result.mesh.calc_normal(f).z(), 0.9F);
    }
}

TEST_F(MeshMerging, MeshWithoutBorderNearOthersIsLeftAsItIs)
{
    // The stitch radius is so small that nothing is found.
    Settings settings;
    settings.stitch_radius = 1e-6;
    EXPECT_EQ(merge({flat_frame(4, 4, 1.0F)}, settings).mesh.n_faces(), 16U);
}

TEST_F(MeshMerging, HoleLongerThanTheLimitStaysOpen)
{
    // A hole of 2 x 2 points: its border has 12 edges. Its ears are longer than 0.6, so that the
    // first round leaves it; the second goes by the number of edges alone.
    auto const frame = make_frame(
        10, 10,
        [](int r, int c) { return Vector3f(static_cast<float>(c), static_cast<float>(r), 0); },
        [](int r, int c) { return (r == 4 || r == 5) && (c == 4 || c == 5); });
    Settings settings;
    settings.max_hole_edges = 11;
    EXPECT_EQ(count_loops(merge({frame}, settings).mesh), 2);
    settings.max_hole_edges = 12;
    EXPECT_EQ(count_loops(merge({frame}, settings).mesh), 1);
    // With a larger spacing the first round closes it, whatever the number of its edges. The outer
    // border is a hole too, whose ears turn back on the faces around; its corners are no narrower.
    MeshMerge merger;
    merger.set_point_spacing(1.0);
    merger.set_neighbour_factor(0);
    settings.max_hole_edges = 0;
    auto const narrowed = merge({frame}, settings, merger).mesh;
    EXPECT_EQ(count_loops(narrowed), 1);
}

// The order counts: a piece that would come out of the second round with more faces than the limit
// is removed before it.
TEST_F(MeshMerging, SmallComponentsGoBetweenTheRounds)
{
    // The filter leaves 16 faces of a frame of 4 x 4 points, with a border of 10 edges.
    std::vector<RangeData> const ranges{flat_frame(4, 4, 1.0F)};
    Settings settings;
    settings.max_hole_edges = 10;
    EXPECT_EQ(merge(ranges, settings).mesh.n_faces(), 16U + 8U) << "closed like a bag";
    settings.min_component_size = 15;
    EXPECT_EQ(merge(ranges, settings).mesh.n_faces(), 16U + 8U);
    settings.min_component_size = 16;
    EXPECT_EQ(merge(ranges, settings).mesh.n_faces(), 0U);
}

// A cell's two triangles lose two corners in the filter; the other two had three neighbours. They
// stay isolated until small components are removed.
TEST_F(MeshMerging, SingleCellDisappears)
{
    auto const result = merge({flat_frame(2, 2, 1.0F)});
    EXPECT_EQ(result.value, RET_SUCCESS);
    EXPECT_EQ(result.mesh.n_vertices(), 0U);
    EXPECT_THAT(result.frames, IsEmpty());
}

TEST_F(MeshMerging, VertexFramesAreRightForEveryVertex)
{
    for (unsigned const seed : {1U, 2U, 3U})
    {
        auto const ranges = random_frames(seed, 5, 25, 0.12F);
        Settings settings;
        settings.stitch_radius = 0.12;
        settings.long_edge_length = 0.2;
        settings.max_hole_edges = 10;
        settings.min_component_size = 20;
        auto const result = merge(ranges, settings);
        std::size_t points = 0;
        for (auto const& frame : ranges)
        {
            points += frame.get_vn();
        }
        EXPECT_LT(result.mesh.n_vertices(), points) << "some have to be removed on the way";
        EXPECT_GT(result.mesh.n_vertices(), points / 2);
        expect_frames_are_right(result, ranges);
    }
}

TEST_F(MeshMerging, SecondCallStartsFromNothing)
{
    auto const ranges = random_frames(4, 3, 20, 0.12F);
    MeshMerge merger;
    TriMesh mesh;
    std::vector<int> frames;
    merger.mesh_merge(pointers(ranges), 0.12, mesh, false, 10, 10, 0.5, frames);
    auto const first = fingerprint(mesh);
    auto const first_frames = frames;
    merger.mesh_merge(pointers(ranges), 0.12, mesh, false, 10, 10, 0.5, frames);
    EXPECT_EQ(fingerprint(mesh), first);
    EXPECT_EQ(frames, first_frames);
}

TEST_F(MeshMerging, FreeFunctionDoesTheSame)
{
    auto const ranges = random_frames(5, 3, 20, 0.12F);
    Settings settings;
    settings.stitch_radius = 0.12;
    settings.max_hole_edges = 10;
    settings.min_component_size = 10;
    settings.long_edge_length = 0.5;
    auto const expected = merge(ranges, settings);
    TriMesh mesh;
    std::vector<int> frames;
    EXPECT_EQ(OrvaneAlgorithm::mesh_merge(pointers(ranges), 0.12, mesh, false, 10, 10, 0.5, frames),
              RET_SUCCESS);
    EXPECT_EQ(fingerprint(mesh), fingerprint(expected.mesh));
    EXPECT_EQ(frames, expected.frames);
    EXPECT_EQ(OrvaneAlgorithm::mesh_merge({}, 0.12, mesh, false, 10, 10, 0.5, frames),
              RET_INVALID_INPUT);
}

// A power of two changes no digit of a coordinate, so that scaling changes no decision; but for the
// limits on lengths near 0, 1e-5, which are far below what there is here.
TEST_F(MeshMerging, ScaledByAPowerOfTwoEverythingIsTheSame)
{
    auto ranges = random_frames(6, 3, 20, 0.125F);
    Settings settings;
    settings.stitch_radius = 0.125;
    settings.long_edge_length = 0.5;
    settings.max_hole_edges = 10;
    MeshMerge merger;
    merger.set_point_spacing(0.125);
    auto const small = merge(ranges, settings, merger);
    for (auto& frame : ranges)
    {
        for (auto& p : frame.vCoord)
        {
            p *= 4.0F;
        }
    }
    settings.stitch_radius *= 4.0;
    settings.long_edge_length *= 4.0;
    merger.set_point_spacing(0.5);
    auto const large = merge(ranges, settings, merger);
    EXPECT_EQ(large.frames, small.frames);
    EXPECT_EQ(corners_of(large.mesh), corners_of(small.mesh));
}

// ------------------------------------------------------------------------------------ wild input

TEST_F(MeshMerging, CoordinatesThatAreNoNumbersAndWildOutliersDoNoHarm)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    float const inf = std::numeric_limits<float>::infinity();
    for (float const wild : {nan, inf, -inf, 3e38F, 1e30F, -1e20F, 1e10F})
    {
        auto ranges = random_frames(7, 3, 15, 0.12F);
        for (std::size_t i = 0; i < ranges[0].get_vn(); i += 17)
        {
            ranges[0].vCoord[i][static_cast<Eigen::Index>(i % 3)] = wild;
        }
        Settings settings;
        settings.stitch_radius = 0.12;
        settings.long_edge_length = 0.5;
        settings.max_hole_edges = 20;
        auto const result = merge(ranges, settings);
        EXPECT_EQ(result.value, RET_SUCCESS);
        EXPECT_EQ(result.frames.size(), result.mesh.n_vertices());
        EXPECT_GT(result.mesh.n_faces(), 100U);
    }
}

TEST_F(MeshMerging, OneOutlierDoesNotChangeTheRest)
{
    // It asks for more slabs than could be counted, along the axis that is the longest anyway.
    auto ranges = random_frames(8, 3, 20, 0.12F);
    Settings settings;
    settings.stitch_radius = 0.12;
    settings.long_edge_length = 0.5;
    for (auto& frame : ranges)
    {
        for (auto& p : frame.vCoord)
        {
            p.x() *= 1.5F;
        }
    }
    auto const before = merge(ranges, settings);
    for (float const far : {1e6F, 1e15F, 1e30F})
    {
        auto with_outlier = ranges;
        with_outlier.push_back(flat_frame(1, 1, 1.0F, {far, 0, 0}));
        auto const after = merge(with_outlier, settings);
        EXPECT_EQ(fingerprint(after.mesh), fingerprint(before.mesh)) << far;
    }
}

TEST_F(MeshMerging, LimitsThatMakeNoSenseDoNoHarm)
{
    auto const ranges = random_frames(9, 2, 12, 0.12F);
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    for (double const radius : {nan, inf, -inf, -1.0, 0.0, 1e-300, 1e300, 50.0})
    {
        Settings settings;
        settings.stitch_radius = radius;
        EXPECT_EQ(merge(ranges, settings).value, RET_SUCCESS) << radius;
    }
    for (double const length : {nan, inf, -inf, -1.0, 0.0})
    {
        Settings settings;
        settings.long_edge_length = length;
        settings.max_hole_edges = -5;
        settings.min_component_size = -5;
        EXPECT_EQ(merge(ranges, settings).value, RET_SUCCESS) << length;
    }
    for (int const factor :
         {0, -8, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    {
        for (double const spacing : {nan, inf, 0.0, -0.12, 1e-300})
        {
            MeshMerge merger;
            merger.set_neighbour_factor(factor);
            merger.set_point_spacing(spacing);
            Settings settings;
            settings.stitch_radius = 0.12;
            EXPECT_EQ(merge(ranges, settings, merger).value, RET_SUCCESS);
        }
    }
}

TEST_F(MeshMerging, FramesInOnePlaceAndPointsInOnePointDoNoHarm)
{
    RangeData const frame = flat_frame(12, 12, 0.12F);
    Settings settings;
    settings.stitch_radius = 0.12;
    EXPECT_EQ(merge({frame, frame, frame}, settings).value, RET_SUCCESS);
    auto const point = make_frame(12, 12, [](int, int) { return Vector3f(1, 2, 3); });
    EXPECT_EQ(merge({point, point}, settings).value, RET_SUCCESS);
    auto const line = make_frame(
        12, 12, [](int r, int c) { return Vector3f(0.1F * static_cast<float>(r + c), 0, 0); });
    EXPECT_EQ(merge({line, line}, settings).value, RET_SUCCESS);
}

#if !defined(_WIN32)
// A host that lets its own regions have one thread each gives the numbers of threads as a list:
// one level's number says nothing about the next. It is read once, when the process starts, so the
// merge runs in a process of its own.
TEST(MeshMergeDeathTest, NumbersOfThreadsThatDifferByLevelMakeTheSameMesh)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    char const* const before = std::getenv("OMP_NUM_THREADS");
    std::string const old = before == nullptr ? "" : before;
    setenv("OMP_NUM_THREADS", "4,1", 1);
    EXPECT_EXIT(
        {
            auto const ranges = random_frames(11, 4, 40, 0.1F);
            Settings settings;
            settings.stitch_radius = 0.1;
            settings.long_edge_length = 0.5;
            bool const has_four = omp_get_max_threads() == 4;
            auto const many = fingerprint(merge(ranges, settings).mesh);
            omp_set_num_threads(1);
            bool const same = many == fingerprint(merge(ranges, settings).mesh);
            std::_Exit(has_four && same ? 7 : 1);
        },
        testing::ExitedWithCode(7), "");
    before == nullptr ? unsetenv("OMP_NUM_THREADS") : setenv("OMP_NUM_THREADS", old.c_str(), 1);
}
#endif

// More triangles come than there was room for: the threads stop, room is made, and they go on.
TEST_F(MeshMerging, ManyMoreTrianglesThanBorderVerticesFit)
{
    // Loose points on a grid, without a cell: each has a gap all around.
    RangeData loose = flat_frame(30, 30, 0.1F);
    std::fill(loose.cellFlag.begin(), loose.cellFlag.end(), static_cast<char>(0));
    for (auto& p : loose.vCoord)
    {
        p.x() += 0.03F * p.y();
    }
    Settings settings;
    settings.stitch_radius = 0.1;
    auto const result = merge({loose}, settings);
    EXPECT_GT(result.mesh.n_faces(), 1000U);
    EXPECT_TRUE(result.mesh.is_legal());
}

} // namespace
