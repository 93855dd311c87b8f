#include "algorithmVeld/TextureFusion/projection/Projection.h"

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_projection.h"
#include "tests/support/log_capture.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::detail::TexProperties;

constexpr unsigned PROJECTION_SEEDS = 1000;

void expect_same_lists(reference::ViewsOfVertices const& expected,
                       OrvaneAlgorithm::detail::VertTexLists const& actual)
{
    for (std::size_t v = 0; v < expected.size(); ++v)
    {
        std::vector<VertTex> const list(actual.begin(v), actual.end(v));
        ASSERT_TRUE(is_same(expected[v], list)) << "vertex " << v << ": " << list.size()
                                                << " views, " << expected[v].size() << " expected";
    }
}

void expect_same_views(std::vector<reference::FaceViews> const& expected,
                       std::vector<reference::FaceViews> const& actual)
{
    for (std::size_t f = 0; f < expected.size(); ++f)
    {
        ASSERT_EQ(actual[f].has_tex, expected[f].has_tex) << "face " << f;
        ASSERT_TRUE(is_same(expected[f].list, actual[f].list)) << "face " << f;
        if (expected[f].has_tex)
        {
            ASSERT_EQ(actual[f].index, 0) << "face " << f;
            ASSERT_EQ(actual[f].label, expected[f].label) << "face " << f;
        }
    }
}

/// What is logged about a view.
std::string line_of_view(reference::ViewsOfVertices const& vertices, int id)
{
    int n = 0;
    for (auto const& list : vertices)
    {
        n += reference::entry_of_view(list, id) != nullptr ? 1 : 0;
    }
    return "  image( " + std::to_string(id) + " ) projected vertices: " + std::to_string(n) + "\n";
}

void compare_projection(unsigned seed, reference::Taken& taken)
{
    Threads const threads(1 + static_cast<int>(seed % 4));
    auto scene = random_photographs(seed, 40);
    auto const lists = reference::plain(scene.mesh);
    auto const vertices = reference::project_vertices(lists, scene.views, scene.limits, taken);
    auto const faces =
        reference::project_faces(lists, vertices, static_cast<int>(scene.views.size()), taken);

    TexProperties properties;
    properties.add_to(scene.mesh);
    LogCapture const log;
    auto const actual =
        OrvaneAlgorithm::detail::project_vertices(scene.mesh, scene.views, scene.limits);
    for (auto const& view : scene.views)
    {
        ASSERT_EQ(log.count(line_of_view(vertices, view.id)), 1) << log.text();
    }
    ASSERT_NO_FATAL_FAILURE(expect_same_lists(vertices, actual));
    OrvaneAlgorithm::detail::project_faces(scene.mesh, properties, actual);
    ASSERT_NO_FATAL_FAILURE(
        expect_same_views(faces, reference::read_state(scene.mesh, properties).faces));
}

TEST(PlainProjection, IsThatOfTheLibraryInEveryScene)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < PROJECTION_SEEDS; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare_projection(seed, taken));
    }
    expect_all_taken(taken, {"behind the camera",
                             "edge-on",
                             "equally frontal",
                             "face with a view",
                             "face without a view",
                             "full",
                             "further of two neighbours",
                             "hidden at once",
                             "hidden by the dilation",
                             "hidden later",
                             "less than a pixel outside",
                             "looks away",
                             "misses the image",
                             "nearer neighbour",
                             "nearer than before",
                             "no mean cosine",
                             "not all corners",
                             "not to be projected",
                             "on the border",
                             "seen"});
}

} // namespace
} // namespace veld_test
