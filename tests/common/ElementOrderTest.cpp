#include "algorithmVeld/common/mesh/ElementOrder.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using detail::AddedFaces;
using detail::order_by_turns;

namespace
{

// A row of unit cells with every second one missing; filling cell i takes two faces and one edge
// that is new in any case, and its upper and lower edge.
TriMesh row_with_gaps()
{
    return grid_without(9, 1, {{1, 0}, {3, 0}, {5, 0}, {7, 0}});
}

AddedFaces fill_cell(TriMesh& mesh, int x, int turn)
{
    AddedFaces added{turn, static_cast<int>(mesh.n_faces()), 0, static_cast<int>(mesh.n_edges()),
                     0};
    mesh.add_face(vh(x), vh(x + 1), vh(x + 11));
    mesh.add_face(vh(x), vh(x + 11), vh(x + 10));
    added.faces = static_cast<int>(mesh.n_faces()) - added.first_face;
    added.edges = static_cast<int>(mesh.n_edges()) - added.first_edge;
    return added;
}

TEST(ElementOrder, AddedOutOfTurnIsNumberedAsIfAddedInTurn)
{
    TriMesh in_turn = row_with_gaps();
    TriMesh mesh = in_turn;
    auto const edges = mesh.n_edges();
    auto const faces = mesh.n_faces();
    for (int const x : {1, 3, 5, 7})
    {
        fill_cell(in_turn, x, x);
    }
    std::vector<AddedFaces> added;
    for (int const x : {5, 1, 7, 3})
    {
        added.push_back(fill_cell(mesh, x, x));
    }
    ASSERT_NE(fingerprint(mesh), fingerprint(in_turn));
    order_by_turns(mesh, edges, faces, added);
    EXPECT_EQ(fingerprint(mesh), fingerprint(in_turn));
}

TEST(ElementOrder, WhatBelongsToNoEntryGoes)
{
    TriMesh expected = row_with_gaps();
    TriMesh mesh = expected;
    auto const edges = mesh.n_edges();
    auto const faces = mesh.n_faces();
    fill_cell(expected, 3, 0);
    fill_cell(expected, 1, 1);
    mesh.resize(mesh.n_vertices(), edges + 5, faces + 2);
    std::vector<AddedFaces> added{fill_cell(mesh, 1, 1)};
    mesh.resize(mesh.n_vertices(), mesh.n_edges() + 1, mesh.n_faces() + 3);
    added.push_back(fill_cell(mesh, 3, 0));
    mesh.resize(mesh.n_vertices(), mesh.n_edges() + 7, mesh.n_faces());
    order_by_turns(mesh, edges, faces, added);
    EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
}

TEST(ElementOrder, NothingAddedLeavesTheMeshAsItWas)
{
    TriMesh mesh = row_with_gaps();
    auto const before = fingerprint(mesh);
    auto const edges = mesh.n_edges();
    auto const faces = mesh.n_faces();
    order_by_turns(mesh, edges, faces, {});
    EXPECT_EQ(fingerprint(mesh), before);
    mesh.resize(mesh.n_vertices(), edges + 9, faces + 3);
    order_by_turns(mesh, edges, faces, {});
    EXPECT_EQ(fingerprint(mesh), before);
}

} // namespace
