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
    OrvaneAlgorithm::detail::TexProperties properties;
    properties.add_to(mesh);
    EXPECT_EQ(count_named(mesh.vprops_begin(), mesh.vprops_end(), "<vprop>"), 2);
    EXPECT_EQ(count_named(mesh.fprops_begin(), mesh.fprops_end(), "<fprop>"), 9);
    properties.remove_from(mesh);
    EXPECT_EQ(count_named(mesh.vprops_begin(), mesh.vprops_end(), "<vprop>"), 0);
    EXPECT_EQ(count_named(mesh.fprops_begin(), mesh.fprops_end(), "<fprop>"), 0);
    EXPECT_FALSE(properties.vert_color.is_valid());
    EXPECT_FALSE(properties.face_uv_index.is_valid());
}

} // namespace
} // namespace veld_test
