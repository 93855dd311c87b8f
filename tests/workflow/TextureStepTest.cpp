#include "workflow/steps/Texture.h"

#include "workflow/Error.h"

#include "reason_of.h"
#include "tests/support/meshes.h"
#include "tests/support/photos.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Vector2f;
using OrvaneAlgorithm::Vector3d;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int SHEET_SIDE = 30;

/// A sheet under one camera. \param unit of the poses
veld::PhotoSet sheet_photos(double unit = 1.0)
{
    PhotoDir const dir(nlohmann::json::array({sheet_view("one.png", unit)}));
    veld::Context context;
    auto set = veld::load_photos(dir.path(), context);
    set.source = "photos";
    return set;
}

TriMesh scaled_sheet(float factor)
{
    TriMesh mesh = grid(SHEET_SIDE, SHEET_SIDE);
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) *= factor;
    }
    return mesh;
}

/// The same far from the origin, so that lengths of another unit lead elsewhere.
constexpr float FAR_AWAY = 100.0F;

veld::PhotoSet far_photos()
{
    auto photos = sheet_photos();
    photos.views[0].pose.set_translation(
        Vector3d(-SHEET_CENTRE - static_cast<double>(FAR_AWAY), SHEET_CENTRE, CAMERA_HEIGHT));
    return photos;
}

TriMesh far_sheet()
{
    TriMesh mesh = grid(SHEET_SIDE, SHEET_SIDE);
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex).x() += FAR_AWAY;
    }
    return mesh;
}

struct Run
{
    veld::TextureResult result;
    std::vector<veld::Warning> warnings;
};

Run run_texture(TriMesh const& mesh, veld::PhotoSet const& photos,
                veld::TextureSettings const& settings = {})
{
    Run run;
    veld::Context context;
    context.warn = [&](veld::Warning const& warning) { run.warnings.push_back(warning); };
    run.result = veld::texture(mesh, photos, settings, context);
    return run;
}

std::string texture_reason(TriMesh const& mesh, veld::PhotoSet const& photos,
                           veld::TextureSettings const& settings = {})
{
    return reason_of([&] { run_texture(mesh, photos, settings); });
}

/// The byte that a drawing program shows at a place of the image, between the pixels by their
/// distances.
double channel_at(veld::TextureImage const& image, Vector2f const& place, int channel)
{
    double const x = static_cast<double>(place.x()) * image.width() - 0.5;
    double const y = (1.0 - static_cast<double>(place.y())) * image.height() - 0.5;
    int const column = static_cast<int>(std::floor(x));
    int const row = static_cast<int>(std::floor(y));
    double const a = x - column;
    double const b = y - row;
    auto const pixel = [&](int i, int j)
    { return static_cast<double>(image.pixel(column + i, row + j)[channel]); };
    return (pixel(0, 0) * (1 - a) + pixel(1, 0) * a) * (1 - b) +
           (pixel(0, 1) * (1 - a) + pixel(1, 1) * a) * b;
}

TEST(TextureStep, EveryCornerPointsAtItsPlaceInThePhotograph)
{
    auto const run = run_texture(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos());
    auto const& [mesh, image] = run.result.textured;
    EXPECT_TRUE(run.warnings.empty());
    EXPECT_EQ(run.result.photographs, 1U);
    EXPECT_EQ(run.result.textured_faces, 2U * SHEET_SIDE * SHEET_SIDE);
    EXPECT_EQ(run.result.colourless_faces, 0U);
    double const pixels = PHOTO_FOCAL_LENGTH / CAMERA_HEIGHT; // a millimetre of the sheet
    for (auto const face : mesh.faces())
    {
        for (auto const h : mesh.fh_range(face))
        {
            Vector3d const p = mesh.point(mesh.to_vertex_handle(h)).cast<double>();
            double const x = PHOTO_CENTRE + pixels * (p.x() - SHEET_CENTRE);
            double const y = PHOTO_CENTRE - pixels * (p.y() - SHEET_CENTRE);
            for (int channel = 0; channel < 3; ++channel)
            {
                ASSERT_NEAR(channel_at(image, mesh.texcoord2D(h), channel),
                            photo_channel(channel, x, y), 0.02);
            }
        }
    }
}

TEST(TextureStep, ByModulesCornersPointAtTheNearestPixel)
{
    veld::TextureSettings settings;
    settings.pipeline = veld::TexturePipeline::MESH;
    auto const run = run_texture(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(), settings);
    auto const& [mesh, image] = run.result.textured;
    EXPECT_EQ(run.result.patches, 1U);
    EXPECT_EQ(run.result.textured_faces, 2U * SHEET_SIDE * SHEET_SIDE);
    EXPECT_EQ(run.result.colourless_faces, 0U);
    double const pixels = PHOTO_FOCAL_LENGTH / CAMERA_HEIGHT;
    for (auto const face : mesh.faces())
    {
        for (auto const h : mesh.fh_range(face))
        {
            Vector3d const p = mesh.point(mesh.to_vertex_handle(h)).cast<double>();
            double const x = std::floor(PHOTO_CENTRE + pixels * (p.x() - SHEET_CENTRE) + 0.5);
            double const y = std::floor(PHOTO_CENTRE - pixels * (p.y() - SHEET_CENTRE) + 0.5);
            for (int channel = 0; channel < 3; ++channel)
            {
                ASSERT_NEAR(channel_at(image, mesh.texcoord2D(h), channel),
                            photo_channel(channel, x, y), 1.0);
            }
        }
    }
}

TEST(TextureStep, ByModulesPiecesOfTheAtlasLieThreePixelsApart)
{
    auto const width = [](std::optional<int> gap)
    {
        veld::TextureSettings settings;
        settings.pipeline = veld::TexturePipeline::MESH;
        settings.packing_gap = gap;
        auto const run = run_texture(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(), settings);
        return run.result.textured.image.width();
    };
    // One piece alone has three gaps beside it.
    EXPECT_EQ(width({}), width(1) + 6);
    EXPECT_EQ(width(20), width(1) + 57);
}

TEST(TextureStep, ByModulesWithoutAPixelForNoColourItFailsAndSaysSo)
{
    veld::TextureSettings settings;
    settings.pipeline = veld::TexturePipeline::MESH;
    settings.packing_gap = 0;
    EXPECT_THAT(texture_reason(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(), settings),
                StartsWith("the pieces of the atlas leave no pixel between them"));
}

TEST(TextureStep, ByModulesItEndsWhereItIsAskedTo)
{
    veld::TextureSettings settings;
    settings.pipeline = veld::TexturePipeline::MESH;
    auto const photos = sheet_photos();
    auto const mesh = grid(SHEET_SIDE, SHEET_SIDE);
    std::vector<double> told;
    veld::Context context;
    context.progress = [&](veld::Progress const& progress) { told.push_back(progress.fraction); };
    veld::texture(mesh, photos, settings, context);
    ASSERT_GT(told.size(), 5U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    for (double const share : {0.15, 0.4, 0.7, 0.9})
    {
        SCOPED_TRACE(share);
        OrvaneAlgorithm::CancelToken const token;
        veld::Context stopped;
        stopped.cancel = token;
        stopped.progress = [&](veld::Progress const& progress)
        {
            if (progress.fraction >= share)
            {
                token.cancel();
            }
        };
        EXPECT_THROW(veld::texture(mesh, photos, settings, stopped), OrvaneAlgorithm::Cancelled);
    }
}

TEST(TextureStep, ByModulesPhotographsOfDifferentSizesAreRefused)
{
    auto photos = sheet_photos();
    photos.views.push_back(photos.views.front());
    photos.images.emplace_back(10, 10);
    veld::TextureSettings settings;
    settings.pipeline = veld::TexturePipeline::MESH;
    settings.balance = false;
    EXPECT_THAT(texture_reason(grid(SHEET_SIDE, SHEET_SIDE), photos, settings),
                HasSubstr("different sizes"));
}

TEST(TextureStep, ScaleTurnsMeshAndPosesIntoMillimetres)
{
    auto const plain = run_texture(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos());
    veld::TextureSettings metres;
    metres.scale = 1000.0;
    auto const run = run_texture(scaled_sheet(0.001F), sheet_photos(1000.0), metres);
    EXPECT_TRUE(run.warnings.empty());
    EXPECT_EQ(run.result.textured_faces, plain.result.textured_faces);
    EXPECT_NEAR(run.result.textured.mesh.point(vh(1)).x(),
                plain.result.textured.mesh.point(vh(1)).x(), 1e-5);
}

TEST(TextureStep, PoseScaleTurnsThePosesIntoTheUnitOfTheMesh)
{
    veld::TextureSettings settings;
    settings.pose_scale = 1000.0;
    auto const run = run_texture(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(1000.0), settings);
    EXPECT_TRUE(run.warnings.empty());
    EXPECT_EQ(run.result.textured_faces, 2U * SHEET_SIDE * SHEET_SIDE);
}

TEST(TextureStep, WhatTheMeshHadOfItsOwnStays)
{
    TriMesh mesh = grid(SHEET_SIDE, SHEET_SIDE);
    mesh.request_vertex_normals();
    set_normals(mesh, {0, 0, 1});
    auto const run = run_texture(mesh, sheet_photos());
    ASSERT_TRUE(run.result.textured.mesh.has_vertex_normals());
    EXPECT_FALSE(mesh.has_halfedge_texcoords2D());
    EXPECT_EQ(corners_of(run.result.textured.mesh), corners_of(mesh));
}

TEST(TextureStep, MeshAndPosesOfDifferentUnitsAreToldOf)
{
    veld::TextureSettings metres;
    metres.pose_scale = 0.001;
    EXPECT_THAT(texture_reason(far_sheet(), far_photos(), metres),
                AllOf(StartsWith("photos: no vertex of the mesh is in view of any photograph"),
                      HasSubstr("taken times 1000: mesh and poses have different units")));
    auto const run = run_texture(scaled_sheet(0.001F), sheet_photos(), {});
    ASSERT_FALSE(run.warnings.empty());
    EXPECT_EQ(run.warnings[0].code, veld::WarningCode::UNITS_UNLIKELY);
    EXPECT_EQ(run.warnings[0].about, "photos");
    EXPECT_THAT(run.warnings[0].text, HasSubstr("where the lengths of the poses are taken times "
                                                "0.001 it fits better"));
}

TEST(TextureStep, LengthsThatLookLikeMetresAreToldOf)
{
    auto const run = run_texture(scaled_sheet(0.1F), sheet_photos(10.0));
    ASSERT_EQ(run.warnings.size(), 1U);
    EXPECT_EQ(run.warnings[0].code, veld::WarningCode::UNITS_UNLIKELY);
    EXPECT_THAT(run.warnings[0].text, HasSubstr("the mesh is 4.24 mm across"));
}

TEST(TextureStep, PosesThatAreTurnedRoundAreToldOf)
{
    auto photos = far_photos();
    photos.views[0].pose = photos.views[0].pose.inverse();
    EXPECT_THAT(texture_reason(far_sheet(), photos), HasSubstr("where the poses are turned round"));
}

TEST(TextureStep, ACameraThatLooksAwayIsRefused)
{
    auto photos = sheet_photos();
    photos.views[0].pose.set_translation(Vector3d(0.0, 0.0, -100.0));
    EXPECT_THAT(texture_reason(grid(SHEET_SIDE, SHEET_SIDE), photos),
                HasSubstr("no vertex of the mesh is in view of any photograph; the poses have to "
                          "lead from the world to the camera"));
}

TEST(TextureStep, TooFewFacesInOnePieceAreAFailureThatSaysSo)
{
    veld::TextureSettings settings;
    settings.small_region = 2 * SHEET_SIDE * SHEET_SIDE;
    EXPECT_THAT(texture_reason(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(), settings),
                StartsWith("no photograph shows a region of more than 1800 faces"));
}

TEST(TextureStep, MuchThatNoPhotographShowsIsToldOf)
{
    auto photos = sheet_photos();
    photos.views[0].pose.set_translation(Vector3d(0.0, SHEET_CENTRE, CAMERA_HEIGHT));
    auto const run = run_texture(grid(SHEET_SIDE, SHEET_SIDE), photos);
    ASSERT_EQ(run.warnings.size(), 1U);
    EXPECT_EQ(run.warnings[0].code, veld::WarningCode::FACES_UNSEEN);
    EXPECT_THAT(run.warnings[0].text,
                AllOf(HasSubstr("of 1800 faces are shown by no photograph"),
                      HasSubstr("a larger depth tolerance than 1 mm may help")));
    EXPECT_LT(run.result.textured_faces, 1350U);
    EXPECT_GT(run.result.textured_faces, 700U);
}

TEST(TextureStep, WhatCannotBeTexturedIsRefused)
{
    EXPECT_EQ(texture_reason(TriMesh(), sheet_photos()), "the mesh has no face to texture");
    EXPECT_EQ(texture_reason(grid(3, 3), veld::PhotoSet{"photos", {}, {}, {}}),
              "photos: has no photographs");
    auto photos = sheet_photos();
    photos.images.clear();
    EXPECT_EQ(texture_reason(grid(3, 3), photos), "photos: has no photographs");
}

TEST(TextureStep, SettingsOutsideTheirBoundsAreRefused)
{
    auto const refusal = [](auto const& change)
    {
        veld::TextureSettings settings;
        change(settings);
        return texture_reason(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(), settings);
    };
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(refusal([](auto& s) { s.scale = 0.0; }), "scale has to be from 1e-06 to 1000000");
    EXPECT_EQ(refusal([&](auto& s) { s.scale = nan; }), "scale has to be from 1e-06 to 1000000");
    EXPECT_THAT(refusal([](auto& s) { s.pose_scale = -1.0; }), StartsWith("pose_scale has to be"));
    EXPECT_THAT(refusal([&](auto& s) { s.depth_tolerance = nan; }),
                StartsWith("depth_tolerance has to be"));
    EXPECT_THAT(refusal([](auto& s) { s.lowest_cosine = 1.5; }),
                "lowest_cosine has to be from -1 to 1");
    EXPECT_THAT(refusal([](auto& s) { s.views_per_vertex = 0; }), StartsWith("views_per_vertex"));
    EXPECT_THAT(refusal([](auto& s) { s.small_region = -1; }), StartsWith("small_region"));
    EXPECT_THAT(refusal([](auto& s) { s.hole_ratio = -0.5; }), StartsWith("hole_ratio"));
    EXPECT_THAT(refusal([](auto& s) { s.hole_vertices = -1; }), StartsWith("hole_vertices"));
    EXPECT_THAT(refusal([](auto& s) { s.image_border = -1; }), StartsWith("image_border"));
    EXPECT_THAT(refusal([](auto& s) { s.packing_gap = 1001; }), StartsWith("packing_gap"));
    EXPECT_THAT(refusal([](auto& s) { s.patch_margin = -1; }), StartsWith("patch_margin"));
}

using TextureRealData = RealData;

TEST_F(TextureRealData, TheCastleHasItsPhotographsForAnyNumberOfThreads)
{
    veld::Context context;
    auto const mesh = veld::read_mesh(real_data("photos_castle/mesh_coarse.ply"), context).mesh;
    auto const photos = veld::load_photos(real_data("photos_castle"), context);
    veld::TextureSettings settings;
    settings.depth_tolerance = 0.02;
    context.threads = 1;
    auto const one = veld::texture(mesh, photos, settings, context);
    context.threads = 4;
    auto const four = veld::texture(mesh, photos, settings, context);
    EXPECT_GT(one.textured_faces, 13'000U);
    ASSERT_EQ(one.textured.image.width(), four.textured.image.width());
    ASSERT_EQ(one.textured.image.height(), four.textured.image.height());
    EXPECT_EQ(std::memcmp(one.textured.image.data(), four.textured.image.data(),
                          3 * static_cast<std::size_t>(one.textured.image.width()) *
                              static_cast<std::size_t>(one.textured.image.height())),
              0);
    for (auto const h : one.textured.mesh.halfedges())
    {
        if (!h.is_boundary())
        {
            ASSERT_EQ(one.textured.mesh.texcoord2D(h), four.textured.mesh.texcoord2D(h));
        }
    }
}

} // namespace
