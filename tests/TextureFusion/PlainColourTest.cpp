#include "algorithmVeld/TextureFusion/seams/FacePatches.h"
#include "algorithmVeld/TextureFusion/seams/PatchColour.h"
#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_colour.h"
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

using OrvaneAlgorithm::detail::PatchFaces;
using OrvaneAlgorithm::detail::PatchTex;
using OrvaneAlgorithm::detail::RectangleFailure;
using OrvaneAlgorithm::detail::RectangleSolver;
using OrvaneAlgorithm::detail::TexProperties;
using reference::Canvas;
using reference::TextureState;
using veld_test::IS_SANITIZED;

constexpr unsigned COLOUR_SEEDS = IS_SANITIZED ? 100 : 400;
constexpr unsigned RECTANGLE_SEEDS = IS_SANITIZED ? 100 : 400;

/// Where a sum of colours ends so near a whole number, one of two solvers may be cut off below it.
bool is_near_whole(double value)
{
    return std::abs(value - std::round(value)) < 1e-4;
}

Canvas random_canvas(Lot& lot)
{
    Canvas canvas(1 + lot.below(16), 1 + lot.below(16));
    int const rare = 1 + lot.below(30);
    std::size_t const surely = at(lot.below(canvas.width * canvas.height));
    for (std::size_t i = 0; i < canvas.field.size(); ++i)
    {
        canvas.known[i] = i == surely || lot.one_in(rare);
        for (std::size_t c = 0; c < 3 && canvas.known[i]; ++c)
        {
            canvas.field[i][c] = 255.0F * (2.0F * lot.unit() - 1.0F);
        }
    }
    return canvas;
}

TEST(PlainColour, SolvesARectangleAsADenseSolverDoes)
{
    for (unsigned seed = 0; seed < RECTANGLE_SEEDS; ++seed)
    {
        SCOPED_TRACE("rectangle " + std::to_string(seed));
        Lot lot(seed);
        Canvas const canvas = random_canvas(lot);
        Image<1, unsigned char> mask(canvas.width, canvas.height);
        Image<3, float> start(canvas.width, canvas.height);
        for (std::size_t i = 0; i < canvas.field.size(); ++i)
        {
            mask.data()[i] = canvas.known[i] ? 128 : 0;
            std::copy_n(canvas.field[i].data(), 3, start.data() + 3 * i);
        }
        auto const expected = reference::solve_densely(canvas);
        for (auto const solver : {RectangleSolver::SIMPLICIAL, RectangleSolver::PARDISO})
        {
            auto field = start;
            ASSERT_EQ(OrvaneAlgorithm::detail::solve_rectangle(field, mask, solver),
                      RectangleFailure::NONE);
            for (std::size_t i = 0; i < canvas.field.size(); ++i)
            {
                for (std::size_t c = 0; c < 3; ++c)
                {
                    auto const exact =
                        expected(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(c));
                    // The field is float: half its last place comes to what solvers differ by.
                    ASSERT_NEAR(field.data()[3 * i + c], exact, 1e-6 + std::abs(exact) * 1.2e-7);
                    ASSERT_TRUE(!canvas.known[i] || field.data()[3 * i + c] == canvas.field[i][c]);
                }
            }
        }
    }
}

/// A mesh whose faces have their views.
struct ColourScene
{
    PhotographedMesh photographs;
    reference::PlainMesh lists;
    TextureState state;
};

ColourScene random_colour_scene(unsigned seed, reference::Taken& taken)
{
    Lot lot(seed + 5000000U);
    ColourScene scene;
    scene.photographs = random_photographs(seed, 18);
    auto& [mesh, views, limits] = scene.photographs;
    limits.dis_thr = 1.0F;
    limits.norm_thr = 0.0F;
    limits.image_border = lot.below(2);
    scene.lists = reference::plain(mesh);
    scene.state = TextureState(scene.lists);
    scene.state.faces = reference::project_faces(
        scene.lists, reference::project_vertices(scene.lists, views, limits, taken),
        static_cast<int>(views.size()), taken);
    reference::choose_views(scene.lists, scene.state.faces, lot.of<int>({1, 3, 6}), taken);
    return scene;
}

void expect_same_rectangles(std::vector<PatchTex> const& expected,
                            std::vector<PatchTex> const& actual)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t p = 0; p < expected.size(); ++p)
    {
        PatchTex const& a = actual[p];
        PatchTex const& e = expected[p];
        ASSERT_EQ(a.label, e.label) << "patch " << p;
        ASSERT_EQ((std::array<int, 4>{a.min_x, a.max_x, a.min_y, a.max_y}),
                  (std::array<int, 4>{e.min_x, e.max_x, e.min_y, e.max_y}))
            << "patch " << p;
        ASSERT_FALSE(a.is_hole || a.repaired) << "patch " << p;
    }
}

void expect_same_faces(reference::FaceLists const& expected,
                       std::vector<std::vector<OpenMesh::FaceHandle>> const& actual)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t p = 0; p < expected.size(); ++p)
    {
        std::vector<int> faces;
        for (auto const f : actual[p])
        {
            faces.push_back(f.idx());
        }
        ASSERT_EQ(faces, expected[p]) << "patch " << p;
    }
}

/// Known pixels have to be the same, solved ones up to what rounding takes off before the cut.
void expect_same_patch(reference::PatchCanvas const& expected, bool is_alone,
                       Image<3, unsigned char> const& actual, reference::Taken& taken)
{
    ASSERT_EQ(actual.width(), expected.canvas.width);
    ASSERT_EQ(actual.height(), expected.canvas.height);
    for (std::size_t i = 0; i < expected.canvas.field.size(); ++i)
    {
        for (std::size_t c = 0; c < 3; ++c)
        {
            int const a = actual.data()[3 * i + c];
            int const e = expected.result.data()[3 * i + c];
            ++taken["colours"];
            if (a != e)
            {
                ASSERT_FALSE(is_alone || expected.canvas.known[i]) << "pixel " << i;
                double const sum =
                    expected.exact(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(c)) +
                    expected.source.data()[3 * i + c];
                ASSERT_TRUE(is_near_whole(sum) && std::abs(a - e) == 1)
                    << "pixel " << i << ": " << a << ", not " << e << " of " << sum;
                ++taken["colours cut off elsewhere"];
            }
        }
    }
}

void compare_colours(unsigned seed, RectangleSolver solver, reference::Taken& taken)
{
    Threads const threads(1 + static_cast<int>(seed % 4));
    auto scene = random_colour_scene(seed, taken);
    auto& [mesh, views, limits] = scene.photographs;
    Lot lot(seed + 6000000U);
    int const margin = lot.below(4);
    TexProperties properties;
    properties.add_to(mesh);
    reference::write_state(scene.state, properties, mesh);

    auto const patches = reference::partition(scene.lists, scene.state, views, margin, taken);
    auto const actual =
        OrvaneAlgorithm::detail::partition_mesh_by_face(mesh, properties, views, margin);
    ASSERT_NO_FATAL_FAILURE(expect_same_rectangles(patches, actual));

    reference::FaceLists faces;
    reference::FaceLists border;
    reference::list_faces(scene.lists, scene.state, faces, border, patches.size());
    PatchFaces lists;
    bool const is_listed =
        OrvaneAlgorithm::detail::list_patch_faces(mesh, properties, patches.size(), lists);
    ASSERT_EQ(is_listed, !patches.empty());
    ++taken[patches.empty() ? "nothing to fuse" : "patches to fuse"];
    if (patches.empty())
    {
        return;
    }
    ASSERT_NO_FATAL_FAILURE(expect_same_faces(faces, lists.patch_faces));
    ASSERT_NO_FATAL_FAILURE(expect_same_faces(border, lists.patch_boundary_faces));

    auto const work =
        reference::fuse(scene.lists, scene.state, views, patches, faces, border, taken);
    auto const images =
        OrvaneAlgorithm::detail::fuse_patch_colours(mesh, properties, views, actual, lists, solver);
    auto const result = reference::read_state(mesh, properties);
    ASSERT_EQ(result.patch_id, scene.state.patch_id);
    ASSERT_EQ(result.group, scene.state.group);
    ASSERT_EQ(images.size(), work.size());
    for (std::size_t p = 0; p < work.size(); ++p)
    {
        ASSERT_NO_FATAL_FAILURE(expect_same_patch(work[p], border[p].empty(), images[p], taken))
            << "patch " << p;
    }
    for (std::size_t v = 0; v < result.color.size(); ++v)
    {
        for (std::size_t c = 0; c < 3; ++c)
        {
            bool const differs = result.color[v][c] != scene.state.color[v][c];
            taken["vertices cut off elsewhere"] += differs ? 1 : 0;
            ASSERT_LE(std::abs(result.color[v][c] - scene.state.color[v][c]), 1) << "vertex " << v;
        }
    }
}

void compare_all_colours(RectangleSolver solver)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < COLOUR_SEEDS; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare_colours(seed, solver, taken));
    }
    expect_all_taken(taken, {"colour cut off", "nothing to fuse", "patch alone", "patch at others",
                             "patches to fuse", "rectangle at the bottom", "rectangle at the left",
                             "rectangle off the bottom", "rectangle off the left",
                             "vertex at a seam", "vertex off the seams"});
    EXPECT_LT(taken["colours cut off elsewhere"] * 1000, taken["colours"]);
    EXPECT_LT(taken["vertices cut off elsewhere"] * 1000, taken["vertex off the seams"]);
}

TEST(PlainColour, OfPatchesIsThatOfTheLibraryInEveryScene)
{
    compare_all_colours(RectangleSolver::SIMPLICIAL);
}

TEST(PlainColour, OfPatchesIsTheSameWithTheOtherSolver)
{
    compare_all_colours(RectangleSolver::PARDISO);
}

} // namespace
} // namespace veld_test
