#include "algorithmVeld/TextureFusion/TextureFusion.h"

#include "algorithmVeld/TextureFusion/projection/SmoothNormals.h"
#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/RunScope.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "scenes.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/steps.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"
#include "textured_checks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using veld_test::atlas_pixel;
using veld_test::Cell;
using veld_test::count_colored;
using veld_test::expect_sound;
using veld_test::has_no_colour;
using veld_test::is_black;
using veld_test::LogCapture;
using veld_test::look_at;
using veld_test::same;
using veld_test::same_bytes;
using veld_test::TempDir;
using Photo = Image<3, unsigned char>;

// -------------------------------------------------------------------------------------- the scenes

/// Cameras look down from here, so that a millimetre at z = 0 is two pixels.
constexpr double CAMERA_HEIGHT = 100.0;
constexpr double FOCAL_LENGTH = 200.0;

/// A mesh and what it was photographed with.
struct FusionScene
{
    BaseTriMesh mesh;
    std::vector<Photo> images;
    std::vector<RigidMatrix> poses;
    std::vector<CameraInParam> cameras;

    void add_view(RigidMatrix const& pose, Photo image)
    {
        poses.push_back(pose);
        cameras.emplace_back(FOCAL_LENGTH, FOCAL_LENGTH, image.width() / 2.0, image.height() / 2.0);
        images.push_back(std::move(image));
    }

    /// A view straight down. Vertices at whole millimetres lie in the middle of pixels.
    void add_view_from_above(double x, double y, Photo image)
    {
        add_view(look_at({x + 0.25, y + 0.25, CAMERA_HEIGHT}, {x + 0.25, y + 0.25, 0.0}),
                 std::move(image));
    }

    FusionScene permuted(std::vector<std::size_t> const& order) const
    {
        FusionScene result;
        result.mesh = mesh;
        for (std::size_t const i : order)
        {
            result.images.push_back(images[i]);
            result.poses.push_back(poses[i]);
            result.cameras.push_back(cameras[i]);
        }
        return result;
    }

    RetVal run(TextureFusion& fusion, bool verbose = false)
    {
        return fusion.texture_fusion(mesh, images, poses, cameras, verbose);
    }
    RetVal run(bool verbose = false)
    {
        TextureFusion fusion;
        return run(fusion, verbose);
    }
};

BaseTriMesh arrays_of(TriMesh const& mesh)
{
    BaseTriMesh arrays;
    TriMesh_convert_to_BaseTriMesh(mesh, arrays);
    return arrays;
}

/// No two pixels near each other have one colour.
Photo pattern_photo(int width, int height, int seed = 0)
{
    return veld_test::painted(width, height,
                              [&](int x, int y)
                              {
                                  return std::array<unsigned char, 3>{
                                      static_cast<unsigned char>(x + 1),
                                      static_cast<unsigned char>(y + 1),
                                      static_cast<unsigned char>(100 + 50 * seed)};
                              });
}

Photo plain_photo(int width, int height, std::array<unsigned char, 3> const& color)
{
    return veld_test::painted(width, height, [&](int, int) { return color; });
}

/// A flat square seen from above by one camera: 288 faces.
FusionScene one_view()
{
    FusionScene scene;
    scene.mesh = arrays_of(veld_test::grid(12, 12));
    scene.add_view_from_above(6.0, 6.0, pattern_photo(60, 60));
    return scene;
}

/// A waved strip, seen from above by three cameras of different light, each of which sees a part.
FusionScene three_views()
{
    TriMesh mesh = veld_test::grid(40, 12);
    for (auto const vertex : mesh.vertices())
    {
        auto& point = mesh.point(vertex);
        point.z() = std::sin(point.x() / 3.0F) + std::cos(point.y() / 4.0F);
    }
    FusionScene scene;
    scene.mesh = arrays_of(mesh);
    for (int i = 0; i < 3; ++i)
    {
        scene.add_view_from_above(8.0 + 12.0 * i, 6.0, pattern_photo(44, 44, i));
    }
    return scene;
}

/// A square with a steep bump in the middle, whose flanks lie outside a limit of 0.9, seen by two
/// cameras that share it half and half.
FusionScene with_bump()
{
    TriMesh mesh = veld_test::grid(24, 16);
    for (auto const vertex : mesh.vertices())
    {
        auto& point = mesh.point(vertex);
        bool const inside = std::abs(point.x() - 12.0F) < 2.5F && std::abs(point.y() - 8.0F) < 2.5F;
        point.z() = inside ? 4.0F : 0.0F;
    }
    FusionScene scene;
    scene.mesh = arrays_of(mesh);
    scene.add_view_from_above(7.0, 8.0, plain_photo(50, 60, {200, 100, 50}));
    scene.add_view_from_above(17.0, 8.0, plain_photo(50, 60, {100, 200, 50}));
    return scene;
}

// --------------------------------------------------------------------------------------- arguments

TEST(TextureFusion, ListsOfDifferentLengthAreRefusedBeforeTheSort)
{
    veld_test::StepsHeard const steps;
    for (int const which : {0, 1, 2})
    {
        FusionScene scene = three_views();
        FusionScene const before = scene;
        if (which == 0)
        {
            scene.images.pop_back();
        }
        else if (which == 1)
        {
            scene.poses.pop_back();
        }
        else
        {
            scene.cameras.pop_back();
        }
        LogCapture const log;
        EXPECT_EQ(scene.run(true), RET_INVALID_INPUT);
        EXPECT_EQ(log.text(), "texture_fusion() ..\n");
        EXPECT_TRUE(same(scene.mesh, before.mesh));
    }
    EXPECT_TRUE(steps.events().empty());
}

TEST(TextureFusion, AMeshWithoutFacesIsRefusedBeforeTheSort)
{
    veld_test::StepsHeard const steps;
    FusionScene scene = one_view();
    scene.mesh.faces.clear();
    EXPECT_EQ(scene.run(), RET_INVALID_INPUT);
    EXPECT_TRUE(steps.events().empty());
    EXPECT_EQ(scene.mesh.get_vn(), 169U);
    EXPECT_FALSE(scene.mesh.has_texture);
}

TEST(TextureFusion, WithoutPhotographsTheSortRefuses)
{
    FusionScene scene;
    scene.mesh = arrays_of(veld_test::grid(12, 12));
    EXPECT_EQ(scene.run(), RET_INVALID_INPUT);
    EXPECT_FALSE(scene.mesh.has_texture);
}

TEST(TextureFusion, LeavesTheLogSwitchAsItIsTold)
{
    LogCapture const log(false);
    FusionScene scene = one_view();
    EXPECT_EQ(scene.run(true), RET_SUCCESS);
    EXPECT_TRUE(gPH.log_enabled);
    EXPECT_FALSE(log.text().empty());
    LogCapture const silent(true);
    EXPECT_EQ(scene.run(false), RET_SUCCESS);
    EXPECT_FALSE(gPH.log_enabled);
    EXPECT_EQ(silent.text(), "");
}

// ----------------------------------------------------------------------------------- whole results

TEST(TextureFusion, ASinglePatchSharesItsCoordinatesAndShowsThePhotograph)
{
    FusionScene scene = one_view();
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    BaseTriMesh const& mesh = scene.mesh;
    expect_sound(mesh);
    EXPECT_EQ(mesh.texture_coords.size(), 1 + mesh.get_vn());
    // 24 pixels from the first to the last vertex, three around, and the black cell a gap beside.
    int const side = 25 + 6;
    EXPECT_EQ(std::min(mesh.texture_image.width(), mesh.texture_image.height()), side);
    EXPECT_EQ(std::max(mesh.texture_image.width(), mesh.texture_image.height()), side + 2);
    EXPECT_TRUE(is_black(atlas_pixel(mesh, 0)));
    for (std::size_t f = 0; f < mesh.get_fn(); ++f)
    {
        for (std::size_t k = 0; k < 3; ++k)
        {
            auto const& point = mesh.vCoord[static_cast<std::size_t>(mesh.faces[f][k])];
            auto const column = static_cast<int>(30.0F + 2.0F * (point.x() - 6.25F));
            auto const row = static_cast<int>(30.0F - 2.0F * (point.y() - 6.25F));
            auto const* const pixel =
                atlas_pixel(mesh, mesh.face_texture_ids[f][static_cast<Eigen::Index>(k)]);
            ASSERT_EQ(std::memcmp(pixel, scene.images[0].pixel(column, row), 3), 0)
                << f << " " << k;
        }
    }
}

TEST(TextureFusion, FromTheFreeFunctionItIsTheSame)
{
    FusionScene scene = three_views();
    FusionScene other = scene;
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    ASSERT_EQ(texture_fusion(other.mesh, other.images, other.poses, other.cameras, false),
              RET_SUCCESS);
    EXPECT_TRUE(same(scene.mesh, other.mesh));
}

TEST(TextureFusion, IsTheSameForAnyNumberOfThreads)
{
    BaseTriMesh first;
    for (int const n : {1, 2, 8})
    {
        veld_test::Threads const threads(n);
        FusionScene scene = three_views();
        ASSERT_EQ(scene.run(), RET_SUCCESS);
        expect_sound(scene.mesh);
        first = n == 1 ? scene.mesh : first;
        EXPECT_TRUE(same(scene.mesh, first)) << n;
    }
}

TEST(TextureFusion, KeepsTheGeometry)
{
    FusionScene scene = three_views();
    BaseTriMesh const before = scene.mesh;
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    EXPECT_TRUE(same_bytes(scene.mesh.vCoord, before.vCoord));
    EXPECT_TRUE(same_bytes(scene.mesh.faces, before.faces));
    EXPECT_TRUE(scene.mesh.has_vNormal);
    EXPECT_TRUE(scene.mesh.has_fNormal);
}

TEST(TextureFusion, GivesTheNormalsByWhichItSaw)
{
    FusionScene scene = three_views();
    TriMesh expected;
    BaseTriMesh_convert_to_TriMesh(scene.mesh, expected);
    detail::renew_normals(expected);
    detail::smooth_vertex_normals(expected);
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    for (auto const vertex : expected.vertices())
    {
        ASSERT_EQ(scene.mesh.vNrv[static_cast<std::size_t>(vertex.idx())], expected.normal(vertex));
    }
}

TEST(TextureFusion, AnOlderTextureGoes)
{
    FusionScene scene = one_view();
    scene.mesh.enable_texture();
    scene.mesh.set_texture_coords(std::vector<BaseTriMesh::UVCoord>(1000));
    scene.mesh.set_texture_image(Photo(500, 500));
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    expect_sound(scene.mesh);
    EXPECT_EQ(scene.mesh.texture_coords.size(), 170U);
    EXPECT_LT(scene.mesh.texture_image.width(), 100);
}

TEST(TextureFusion, FacesThatTheHalfEdgeMeshRefusesGo)
{
    FusionScene scene = one_view();
    BaseTriFace const first = scene.mesh.faces.front();
    scene.mesh.faces.insert(scene.mesh.faces.begin() + 5, first); // a second time
    scene.mesh.faces.insert(scene.mesh.faces.begin() + 9, {0, 0, 1});
    scene.mesh.faces.insert(scene.mesh.faces.begin() + 20, {0, 1, 100000});
    FusionScene clean = one_view();
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    ASSERT_EQ(clean.run(), RET_SUCCESS);
    EXPECT_TRUE(same(scene.mesh, clean.mesh));
}

TEST(TextureFusion, PatchesThatTouchAtAVertexShareItsCoordinate)
{
    std::vector<Cell> missing;
    for (int y = 0; y < 16; ++y)
    {
        for (int x = 0; x < 16; ++x)
        {
            if ((x < 8) != (y < 8))
            {
                missing.emplace_back(x, y);
            }
        }
    }
    FusionScene scene;
    scene.mesh = arrays_of(veld_test::grid_without(16, 16, missing));
    scene.add_view_from_above(8.0, 8.0, pattern_photo(70, 70));
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    expect_sound(scene.mesh);
    // Twice nine by nine vertices, of which one is in both.
    EXPECT_EQ(scene.mesh.texture_coords.size(), 1U + 2U * 81U - 1U);
}

TEST(TextureFusion, FacesAcrossASeamHaveCoordinatesOfTheirOwn)
{
    FusionScene scene = three_views();
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    expect_sound(scene.mesh);
    EXPECT_GT(scene.mesh.texture_coords.size(), 1 + scene.mesh.get_vn());
    EXPECT_EQ(count_colored(scene.mesh), static_cast<int>(scene.mesh.get_fn()));
}

/// A square that is seen, and one beside it that is not.
FusionScene half_seen()
{
    std::vector<Cell> missing;
    for (int y = 0; y < 12; ++y)
    {
        missing.emplace_back(12, y);
    }
    FusionScene scene;
    scene.mesh = arrays_of(veld_test::grid_without(25, 12, missing));
    scene.add_view_from_above(6.0, 6.0, pattern_photo(32, 32));
    return scene;
}

TEST(TextureFusion, AFaceThatStaysWithoutColourPointsAtTheBlackCell)
{
    FusionScene scene = half_seen();
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    expect_sound(scene.mesh);
    EXPECT_EQ(count_colored(scene.mesh), 288);
    for (std::size_t f = 0; f < scene.mesh.get_fn(); ++f)
    {
        bool const seen =
            scene.mesh.vCoord[static_cast<std::size_t>(scene.mesh.faces[f][0])].x() < 12.5F;
        EXPECT_EQ(has_no_colour(scene.mesh, f), !seen) << f;
    }
    EXPECT_TRUE(is_black(atlas_pixel(scene.mesh, 0)));
}

TEST(TextureFusion, AHoleInATexturedSurfaceIsPainted)
{
    FusionScene scene = with_bump();
    TextureFusion fusion;
    fusion.set_norm_thr(0.9F);
    LogCapture const log;
    ASSERT_EQ(scene.run(fusion, true), RET_SUCCESS);
    expect_sound(scene.mesh);
    EXPECT_EQ(log.count("  total holes:         0\n"), 0);
    EXPECT_EQ(count_colored(scene.mesh), static_cast<int>(scene.mesh.get_fn()));
}

// ------------------------------------------------------------------------------ the order of views

/// A and B share a voxel; A looks more at the middle of all cameras, which the third, far off and
/// with the mesh outside its image, draws to its side.
FusionScene two_for_one_place()
{
    FusionScene scene;
    scene.mesh = arrays_of(veld_test::grid(12, 12));
    Vector3d const eye(6.25, 6.25, CAMERA_HEIGHT);
    scene.add_view(look_at(eye, {16.25, 6.25, 0.0}), plain_photo(120, 120, {10, 20, 30}));
    scene.add_view(look_at(eye, {-3.75, 6.25, 0.0}), plain_photo(120, 120, {40, 50, 60}));
    scene.add_view(look_at({1000.0, 6.25, CAMERA_HEIGHT}, {1000.0, 6.25, 0.0}),
                   plain_photo(120, 120, {70, 80, 90}));
    return scene;
}

TEST(TextureFusion, OnlyTheFirstViewsOfTheSortCount)
{
    TextureFusion fusion;
    fusion.set_vertex_tex_num_thr(1);
    for (auto const& order : {std::vector<std::size_t>{0, 1, 2}, {2, 1, 0}, {1, 0, 2}})
    {
        FusionScene scene = two_for_one_place().permuted(order);
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        expect_sound(scene.mesh);
        EXPECT_EQ(count_colored(scene.mesh), 288);
        for (auto const& ids : scene.mesh.face_texture_ids)
        {
            ASSERT_EQ(atlas_pixel(scene.mesh, ids[0])[0], 10);
        }
    }
}

// -------------------------------------------------------------------------------- log, steps,
// files

TEST(TextureFusion, TellsTheLogItsStepsInOrder)
{
    LogCapture const log;
    FusionScene scene = one_view();
    ASSERT_EQ(scene.run(true), RET_SUCCESS);
    EXPECT_EQ(log.text(), "texture_fusion() ..\n"
                          "space_based_sort() ..\n"
                          "total frames in voxels:  1\n"
                          "show_texture_fusion_param() ..\n"
                          "\n===============< Texture Fusion Param >===============\n"
                          "  use MKL solver:                 0\n"
                          "  dis thr:                        1.000000 mm\n"
                          "  norm thr:                       0.000000\n"
                          "  enable file saving:             0\n"
                          "===============</Texture Fusion Param >===============\n\n"
                          "show_mesh_info() ..\n"
                          "==========< mesh info >==========\n"
                          "  faces:         288\n"
                          "  verts:         169\n"
                          "  edges:         456\n"
                          "==========</mesh info >==========\n"
                          "process_fusion() ..\n"
                          "project_tex() ..\n"
                          "  image( 0 ) projected vertices: 169\n"
                          "optimize_block() ..\n"
                          "filter_face_tex() ..\n"
                          "optimize_face_tex() ..\n"
                          "optimize_boundary_iteration() ..\n"
                          "optimize_face_tex() ..\n"
                          "partition_mesh_by_face() ..\n"
                          "  total patches:         1\n"
                          "poisson_solve_color_diff() ..\n"
                          "  isolated patch [   0] (size =   288)\n"
                          "poisson_hole_filling() ..\n"
                          "  total holes:         0\n"
                          "compute_coord() ..\n"
                          "compute_hole_tex_coord() ..\n");
}

constexpr char const* FUSION_STEPS =
    "space-based-sort BaseTriMesh-to-TriMesh copy-initial-data "
    "process-fusion(calc-vert-avg-norm project-tex optimize-block(filter-face-tex "
    "optimize-face-tex optimize-boundary-iteration) partition-mesh poisson-solve-color-diff "
    "poisson-hole-filling compute-coord compute-hole-tex-coord)";

TEST(TextureFusion, TimesItsSteps)
{
    veld_test::StepsHeard const steps;
    FusionScene scene = one_view();
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    EXPECT_EQ(veld_test::outline(gLH),
              std::string(FUSION_STEPS) + " TriMesh-to-BaseTriMesh add-texture-to-BaseTriMesh");
    auto const& events = steps.events();
    EXPECT_EQ(std::count(events.begin(), events.end(), "+optimize-face-tex/optimize-block"), 2);
    EXPECT_EQ(std::count(events.begin(), events.end(), "-process-fusion/"), 1);
    auto const tree = nlohmann::json::parse(gLH.steps_as_json());
    EXPECT_GT(tree[3]["seconds"].get<double>(), 0.0);
    EXPECT_EQ(tree[3]["running"].get<int>(), 0);
}

TEST(TextureFusion, AFailedStepEndsItsTimers)
{
    veld_test::StepsHeard const steps;
    FusionScene scene = one_view();
    TextureFusion fusion;
    fusion.set_packing_gap(-1);
    EXPECT_EQ(scene.run(fusion), RET_FAILED);
    for (auto const& step : nlohmann::json::parse(gLH.steps_as_json()))
    {
        EXPECT_EQ(step["running"].get<int>(), 0);
    }
    EXPECT_EQ(veld_test::outline(gLH).find("TriMesh-to-BaseTriMesh add"), std::string::npos);
}

std::vector<std::string> const FUSION_FILES = {
    "1-vertex-projected-model-patch.obj",   "1-vertex-projected-model-tex.obj",
    "2-face-projected-model-patch.obj",     "2-face-projected-model-tex.obj",
    "3-boundary-optimized-model-patch.obj", "3-boundary-optimized-model-tex.obj",
    "4-tex-hole-model-patch.obj",           "7-fused-vertex-model.obj"};

TEST(TextureFusion, SavesFilesOnlyIfBothSwitchesAreOn)
{
    for (bool const verbose : {false, true})
    {
        for (bool const enabled : {false, true})
        {
            LogCapture const log;
            TempDir const directory;
            gPH.set_result_dir(directory.path().string());
            veld_test::StepsHeard const steps;
            FusionScene scene = three_views();
            FusionScene plain_scene = three_views();
            TextureFusion fusion;
            fusion.set_enable_file_saving(enabled);
            ASSERT_EQ(scene.run(fusion, verbose), RET_SUCCESS);
            EXPECT_EQ(veld_test::files_in(directory.path()),
                      verbose && enabled ? FUSION_FILES : std::vector<std::string>());
            EXPECT_EQ(veld_test::outline(gLH).find(
                          "saving-time(save-vertex-projected-model "
                          "save-face-projected-model "
                          "save-block-optimized-model "
                          "save-fused-vertex-model save-tex-hole-model)") != std::string::npos,
                      verbose && enabled);
            ASSERT_EQ(plain_scene.run(), RET_SUCCESS);
            EXPECT_TRUE(same(scene.mesh, plain_scene.mesh));
        }
    }
}

TEST(TextureFusion, AMissingDirectoryGivesALineForEachFileAndTheSameResult)
{
    LogCapture const log;
    TempDir const directory;
    gPH.set_result_dir(directory.file("missing"));
    FusionScene scene = three_views();
    FusionScene other = three_views();
    TextureFusion fusion;
    fusion.set_enable_file_saving(true);
    ASSERT_EQ(scene.run(fusion, true), RET_SUCCESS);
    EXPECT_EQ(log.count("fail to write '"), 8);
    ASSERT_EQ(other.run(), RET_SUCCESS);
    EXPECT_TRUE(same(scene.mesh, other.mesh));
}

// ---------------------------------------------------------------------------------------- settings

TEST(TextureFusion, TellsItsSettings)
{
    LogCapture const log;
    FusionScene scene = one_view();
    TextureFusion fusion;
    fusion.set_use_mkl_solver(true);
    fusion.set_dis_thr(2.5F);
    fusion.set_norm_thr(0.25F);
    ASSERT_EQ(scene.run(fusion, true), RET_SUCCESS);
    EXPECT_EQ(log.count("  use MKL solver:                 1\n"
                        "  dis thr:                        2.500000 mm\n"
                        "  norm thr:                       0.250000\n"),
              1);
}

TEST(TextureFusion, TheSolverIsTheOneThatIsSet)
{
    for (bool const enabled : {false, true})
    {
        LogCapture const log;
        FusionScene scene = three_views();
        TextureFusion fusion;
        fusion.set_use_mkl_solver(enabled);
        ASSERT_EQ(scene.run(fusion, true), RET_SUCCESS);
        EXPECT_EQ(log.count("MKL_Pardiso() ..\n") > 0, enabled);
    }
}

TEST(TextureFusion, OnlyTheDirectSolverPaintsTheRimOfAHole)
{
    for (bool const enabled : {false, true})
    {
        FusionScene scene = with_bump();
        TextureFusion fusion;
        fusion.set_norm_thr(0.9F);
        fusion.set_use_mkl_solver(enabled);
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        int black_corners = 0;
        for (auto const& ids : scene.mesh.face_texture_ids)
        {
            for (int const id : ids)
            {
                black_corners += is_black(atlas_pixel(scene.mesh, id)) ? 1 : 0;
            }
        }
        EXPECT_EQ(black_corners > 0, !enabled) << black_corners;
    }
}

TEST(TextureFusion, TheToleranceOfDepthsDecidesAboutALayerBelow)
{
    TriMesh layers = veld_test::grid(12, 12);
    TriMesh const below = veld_test::grid(12, 12);
    for (auto const vertex : below.vertices())
    {
        layers.add_vertex(below.point(vertex) - Vector3f(0.0F, 0.0F, 0.5F));
    }
    for (auto const& face : veld_test::corners_of(below))
    {
        layers.add_face(veld_test::vh(169 + face[0]), veld_test::vh(169 + face[1]),
                        veld_test::vh(169 + face[2]));
    }
    for (auto const& [tolerance, expected] : {std::pair(0.51F, 576), std::pair(0.49F, 288)})
    {
        FusionScene scene = one_view();
        scene.mesh = arrays_of(layers);
        TextureFusion fusion;
        fusion.set_dis_thr(tolerance);
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        EXPECT_EQ(count_colored(scene.mesh), expected);
    }
}

TEST(TextureFusion, TheLimitOfCosinesDecidesAboutFlatViews)
{
    for (auto const& [limit, expected] :
         {std::pair(0.7F, RET_SUCCESS), std::pair(0.72F, RET_FAILED)})
    {
        TriMesh slope = veld_test::grid(12, 12); // at 45 degrees, whose cosine is 0.707
        for (auto const vertex : slope.vertices())
        {
            slope.point(vertex).z() = 0.001F * slope.point(vertex).x();
            slope.point(vertex).x() *= 0.001F;
        }
        FusionScene scene;
        scene.mesh = arrays_of(slope);
        scene.add_view(look_at({0.0, 6.0, 100000.0}, {0.0, 6.0, 0.0}), pattern_photo(60, 60));
        scene.cameras[0] = CameraInParam(200000.0, 200000.0, 30.0, 30.0);
        TextureFusion fusion;
        fusion.set_norm_thr(limit);
        EXPECT_EQ(scene.run(fusion), expected) << limit;
    }
}

TEST(TextureFusion, ARegionOfSoManyFacesIsSmall)
{
    for (auto const& [limit, expected] : {std::pair(71, RET_SUCCESS), std::pair(72, RET_FAILED)})
    {
        FusionScene scene;
        scene.mesh = arrays_of(veld_test::grid(6, 6)); // 72 faces
        scene.add_view_from_above(3.0, 3.0, pattern_photo(40, 40));
        TextureFusion fusion;
        fusion.set_small_region_face_thr(limit);
        EXPECT_EQ(scene.run(fusion), expected);
        EXPECT_EQ(fusion.counts().seen_faces, 72U);
        EXPECT_EQ(fusion.counts().largest_region, 72U);
        EXPECT_EQ(fusion.counts().textured_faces, expected == RET_SUCCESS ? 72U : 0U);
    }
}

TEST(TextureFusion, WithoutARoomForViewsNoneIsSeen)
{
    for (int const none : {0, -5, std::numeric_limits<int>::min()})
    {
        FusionScene scene = one_view();
        TextureFusion fusion;
        fusion.set_vertex_tex_num_thr(none);
        EXPECT_EQ(scene.run(fusion), RET_FAILED);
    }
    FusionScene scene = one_view();
    TextureFusion fusion;
    fusion.set_vertex_tex_num_thr(std::numeric_limits<int>::max());
    EXPECT_EQ(scene.run(fusion), RET_SUCCESS);
}

TEST(TextureFusion, ALargeHoleStaysIfItsRectangleIsTooLarge)
{
    struct Case
    {
        int limit;
        float ratio;
        bool is_painted;
    };
    for (Case const& c : {Case{10000, 0.0F, true}, Case{0, 0.0F, false}, Case{0, 10.0F, true}})
    {
        FusionScene scene = with_bump();
        TextureFusion fusion;
        fusion.set_norm_thr(0.9F);
        fusion.set_hole_vertex_limit(c.limit);
        fusion.set_hole_area_ratio(c.ratio);
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        expect_sound(scene.mesh);
        EXPECT_EQ(count_colored(scene.mesh) == static_cast<int>(scene.mesh.get_fn()), c.is_painted);
    }
}

TEST(TextureFusion, AHoleOfAnySizeIsBoundedInPixels)
{
    for (bool const is_bounded : {false, true})
    {
        FusionScene scene = with_bump();
        TextureFusion fusion;
        fusion.set_norm_thr(0.9F);
        if (is_bounded)
        {
            fusion.set_hole_pixel_limit(1);
        }
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        EXPECT_GT(fusion.counts().texture_holes, 0U);
        EXPECT_EQ(fusion.counts().large_holes,
                  is_bounded ? fusion.counts().texture_holes : std::size_t{0});
        EXPECT_EQ(count_colored(scene.mesh) == static_cast<int>(scene.mesh.get_fn()), !is_bounded);
    }
}

TEST(TextureFusion, TheMarginIsPartOfAHolesRectangle)
{
    // With a hundred pixels on each side it is larger than a photograph of 50 x 60.
    for (auto const& [margin, is_painted] : {std::pair(0, true), std::pair(100, false)})
    {
        FusionScene scene = with_bump();
        TextureFusion fusion;
        fusion.set_norm_thr(0.9F);
        fusion.set_hole_vertex_limit(0);
        fusion.set_patch_margin(margin);
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        EXPECT_EQ(count_colored(scene.mesh) == static_cast<int>(scene.mesh.get_fn()), is_painted);
    }
}

TEST(TextureFusion, TheBorderOfAPhotographDoesNotCount)
{
    // Columns go from pixel 17 to 41 of 60, rows from 18 to 42. What is not seen becomes one hole,
    // which is painted, with coordinates of its own.
    constexpr int ALL = 169;
    constexpr int WITHOUT_TWO_SIDES = 12 * 12;
    constexpr int OF_TWO_SIDES = 25 + 23;
    constexpr int WITHOUT_RIM = 11 * 11;
    constexpr int OF_RIM = 48 + 40;
    for (auto const& [border, expected] :
         {std::pair(-100, ALL), std::pair(17, ALL), std::pair(18, WITHOUT_TWO_SIDES + OF_TWO_SIDES),
          std::pair(19, WITHOUT_RIM + OF_RIM)})
    {
        FusionScene scene = one_view();
        TextureFusion fusion;
        fusion.set_image_border(border);
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        expect_sound(scene.mesh);
        EXPECT_EQ(scene.mesh.texture_coords.size(), static_cast<std::size_t>(1 + expected))
            << border;
    }
}

TEST(TextureFusion, TheGapAndTheMarginGoIntoTheAtlas)
{
    struct Case
    {
        int gap;
        int margin;
        int side; ///< of the patch
    };
    for (Case const& c : {Case{1, 0, 25}, Case{1, 10, 45}, Case{4, 0, 25}, Case{1, -3, 25}})
    {
        FusionScene scene = one_view();
        TextureFusion fusion;
        fusion.set_packing_gap(c.gap);
        fusion.set_patch_margin(c.margin);
        ASSERT_EQ(scene.run(fusion), RET_SUCCESS);
        Photo const& atlas = scene.mesh.texture_image;
        EXPECT_EQ(std::min(atlas.width(), atlas.height()), c.side);
        EXPECT_EQ(std::max(atlas.width(), atlas.height()), c.side + c.gap + 1);
    }
}

// ----------------------------------------------------------------------------- failures and misuse

TEST(TextureFusion, WhereNothingIsSeenItFailsAndTheMeshIsUntouched)
{
    LogCapture const log;
    FusionScene scene = one_view();
    scene.poses[0] = look_at({500.0, 0.0, CAMERA_HEIGHT}, {500.0, 0.0, 0.0});
    FusionScene const before = scene;
    EXPECT_EQ(scene.run(true), RET_FAILED);
    EXPECT_EQ(log.count("  no texture patch.\npoisson solve color diff failed.\n"), 1);
    EXPECT_TRUE(same(scene.mesh, before.mesh));
}

TEST(TextureFusion, WhereTheAtlasCannotBeLaidOutItFailsAndTheMeshIsUntouched)
{
    LogCapture const log;
    FusionScene scene = three_views();
    FusionScene const before = scene;
    TextureFusion fusion;
    fusion.set_packing_gap(-1);
    EXPECT_EQ(scene.run(fusion, true), RET_FAILED);
    EXPECT_EQ(log.count("compute_coord() ..\ncompute coord failed.\n"), 1);
    EXPECT_TRUE(same(scene.mesh, before.mesh));
}

TEST(TextureFusion, AnObjectMayBeUsedAgain)
{
    TextureFusion fusion;
    FusionScene fails = one_view();
    fails.poses[0] = look_at({500.0, 0.0, CAMERA_HEIGHT}, {500.0, 0.0, 0.0});
    EXPECT_EQ(fails.run(fusion), RET_FAILED);
    FusionScene first = three_views();
    EXPECT_EQ(first.run(fusion), RET_SUCCESS);
    FusionScene smaller = one_view();
    EXPECT_EQ(smaller.run(fusion), RET_SUCCESS);
    FusionScene again = three_views();
    EXPECT_EQ(again.run(fusion), RET_SUCCESS);
    EXPECT_TRUE(same(first.mesh, again.mesh));
    // And a mesh that is textured already.
    EXPECT_EQ(again.run(fusion), RET_SUCCESS);
    EXPECT_TRUE(same(first.mesh, again.mesh));
}

TEST(TextureFusion, CopiesHaveTheSettings)
{
    TextureFusion fusion;
    fusion.set_packing_gap(-1);
    TextureFusion const& source = fusion;
    TextureFusion copy(source);
    TextureFusion assigned;
    assigned = source;
    FusionScene scene = one_view();
    EXPECT_EQ(scene.run(copy), RET_FAILED);
    EXPECT_EQ(scene.run(assigned), RET_FAILED);
}

TEST(TextureFusion, BadViewsAmongGoodOnesDoNoHarm)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    for (std::size_t place = 0; place < 4; ++place)
    {
        FusionScene scene = three_views();
        for (double const bad : {nan, inf, 1e300, -1e300})
        {
            RigidMatrix pose = scene.poses[0];
            pose.set_translation({bad, 0.0, bad});
            scene.poses.push_back(pose);
            pose.set_rotation(Matrix3d::Constant(bad));
            scene.poses.push_back(pose);
            for (int i = 0; i < 2; ++i)
            {
                scene.images.push_back(pattern_photo(44, 44));
                scene.cameras.emplace_back(bad, 200.0, bad, 22.0);
            }
        }
        scene.poses.push_back(scene.poses[1]);
        scene.images.emplace_back(); // no pixels
        scene.cameras.push_back(scene.cameras[1]);
        scene.poses.push_back(scene.poses[1]);
        scene.images.emplace_back(1, 1);
        scene.cameras.push_back(scene.cameras[1]);
        std::vector<std::size_t> order(scene.images.size());
        for (std::size_t i = 0; i < order.size(); ++i)
        {
            order[i] = (i + 3 * place) % order.size();
        }
        FusionScene turned = scene.permuted(order);
        ASSERT_EQ(turned.run(), RET_SUCCESS);
        expect_sound(turned.mesh);
        EXPECT_EQ(count_colored(turned.mesh), static_cast<int>(turned.mesh.get_fn()));
    }
}

TEST(TextureFusion, OnlyBadViewsFail)
{
    FusionScene scene = one_view();
    scene.images[0] = {};
    EXPECT_EQ(scene.run(), RET_FAILED);
    scene.images[0] = Photo(1, 1);
    EXPECT_EQ(scene.run(), RET_FAILED);
}

TEST(TextureFusion, CoordinatesThatAreNoNumbersDoNoHarm)
{
    for (float const bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
          std::numeric_limits<float>::max(), -1e30F})
    {
        FusionScene scene = three_views();
        scene.mesh.vCoord[100] = Vector3f::Constant(bad);
        scene.mesh.vCoord[250].z() = bad;
        ASSERT_EQ(scene.run(), RET_SUCCESS);
        ASSERT_EQ(scene.mesh.face_texture_ids.size(), scene.mesh.get_fn());
        for (auto const& ids : scene.mesh.face_texture_ids)
        {
            ASSERT_GE(ids.minCoeff(), 0);
            ASSERT_LT(ids.maxCoeff(), static_cast<int>(scene.mesh.texture_coords.size()));
        }
    }
}

TEST(TextureFusion, AThousandTinyPhotographsAreNoneTooMany)
{
    FusionScene scene;
    scene.mesh = arrays_of(veld_test::grid(30, 30));
    for (int i = 0; i < 1000; ++i)
    {
        scene.add_view_from_above(i % 31, i / 31 % 31, pattern_photo(32, 32, i % 3));
    }
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    expect_sound(scene.mesh);
}

TEST(TextureFusion, WhatLiesBehindACameraIsSeenIfItShowsItsFront)
{
    FusionScene scene = one_view();
    scene.poses[0] = look_at({6.25, 6.25, -CAMERA_HEIGHT}, {6.25, 6.25, -2.0 * CAMERA_HEIGHT});
    FusionScene turned = scene;
    for (auto& face : turned.mesh.faces)
    {
        std::swap(face[1], face[2]);
    }
    EXPECT_EQ(scene.run(), RET_FAILED);
    FusionScene unseen = turned;
    EXPECT_EQ(turned.run(), RET_SUCCESS);
    EXPECT_EQ(count_colored(turned.mesh), 288);

    TextureFusion fusion;
    fusion.set_behind_camera(BehindCamera::UNSEEN);
    EXPECT_EQ(unseen.run(fusion), RET_FAILED);
    EXPECT_EQ(fusion.counts().seen_faces, 0U);
    FusionScene before = one_view();
    EXPECT_EQ(before.run(fusion), RET_SUCCESS);
    EXPECT_EQ(fusion.counts().seen_faces, 288U);
}

// -------------------------------------------------------------------------- cancelling, exceptions

TEST(TextureFusion, MayBeCancelledAnywhereAndLeavesTheMesh)
{
    int n_told = 0;
    {
        FusionScene scene = three_views();
        RunScope const scope(CancelToken(), [&](double) { ++n_told; });
        ASSERT_EQ(scene.run(), RET_SUCCESS);
    }
    ASSERT_GT(n_told, 20);
    BaseTriMesh const untouched = three_views().mesh;
    int n_cancelled = 0;
    for (int at = 0; at < n_told; at += std::max(1, n_told / 40))
    {
        FusionScene scene = three_views();
        CancelToken const token;
        int told = 0;
        RunScope const scope(token,
                             [&](double)
                             {
                                 if (told++ == at)
                                 {
                                     token.cancel();
                                 }
                             });
        try
        {
            scene.run();
        }
        catch (Cancelled const&)
        {
            ++n_cancelled;
            EXPECT_TRUE(same(scene.mesh, untouched)) << at;
        }
    }
    EXPECT_GT(n_cancelled, 20);
}

TEST(TextureFusion, ProgressGrowsToTheEnd)
{
    FusionScene scene = three_views();
    std::vector<double> told;
    RunScope const scope(CancelToken(), [&](double fraction) { told.push_back(fraction); });
    ASSERT_EQ(scene.run(), RET_SUCCESS);
    EXPECT_GT(told.size(), 20U);
    EXPECT_LT(told.front(), 0.1);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.back(), 1.0);
}

TEST(TextureFusion, AnExceptionOfTheLogLeavesTheMesh)
{
    BaseTriMesh const untouched = three_views().mesh;
    int n_thrown = 0;
    for (int at = 0; at < 30; ++at)
    {
        LogCapture const restored;
        int lines = 0;
        gLH.set_sink(
            [&](std::string const&)
            {
                if (lines++ == at)
                {
                    throw std::runtime_error("no more");
                }
            });
        FusionScene scene = three_views();
        try
        {
            scene.run(true);
        }
        catch (std::runtime_error const&)
        {
            ++n_thrown;
            EXPECT_TRUE(same(scene.mesh, untouched)) << at;
        }
    }
    EXPECT_GE(n_thrown, 25);
}

} // namespace
