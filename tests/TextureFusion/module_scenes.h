#pragma once

#include "algorithmVeld/TextureFusion/TextureMesh.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "scenes.h"
#include "tests/support/meshes.h"

#include <cmath>
#include <utility>
#include <vector>

namespace veld_test
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::TriMesh;

/// A mesh and photographs of one size, looking straight down.
struct ModuleScene
{
    TriMesh mesh;
    std::vector<Image<3, unsigned char>> images;
    std::vector<RigidMatrix> poses;
    std::vector<CameraInParam> cameras;

    /// A millimetre at z = 0 is two pixels, and whole ones are at pixels.
    void add_view(double x, double y, Image<3, unsigned char> image)
    {
        poses.push_back(look_at({x, y, 100.0}, {x, y, 0.0}));
        cameras.emplace_back(200.0, 200.0, image.width() / 2, image.height() / 2);
        images.push_back(std::move(image));
    }

    std::vector<int> ids() const
    {
        std::vector<int> list(images.size());
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            list[i] = 100 + static_cast<int>(i);
        }
        return list;
    }

    void give_to(OrvaneAlgorithm::TextureMesh& texture) const
    {
        texture.set_cam_intrinsic(cameras);
        texture.set_data(ids(), images, poses, mesh);
    }

    BaseTriMesh arrays() const
    {
        BaseTriMesh result;
        TriMesh_convert_to_BaseTriMesh(mesh, result);
        return result;
    }
};

inline Image<3, unsigned char> numbered_photo(int width, int height, int seed)
{
    return painted(width, height,
                   [&](int x, int y)
                   {
                       return std::array<unsigned char, 3>{
                           static_cast<unsigned char>(x + 1), static_cast<unsigned char>(y + 1),
                           static_cast<unsigned char>(60 + 40 * seed)};
                   });
}

/// A flat square of 288 faces under one camera.
inline ModuleScene square_and_one_view()
{
    ModuleScene scene;
    scene.mesh = grid(12, 12);
    scene.add_view(6.0, 6.0, numbered_photo(60, 60, 1));
    return scene;
}

/// A waved strip under three cameras, each of which sees a part of it, with a hole that none sees:
/// steep flanks in its middle.
inline ModuleScene strip_and_three_views()
{
    ModuleScene scene;
    scene.mesh = grid(40, 12);
    for (auto const vertex : scene.mesh.vertices())
    {
        auto& point = scene.mesh.point(vertex);
        bool const is_high =
            std::abs(point.x() - 20.0F) < 2.5F && std::abs(point.y() - 6.0F) < 2.5F;
        point.z() = std::sin(point.x() / 3.0F) * 0.3F + (is_high ? 4.0F : 0.0F);
    }
    for (int i = 0; i < 3; ++i)
    {
        scene.add_view(8.0 + 12.0 * i, 6.0, numbered_photo(44, 44, i));
    }
    return scene;
}

} // namespace veld_test
