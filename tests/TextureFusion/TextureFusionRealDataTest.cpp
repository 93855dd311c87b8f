#include "algorithmVeld/TextureFusion/TextureFusion.h"

#include "algorithmVeld/common/image_io.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/real_data.h"
#include "tests/support/threads.h"
#include "textured_checks.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

/// \file
/// Real photographs of a castle on its mesh.

namespace
{

using namespace OrvaneAlgorithm;
using TextureRealData = veld_test::RealData;
using Photo = Image<3, unsigned char>;

struct Castle
{
    BaseTriMesh mesh;
    std::vector<Photo> images;
    std::vector<RigidMatrix> poses;
    std::vector<CameraInParam> cameras;
};

/// Its unit is arbitrary; the castle becomes about 80 cm long.
constexpr double SCALE = 100.0;

/// The photographs are made so many times smaller, for the test to be quick.
constexpr int SHRINK = 4;

/// The mean colours of squares of pixels.
Photo shrunk(Photo const& image)
{
    Photo small(image.width() / SHRINK, image.height() / SHRINK);
    for (int y = 0; y < small.height(); ++y)
    {
        for (int x = 0; x < small.width(); ++x)
        {
            for (int c = 0; c < 3; ++c)
            {
                int sum = 0;
                for (int i = 0; i < SHRINK * SHRINK; ++i)
                {
                    sum += image.pixel(SHRINK * x + i % SHRINK, SHRINK * y + i / SHRINK)[c];
                }
                small.pixel(x, y)[c] = static_cast<unsigned char>(sum / (SHRINK * SHRINK));
            }
        }
    }
    return small;
}

/// The principal point counts from the middle of the first pixel.
CameraInParam shrunk_camera(nlohmann::json const& view)
{
    auto const length = [&](char const* key) { return view[key].get<double>() / SHRINK; };
    auto const place = [&](char const* key)
    { return (view[key].get<double>() + 0.5) / SHRINK - 0.5; };
    return {length("fx"), length("fy"), place("cx"), place("cy")};
}

void read_view(nlohmann::json const& view, Castle& castle)
{
    Photo image;
    ASSERT_EQ(read_rgb_image(
                  veld_test::real_data("photos_castle/" + view["image"].get<std::string>()), image),
              0);
    Matrix3d rotation;
    Vector3d translation;
    for (int i = 0; i < 3; ++i)
    {
        translation[i] = SCALE * view["t"][static_cast<std::size_t>(i)].get<double>();
        for (int j = 0; j < 3; ++j)
        {
            rotation(i, j) =
                view["R"][static_cast<std::size_t>(i)][static_cast<std::size_t>(j)].get<double>();
        }
    }
    RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(translation);
    castle.images.push_back(shrunk(image));
    castle.poses.push_back(pose);
    castle.cameras.push_back(shrunk_camera(view));
}

Castle read_castle()
{
    Castle castle;
    TriMesh mesh;
    MeshReadReport report;
    EXPECT_TRUE(read_mesh(veld_test::real_data("photos_castle/mesh_coarse.ply"), mesh, report))
        << report.error;
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) *= static_cast<float>(SCALE);
    }
    TriMesh_convert_to_BaseTriMesh(mesh, castle.mesh);
    std::ifstream file(veld_test::real_data("photos_castle/cameras.json"));
    auto const cameras = nlohmann::json::parse(file);
    for (auto const& view : cameras["views"])
    {
        read_view(view, castle);
    }
    return castle;
}

/// How far the colour of the texture at a corner is from that of the photograph that is nearest to
/// it, over the places at which the photographs show the vertex; in levels of one channel.
double difference(Castle const& castle, Vector3f const& point, unsigned char const* texture)
{
    double best = 255.0;
    for (std::size_t i = 0; i < castle.images.size(); ++i)
    {
        Vector3d const p = castle.poses[i].get_rotation() * point.cast<double>() +
                           castle.poses[i].get_translation();
        auto const column = static_cast<int>(
            std::floor(p.x() / p.z() * castle.cameras[i].get_fx() + castle.cameras[i].get_cx()));
        auto const row = static_cast<int>(
            std::floor(p.y() / p.z() * castle.cameras[i].get_fy() + castle.cameras[i].get_cy()));
        if (p.z() <= 0.0 || column < 0 || column >= castle.images[i].width() || row < 0 ||
            row >= castle.images[i].height())
        {
            continue;
        }
        auto const* const pixel = castle.images[i].pixel(column, row);
        best = std::min(best, (std::abs(pixel[0] - texture[0]) + std::abs(pixel[1] - texture[1]) +
                               std::abs(pixel[2] - texture[2])) /
                                  3.0);
    }
    return best;
}

TEST_F(TextureRealData, ACastleIsTexturedByItsPhotographs)
{
    Castle const castle = read_castle();
    BaseTriMesh mesh = castle.mesh;
    ASSERT_EQ(
        TextureFusion().texture_fusion(mesh, castle.images, castle.poses, castle.cameras, false),
        RET_SUCCESS);
    veld_test::expect_sound(mesh);
    EXPECT_TRUE(veld_test::same_bytes(mesh.vCoord, castle.mesh.vCoord));
    EXPECT_TRUE(veld_test::same_bytes(mesh.faces, castle.mesh.faces));

    std::vector<double> differences;
    for (std::size_t f = 0; f < mesh.get_fn(); ++f)
    {
        if (!veld_test::has_no_colour(mesh, f))
        {
            auto const& point = mesh.vCoord[static_cast<std::size_t>(mesh.faces[f][0])];
            differences.push_back(difference(
                castle, point, veld_test::atlas_pixel(mesh, mesh.face_texture_ids[f][0])));
        }
    }
    // Nearly all are seen, and have the colour that some photograph has there.
    EXPECT_GT(differences.size(), mesh.get_fn() * 95 / 100);
    std::sort(differences.begin(), differences.end());
    EXPECT_LT(differences[differences.size() / 2], 6.0);
    EXPECT_LT(differences[differences.size() * 9 / 10], 25.0);
}

TEST_F(TextureRealData, IsTheSameForAnyNumberOfThreads)
{
    Castle const castle = read_castle();
    BaseTriMesh first;
    for (int const n : {1, 2, 8})
    {
        veld_test::Threads const threads(n);
        BaseTriMesh mesh = castle.mesh;
        ASSERT_EQ(TextureFusion().texture_fusion(mesh, castle.images, castle.poses, castle.cameras,
                                                 false),
                  RET_SUCCESS);
        first = n == 1 ? mesh : first;
        EXPECT_TRUE(veld_test::same(mesh, first)) << n;
    }
}

} // namespace
