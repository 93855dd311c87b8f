#include "algorithmVeld/cleanup/VertexEditor.h"

#include "tests/support/meshes.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;

TEST(VertexEditor, TwoTrianglesThatShareOnlyAVertexVanishWhole)
{
    TriMesh mesh = bow_tie();
    EXPECT_EQ(VertexEditor::remove_non_manifold_verts(mesh, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.n_vertices(), 0U);
}
