#include "scan_checks.h"

#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/HoleFilling/fairing/LaplaceSystem.h"
#include "algorithmVeld/common/mesh_io.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/real_data.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <unordered_map>

namespace OrvaneAlgorithm::detail
{
/// The direct solver of builds without MKL, compiled here beside the one of this build.
PardisoReport solve_direct_with_eigen(RowMajorMatrix const& a, Eigen::VectorXd const& b,
                                      std::vector<double>& x);
} // namespace OrvaneAlgorithm::detail

namespace
{

using namespace OrvaneAlgorithm;
using detail::PatchNeighbourhood;
using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using veld_test::expect_oriented_manifold;
using veld_test::for_each_scan;

/// Fills all holes and gives the patches.
Holes fill(TriMesh& mesh, Holes const& holes, int smooth_type = 1)
{
    HoleFillingCore filler;
    filler.set_smooth_type(smooth_type);
    std::vector<std::vector<FaceHandle>> faces;
    Holes verts;
    Holes patches;
    EXPECT_EQ(filler.fill_holes_core(mesh, holes, 3, faces, verts, patches, false), RET_SUCCESS);
    return patches;
}

double size_of(TriMesh const& mesh, std::vector<VertexHandle> const& verts)
{
    Eigen::AlignedBox3f box;
    for (auto const v : verts)
    {
        box.extend(mesh.point(v));
    }
    return static_cast<double>(box.diagonal().norm());
}

double size_of(TriMesh const& mesh)
{
    std::vector<VertexHandle> verts(mesh.vertices_begin(), mesh.vertices_end());
    return size_of(mesh, verts);
}

/// Weights whose sums are exact in float.
float uneven(VertexHandle from, VertexHandle to)
{
    return 1.0F + static_cast<float>((from.idx() * 7 + to.idx()) % 5) / 4.0F;
}

float even(VertexHandle, VertexHandle)
{
    return 1.0F;
}

/// The weighted mean of the neighbours less the vertex, of that again, and so on: by the
/// definition, with the solution in the patch and the mesh's points elsewhere.
class RepeatedMeans
{
public:
    RepeatedMeans(TriMesh const& mesh, std::vector<VertexHandle> const& patch,
                  std::vector<double> const& x, PatchNeighbourhood::EdgeWeight weight)
        : mesh_(mesh), weight_(std::move(weight)), known_(4)
    {
        for (std::size_t k = 0; k < patch.size(); ++k)
        {
            known_[0][patch[k].idx()] = Vector3d(x[3 * k], x[3 * k + 1], x[3 * k + 2]);
        }
    }

    Vector3d value(VertexHandle v, int order)
    {
        auto const found = known_[static_cast<std::size_t>(order)].find(v.idx());
        if (found != known_[static_cast<std::size_t>(order)].end())
        {
            return found->second;
        }
        Vector3d result = mesh_.point(v).cast<double>();
        if (order > 0)
        {
            Vector3d sum = Vector3d::Zero();
            double total = 0.0;
            for (auto const u : mesh_.vv_range(v))
            {
                auto const w = static_cast<double>(weight_(v, u));
                sum += w * value(u, order - 1);
                total += w;
            }
            result = sum / total - value(v, order - 1);
        }
        return known_[static_cast<std::size_t>(order)][v.idx()] = result;
    }

private:
    TriMesh const& mesh_;
    PatchNeighbourhood::EdgeWeight weight_;
    std::vector<std::unordered_map<int, Vector3d>> known_;
};

/// Moves all points to a grid that is fine against the mesh and coarse against a float: sums of
/// weighted points, which the systems take in float, are exact then.
void snap(TriMesh& mesh)
{
    float largest = 0.0F;
    for (auto const v : mesh.vertices())
    {
        largest = std::max(largest, mesh.point(v).cwiseAbs().maxCoeff());
    }
    float const cell = std::ldexp(1.0F, std::ilogb(largest) - 13);
    for (auto const v : mesh.vertices())
    {
        mesh.point(v) = (mesh.point(v) / cell).array().round().matrix() * cell;
    }
}

/// Solves a patch with this build's solver, and compares with the definition and the other solver.
void check_patch(TriMesh const& mesh, std::vector<VertexHandle> const& patch, int order,
                 PatchNeighbourhood::EdgeWeight const& weight, double mesh_size)
{
    auto const system =
        detail::assemble_laplace(PatchNeighbourhood(mesh, patch, order, weight), order);
    std::vector<double> x;
    ASSERT_TRUE(HoleFillingCore().MKL_Pardiso(system.matrix, system.right_side, x));
    RepeatedMeans means(mesh, patch, x, weight);
    double largest = 0.0;
    for (auto const v : patch)
    {
        largest = std::max(largest, means.value(v, order).norm());
    }
    // Some scan has a patch whose points are all the same: nothing but rounding is left there.
    EXPECT_LT(largest, 1e-9 * size_of(mesh, patch) + 1e-13 * mesh_size)
        << patch.size() << " vertices";

    std::vector<double> other;
    ASSERT_TRUE(detail::solve_direct_with_eigen(system.matrix, system.right_side, other).solved());
    double apart = 0.0;
    for (std::size_t k = 0; k < x.size(); ++k)
    {
        apart = std::max(apart, std::abs(x[k] - other[k]));
    }
    EXPECT_LT(apart, 1e-6 * mesh_size) << patch.size() << " vertices";
}

/// Largest angle across the sides of a hole and the edges inside it, in degrees. Slivers are left
/// out, for rounding decides where they look.
double largest_turn(TriMesh const& mesh, std::vector<HalfedgeHandle> const& loop,
                    std::size_t old_faces)
{
    std::set<int> sides;
    for (auto const h : loop)
    {
        sides.insert(mesh.edge_handle(h).idx());
    }
    double largest = 0.0;
    for (auto const e : mesh.edges())
    {
        auto const a = mesh.face_handle(mesh.halfedge_handle(e, 0));
        auto const b = mesh.face_handle(mesh.halfedge_handle(e, 1));
        bool const is_inside = static_cast<std::size_t>(std::min(a.idx(), b.idx())) >= old_faces;
        if (!a.is_valid() || !b.is_valid() || !(is_inside || sides.count(e.idx()) > 0))
        {
            continue;
        }
        largest = std::max(largest, veld_test::turn_at(mesh, e).value_or(0.0));
    }
    return largest;
}

/// The angle that the triangulation says it has reached; negative where it says nothing.
double logged_angle(std::string const& text)
{
    auto const at = text.find("    Best weight (angle / area)");
    int n = 0;
    double angle = -1.0;
    double area = 0.0;
    if (at == std::string::npos ||
        std::sscanf(text.c_str() + at,
                    "    Best weight (angle / area) of hole with ( %d ) vertices: %lf / %lf", &n,
                    &angle, &area) != 3)
    {
        return -1.0;
    }
    return angle;
}

std::vector<HalfedgeHandle> loop_of(TriMesh const& mesh, std::vector<VertexHandle> const& hole)
{
    std::vector<HalfedgeHandle> loop;
    for (std::size_t k = 0; k < hole.size(); ++k)
    {
        loop.push_back(mesh.find_halfedge(hole[k], hole[(k + 1) % hole.size()]));
    }
    return loop;
}

} // namespace

using CarefulFillingRealData = veld_test::RealData;

TEST_F(CarefulFillingRealData, FillIsAnOrientedManifoldAndTheSameForAnyNumberOfThreads)
{
    for_each_scan(
        [](TriMesh const& mesh, Holes const& holes)
        {
            std::vector<int> first;
            for (int const n : {1, 2, 8})
            {
                veld_test::Threads const threads(n);
                TriMesh filled = mesh;
                fill(filled, holes);
                if (n == 1)
                {
                    first = veld_test::fingerprint(filled);
                    expect_oriented_manifold(filled, veld_test::gaps_of(mesh));
                }
                EXPECT_TRUE(first == veld_test::fingerprint(filled)) << n << " threads";
            }
        });
}

TEST_F(CarefulFillingRealData, NoNewFaceTurnsByMoreThanTheTriangulationSays)
{
    for_each_scan(
        [](TriMesh const& mesh, Holes const& holes)
        {
            for (auto const& hole : holes)
            {
                if (hole.size() > (veld_test::IS_SANITIZED ? 60U : 600U))
                {
                    continue;
                }
                TriMesh closed = mesh;
                OpenMesh::FPropHandleT<bool> face_new;
                closed.add_property(face_new);
                auto loop = loop_of(closed, hole);
                veld_test::LogCapture const log;
                bool const is_closed = HoleFillingCore().hole_triangulation(closed, loop, face_new);
                double const angle = logged_angle(log.text());
                ASSERT_GE(angle, 0.0);
                EXPECT_EQ(is_closed, angle <= 179.5);
                if (is_closed)
                {
                    EXPECT_LE(largest_turn(closed, loop, mesh.n_faces()), angle + 5e-3)
                        << hole.size() << " edges";
                }
            }
        });
}

TEST_F(CarefulFillingRealData, PatchesSatisfyTheirEquationsWithEitherSolver)
{
    for_each_scan(
        [](TriMesh const& mesh, Holes const& holes)
        {
            TriMesh filled = mesh;
            Holes const patches = fill(filled, holes);
            snap(filled);
            for (auto const& patch : patches)
            {
                bool const is_quick = patch.size() < (veld_test::IS_SANITIZED ? 300U : 3000U);
                for (int order = 1; order <= 3 && is_quick; ++order)
                {
                    SCOPED_TRACE(testing::Message() << "order " << order);
                    check_patch(filled, patch, order, even, size_of(mesh));
                    check_patch(filled, patch, order, uneven, size_of(mesh));
                }
            }
        });
}
