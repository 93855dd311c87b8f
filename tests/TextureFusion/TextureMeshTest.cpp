#include "algorithmVeld/TextureFusion/TextureMesh.h"

#include "algorithmVeld/common/RunScope.h"
#include "algorithmVeld/common/image_io.h"
#include "module_scenes.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/steps.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"
#include "textured_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using veld_test::LogCapture;
using veld_test::ModuleScene;
using veld_test::square_and_one_view;
using veld_test::strip_and_three_views;
using veld_test::TempDir;

RetVal fuse(ModuleScene const& scene, BaseTriMesh& mesh, bool verbose = false)
{
    TextureMesh texture;
    mesh = scene.arrays();
    return texture.texture_fusion(mesh, scene.images, scene.poses, scene.cameras, verbose);
}

/// With a limit that the flanks of the strip do not keep.
RetVal process(ModuleScene const& scene, BaseTriMesh& mesh)
{
    TextureMesh texture;
    texture.set_norm_thr(0.9F);
    scene.give_to(texture);
    RetVal const result = texture.process_fusion();
    return result == RET_SUCCESS ? texture.get_textured_mesh(mesh) : result;
}

std::vector<std::pair<int, int>> line_pixels(int x0, int y0, int x1, int y1)
{
    int const line[4] = {x0, y0, x1, y1};
    std::vector<int> out(
        2 * (1 + static_cast<std::size_t>(std::max(std::abs(x1 - x0), std::abs(y1 - y0)))), -99);
    int count = 0;
    TextureMesh::draw_image_line(line, out.data(), count);
    EXPECT_EQ(static_cast<std::size_t>(count), out.size() / 2);
    std::vector<std::pair<int, int>> pixels;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
    {
        pixels.emplace_back(out[2 * i], out[2 * i + 1]);
    }
    return pixels;
}

// ----------------------------------------------------------------------------------------- the
// line

TEST(TextureMeshLine, OfOnePixelIsThatPixel)
{
    EXPECT_EQ(line_pixels(3, -4, 3, -4), (std::vector<std::pair<int, int>>{{3, -4}}));
}

TEST(TextureMeshLine, AFlatOneHasAPixelForEachColumn)
{
    // The error begins at 4 / 2 = 2 and falls by 1 a column: below 0 behind the third.
    EXPECT_EQ(line_pixels(0, 0, 4, 1),
              (std::vector<std::pair<int, int>>{{0, 0}, {1, 0}, {2, 0}, {3, 1}, {4, 1}}));
}

TEST(TextureMeshLine, ASteepOneThatIsGivenUpwardsBeginsAtItsTop)
{
    EXPECT_EQ(line_pixels(1, 4, 0, 0),
              (std::vector<std::pair<int, int>>{{0, 0}, {0, 1}, {0, 2}, {1, 3}, {1, 4}}));
}

TEST(TextureMeshLine, EndsWhereItIsToldInAnyDirection)
{
    for (int dx = -7; dx <= 7; ++dx)
    {
        for (int dy = -7; dy <= 7; ++dy)
        {
            auto const pixels = line_pixels(2, 3, 2 + dx, 3 + dy);
            std::set<std::pair<int, int>> const ends{pixels.front(), pixels.back()};
            EXPECT_EQ(ends, (std::set<std::pair<int, int>>{{2, 3}, {2 + dx, 3 + dy}}));
            for (auto const& [x, y] : pixels)
            {
                // No pixel is farther from the straight line than half a pixel.
                EXPECT_LE(2 * std::abs((x - 2) * dy - (y - 3) * dx),
                          std::max(std::abs(dx), std::abs(dy)));
            }
        }
    }
}

// ---------------------------------------------------------------------------------------- the data

TEST(TextureMeshData, WithoutAnyItIsLacking)
{
    LogCapture const log;
    TextureMesh texture;
    EXPECT_EQ(texture.process_fusion(), RET_INVALID_INPUT);
    EXPECT_EQ(log.text(), "process_fusion() ..\ncheck_data() ..\nlack of data.\n");
}

TEST(TextureMeshData, WithEmptyIdsNothingIsSet)
{
    ModuleScene const scene = square_and_one_view();
    TextureMesh texture;
    texture.set_cam_intrinsic(scene.cameras);
    texture.set_data({}, scene.images, scene.poses, scene.mesh);
    LogCapture const log;
    EXPECT_EQ(texture.check_data(), RET_INVALID_INPUT);
    EXPECT_EQ(log.count("lack of data.\n"), 1);
}

TEST(TextureMeshData, AMeshWithoutFacesChangesNothing)
{
    ModuleScene const scene = square_and_one_view();
    TextureMesh texture;
    scene.give_to(texture);
    texture.set_data(scene.ids(), {}, {}, TriMesh());
    EXPECT_EQ(texture.check_data(), RET_SUCCESS);
}

TEST(TextureMeshData, EmptyIntrinsicsAreOutOfRange)
{
    TextureMesh texture;
    EXPECT_THROW(texture.set_cam_intrinsic({}), std::out_of_range);
}

TEST(TextureMeshData, EmptyIntrinsicsTakeThePlaceOfThoseBefore)
{
    TextureMesh texture;
    strip_and_three_views().give_to(texture);
    ASSERT_EQ(texture.check_data(), RET_SUCCESS);
    EXPECT_THROW(texture.set_cam_intrinsic({}), std::out_of_range);
    LogCapture const log;
    EXPECT_EQ(texture.check_data(), RET_INVALID_INPUT);
    EXPECT_EQ(log.text(), "check_data() ..\nunmatched data size.\n");
}

TEST(TextureMeshData, ListsOfDifferentLengthAreTold)
{
    ModuleScene const scene = strip_and_three_views();
    for (int const which : {0, 1, 2, 3})
    {
        ModuleScene other = scene;
        auto ids = scene.ids();
        which == 0 ? ids.pop_back() : void();
        which == 1 ? other.images.pop_back() : void();
        which == 2 ? other.poses.pop_back() : void();
        which == 3 ? other.cameras.pop_back() : void();
        TextureMesh texture;
        texture.set_data(ids, other.images, other.poses, other.mesh);
        texture.set_cam_intrinsic(other.cameras);
        LogCapture const log;
        EXPECT_EQ(texture.check_data(), RET_INVALID_INPUT) << which;
        EXPECT_EQ(log.text(), "check_data() ..\nunmatched data size.\n");
    }
}

TEST(TextureMeshData, ImagesOfTwoSizesAndEmptyOnesAreRefusedSilently)
{
    for (auto const& [width, height] : {std::pair(44, 45), std::pair(0, 0)})
    {
        ModuleScene scene = strip_and_three_views();
        scene.images[2] = veld_test::numbered_photo(width, height, 0);
        TextureMesh texture;
        scene.give_to(texture);
        LogCapture const log;
        EXPECT_EQ(texture.check_data(), RET_INVALID_INPUT);
        EXPECT_EQ(log.text(), "check_data() ..\n");
    }
    ModuleScene scene = square_and_one_view();
    scene.images[0] = {};
    TextureMesh texture;
    scene.give_to(texture);
    EXPECT_EQ(texture.process_fusion(), RET_INVALID_INPUT);
}

TEST(TextureMeshData, InitializeForgetsIt)
{
    TextureMesh texture;
    square_and_one_view().give_to(texture);
    EXPECT_EQ(texture.check_data(), RET_SUCCESS);
    texture.initialize();
    EXPECT_EQ(texture.check_data(), RET_INVALID_INPUT);
}

TEST(TextureMeshData, ModulesWithoutPreparedDataAreRefused)
{
    TextureMesh texture;
    square_and_one_view().give_to(texture);
    BaseTriMesh mesh;
    EXPECT_EQ(texture.module_projection(), RET_INVALID_INPUT);
    EXPECT_EQ(texture.module_boundary_optimization(), RET_INVALID_INPUT);
    EXPECT_EQ(texture.module_boundary_fusion(), RET_INVALID_INPUT);
    EXPECT_EQ(texture.module_tex_hole_repair(), RET_INVALID_INPUT);
    EXPECT_EQ(texture.module_compute_texture(), RET_INVALID_INPUT);
    EXPECT_EQ(texture.get_textured_mesh(mesh), RET_INVALID_INPUT);
}

TEST(TextureMeshData, ListsOfDifferentLengthOfTheOneCallAreTold)
{
    ModuleScene scene = strip_and_three_views();
    scene.poses.pop_back();
    BaseTriMesh mesh;
    LogCapture const log;
    EXPECT_EQ(fuse(scene, mesh, true), RET_INVALID_INPUT);
    EXPECT_EQ(log.text(), "unmatched data size: number of image = 3, number of matrix = 2, number "
                          "of image intrinsic param = 3\n");
    EXPECT_FALSE(mesh.has_texture);
}

// ------------------------------------------------------------------------------------- the results

TEST(TextureMesh, ASinglePatchShowsThePhotographPixelForPixel)
{
    ModuleScene const scene = square_and_one_view();
    BaseTriMesh mesh;
    ASSERT_EQ(fuse(scene, mesh), RET_SUCCESS);
    veld_test::expect_sound(mesh);
    EXPECT_EQ(mesh.texture_coords.size(), 1 + mesh.get_vn());
    // 24 pixels from the first to the last vertex, three around, and space for the black pixel.
    EXPECT_EQ(mesh.texture_image.width(), 25 + 6 + 9);
    EXPECT_EQ(mesh.texture_image.height(), 25 + 6 + 9);
    for (std::size_t f = 0; f < mesh.get_fn(); ++f)
    {
        for (std::size_t k = 0; k < 3; ++k)
        {
            auto const& point = mesh.vCoord[static_cast<std::size_t>(mesh.faces[f][k])];
            int const column = 30 + 2 * (static_cast<int>(point.x()) - 6);
            int const row = 30 - 2 * (static_cast<int>(point.y()) - 6);
            auto const& uv = mesh.texture_coords[static_cast<std::size_t>(
                mesh.face_texture_ids[f][static_cast<Eigen::Index>(k)])];
            auto const x = static_cast<int>(std::lround(uv.u * 40.0F));
            auto const y = static_cast<int>(std::lround((1.0F - uv.v) * 40.0F));
            auto const* const pixel = mesh.texture_image.pixel(x, y);
            auto const* const photo = scene.images[0].pixel(column, row);
            ASSERT_TRUE(std::equal(pixel, pixel + 3, photo)) << f << " " << k;
        }
    }
}

TEST(TextureMesh, PhotographsMeetAtTheMeanAlongWholeEdges)
{
    ModuleScene scene = strip_and_three_views();
    scene.mesh = veld_test::grid(40, 12);
    BaseTriMesh mesh;
    ASSERT_EQ(process(scene, mesh), RET_SUCCESS);
    veld_test::expect_sound(mesh);
    // A vertex with several coordinates lies at a seam: all of its places show one colour.
    std::vector<std::set<std::vector<int>>> colours(mesh.get_vn());
    std::vector<std::set<int>> ids(mesh.get_vn());
    float const width = static_cast<float>(mesh.texture_image.width());
    float const height = static_cast<float>(mesh.texture_image.height());
    std::vector<int> n_patches_at(mesh.get_vn());
    std::vector<std::set<std::pair<int, int>>> places(mesh.get_vn());
    for (std::size_t f = 0; f < mesh.get_fn(); ++f)
    {
        for (std::size_t k = 0; k < 3; ++k)
        {
            auto const v = static_cast<std::size_t>(mesh.faces[f][k]);
            auto const& uv = mesh.texture_coords[static_cast<std::size_t>(
                mesh.face_texture_ids[f][static_cast<Eigen::Index>(k)])];
            auto const x = static_cast<int>(std::lround(uv.u * width));
            auto const y = static_cast<int>(std::lround((1.0F - uv.v) * height));
            places[v].emplace(x, y);
            auto const* const pixel = mesh.texture_image.pixel(x, y);
            colours[v].insert({pixel[0], pixel[1], pixel[2]});
        }
    }
    int n_seam = 0;
    for (std::size_t v = 0; v < mesh.get_vn(); ++v)
    {
        n_seam += places[v].size() > 1 ? 1 : 0;
        EXPECT_EQ(colours[v].size(), 1U) << v;
    }
    EXPECT_GE(n_seam, 2 * 13);
}

TEST(TextureMesh, AHoleIsPaintedFromItsSurroundings)
{
    ModuleScene scene = strip_and_three_views();
    for (auto& image : scene.images)
    {
        image = veld_test::painted(44, 44,
                                   [](int, int) {
                                       return std::array<unsigned char, 3>{90, 120, 150};
                                   });
    }
    BaseTriMesh mesh;
    ASSERT_EQ(process(scene, mesh), RET_SUCCESS);
    veld_test::expect_sound(mesh);
    EXPECT_EQ(veld_test::count_colored(mesh), static_cast<int>(mesh.get_fn()));
    for (auto const& ids : mesh.face_texture_ids)
    {
        for (int k = 0; k < 3; ++k)
        {
            auto const& uv = mesh.texture_coords[static_cast<std::size_t>(ids[k])];
            auto const x = static_cast<int>(
                std::lround(uv.u * static_cast<float>(mesh.texture_image.width())));
            auto const y = static_cast<int>(
                std::lround((1.0F - uv.v) * static_cast<float>(mesh.texture_image.height())));
            auto const* const pixel = mesh.texture_image.pixel(x, y);
            // Truncation may take one away.
            ASSERT_NEAR(pixel[0], 90, 1);
            ASSERT_NEAR(pixel[1], 120, 1);
            ASSERT_NEAR(pixel[2], 150, 1);
        }
    }
}

TEST(TextureMesh, BothWaysInGiveTheSame)
{
    ModuleScene const scene = strip_and_three_views();
    BaseTriMesh one_call;
    ASSERT_EQ(fuse(scene, one_call), RET_SUCCESS);
    TextureMesh texture;
    scene.give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    BaseTriMesh by_modules;
    ASSERT_EQ(texture.get_textured_mesh(by_modules), RET_SUCCESS);
    EXPECT_TRUE(veld_test::same(one_call, by_modules));
    EXPECT_GE(texture.counts().patches, 3U);
    EXPECT_EQ(texture.counts().texture_holes, 0U);
    EXPECT_EQ(texture.counts().textured_faces, 960U);
}

TEST(TextureMesh, RunsTwiceOnOneObject)
{
    ModuleScene const scene = strip_and_three_views();
    TextureMesh texture;
    BaseTriMesh first = scene.arrays();
    BaseTriMesh second = scene.arrays();
    ASSERT_EQ(texture.texture_fusion(first, scene.images, scene.poses, scene.cameras, false),
              RET_SUCCESS);
    EXPECT_EQ(texture.check_data(), RET_INVALID_INPUT);
    ASSERT_EQ(texture.texture_fusion(second, scene.images, scene.poses, scene.cameras, false),
              RET_SUCCESS);
    EXPECT_TRUE(veld_test::same(first, second));
    scene.give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    ASSERT_EQ(texture.get_textured_mesh(second), RET_SUCCESS);
    EXPECT_TRUE(veld_test::same(first, second));
}

TEST(TextureMesh, ModulesRunAgainOneByOne)
{
    ModuleScene const scene = strip_and_three_views();
    TextureMesh texture;
    scene.give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    BaseTriMesh first;
    BaseTriMesh second;
    ASSERT_EQ(texture.get_textured_mesh(first), RET_SUCCESS);
    EXPECT_EQ(texture.module_boundary_optimization(), RET_INVALID_INPUT);
    EXPECT_EQ(texture.module_projection(), RET_SUCCESS);
    EXPECT_EQ(texture.module_boundary_optimization(), RET_SUCCESS);
    EXPECT_EQ(texture.module_boundary_fusion(), RET_SUCCESS);
    EXPECT_EQ(texture.get_textured_mesh(second), RET_INVALID_INPUT);
    EXPECT_EQ(texture.module_tex_hole_repair(), RET_SUCCESS);
    EXPECT_EQ(texture.module_compute_texture(), RET_SUCCESS);
    ASSERT_EQ(texture.get_textured_mesh(second), RET_SUCCESS);
    EXPECT_TRUE(veld_test::same(first, second));
}

TEST(TextureMesh, IsTheSameForAnyNumberOfThreads)
{
    BaseTriMesh first;
    veld_test::for_thread_counts(
        [&]
        {
            BaseTriMesh mesh;
            ASSERT_EQ(process(strip_and_three_views(), mesh), RET_SUCCESS);
            first = first.get_fn() == 0 ? mesh : first;
            EXPECT_TRUE(veld_test::same(mesh, first));
        });
}

TEST(TextureMesh, CopiesAreDeep)
{
    ModuleScene const scene = strip_and_three_views();
    TextureMesh texture;
    scene.give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    TextureMesh copy(texture);
    BaseTriMesh first;
    BaseTriMesh second;
    ASSERT_EQ(texture.get_textured_mesh(first), RET_SUCCESS);
    texture.initialize();
    texture = TextureMesh();
    ASSERT_EQ(copy.get_textured_mesh(second), RET_SUCCESS);
    EXPECT_TRUE(veld_test::same(first, second));
    EXPECT_EQ(copy.process_fusion(), RET_SUCCESS);
}

TEST(TextureMesh, WhatIsMarkedDeletedGoesFromTheCopy)
{
    ModuleScene scene = square_and_one_view();
    scene.mesh.request_face_status();
    scene.mesh.request_edge_status();
    scene.mesh.request_halfedge_status();
    scene.mesh.request_vertex_status();
    scene.mesh.delete_face(OpenMesh::FaceHandle(100), false);
    BaseTriMesh mesh;
    ASSERT_EQ(process(scene, mesh), RET_SUCCESS);
    EXPECT_EQ(mesh.get_fn(), 287U);
    veld_test::expect_sound(mesh);
}

TEST(TextureMesh, AShuffledOrderKeepsTheResultSound)
{
    ModuleScene const scene = strip_and_three_views();
    TextureMesh texture;
    scene.give_to(texture);
    texture.set_vertex_tex_num_thr(1);
    texture.shuffle_image_texture_order();
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    BaseTriMesh mesh;
    ASSERT_EQ(texture.get_textured_mesh(mesh), RET_SUCCESS);
    veld_test::expect_sound(mesh);
}

// -----------------------------------------------------------------------------------------
// failures

TEST(TextureMesh, WhereNothingIsSeenItGoesOnToTheAtlasAndFails)
{
    ModuleScene scene = square_and_one_view();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    scene.poses[0].set_translation({nan, nan, nan});
    BaseTriMesh mesh;
    LogCapture const log;
    EXPECT_EQ(fuse(scene, mesh, true), RET_FAILED);
    EXPECT_FALSE(mesh.has_texture);
    EXPECT_EQ(log.count("  no texture patch.\n"), 1);
    EXPECT_EQ(log.count("fail to solve poisson equations.\n"), 1);
    EXPECT_EQ(log.count("  isolated hole:            1\n"), 1);
    EXPECT_EQ(log.count("fail to find invalid texture coord ["), 1);
    EXPECT_EQ(log.count("recompute_texture_coord() failed.\n"), 1);
}

TEST(TextureMesh, WhatLiesBehindACameraIsSeenUnlessThatIsSwitchedOff)
{
    for (auto const behind : {BehindCamera::SEEN, BehindCamera::UNSEEN})
    {
        ModuleScene scene = square_and_one_view();
        // It looks up, away from the square, which shows it its front all the same.
        scene.poses[0] = veld_test::look_at({6.0, 6.0, 100.0}, {6.0, 6.0, 200.0});
        TextureMesh texture;
        texture.set_behind_camera(behind);
        BaseTriMesh mesh = scene.arrays();
        texture.texture_fusion(mesh, scene.images, scene.poses, scene.cameras, false);
        EXPECT_EQ(texture.counts().seen_faces > 0, behind == BehindCamera::SEEN);
    }
}

TEST(TextureMesh, CoordinatesThatAreNoNumbersDoNoHarm)
{
    ModuleScene scene = strip_and_three_views();
    float const nan = std::numeric_limits<float>::quiet_NaN();
    scene.mesh.set_point(OpenMesh::VertexHandle(100), {nan, 0.0F, 0.0F});
    scene.mesh.set_point(OpenMesh::VertexHandle(200), {1e38F, -1e38F, 1e38F});
    BaseTriMesh mesh;
    ASSERT_EQ(fuse(scene, mesh), RET_SUCCESS);
    ASSERT_EQ(mesh.face_texture_ids.size(), mesh.get_fn());
    for (auto const& ids : mesh.face_texture_ids)
    {
        ASSERT_GE(ids.minCoeff(), 0);
        ASSERT_LT(ids.maxCoeff(), static_cast<int>(mesh.texture_coords.size()));
    }
}

TEST(TextureMesh, TwoEqualPatchesLeaveNoPixelForFacesWithoutColour)
{
    // Two squares with one camera each, which sees the other square nowhere.
    ModuleScene scene;
    std::vector<veld_test::Cell> missing;
    for (int y = 0; y < 8; ++y)
    {
        for (int x = 8; x < 40; ++x)
        {
            missing.emplace_back(x, y);
        }
    }
    scene.mesh = veld_test::grid_without(48, 8, missing);
    scene.add_view(4.0, 4.0, veld_test::numbered_photo(40, 40, 0));
    scene.add_view(44.0, 4.0, veld_test::numbered_photo(40, 40, 1));
    BaseTriMesh mesh;
    LogCapture const log;
    EXPECT_EQ(fuse(scene, mesh, true), RET_FAILED);
    EXPECT_EQ(log.count("  succeed reallocated patches:        2\n"), 1);
    EXPECT_EQ(log.count("fail to find invalid texture coord ["), 1);
    EXPECT_FALSE(mesh.has_texture);
}

TEST(TextureMesh, ALonePatchWithoutGapsLeavesNoSuchPixelEither)
{
    ModuleScene const scene = square_and_one_view();
    TextureMesh texture;
    texture.set_sub_tex_gap(0);
    scene.give_to(texture);
    EXPECT_EQ(texture.process_fusion(), RET_FAILED);
    EXPECT_EQ(texture.counts().patches, 1U);
    EXPECT_EQ(texture.counts().textured_faces, 288U);
    texture.set_sub_tex_gap(1);
    EXPECT_EQ(texture.process_fusion(), RET_SUCCESS);
}

TEST(TextureMesh, MayBeCancelledAnywhereAndLeavesTheMesh)
{
    ModuleScene const scene = strip_and_three_views();
    CancelToken token;
    token.cancel();
    BaseTriMesh mesh = scene.arrays();
    TextureMesh texture;
    {
        RunScope const run(token);
        EXPECT_THROW(texture.texture_fusion(mesh, scene.images, scene.poses, scene.cameras, false),
                     Cancelled);
    }
    EXPECT_FALSE(mesh.has_texture);
    EXPECT_EQ(texture.texture_fusion(mesh, scene.images, scene.poses, scene.cameras, false),
              RET_SUCCESS);
}

TEST(TextureMesh, AHoleRepairThatWasEndedLeavesNoTexture)
{
    ModuleScene const scene = strip_and_three_views();
    TextureMesh texture;
    scene.give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    BaseTriMesh whole;
    ASSERT_EQ(texture.get_textured_mesh(whole), RET_SUCCESS);
    CancelToken token;
    token.cancel();
    {
        RunScope const run(token);
        EXPECT_THROW(texture.module_tex_hole_repair(), Cancelled);
    }
    BaseTriMesh mesh;
    EXPECT_EQ(texture.get_textured_mesh(mesh), RET_INVALID_INPUT);
    EXPECT_EQ(texture.module_tex_hole_repair(), RET_SUCCESS);
    EXPECT_EQ(texture.module_compute_texture(), RET_SUCCESS);
    ASSERT_EQ(texture.get_textured_mesh(mesh), RET_SUCCESS);
    EXPECT_TRUE(veld_test::same(whole, mesh));
}

// -------------------------------------------------------------------------------- texts and timers

/// What the log tells of the modules, in this order.
constexpr char const* MODULE_LINES[] = {
    "process_fusion() ..\n",
    "check_data() ..\n",
    "====================< TextureMesh Param >====================\n",
    "  vertices:               533\n",
    "  number of images:       3\n",
    "  image width:            44\n",
    "  distance thr:           1.000000\n",
    "  vertex tex num thr:     10\n",
    "\n====================\nmodule_projection() ..\n",
    "omp max threads: ",
    "project_vertex_tex() .. [",
    "  image_dilate( 0 ) ..\n",
    "  image( 0 ) projected vertices: ",
    "  image_dilate( 2 ) ..\n",
    "  faces with texture: 960\n",
    "\n====================\nmodule_boundary_optimization() ..\n",
    "filter_face_tex() ..\n",
    "optimize_face_tex() ..\n",
    "  affected faces:    ",
    "  affected blocks:   ",
    "greedy_change_face_tex_by_edge_shared() ..\n",
    "  affected faces:    ",
    "optimize_face_tex() ..\n",
    "update_vertex_tex_by_face() ..\n",
    "partition_mesh_by_face() ..\n",
    "  current total patches:  ",
    "\n====================\nmodule_boundary_fusion() ..\n",
    "rasterization info:\n",
    "  rasterization times:         ",
    "\n====================\nmodule_tex_hole_repair() ..\n",
    "find_tex_hole() ..\n",
    "fill_tex_hole() ..\n",
    "\ntex hole analysis:\n",
    "  total holes:              0\n",
    "\n====================\nmodule_compute_texture() ..\n",
    "arrange_sub_textures() ..\n",
    "  total tex patches:  ",
    "texture packing info:\n",
    "arrange_hole_sub_textures() ..\n",
    "hole texture packing info:\n",
    "recompute_texture_coord() ..\n",
    "find_invalid_face_patch_tex() ..\n",
    "  total faces:       960\n",
    "recompute_hole_texture_coord() ..\n",
    "tex changed face:                0\n"};

TEST(TextureMesh, TellsTheLogItsModulesInOrder)
{
    LogCapture const log;
    ModuleScene const scene = strip_and_three_views();
    TextureMesh texture;
    texture.set_enable_file_saving(false);
    scene.give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    std::size_t at = 0;
    for (char const* const line : MODULE_LINES)
    {
        at = log.text().find(line, at);
        ASSERT_NE(at, std::string::npos) << line << "\nin:\n" << log.text();
    }
    EXPECT_EQ(log.count("!!!"), 0);
    EXPECT_EQ(log.count("error"), 0);
}

TEST(TextureMesh, TimesItsSteps)
{
    veld_test::StepsHeard const steps;
    LogCapture const log(false);
    BaseTriMesh mesh;
    ASSERT_EQ(fuse(strip_and_three_views(), mesh), RET_SUCCESS);
    for (char const* event : {"+Data-Convert-BaseTriMesh-to-TriMesh/",
                              "+tex-fusion/",
                              "+process-fusion/",
                              "+project-vertex-tex/process-fusion",
                              "+image-dilate/project-vertex-tex",
                              "+project-face-tex/process-fusion",
                              "+filter-face-tex/process-fusion",
                              "+optimize-face-tex/process-fusion",
                              "+greedy-change-face-tex-by-edge-shared/process-fusion",
                              "+refind-block/process-fusion",
                              "+update-vertex-tex/process-fusion",
                              "+partition-face/process-fusion",
                              "+poisson-solve/process-fusion",
                              "+edge-rasterization/poisson-solve",
                              "+poisson-solver(*)/poisson-solve",
                              "+fill-sparse-matrix(*)/poisson-solve",
                              "+matrix-decomposition(*)/poisson-solve",
                              "+tex-hole-repair/process-fusion",
                              "+find-tex-hole/tex-hole-repair",
                              "+fill-tex-hole/tex-hole-repair",
                              "+arrange-sub-textures/process-fusion",
                              "+arrange-hole-sub-textures/process-fusion",
                              "+recompute-texture-coord/process-fusion",
                              "+recompute-hole-texture-coord/process-fusion",
                              "+Data-Convert-TriMesh-to-BaseTriMesh/",
                              "+Data-Convert-TexBaseTriMesh/"})
    {
        EXPECT_THAT(steps.events(), testing::Contains(std::string(event)));
    }
    EXPECT_EQ(steps.events().size() % 2, 0U);
}

// ---------------------------------------------------------------------------------------- the
// files

std::vector<std::string> const& all_files()
{
    static std::vector<std::string> const names{"1-vertex-projected-model-patch.obj",
                                                "1-vertex-projected-model-tex.obj",
                                                "2-face-projected-model-patch.obj",
                                                "2-face-projected-model-tex.obj",
                                                "3-boundary-optimized-model-patch.obj",
                                                "3-boundary-optimized-model-tex.obj",
                                                "4-tex-hole-model-patch.obj",
                                                "7-fused-vertex-model.obj",
                                                "9-texture-model.jpg",
                                                "9-texture-model.mtl",
                                                "9-texture-model.obj",
                                                "sub-tex-patch-info.txt"};
    return names;
}

TEST(TextureMeshFiles, AreWrittenOnlyIfBothSwitchesAreOn)
{
    for (bool const is_verbose : {false, true})
    {
        for (bool const saves : {false, true})
        {
            LogCapture const log(is_verbose);
            TempDir const dir;
            gPH.set_result_dir(dir.path().string());
            TextureMesh texture;
            texture.set_enable_file_saving(saves);
            texture.set_norm_thr(0.9F);
            strip_and_three_views().give_to(texture);
            ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
            EXPECT_EQ(veld_test::files_in(dir.path()),
                      is_verbose && saves ? all_files() : std::vector<std::string>());
        }
    }
}

TEST(TextureMeshFiles, AMissingDirectoryGivesALineForEachAndTheSameResult)
{
    BaseTriMesh plain;
    ASSERT_EQ(fuse(strip_and_three_views(), plain), RET_SUCCESS);
    LogCapture const log;
    TempDir const dir;
    gPH.set_result_dir(dir.file("missing"));
    BaseTriMesh mesh;
    ASSERT_EQ(fuse(strip_and_three_views(), mesh, true), RET_SUCCESS);
    EXPECT_TRUE(veld_test::same(mesh, plain));
    for (auto const& name : all_files())
    {
        int const expected = name == "7-fused-vertex-model.obj" ? 2 : 1;
        EXPECT_EQ(log.count("fail to write '" + dir.file("missing") + "/" + name + "'"), expected)
            << name;
    }
}

TEST(TextureMeshFiles, TheListOfPatchesHasTheirSizesInPatchOrder)
{
    LogCapture const log;
    TempDir const dir;
    gPH.set_result_dir(dir.path().string());
    BaseTriMesh mesh;
    ASSERT_EQ(fuse(square_and_one_view(), mesh, true), RET_SUCCESS);
    EXPECT_EQ(veld_test::file_content(dir.file("sub-tex-patch-info.txt")), "1\n31 31\n");
}

TEST(TextureMeshFiles, TheMaterialNamesTheAtlas)
{
    LogCapture const log;
    TempDir const dir;
    gPH.set_result_dir(dir.path().string());
    TextureMesh texture;
    texture.set_texture_name("model");
    square_and_one_view().give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    EXPECT_EQ(veld_test::file_content(dir.file("model.mtl")),
              "newmtl _texture\nKd 1.00 1.00 1.00\nKa 0.00 0.00 0.00\nTf 1.00 1.00 1.00\n"
              "Ni 1.00\nmap_Kd model.jpg\n");
    std::string const model = veld_test::file_content(dir.file("model.obj"));
    EXPECT_EQ(model.rfind("mtllib model.mtl\n# Number of vertices: 169\nv 0.000000 0.000000 ", 0),
              0U);
    EXPECT_NE(model.find("# Number of textures: 170\nvt "), std::string::npos);
    EXPECT_NE(model.find("usemtl _texture\n# Number of triangles: 288\nf "), std::string::npos);
    EXPECT_EQ(model.substr(model.size() - 14), "# end of file\n");
}

TEST(TextureMeshFiles, StagesHaveAllVerticesWithColoursAndAllFaces)
{
    LogCapture const log;
    TempDir const dir;
    gPH.set_result_dir(dir.path().string());
    BaseTriMesh mesh;
    ASSERT_EQ(fuse(strip_and_three_views(), mesh, true), RET_SUCCESS);
    for (auto const& name : all_files())
    {
        if (name.find("model-") == std::string::npos && name.find("7-") != 0)
        {
            continue;
        }
        SCOPED_TRACE(name);
        std::istringstream lines(veld_test::file_content(dir.file(name)));
        int n_vertices = 0;
        int n_faces = 0;
        for (std::string line; std::getline(lines, line);)
        {
            std::istringstream words(line);
            std::string kind;
            words >> kind;
            std::vector<double> numbers;
            for (double number; words >> number;)
            {
                numbers.push_back(number);
            }
            if (kind == "v")
            {
                ++n_vertices;
                ASSERT_EQ(numbers.size(), 6U);
                ASSERT_LE(*std::max_element(numbers.begin() + 3, numbers.end()), 255.0);
            }
            if (kind == "f")
            {
                ++n_faces;
                ASSERT_EQ(numbers.size(), 3U);
                ASSERT_GE(*std::min_element(numbers.begin(), numbers.end()), 1.0);
                ASSERT_LE(*std::max_element(numbers.begin(), numbers.end()), 533.0);
            }
        }
        EXPECT_EQ(n_vertices, 533);
        EXPECT_EQ(n_faces, 960);
    }
}

} // namespace
