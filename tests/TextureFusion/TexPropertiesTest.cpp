#include "algorithmVeld/TextureFusion/records/TexProperties.h"

#include "tests/support/meshes.h"

#include <gtest/gtest.h>

namespace veld_test
{

namespace
{

/// How many properties of one name a kind of elements has.
template <typename Begin, typename End>
int count_named(Begin begin, End end, char const* name)
{
    int n = 0;
    for (auto it = begin; it != end; ++it)
    {
        n += *it != nullptr && (*it)->name() == name ? 1 : 0;
    }
    return n;
}

TEST(TexProperties, AreNamedAlikeAndLeaveWithTheirHandles)
{
    TriMesh mesh = open_cone(5);
    // OpenMesh itself names some of its attributes so.
    int const n_vertex = count_named(mesh.vprops_begin(), mesh.vprops_end(), "<vprop>");
    int const n_face = count_named(mesh.fprops_begin(), mesh.fprops_end(), "<fprop>");
    OrvaneAlgorithm::detail::TexProperties properties;
    properties.add_to(mesh);
    EXPECT_EQ(count_named(mesh.vprops_begin(), mesh.vprops_end(), "<vprop>"), n_vertex + 2);
    EXPECT_EQ(count_named(mesh.fprops_begin(), mesh.fprops_end(), "<fprop>"), n_face + 9);
    properties.remove_from(mesh);
    EXPECT_EQ(count_named(mesh.vprops_begin(), mesh.vprops_end(), "<vprop>"), n_vertex);
    EXPECT_EQ(count_named(mesh.fprops_begin(), mesh.fprops_end(), "<fprop>"), n_face);
    EXPECT_FALSE(properties.vert_color.is_valid());
    EXPECT_FALSE(properties.face_uv_index.is_valid());
}

} // namespace
} // namespace veld_test
