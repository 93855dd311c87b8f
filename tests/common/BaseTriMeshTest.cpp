#include "algorithmVeld/common/BaseTriMesh.h"

#include "swap_support.h"
#include "tests/support/files.h"
#include "tests/support/special_floats.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// A strip of `n` triangles over n + 2 vertices: face i has the vertices i, i + 1, i + 2 (odd ones
/// the other way round). Every channel is on.
BaseTriMesh strip(int n)
{
    BaseTriMesh mesh;
    for (int i = 0; i < n + 2; ++i)
    {
        mesh.add_vCoord({static_cast<float>(i), static_cast<float>(i % 2), 0});
    }
    mesh.enable_vFlag();
    mesh.enable_fFlag();
    mesh.enable_fNormal();
    mesh.enable_texture();
    for (int i = 0; i < n; ++i)
    {
        size_t const f =
            mesh.add_face(i % 2 == 0 ? BaseTriFace(i, i + 2, i + 1) : BaseTriFace(i, i + 1, i + 2));
        mesh.fNrv[f] = {static_cast<float>(i), 0, 0};
        mesh.texture_coords.push_back({static_cast<float>(i), 0.5F});
        mesh.set_face_texture_id(f, Vector3i(i, i, i));
    }
    return mesh;
}

std::vector<std::array<int, 3>> face_list(BaseTriMesh const& mesh)
{
    std::vector<std::array<int, 3>> list;
    for (auto const& face : mesh.faces)
    {
        list.push_back(face.v);
    }
    return list;
}

using Faces = std::vector<std::array<int, 3>>;

} // namespace

TEST(BaseTriMesh, FaceIsReadByIndexAsThreeNumbers)
{
    BaseTriFace face(4, 5, 6);
    EXPECT_EQ(face[0], 4);
    EXPECT_EQ(face[2], 6);
    face[1] = 9;
    EXPECT_EQ(face.v[1], 9);
    EXPECT_EQ(sizeof(BaseTriFace), 3 * sizeof(int));
}

TEST(BaseTriMesh, SqueezeWithoutFlagsChangesNothing)
{
    BaseTriMesh mesh = strip(4);
    Faces const before = face_list(mesh);
    mesh.squeeze();
    EXPECT_EQ(face_list(mesh), before);
    EXPECT_EQ(mesh.get_vn(), 6U);
    mesh.disable_vFlag();
    mesh.disable_fFlag();
    mesh.squeeze();
    EXPECT_EQ(face_list(mesh), before);
}

TEST(BaseTriMesh, SqueezeRemovesFlaggedFacesAndKeepsTheirVertices)
{
    BaseTriMesh mesh = strip(4);
    mesh.set_fDeleted(0, true);
    mesh.set_fDeleted(2, true);
    mesh.squeeze();
    EXPECT_EQ(face_list(mesh), (Faces{{1, 2, 3}, {3, 4, 5}}));
    EXPECT_EQ(mesh.get_vn(), 6U) << "vertex 0 has lost its last face";
    EXPECT_EQ(mesh.fNrv[1], Vector3f(3, 0, 0));
    EXPECT_EQ(mesh.face_texture_ids[0], Vector3i(1, 1, 1));
    EXPECT_EQ(mesh.fFlag, (std::vector<unsigned char>{0, 0}));
}

TEST(BaseTriMesh, SqueezeRemovesFlaggedVerticesWithTheirFacesAndRenumbers)
{
    BaseTriMesh mesh = strip(5);
    mesh.set_vDeleted(2, true);
    static_cast<BaseData&>(mesh).squeeze();
    // Faces 0, 1 and 2 use vertex 2; 3 and 4 had the vertices 3, 4, 5 and 4, 6, 5.
    EXPECT_EQ(face_list(mesh), (Faces{{2, 3, 4}, {3, 5, 4}}));
    EXPECT_EQ(mesh.get_vn(), 6U);
    EXPECT_EQ(mesh.vCoord[2], Vector3f(3, 1, 0));
    EXPECT_EQ(mesh.face_texture_ids[0], Vector3i(3, 3, 3));
    EXPECT_TRUE(mesh.is_legal());
}

TEST(BaseTriMesh, SqueezeWithFlagsOnBothAndWithoutTheFaceChannel)
{
    BaseTriMesh mesh = strip(5);
    mesh.set_vDeleted(0, true);
    mesh.set_fDeleted(4, true);
    mesh.squeeze();
    EXPECT_EQ(face_list(mesh), (Faces{{0, 1, 2}, {1, 3, 2}, {2, 3, 4}}));

    BaseTriMesh other = strip(2);
    other.disable_fFlag();
    other.set_vDeleted(0, true);
    other.squeeze();
    EXPECT_EQ(face_list(other), (Faces{{0, 1, 2}}));
}

TEST(BaseTriMesh, SqueezeDropsFacesWithIndicesOutOfRange)
{
    BaseTriMesh mesh = strip(2);
    mesh.faces[0][1] = 77;
    mesh.faces[1][0] = -3;
    mesh.set_vDeleted(0, true);
    mesh.squeeze();
    EXPECT_EQ(mesh.get_fn(), 0U);
    EXPECT_EQ(mesh.get_vn(), 3U);
}

TEST(BaseTriMesh, IndexOutOfRangeAndMissingChannelThrow)
{
    BaseTriMesh mesh = strip(2);
    EXPECT_THROW(mesh.get_face(2), std::out_of_range);
    EXPECT_THROW(mesh.get_fNrv(2), std::out_of_range);
    EXPECT_THROW(mesh.set_fDeleted(2, true), std::out_of_range);
    EXPECT_THROW(mesh.set_face_texture_id(2, Vector3i(0, 0, 0)), std::out_of_range);
    mesh.disable_fFlag();
    EXPECT_THROW(mesh.set_fDeleted(0, true), std::out_of_range);
    EXPECT_EQ(mesh.get_face(1)[2], 3);
}

TEST(BaseTriMesh, VertexNormalsAreWeightedByArea)
{
    BaseTriMesh mesh;
    // Two faces at vertex 0: one of area 6 with normal +z, one of area 0.5 with normal +x.
    mesh.set_vCoords({{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {0, 1, 0}, {0, 0, 1}, {9, 9, 9}});
    mesh.add_face({0, 1, 2});
    mesh.add_face({0, 3, 4});
    mesh.update_VNrv();
    mesh.update_FNrv();
    ASSERT_TRUE(mesh.has_vNormal && mesh.has_fNormal);
    EXPECT_EQ(mesh.get_fNrv(0), Vector3f(0, 0, 1));
    EXPECT_EQ(mesh.get_fNrv(1), Vector3f(1, 0, 0));
    Vector3f const expected = Vector3f(1, 0, 12).normalized();
    EXPECT_LT((mesh.get_vNrv(0) - expected).norm(), 1e-6F);
    EXPECT_EQ(mesh.get_vNrv(1), Vector3f(0, 0, 1));
    EXPECT_EQ(mesh.get_vNrv(5), Vector3f(0, 0, 0)) << "no face, no normal";
}

TEST(BaseTriMesh, NormalsOfFacesWithoutAreaOrWithWrongIndicesAreZero)
{
    BaseTriMesh mesh;
    mesh.set_vCoords({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {NOT_A_NUMBER, 0, 0}});
    mesh.add_face({0, 1, 2});
    mesh.add_face({0, 1, 99});
    mesh.add_face({0, 1, 3});
    mesh.update_FNrv();
    mesh.update_VNrv();
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(mesh.get_fNrv(i), Vector3f(0, 0, 0)) << i;
        EXPECT_EQ(mesh.get_vNrv(i), Vector3f(0, 0, 0)) << i;
    }
}

TEST(BaseTriMesh, NormalsOfTinyFacesAreUnitVectors)
{
    BaseTriMesh mesh;
    mesh.set_vCoords({{0, 0, 0}, {1e-30F, 0, 0}, {0, 1e-30F, 0}});
    mesh.add_face({0, 1, 2});
    mesh.update_FNrv();
    EXPECT_EQ(mesh.get_fNrv(0), Vector3f(0, 0, 1));
}

TEST(BaseTriMesh, TextureStartsWithNoIndices)
{
    BaseTriMesh mesh = strip(2);
    mesh.disable_texture();
    EXPECT_FALSE(mesh.has_texture);
    mesh.enable_texture();
    EXPECT_EQ(mesh.face_texture_ids, (std::vector<Vector3i>(2, Vector3i(-1, -1, -1))));
    EXPECT_TRUE(mesh.is_legal());
    mesh.set_texture_coords({{0, 0}, {1, 1}});
    mesh.set_face_texture_id(1, Vector3i(0, 1, 0));
    mesh.enable_texture();
    EXPECT_EQ(mesh.face_texture_ids[1], Vector3i(0, 1, 0)) << "it was on already";
    EXPECT_TRUE(mesh.is_legal());
}

TEST(BaseTriMesh, EveryInconsistencyIsIllegalAndRepaired)
{
    auto const expect_repaired = [](BaseTriMesh mesh, size_t vertices, size_t faces)
    {
        EXPECT_FALSE(mesh.is_legal());
        static_cast<BaseData&>(mesh).repair_illegal();
        EXPECT_TRUE(mesh.is_legal());
        EXPECT_EQ(mesh.get_vn(), vertices);
        EXPECT_EQ(mesh.get_fn(), faces);
    };
    BaseTriMesh mesh = strip(4);
    EXPECT_TRUE(mesh.is_legal());
    mesh.faces[1][2] = 6;
    expect_repaired(mesh, 6, 3);
    mesh = strip(4);
    mesh.faces[1][2] = mesh.faces[1][0];
    expect_repaired(mesh, 6, 3);
    mesh = strip(4);
    mesh.vCoord[0].z() = NOT_A_NUMBER;
    expect_repaired(mesh, 5, 3);
    mesh = strip(4);
    mesh.fNrv.pop_back();
    expect_repaired(mesh, 6, 4);
    mesh = strip(4);
    mesh.fNrv[0].x() = NOT_A_NUMBER;
    expect_repaired(mesh, 6, 4);
    mesh = strip(4);
    mesh.fFlag.resize(77);
    expect_repaired(mesh, 6, 4);
    mesh = strip(4);
    mesh.face_texture_ids.resize(1);
    expect_repaired(mesh, 6, 4);
    mesh = strip(4);
    mesh.face_texture_ids[2] = Vector3i(0, 0, 4);
    expect_repaired(mesh, 6, 4);
    mesh = strip(4);
    mesh.face_texture_ids[2] = Vector3i(0, 0, -2);
    expect_repaired(mesh, 6, 4);
}

TEST(BaseTriMesh, RepairOfALegalMeshChangesNothing)
{
    BaseTriMesh mesh = strip(4);
    BaseTriMesh const before = mesh;
    mesh.repair_illegal();
    EXPECT_EQ(face_list(mesh), face_list(before));
    EXPECT_EQ(mesh.vCoord, before.vCoord);
    EXPECT_EQ(mesh.face_texture_ids, before.face_texture_ids);
    EXPECT_EQ(mesh.fNrv, before.fNrv);
}

TEST(BaseTriMesh, RigidTransformationRotatesFaceNormals)
{
    BaseTriMesh mesh = strip(2);
    RigidMatrix motion;
    Matrix3d quarter_turn;
    quarter_turn << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    motion.set_rotation(quarter_turn);
    motion.set_translation({5, 5, 5});
    static_cast<Cloud&>(mesh).rigid_transformation(motion);
    EXPECT_EQ(mesh.fNrv[1], Vector3f(0, 1, 0));
    EXPECT_EQ(mesh.vCoord[2], Vector3f(5, 7, 5));
}

TEST(BaseTriMesh, SwappingBringsFacesTextureAndImageBack)
{
    BaseTriMesh mesh = strip(4);
    Image<3, unsigned char> image(5, 3);
    for (int i = 0; i < 45; ++i)
    {
        image.data()[i] = static_cast<unsigned char>(i * 5);
    }
    mesh.set_texture_image(image);
    mesh.set_fDeleted(2, true);
    BaseTriMesh const before = mesh;
    ASSERT_EQ(mesh.swap_out_data(), 0);
    EXPECT_EQ(mesh.get_fn() + mesh.get_vn(), 0U);
    EXPECT_EQ(mesh.faces.capacity() + mesh.texture_coords.capacity(), 0U);
    EXPECT_TRUE(mesh.texture_image.empty());
    ASSERT_EQ(mesh.swap_in_data(), 0);
    EXPECT_FALSE(has_leftover(swap_path(mesh)));
    EXPECT_EQ(face_list(mesh), face_list(before));
    EXPECT_EQ(mesh.vCoord, before.vCoord);
    EXPECT_EQ(mesh.fNrv, before.fNrv);
    EXPECT_EQ(mesh.fFlag, before.fFlag);
    EXPECT_EQ(mesh.face_texture_ids, before.face_texture_ids);
    ASSERT_EQ(mesh.texture_coords.size(), 4U);
    EXPECT_EQ(mesh.texture_coords[3].u, 3.0F);
    EXPECT_TRUE(mesh.has_texture && mesh.has_fFlag && mesh.has_fNormal && mesh.has_vFlag);
    EXPECT_FALSE(mesh.has_vNormal);
    ASSERT_EQ(mesh.texture_image.width(), 5);
    ASSERT_EQ(mesh.texture_image.height(), 3);
    EXPECT_TRUE(std::equal(image.data(), image.data() + 45, mesh.texture_image.data()));
}

TEST(BaseTriMesh, DamagedSwapFileGivesAnEmptyMesh)
{
    for (size_t i = 0;; ++i)
    {
        BaseTriMesh mesh = strip(2);
        mesh.set_texture_image(Image<3, unsigned char>(2, 2));
        ASSERT_EQ(mesh.swap_out_data(), 0);
        std::string bytes = file_content(swap_path(mesh));
        if (i == bytes.size())
        {
            break;
        }
        bytes[i] = static_cast<char>(~bytes[i]);
        write_file(swap_path(mesh), bytes);
        EXPECT_NE(mesh.swap_in_data(), 0) << i;
        EXPECT_EQ(mesh.get_fn() + mesh.get_vn(), 0U);
        EXPECT_TRUE(mesh.texture_image.empty());
        EXPECT_FALSE(mesh.has_texture);
    }
}
