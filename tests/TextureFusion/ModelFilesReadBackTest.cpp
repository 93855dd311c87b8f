#include "algorithmVeld/TextureFusion/TextureMesh.h"
#include "algorithmVeld/common/image_io.h"
#include "module_scenes.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <tiny_obj_loader.h>

#include <cmath>
#include <cstddef>
#include <string>

namespace
{

using namespace OrvaneAlgorithm;

TEST(TextureMeshFiles, AForeignReaderFindsTheModelWithItsAtlasInPlace)
{
    veld_test::LogCapture const log;
    veld_test::TempDir const dir;
    gPH.set_result_dir(dir.path().string());
    TextureMesh texture;
    veld_test::strip_and_three_views().give_to(texture);
    ASSERT_EQ(texture.process_fusion(), RET_SUCCESS);
    BaseTriMesh mesh;
    ASSERT_EQ(texture.get_textured_mesh(mesh), RET_SUCCESS);

    tinyobj::ObjReader reader;
    ASSERT_TRUE(reader.ParseFromFile(dir.file("9-texture-model.obj"))) << reader.Error();
    EXPECT_EQ(reader.Warning(), "");
    ASSERT_EQ(reader.GetMaterials().size(), 1U);
    EXPECT_EQ(reader.GetMaterials()[0].name, "_texture");
    std::string const atlas_name = reader.GetMaterials()[0].diffuse_texname;
    EXPECT_EQ(atlas_name, "9-texture-model.jpg");
    Image<3, unsigned char> atlas;
    ASSERT_EQ(read_rgb_image(dir.file(atlas_name), atlas), 0);
    ASSERT_EQ(atlas.width(), mesh.texture_image.width());
    ASSERT_EQ(atlas.height(), mesh.texture_image.height());

    auto const& attributes = reader.GetAttrib();
    ASSERT_EQ(attributes.vertices.size(), 3 * mesh.get_vn());
    ASSERT_EQ(attributes.texcoords.size(), 2 * mesh.texture_coords.size());
    ASSERT_EQ(reader.GetShapes().size(), 1U);
    auto const& shape = reader.GetShapes()[0].mesh;
    ASSERT_EQ(shape.indices.size(), 3 * mesh.get_fn());
    double difference = 0.0;
    for (std::size_t i = 0; i < shape.indices.size(); ++i)
    {
        auto const corner = static_cast<Eigen::Index>(i % 3);
        EXPECT_EQ(shape.material_ids[i / 3], 0);
        ASSERT_EQ(shape.indices[i].vertex_index, mesh.faces[i / 3][i % 3]);
        int const id = shape.indices[i].texcoord_index;
        ASSERT_EQ(id, mesh.face_texture_ids[i / 3][corner]);
        auto const at = 2 * static_cast<std::size_t>(id);
        float const u = attributes.texcoords[at];
        float const v = attributes.texcoords[at + 1];
        auto const x = static_cast<int>(std::lround(u * static_cast<float>(atlas.width())));
        auto const y =
            static_cast<int>(std::lround((1.0F - v) * static_cast<float>(atlas.height())));
        for (int c = 0; c < 3; ++c)
        {
            difference += std::abs(atlas.pixel(x, y)[c] - mesh.texture_image.pixel(x, y)[c]);
        }
    }
    // JPEG changes colours a little.
    EXPECT_LT(difference / static_cast<double>(3 * shape.indices.size()), 6.0);
}

} // namespace
