#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_holes.h"
#include "tests/TextureFusion/reference_projection.h"
#include "tests/TextureFusion/reference_selection.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::Vector2i;
using OrvaneAlgorithm::detail::PatchTex;
using OrvaneAlgorithm::detail::RectangleSolver;
using OrvaneAlgorithm::detail::TexProperties;
using OrvaneAlgorithm::detail::TextureHoleSettings;
using reference::HoleWork;
using reference::TextureState;
using veld_test::IS_SANITIZED;

constexpr unsigned HOLE_SEEDS = IS_SANITIZED ? 100 : 400;
constexpr double MOST_DENSE_PIXELS = 350.0;

/// Faces with and without views, and vertices with colours.
struct HoleScene
{
    PhotographedMesh photographs;
    reference::PlainMesh lists;
    TextureState state;
};

HoleScene random_hole_scene(unsigned seed)
{
    Lot lot(seed + 7000000U);
    HoleScene scene;
    scene.photographs = random_photographs(seed, 24);
    auto& [mesh, views, limits] = scene.photographs;
    limits.dis_thr = 1.0F;
    limits.norm_thr = 0.0F;
    limits.image_border = lot.below(2);
    scene.lists = reference::plain(mesh);
    scene.state = TextureState(scene.lists);
    reference::Taken taken;
    scene.state.faces = reference::project_faces(
        scene.lists, reference::project_vertices(scene.lists, views, limits, taken),
        static_cast<int>(views.size()), taken);
    reference::choose_views(scene.lists, scene.state.faces, lot.of<int>({0, 3, 12}), taken);
    if (lot.one_in(3)) // few pixels however near
    {
        auto& camera = views[0].intrinsics;
        camera = OrvaneAlgorithm::CameraInParam(2.0, 1.5, camera.get_cx(), camera.get_cy());
    }
    float const nearness = lot.of<float>({1.0F, 1.0F, 0.3F, 0.1F, 0.02F, 0.0F});
    for (auto& face : scene.state.faces)
    {
        for (auto& tex : face.list)
        {
            for (auto& corner : tex.corner)
            {
                corner.depth *= nearness;
            }
        }
    }
    bool const is_plain = lot.one_in(5);
    for (auto& color : scene.state.color)
    {
        for (auto& channel : color)
        {
            channel = static_cast<unsigned char>(is_plain ? 77 : lot.below(256));
        }
    }
    return scene;
}

/// Those holes whose system is not too large to be solved densely, or far too large for any.
reference::FaceLists small_holes(HoleScene const& scene, reference::FaceLists const& holes,
                                 int margin)
{
    reference::FaceLists small;
    for (auto const& hole : holes)
    {
        HoleWork work;
        reference::Taken taken;
        bool const is_seen = reference::look_at_hole(
            scene.lists, scene.state, hole, scene.photographs.views[0], margin, work, taken);
        double const area = reference::area_of(work.rectangle);
        if (!is_seen || area <= MOST_DENSE_PIXELS || area > 4e9)
        {
            small.push_back(hole);
        }
    }
    return small;
}

std::vector<std::vector<OpenMesh::FaceHandle>> handles_of(reference::FaceLists const& lists)
{
    std::vector<std::vector<OpenMesh::FaceHandle>> handles;
    handles.reserve(lists.size());
    for (auto const& list : lists)
    {
        handles.emplace_back(list.begin(), list.end());
    }
    return handles;
}

/// Whether two colours are one, or parted by the cut behind the point of nearly a whole number.
bool is_same_color(int actual, int expected, double exact)
{
    return actual == expected ||
           (std::abs(actual - expected) == 1 && std::abs(exact - std::round(exact)) < 1e-4);
}

void expect_same_hole(HoleWork const& expected, PatchTex const& actual,
                      Image<3, unsigned char> const& image)
{
    PatchTex const& e = expected.rectangle;
    ASSERT_EQ(actual.repaired, e.repaired);
    ASSERT_TRUE(actual.is_hole);
    ASSERT_EQ(actual.label, 0);
    ASSERT_EQ((std::array<int, 4>{actual.min_x, actual.max_x, actual.min_y, actual.max_y}),
              (std::array<int, 4>{e.min_x, e.max_x, e.min_y, e.max_y}));
    ASSERT_EQ(image.width(), expected.result.width());
    ASSERT_EQ(image.height(), expected.result.height());
    for (std::size_t i = 0; i < at(image.width()) * at(image.height()); ++i)
    {
        for (std::size_t c = 0; c < 3; ++c)
        {
            double const exact =
                expected.exact(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(c));
            ASSERT_TRUE(is_same_color(image.data()[3 * i + c], expected.result.data()[3 * i + c],
                                      expected.canvas.known[i] ? 0.5 : exact))
                << "pixel " << i << " of " << exact;
        }
    }
}

/// Vertices of repaired holes have the colours of their pixels, all others those from before.
void expect_same_vertices(std::vector<HoleWork> const& holes,
                          OrvaneAlgorithm::detail::RepairedHoles const& repaired,
                          TextureState const& before, TextureState const& actual)
{
    auto colors = before.color;
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        PatchTex const& r = holes[h].rectangle;
        for (std::size_t i = 0; r.repaired && i < holes[h].hole_vertices.size(); ++i)
        {
            std::size_t const v = at(holes[h].hole_vertices[i]);
            Vector2i const pixel = holes[h].hole_pixels[i];
            ASSERT_EQ(actual.hole_uv[v], pixel) << "vertex " << v;
            std::copy_n(repaired.hole_textures[h].pixel(pixel.x() - r.min_x, pixel.y() - r.min_y),
                        3, colors[v].data());
        }
    }
    ASSERT_EQ(actual.color, colors);
}

TextureHoleSettings random_hole_settings(Lot& lot, RectangleSolver solver)
{
    TextureHoleSettings settings;
    settings.patch_margin = lot.below(4);
    settings.hole_area_ratio = lot.of<float>({1.0F, 0.5F});
    settings.hole_vertex_limit = lot.of<int>({10000, 10000, 6});
    settings.solver = solver;
    return settings;
}

void compare_holes(unsigned seed, RectangleSolver solver, reference::Taken& taken)
{
    auto scene = random_hole_scene(seed);
    auto& [mesh, views, limits] = scene.photographs;
    Lot lot(seed + 8000000U);
    Threads const threads(1 + lot.below(4));
    auto const settings = random_hole_settings(lot, solver);
    TexProperties properties;
    properties.add_to(mesh);
    reference::write_state(scene.state, properties, mesh);

    auto const all = reference::find_holes(scene.lists, scene.state);
    ASSERT_EQ(OrvaneAlgorithm::detail::find_texture_holes(mesh, properties), handles_of(all));
    ASSERT_EQ(reference::read_state(mesh, properties).hole_id, scene.state.hole_id);

    auto const before = scene.state;
    auto const holes = small_holes(scene, all, settings.patch_margin);
    auto const work =
        reference::repair_holes(scene.lists, scene.state, views, holes,
                                {settings.hole_area_ratio, settings.hole_vertex_limit,
                                 settings.patch_margin, solver == RectangleSolver::PARDISO},
                                taken);
    auto const actual = OrvaneAlgorithm::detail::repair_texture_holes(mesh, properties, views,
                                                                      handles_of(holes), settings);
    ASSERT_EQ(actual.hole_patches.size(), work.size());
    ASSERT_EQ(actual.hole_textures.size(), work.size());
    for (std::size_t h = 0; h < work.size(); ++h)
    {
        ASSERT_NO_FATAL_FAILURE(
            expect_same_hole(work[h], actual.hole_patches[h], actual.hole_textures[h]))
            << "hole " << h;
    }
    expect_same_vertices(work, actual, before, reference::read_state(mesh, properties));
}

void compare_all_holes(RectangleSolver solver)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < HOLE_SEEDS; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare_holes(seed, solver, taken));
    }
    expect_all_taken(taken, {"hole on both sides of the eye", "hole beyond counting",
                             "hole repaired", "hole that cannot be looked at", "hole too large",
                             "hole without surroundings", "large rectangle of few vertices",
                             "two vertices on a pixel"});
}

TEST(PlainHoles, AreThoseOfTheLibraryInEveryScene)
{
    compare_all_holes(RectangleSolver::SIMPLICIAL);
}

TEST(PlainHoles, AreTheSameWithTheOtherSolver)
{
    compare_all_holes(RectangleSolver::PARDISO);
}

} // namespace
} // namespace veld_test
