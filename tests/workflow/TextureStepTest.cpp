#include "workflow/steps/Texture.h"

#include "workflow/Error.h"
#include "workflow/files/MeshFiles.h"

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
using OrvaneAlgorithm::CameraInParam;
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
                      HasSubstr("taken times 1000: mesh and poses have different units, and "
                                "pose_scale 1 makes them one")));
    metres.pose_scale = 0.01;
    EXPECT_THAT(texture_reason(far_sheet(), far_photos(), metres), HasSubstr("taken times 100:"));
    EXPECT_THAT(texture_reason(scaled_sheet(0.001F), sheet_photos()),
                HasSubstr("it fits better where the lengths of the poses are taken times 0.001: "));
}

TEST(TextureStep, LengthsThatLookLikeMetresAreToldOf)
{
    veld::TextureSettings settings;
    settings.depth_tolerance = 1.0;
    auto const run = run_texture(scaled_sheet(0.1F), sheet_photos(10.0), settings);
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
                StartsWith("no photograph shows a region of more than 1800 faces: the largest "
                           "region that they show has 1800 faces of the mesh's 1800"));
}

TEST(TextureStep, WhatLeavesNothingIsNamed)
{
    auto const reason = [](auto const& change)
    {
        veld::TextureSettings settings;
        change(settings);
        return texture_reason(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(), settings);
    };
    EXPECT_THAT(reason([](auto& s) { s.lowest_cosine = 1.0; }),
                HasSubstr("nothing in view looks towards its camera by a cosine of 1"));
    EXPECT_THAT(reason([](auto& s) { s.image_border = 60; }),
                HasSubstr("all that is in view lies in the rim of 60 pixels"));
    EXPECT_THAT(reason([](auto& s) { s.depth_tolerance = 0.0; }),
                HasSubstr("which the depth tolerance of 0 mm is too small for"));
    auto photos = sheet_photos();
    photos.views[0].intrinsics = CameraInParam(9000.0, 9000.0, PHOTO_CENTRE, PHOTO_CENTRE);
    EXPECT_THAT(texture_reason(grid(SHEET_SIDE, SHEET_SIDE), photos),
                HasSubstr("no photograph has all corners of a face in view"));
}

/// Triangles that hang together in pairs of cells at one vertex only.
TriMesh torn_sheet(int side)
{
    TriMesh const whole = grid(side, side);
    TriMesh torn;
    for (auto const face : whole.faces())
    {
        std::vector<OpenMesh::VertexHandle> corners;
        for (auto const vertex : whole.fv_range(face))
        {
            corners.push_back(torn.add_vertex(whole.point(vertex)));
        }
        torn.add_face(corners);
    }
    return torn;
}

/// Adds a piece of 2 * side * side faces, shifted along x.
void add_piece(TriMesh& mesh, int side, float shift)
{
    TriMesh const piece = grid(side, side);
    std::vector<OpenMesh::VertexHandle> vertices;
    for (auto const vertex : piece.vertices())
    {
        vertices.push_back(
            mesh.add_vertex(piece.point(vertex) + OrvaneAlgorithm::Vector3f(shift, 0, 0)));
    }
    for (auto const face : piece.faces())
    {
        std::vector<OpenMesh::VertexHandle> corners;
        for (auto const vertex : piece.fv_range(face))
        {
            corners.push_back(vertices[static_cast<std::size_t>(vertex.idx())]);
        }
        mesh.add_face(corners);
    }
}

TEST(TextureStep, ATextureOnNextToNothingIsAFailure)
{
    TriMesh mesh = torn_sheet(24); // 1152 faces, each a region of its own
    add_piece(mesh, 5, 24.5F);
    veld::TextureSettings settings;
    settings.small_region = 40;
    EXPECT_THAT(texture_reason(mesh, sheet_photos(), settings),
                AllOf(StartsWith("photographs show 50 of 1202 faces, though 100 % of the mesh"),
                      HasSubstr("most of what they show lies in regions that are too small")));
}

TEST(TextureStep, FacesInSmallRegionsAreToldApartFromUnseenOnes)
{
    TriMesh mesh = torn_sheet(20); // 800 faces
    add_piece(mesh, 9, 20.5F);
    auto const run = run_texture(mesh, sheet_photos());
    EXPECT_EQ(run.result.seen_faces, 962U);
    EXPECT_EQ(run.result.textured_faces, 162U);
    ASSERT_EQ(run.warnings.size(), 1U);
    EXPECT_EQ(run.warnings[0].setting, "small_region");
    EXPECT_THAT(run.warnings[0].text,
                AllOf(StartsWith("0 of 962 faces are shown by no photograph, and 800 lie in "
                                 "regions too small to count"),
                      HasSubstr("a small_region of less than 50 may help")));
}

TEST(TextureStep, AVertexFarAwayCostsItsPlaceTheColoursAndNoMore)
{
    TriMesh mesh = grid(SHEET_SIDE, SHEET_SIDE);
    mesh.point(vh(SHEET_SIDE)) = {30000.0F, 0.0F, 0.0F};
    auto const run = run_texture(mesh, sheet_photos());
    EXPECT_EQ(run.result.large_holes, 1U);
    EXPECT_GT(run.result.textured_faces, 1700U);
    EXPECT_LT(run.result.textured.image.width(), 1000);
    EXPECT_LT(run.result.textured.image.height(), 1000);
    ASSERT_EQ(run.warnings.size(), 1U);
    EXPECT_EQ(run.warnings[0].code, veld::WarningCode::HOLES_COLOURLESS);
    EXPECT_THAT(run.warnings[0].text, StartsWith("1 place that no photograph shows is too large"));
}

TEST(TextureStep, AMeshTurnedInsideOutIsRefused)
{
    TriMesh turned;
    TriMesh const mesh = grid(SHEET_SIDE, SHEET_SIDE);
    for (auto const vertex : mesh.vertices())
    {
        turned.add_vertex(mesh.point(vertex));
    }
    for (auto const face : mesh.faces())
    {
        std::vector<OpenMesh::VertexHandle> corners(mesh.cfv_begin(face), mesh.cfv_end(face));
        turned.add_face(corners[0], corners[2], corners[1]);
    }
    EXPECT_EQ(texture_reason(turned, sheet_photos()),
              "photos: 100 % of what the cameras see of the mesh looks away from them: turn its "
              "faces round");
    veld::TextureSettings settings;
    settings.lowest_cosine = -1.0; // asks for what looks away
    EXPECT_EQ(texture_reason(turned, sheet_photos(), settings), "no error");
}

TEST(TextureStep, TheDepthToleranceIsMeasuredWhereItIsNotGiven)
{
    // Edges of 1 mm, and pixels of 30 / 90 mm.
    auto const run = run_texture(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos());
    ASSERT_TRUE(run.result.settings.depth_tolerance);
    EXPECT_NEAR(*run.result.settings.depth_tolerance, 2.5, 1e-6);
    auto const small = run_texture(scaled_sheet(0.001F), sheet_photos(1000.0));
    EXPECT_NEAR(*small.result.settings.depth_tolerance, 0.0025, 1e-6);
    EXPECT_EQ(small.result.textured_faces, 2U * SHEET_SIDE * SHEET_SIDE);
    EXPECT_TRUE(small.warnings.empty());
    auto wide = sheet_photos();
    wide.views[0].intrinsics = CameraInParam(15.0, 15.0, PHOTO_CENTRE, PHOTO_CENTRE);
    EXPECT_NEAR(*run_texture(grid(SHEET_SIDE, SHEET_SIDE), wide).result.settings.depth_tolerance,
                5.0, 1e-6);
}

TEST(TextureStep, ADepthToleranceBelowTheSpacingIsWarnedOf)
{
    veld::TextureSettings settings;
    settings.depth_tolerance = 0.5;
    auto const run = run_texture(grid(SHEET_SIDE, SHEET_SIDE), sheet_photos(), settings);
    EXPECT_EQ(run.result.settings.depth_tolerance, 0.5);
    ASSERT_EQ(run.warnings.size(), 1U);
    EXPECT_EQ(run.warnings[0].setting, "depth_tolerance");
    EXPECT_THAT(run.warnings[0].text, StartsWith("the depth tolerance of 0.5 mm is less than the "
                                                 "1 mm between vertices or pixels"));
}

TEST(TextureStep, WhatLiesBehindACameraIsNotSeen)
{
    // Two sheets that look at each other, and a camera between them that looks at the first.
    TriMesh mesh = grid(SHEET_SIDE, SHEET_SIDE);
    TriMesh const other = grid(SHEET_SIDE, SHEET_SIDE);
    std::vector<OpenMesh::VertexHandle> vertices;
    for (auto const vertex : other.vertices())
    {
        auto const p = other.point(vertex);
        vertices.push_back(mesh.add_vertex({p.x(), p.y(), 60.0F}));
    }
    for (auto const face : other.faces())
    {
        std::vector<std::size_t> at;
        for (auto const vertex : other.fv_range(face))
        {
            at.push_back(static_cast<std::size_t>(vertex.idx()));
        }
        mesh.add_face(vertices[at[0]], vertices[at[2]], vertices[at[1]]);
    }
    for (auto const pipeline : {veld::TexturePipeline::FUSION, veld::TexturePipeline::MESH})
    {
        veld::TextureSettings settings;
        settings.pipeline = pipeline;
        auto const run = run_texture(mesh, sheet_photos(), settings);
        EXPECT_EQ(run.result.seen_faces, 2U * SHEET_SIDE * SHEET_SIDE);
    }
}

using OrvaneAlgorithm::Matrix3d;

constexpr double BALL_RADIUS = 10.0;

/// What a camera shows of a ball around the origin whose colours are its own; black beside it.
veld::Photo ball_photo(veld::PhotoView const& view)
{
    Matrix3d const to_world = view.pose.get_rotation().transpose();
    Vector3d const eye = -(to_world * view.pose.get_translation());
    veld::Photo photo(view.width, view.height);
    for (int y = 0; y < view.height; ++y)
    {
        for (int x = 0; x < view.width; ++x)
        {
            Vector3d const way = (to_world * Vector3d((x - PHOTO_CENTRE) / PHOTO_FOCAL_LENGTH,
                                                      (y - PHOTO_CENTRE) / PHOTO_FOCAL_LENGTH, 1.0))
                                     .normalized();
            double const along = -eye.dot(way);
            double const under = along * along - eye.squaredNorm() + BALL_RADIUS * BALL_RADIUS;
            for (int channel = 0; under > 0.0 && channel < 3; ++channel)
            {
                double const place = (eye + (along - std::sqrt(under)) * way)[channel];
                photo.pixel(x, y)[channel] = static_cast<unsigned char>(
                    128.0 + 80.0 * std::sin(0.5 * place + static_cast<double>(channel)));
            }
        }
    }
    return photo;
}

/// A ball around the origin in photographs from four sides, which all look at its centre.
veld::PhotoSet ball_photos()
{
    veld::PhotoSet set = sheet_photos();
    auto const first = set.views.front();
    set.views.clear();
    set.images.clear();
    for (Vector3d const& forward :
         {Vector3d(0, 0, -1), Vector3d(1, 0, 0), Vector3d(-1, 0, 0), Vector3d(0, 1, 0)})
    {
        Vector3d const right = forward.z() != 0.0 ? Vector3d(1, 0, 0) : Vector3d(0, 0, 1);
        Matrix3d rotation;
        rotation.row(0) = right;
        rotation.row(1) = forward.cross(right);
        rotation.row(2) = forward;
        set.views.push_back(first);
        set.views.back().pose.set_rotation(rotation);
        set.views.back().pose.set_translation(Vector3d(0, 0, CAMERA_HEIGHT));
        set.images.push_back(ball_photo(set.views.back()));
    }
    return set;
}

TriMesh ball()
{
    TriMesh mesh = sphere(4);
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) = mesh.point(vertex).normalized() * static_cast<float>(BALL_RADIUS);
    }
    return mesh;
}

template <typename Change>
veld::PhotoSet with_poses(veld::PhotoSet photos, Change const& change)
{
    for (auto& view : photos.views)
    {
        view.pose = change(view.pose);
    }
    return photos;
}

OrvaneAlgorithm::RigidMatrix with_opengl_axes(OrvaneAlgorithm::RigidMatrix pose)
{
    Matrix3d const turn = Vector3d(1.0, -1.0, -1.0).asDiagonal();
    pose.set_rotation(turn * pose.get_rotation());
    pose.set_translation(turn * pose.get_translation());
    return pose;
}

TEST(TextureStep, ABallInItsPhotographsHasNoWarningOfPoses)
{
    auto const run = run_texture(ball(), ball_photos());
    for (auto const& warning : run.warnings)
    {
        EXPECT_EQ(warning.code, veld::WarningCode::FACES_UNSEEN) << warning.text;
    }
}

TEST(TextureStep, PosesThatShowFarMoreTurnedRoundAreRefused)
{
    auto const turned = with_poses(ball_photos(), [](auto const& pose) { return pose.inverse(); });
    EXPECT_THAT(texture_reason(ball(), turned), HasSubstr("where the poses are turned round"));
}

TEST(TextureStep, AxesOfOpenGlAreNamed)
{
    EXPECT_THAT(texture_reason(ball(), with_poses(ball_photos(), with_opengl_axes)),
                HasSubstr("where the axes are those of OpenGL: negate the second and third row"));
    auto const both = with_poses(ball_photos(),
                                 [](auto const& pose) { return with_opengl_axes(pose).inverse(); });
    EXPECT_THAT(texture_reason(ball(), both),
                HasSubstr("where the poses are turned round and the axes those of OpenGL"));
}

TEST(TextureStep, UnitsThatAreTenTimesOffGetAHint)
{
    auto const times = [](double factor)
    {
        return with_poses(ball_photos(),
                          [factor](auto pose)
                          {
                              pose.set_translation(pose.get_translation() * factor);
                              return pose;
                          });
    };
    auto const run = run_texture(ball(), times(10.0));
    ASSERT_FALSE(run.warnings.empty());
    EXPECT_EQ(run.warnings[0].code, veld::WarningCode::UNITS_UNLIKELY);
    EXPECT_EQ(run.warnings[0].about, "photos");
    EXPECT_EQ(run.warnings[0].setting, "pose_scale");
    EXPECT_THAT(run.warnings[0].text,
                AllOf(StartsWith("100 % of the mesh is in view"), HasSubstr("pose_scale 0.1 ")));
    EXPECT_THAT(texture_reason(ball(), times(0.1)), HasSubstr("pose_scale 10 "));
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
                      HasSubstr("a depth_tolerance of more than 2.5 mm may help")));
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
