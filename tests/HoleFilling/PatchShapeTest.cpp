#include "algorithmVeld/HoleFilling/whole/PatchShape.h"

#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using veld_test::vh;

double radians(double degrees)
{
    return degrees * detail::PI / 180.0;
}

/// A triangle by itself.
struct Facet
{
    double tilt;   ///< Of its normal from the z axis, towards y or away from it, in degrees.
    double corner; ///< Its narrowest angle, between two sides of length 1.
};

/// Facets side by side, with a flag on none of them.
struct Facets
{
    TriMesh mesh;
    OpenMesh::FPropHandleT<bool> face_new;

    explicit Facets(std::vector<Facet> const& facets)
    {
        for (auto const& [tilt, corner] : facets)
        {
            auto const at =
                [&, tilt = tilt, side = static_cast<double>(mesh.n_faces())](double x, double y)
            {
                return mesh.add_vertex(Vector3f(static_cast<float>(3.0 * side + x),
                                                static_cast<float>(y * std::cos(radians(tilt))),
                                                static_cast<float>(y * std::sin(radians(tilt)))));
            };
            double const half = radians(0.5 * corner);
            auto const a = at(0.0, 0.0);
            auto const b = at(std::sin(half), std::cos(half));
            auto const c = at(-std::sin(half), std::cos(half));
            mesh.add_face(a, b, c);
        }
        mesh.add_property(face_new);
        for (auto const f : mesh.faces())
        {
            mesh.property(face_new, f) = false;
        }
    }

    double even_share() const
    {
        Vector3f mean;
        return detail::even_share(mesh, face_new, mean);
    }
};

class FlatnessFilling : public HoleFilling
{
public:
    using HoleFilling::is_flat_hole;
};

} // namespace

TEST(PatchShape, FacesWithinTenDegreesOfTheirMeanAreEven)
{
    EXPECT_EQ(Facets({{9.9, 60.0}, {-9.9, 60.0}}).even_share(), 1.0);
    EXPECT_EQ(Facets({{10.1, 60.0}, {-10.1, 60.0}}).even_share(), 0.0);
    EXPECT_EQ(Facets({}).even_share(), 0.0);
}

TEST(PatchShape, NeedlesBelowTenDegreesDoNotCount)
{
    EXPECT_EQ(Facets({{0.0, 60.0}, {60.0, 9.9}}).even_share(), 1.0);
    EXPECT_EQ(Facets({{0.0, 60.0}, {60.0, 10.1}}).even_share(), 0.0);
}

TEST(PatchShape, NewFacesDoNotCount)
{
    Facets facets({{0.0, 60.0}, {60.0, 60.0}});
    facets.mesh.property(facets.face_new, OpenMesh::FaceHandle(1)) = true;
    EXPECT_EQ(facets.even_share(), 1.0);
}

TEST(PatchShape, AHoleIsFlatWhereMoreThanNineTenthsAreEven)
{
    std::vector<Facet> facets(9, {0.0, 60.0});
    facets.push_back({60.0, 60.0});
    Facets nine_tenths(facets);
    EXPECT_FALSE(FlatnessFilling().is_flat_hole(nine_tenths.mesh, nine_tenths.face_new));
    facets.push_back({0.0, 60.0});
    Facets more(facets);
    EXPECT_TRUE(FlatnessFilling().is_flat_hole(more.mesh, more.face_new));
}

// The weight of a very short edge is its length.
TEST(PatchShape, AVertexWhoseWeightsAddUpToNextToNothingStays)
{
    for (float const edge : {3e-6F, 9e-6F})
    {
        TriMesh mesh = veld_test::make_mesh({{0, 0, 0}, {edge, 0, 0}, {0, edge, 0}, {0, 0, edge}},
                                            {{0, 1, 2}, {0, 2, 3}, {0, 3, 1}});
        detail::move_to_neighbours(mesh, {vh(0)});
        float const third = 3.0F * edge < 1e-5F ? 0.0F : edge / 3.0F;
        EXPECT_LT((mesh.point(vh(0)) - Vector3f(third, third, third)).norm(), 1e-11F);
    }
}
