#include "algorithmVeld/TextureFusion/TextureFusion.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "benchmarks/support/bumpy_sphere.h"
#include "benchmarks/support/step_counters.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

/// \file
/// A mesh of 200 thousand faces with 30 photographs of 2 megapixels from all sides, with the share
/// of each step in the time.

namespace
{

using namespace OrvaneAlgorithm;
using Photo = Image<3, unsigned char>;

constexpr int PHOTO_WIDTH = 1632;
constexpr int PHOTO_HEIGHT = 1224;
constexpr double DISTANCE = 400.0;

/// What a texturing takes.
struct PhotographedMesh
{
    BaseTriMesh mesh;
    std::vector<Photo> photos;
    std::vector<RigidMatrix> poses;
    std::vector<CameraInParam> intrinsics;
};

/// Looks at the origin from a direction.
RigidMatrix pose_from(Vector3d const& back)
{
    Vector3d const right = Vector3d::UnitY().cross(back).normalized();
    Matrix3d rotation;
    rotation.row(0) = right;
    rotation.row(1) = right.cross(back);
    rotation.row(2) = -back;
    RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(Vector3d(0.0, 0.0, DISTANCE));
    return pose;
}

/// Waves and a grain, brighter or darker by the photograph.
Photo photo_of(int number)
{
    Photo photo(PHOTO_WIDTH, PHOTO_HEIGHT);
    int const brightness = 90 + 5 * (number % 7);
    for (int y = 0; y < PHOTO_HEIGHT; ++y)
    {
        for (int x = 0; x < PHOTO_WIDTH; ++x)
        {
            unsigned char* const pixel = photo.pixel(x, y);
            int const wave = static_cast<int>(40.0 * std::sin(0.02 * x) * std::cos(0.03 * y));
            for (int channel = 0; channel < 3; ++channel)
            {
                pixel[channel] = static_cast<unsigned char>(brightness + wave +
                                                            (x * 7 + y * 13 + channel * 5) % 16);
            }
        }
    }
    return photo;
}

/// Photographs from places that go round in a spiral, down from the pole.
PhotographedMesh photographed(int faces, int photos)
{
    constexpr double GOLDEN_ANGLE = 2.399963229728653;
    PhotographedMesh result;
    TriMesh mesh = veld_benchmark::bumpy_sphere(faces, 0, {12, 60});
    float widest = 0.0F;
    for (auto const vertex : mesh.vertices())
    {
        widest = std::max(widest, mesh.point(vertex).norm());
    }
    constexpr float RADIUS = 50.0F;
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) *= RADIUS / widest;
    }
    TriMesh_convert_to_BaseTriMesh(mesh, result.mesh);
    double const focal = 0.46 * PHOTO_HEIGHT * DISTANCE / static_cast<double>(RADIUS);
    for (int i = 0; i < photos; ++i)
    {
        double const y = 0.9 - 1.8 * i / std::max(photos - 1, 1);
        double const flat = std::sqrt(1.0 - y * y);
        result.poses.push_back(
            pose_from({flat * std::sin(GOLDEN_ANGLE * i), y, flat * std::cos(GOLDEN_ANGLE * i)}));
        result.intrinsics.emplace_back(focal, focal, 0.5 * (PHOTO_WIDTH - 1),
                                       0.5 * (PHOTO_HEIGHT - 1));
        result.photos.push_back(photo_of(i));
    }
    return result;
}

/// Arguments: thousands of faces, photographs, threads.
void texture_fusion(benchmark::State& state)
{
    auto const input =
        photographed(1000 * static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    veld_test::Threads const threads(static_cast<int>(state.range(2)));
    gLH.clear_steps();
    for (auto _ : state)
    {
        state.PauseTiming();
        BaseTriMesh mesh = input.mesh;
        state.ResumeTiming();
        TextureFusion fusion;
        if (fusion.texture_fusion(mesh, input.photos, input.poses, input.intrinsics, false) !=
            RET_SUCCESS)
        {
            state.SkipWithError("no texture");
            break;
        }
        state.PauseTiming();
        state.counters["atlas_megapixels"] =
            1e-6 * mesh.texture_image.width() * static_cast<double>(mesh.texture_image.height());
        mesh = BaseTriMesh();
        state.ResumeTiming();
    }
    veld_benchmark::add_steps(state);
}

} // namespace

BENCHMARK(texture_fusion)
    ->ArgNames({"thousand_faces", "photos", "threads"})
    ->Args({50, 10, 2})
    ->Args({200, 30, 1})
    ->Args({200, 30, 2})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
