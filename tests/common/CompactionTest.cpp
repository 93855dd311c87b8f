#include "algorithmVeld/common/mesh/Compaction.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// A mesh with host properties of every kind, among them packed bits and one that owns memory.
struct Fixture
{
    TriMesh mesh;
    OpenMesh::VPropHandleT<std::string> names;
    OpenMesh::HPropHandleT<bool> bits;
    OpenMesh::EPropHandleT<double> lengths;
    OpenMesh::FPropHandleT<int> numbers;

    explicit Fixture(int level) : mesh(sphere(level))
    {
        OpenMesh::VPropHandleT<int> removed; // leaves a place without a property
        mesh.add_property(removed, "removed");
        mesh.add_property(names, "names");
        mesh.add_property(bits, "bits");
        mesh.add_property(lengths, "lengths");
        mesh.add_property(numbers, "numbers");
        mesh.remove_property(removed);
        for (auto const v : mesh.vertices())
        {
            mesh.property(names, v) = "a name that is kept elsewhere " + std::to_string(v.idx());
        }
        for (auto const h : mesh.halfedges())
        {
            mesh.property(bits, h) = h.idx() % 3 == 0;
        }
        for (auto const e : mesh.edges())
        {
            mesh.property(lengths, e) = e.idx() * 0.5;
        }
        for (auto const f : mesh.faces())
        {
            mesh.property(numbers, f) = f.idx();
        }
    }
};

void expect_same(Fixture& a, Fixture& b)
{
    EXPECT_EQ(fingerprint(a.mesh), fingerprint(b.mesh));
    EXPECT_EQ(a.mesh.property(a.names).data_vector(), b.mesh.property(b.names).data_vector());
    EXPECT_EQ(a.mesh.property(a.bits).data_vector(), b.mesh.property(b.bits).data_vector());
    EXPECT_EQ(a.mesh.property(a.lengths).data_vector(), b.mesh.property(b.lengths).data_vector());
    EXPECT_EQ(a.mesh.property(a.numbers).data_vector(), b.mesh.property(b.numbers).data_vector());
}

} // namespace

TEST(Compaction, GivesTheArraysOfTheGarbageCollection)
{
    for (unsigned seed = 0; seed < 300; ++seed)
    {
        SCOPED_TRACE(seed);
        Fixture a(seed % 3 == 0 ? 1 : 3);
        std::mt19937 random(seed);
        // From next to nothing to nearly all.
        unsigned const one_in = 1 + seed % 40;
        detail::DeletionScope const status(a.mesh);
        for (auto const f : a.mesh.all_faces())
        {
            if (random() % one_in == 0)
            {
                detail::delete_face_checked(a.mesh, f,
                                            seed % 2 == 0 ? detail::IsolatedVertices::DELETED
                                                          : detail::IsolatedVertices::KEPT);
            }
        }
        Fixture b = a;
        detail::compact(a.mesh);
        b.mesh.garbage_collection(true, true, true);
        expect_same(a, b);
        EXPECT_TRUE(a.mesh.is_legal());
        for (auto const f : a.mesh.all_faces())
        {
            EXPECT_FALSE(a.mesh.status(f).deleted());
        }
    }
}

TEST(Compaction, LeavesAMeshWithoutDeletedElementsAlone)
{
    Fixture a(2);
    Fixture b = a;
    detail::compact(a.mesh); // no status either
    expect_same(a, b);
    detail::DeletionScope const status(a.mesh);
    detail::compact(a.mesh);
    expect_same(a, b);
}

TEST(Compaction, EmptiesAMeshOfWhichNothingIsLeft)
{
    TriMesh mesh = grid(3, 3);
    detail::DeletionScope const status(mesh);
    for (auto const v : mesh.all_vertices())
    {
        detail::delete_vertex_checked(mesh, v, detail::IsolatedVertices::DELETED);
    }
    detail::compact(mesh);
    EXPECT_EQ(mesh.n_vertices() + mesh.n_edges() + mesh.n_faces(), 0U);
    detail::compact(mesh);
    EXPECT_EQ(mesh.n_vertices(), 0U);
}
