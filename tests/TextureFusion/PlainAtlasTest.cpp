#include "algorithmVeld/TextureFusion/atlas/AtlasCoordinates.h"
#include "algorithmVeld/TextureFusion/atlas/AtlasPacking.h"

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_atlas.h"
#include "tests/TextureFusion/reference_colour.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::detail::BlackCell;
using OrvaneAlgorithm::detail::PatchTex;
using OrvaneAlgorithm::detail::TexProperties;
using reference::Piece;
using reference::PlainMesh;
using reference::TextureState;
using veld_test::IS_SANITIZED;

constexpr unsigned ATLAS_SEEDS = IS_SANITIZED ? 50 : 200;

/// A rectangle anywhere, the bounds of one of a hole also below 0, with an image or without.
Piece random_piece(bool is_hole, Lot& lot)
{
    Piece piece;
    PatchTex& r = piece.rectangle;
    r.is_hole = is_hole;
    r.repaired = is_hole && !lot.one_in(3);
    if (is_hole && !r.repaired)
    {
        return piece;
    }
    r.min_x = lot.below(50) - (is_hole ? 30 : 0);
    r.min_y = lot.below(50) - (is_hole ? 30 : 0);
    r.max_x = r.min_x + lot.below(20);
    r.max_y = r.min_y + lot.below(20);
    if (is_hole || !lot.one_in(8))
    {
        piece.image = random_image(r.width(), r.height(), lot);
    }
    return piece;
}

/// Faces with views, their patches, and the holes between them: now and then two holes side by
/// side, which no search finds.
struct AtlasScene
{
    TriMesh mesh;
    PlainMesh lists;
    TextureState state;
    std::vector<Piece> patches;
    std::vector<Piece> holes;
    std::vector<std::vector<int>> hole_faces;
};

void number_holes(AtlasScene& scene, Lot& lot)
{
    int const n = 1 + lot.below(3);
    bool const is_mixed = lot.one_in(3);
    scene.hole_faces.resize(at(n));
    int hole = 0;
    for (int f = 0; f < scene.lists.n_faces(); ++f)
    {
        if (!scene.state.faces[at(f)].has_tex)
        {
            hole = is_mixed && lot.one_in(10) ? lot.below(n) : hole;
            scene.state.hole_id[at(f)] = hole;
            scene.hole_faces[at(hole)].push_back(f);
        }
    }
    for (int h = 0; h < n; ++h)
    {
        scene.holes.push_back(random_piece(true, lot));
    }
}

AtlasScene random_atlas_scene(unsigned seed)
{
    Lot lot(seed);
    AtlasScene scene;
    scene.mesh = random_object(lot);
    scene.lists = reference::plain(scene.mesh);
    scene.state = TextureState(scene.lists);
    scene.state.faces = random_face_views(scene.lists, lot);
    for (auto& face : scene.state.faces)
    {
        for (auto& tex : face.list)
        {
            for (auto& corner : tex.corner)
            {
                corner.u = 70.0F * lot.unit();
                corner.v = 70.0F * lot.unit();
            }
        }
    }
    std::vector<TexImage> const views(6);
    reference::Taken taken;
    reference::FaceLists faces;
    reference::FaceLists border;
    auto const n_patches = reference::partition(scene.lists, scene.state, views, 3, taken).size();
    reference::list_faces(scene.lists, scene.state, faces, border, n_patches);
    for (std::size_t p = 0; p < n_patches; ++p)
    {
        scene.patches.push_back(random_piece(false, lot));
    }
    number_holes(scene, lot);
    return scene;
}

std::vector<PatchTex> rectangles_of(std::vector<Piece> const& pieces)
{
    std::vector<PatchTex> list;
    for (auto const& piece : pieces)
    {
        list.push_back(piece.rectangle);
    }
    return list;
}

std::vector<Image<3, unsigned char>> images_of(std::vector<Piece> const& pieces)
{
    std::vector<Image<3, unsigned char>> list;
    for (auto const& piece : pieces)
    {
        list.push_back(piece.image);
    }
    return list;
}

void expect_same_places(std::vector<Piece> const& expected, std::vector<PatchTex> const& actual)
{
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        ASSERT_EQ(actual[i].atlas_x, expected[i].rectangle.atlas_x) << "piece " << i;
        ASSERT_EQ(actual[i].atlas_y, expected[i].rectangle.atlas_y) << "piece " << i;
    }
}

void expect_same_image(Image<3, unsigned char> const& expected,
                       Image<3, unsigned char> const& actual)
{
    ASSERT_EQ(actual.width(), expected.width());
    ASSERT_EQ(actual.height(), expected.height());
    ASSERT_TRUE(std::equal(expected.data(),
                           expected.data() + 3 * at(expected.width()) * at(expected.height()),
                           actual.data()));
}

void expect_same_coordinates(TextureState const& expected,
                             std::vector<reference::UVCoord> const& expected_uv,
                             TextureState const& actual,
                             std::vector<reference::UVCoord> const& actual_uv)
{
    ASSERT_EQ(actual_uv.size(), expected_uv.size());
    for (std::size_t i = 0; i < expected_uv.size(); ++i)
    {
        ASSERT_TRUE(is_same(actual_uv[i].u, expected_uv[i].u)) << "coordinate " << i;
        ASSERT_TRUE(is_same(actual_uv[i].v, expected_uv[i].v)) << "coordinate " << i;
    }
    for (std::size_t f = 0; f < expected.faces.size(); ++f)
    {
        ASSERT_EQ(actual.uv_index[f], expected.uv_index[f]) << "face " << f;
        ASSERT_EQ(actual.group[f], expected.group[f]) << "face " << f;
    }
}

void compare_atlas(unsigned seed, reference::Taken& taken)
{
    Threads const threads(1 + static_cast<int>(seed % 4));
    auto scene = random_atlas_scene(seed);
    Lot lot(seed + 4000000U);
    int const gap = lot.below(4);
    TexProperties properties;
    properties.add_to(scene.mesh);
    reference::write_state(scene.state, properties, scene.mesh);
    auto patches = rectangles_of(scene.patches);
    auto holes = rectangles_of(scene.holes);
    Image<3, unsigned char> image;
    BlackCell black;
    ASSERT_TRUE(OrvaneAlgorithm::detail::pack_atlas(
        {patches, images_of(scene.patches), holes, images_of(scene.holes)}, gap, image, black));

    reference::Atlas atlas;
    ASSERT_TRUE(reference::pack_pieces(scene.patches, scene.holes, gap, atlas));
    ASSERT_NO_FATAL_FAILURE(expect_same_image(atlas.image, image));
    ASSERT_NO_FATAL_FAILURE(expect_same_places(scene.patches, patches));
    ASSERT_NO_FATAL_FAILURE(expect_same_places(scene.holes, holes));
    ASSERT_EQ(black.column, atlas.black_column);
    ASSERT_EQ(black.row, atlas.black_row);

    int const width = image.width();
    int const height = image.height();
    auto uv = reference::patch_coordinates(scene.lists, scene.state, patches, atlas, width, height,
                                           taken);
    auto actual_uv = OrvaneAlgorithm::detail::patch_coordinates(scene.mesh, properties, patches,
                                                                black, width, height);
    ASSERT_NO_FATAL_FAILURE(expect_same_coordinates(
        scene.state, uv, reference::read_state(scene.mesh, properties), actual_uv));

    reference::append_hole_coordinates(scene.lists, scene.state, scene.hole_faces, holes, width,
                                       height, uv, taken);
    std::vector<std::vector<OpenMesh::FaceHandle>> hole_faces;
    for (auto const& hole : scene.hole_faces)
    {
        hole_faces.emplace_back(hole.begin(), hole.end());
    }
    OrvaneAlgorithm::detail::append_hole_coordinates(scene.mesh, properties, hole_faces, holes,
                                                     width, height, actual_uv);
    ASSERT_NO_FATAL_FAILURE(expect_same_coordinates(
        scene.state, uv, reference::read_state(scene.mesh, properties), actual_uv));
}

TEST(PlainAtlas, IsThatOfTheLibraryInEveryScene)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < ATLAS_SEEDS; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare_atlas(seed, taken));
    }
    expect_all_taken(taken, {"comes to the border", "face is black", "first at a vertex",
                             "hole beside a hole", "hole without an image", "own coordinates",
                             "shared at a vertex", "stays inside"});
}

} // namespace
} // namespace veld_test
