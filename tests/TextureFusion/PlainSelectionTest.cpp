#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_projection.h"
#include "tests/TextureFusion/reference_selection.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::detail::TexProperties;
using reference::FaceViews;
using reference::PlainMesh;

constexpr unsigned SELECTION_SEEDS = 1500;

/// A threshold: often just the size of some block or region, or one less.
int random_threshold(PlainMesh const& mesh, std::vector<FaceViews> const& faces, Lot& lot)
{
    int const first = lot.below(mesh.n_faces());
    if (!faces[at(first)].has_tex || lot.one_in(3))
    {
        return lot.of<int>({0, 1, 3, 6, 12, 50});
    }
    std::vector<bool> visited(faces.size(), false);
    bool const is_region = lot.one_in(2);
    auto const list = reference::connected_faces(
        mesh, first, visited,
        [&](int g) {
            return faces[at(g)].has_tex &&
                   (is_region || faces[at(g)].label == faces[at(first)].label);
        });
    return static_cast<int>(list.size()) - lot.below(2);
}

/// The choice by one of the stages, or by all of them.
enum class Stage
{
    FILTER,
    BLOCKS,
    BORDERS,
    ALL
};

void choose_plainly(PlainMesh const& mesh, std::vector<FaceViews>& faces, int small, Stage stage,
                    reference::Taken& taken)
{
    if (stage == Stage::FILTER || stage == Stage::ALL)
    {
        reference::filter_faces(mesh, faces, small, taken);
    }
    if (stage == Stage::BLOCKS || stage == Stage::ALL)
    {
        reference::absorb_small_blocks(mesh, faces, small, taken);
    }
    if (stage == Stage::BORDERS || stage == Stage::ALL)
    {
        reference::smooth_borders(mesh, faces, taken);
    }
    if (stage == Stage::ALL)
    {
        reference::absorb_small_blocks(mesh, faces, small, taken);
    }
}

void choose_with_library(TriMesh& mesh, TexProperties const& properties, int small, Stage stage)
{
    using namespace OrvaneAlgorithm::detail;
    if (stage == Stage::FILTER || stage == Stage::ALL)
    {
        filter_face_tex(mesh, properties, small);
    }
    if (stage == Stage::BLOCKS || stage == Stage::ALL)
    {
        optimize_face_tex(mesh, properties, small);
    }
    if (stage == Stage::BORDERS || stage == Stage::ALL)
    {
        optimize_boundary_iteration(mesh, properties);
    }
    if (stage == Stage::ALL)
    {
        optimize_face_tex(mesh, properties, small);
    }
}

void compare_selection(unsigned seed, reference::Taken& taken)
{
    Threads const threads(1 + static_cast<int>(seed % 4));
    Lot lot(seed + 3000000U);
    auto scene = random_photographs(seed, 30);
    auto const lists = reference::plain(scene.mesh);
    reference::TextureState state(lists);
    bool const is_projected = lot.one_in(4);
    if (is_projected)
    {
        reference::Taken projection;
        state.faces = reference::project_faces(
            lists, reference::project_vertices(lists, scene.views, scene.limits, projection),
            static_cast<int>(scene.views.size()), projection);
    }
    else
    {
        state.faces = random_face_views(lists, lot);
    }
    int const small = random_threshold(lists, state.faces, lot);
    Stage const stage = lot.of<Stage>({Stage::FILTER, Stage::BLOCKS, Stage::BORDERS, Stage::ALL});
    TexProperties properties;
    properties.add_to(scene.mesh);
    reference::write_state(state, properties, scene.mesh);

    choose_plainly(lists, state.faces, small, stage, taken);
    choose_with_library(scene.mesh, properties, small, stage);
    auto const actual = reference::read_state(scene.mesh, properties).faces;
    for (std::size_t f = 0; f < actual.size(); ++f)
    {
        ASSERT_EQ(actual[f].has_tex, state.faces[f].has_tex) << "face " << f;
        ASSERT_EQ(actual[f].label, state.faces[f].label) << "face " << f;
        ASSERT_EQ(actual[f].index, state.faces[f].index) << "face " << f;
        ASSERT_TRUE(is_same(actual[f].list, state.faces[f].list)) << "face " << f;
    }
}

TEST(PlainSelection, IsThatOfTheLibraryInEveryScene)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < SELECTION_SEEDS; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare_selection(seed, taken));
    }
    expect_all_taken(taken,
                     {"block of just that size", "block of one more", "comes to the list later",
                      "face alone", "face of a block keeps its label", "first label taken",
                      "labels around equally frequent", "large block", "later label or none",
                      "majority is its own", "nothing around a block", "region dropped",
                      "region kept", "region of just that size", "region of one more",
                      "tie of votes", "vote cannot be followed", "vote followed"});
}

} // namespace
} // namespace veld_test
