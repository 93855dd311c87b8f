#include "algorithmVeld/HoleFilling/fairing/Fairing.h"

#include "algorithmVeld/HoleFilling/fairing/LaplaceSystem.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/solver/LoggedSolve.h"

#include <optional>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::VertexHandle;

PatchNeighbourhood neighbourhood(TriMesh const& mesh, Patch const& patch,
                                 FairingSystem const& system)
{
    return {mesh, patch, system.order, [&](VertexHandle from, VertexHandle to) {
                return laplace_weight(mesh, from, to, system.weight);
            }};
}

bool has_solvable_size(Patch const& patch, FairingSystem const& system, FairingLimits const& limits)
{
    int const n = static_cast<int>(patch.size());
    log("  Laplace's equation dim:\n    inner verts:             %8d\n", n);
    if (n > limits.max_verts || (n < limits.min_verts && system.order > 1))
    {
        // The higher orders call a tiny system large too: hosts look for this line.
        log("  skip large dim Laplace's equation (with %d verts)\n", n);
        return false;
    }
    if (n < limits.min_verts)
    {
        log("  skip tiny dim Laplace's equation (with %d verts)\n", n);
        return false;
    }
    return true;
}

} // namespace

std::vector<Vector3f> faired_points(TriMesh const& mesh, Patch const& patch,
                                    FairingSystem const& system, SolverLog what)
{
    auto const equations = assemble_laplace(neighbourhood(mesh, patch, system), system.order);
    std::optional<int> verts;
    if (what == SolverLog::PHASES_AND_SIZES)
    {
        verts = static_cast<int>(patch.size());
    }
    std::vector<double> x;
    if (!solve_logged(equations.matrix, equations.right_side, x, verts))
    {
        log("  MKL_Pardiso failed.\n");
        return {};
    }
    std::vector<Vector3f> points;
    points.reserve(patch.size());
    for (std::size_t k = 0; k < patch.size(); ++k)
    {
        points.push_back(Vector3d(x[3 * k], x[3 * k + 1], x[3 * k + 2]).cast<float>());
    }
    return points;
}

void fair_patches(TriMesh& mesh, std::vector<Patch> const& patches, FairingSystem const& system,
                  FairingLimits const& limits)
{
    std::vector<std::vector<Vector3f>> points(patches.size());
    parallel_for_uneven(static_cast<std::ptrdiff_t>(patches.size()),
                        [&](std::ptrdiff_t i)
                        {
                            auto const p = static_cast<std::size_t>(i);
                            if (has_solvable_size(patches[p], system, limits))
                            {
                                points[p] = faired_points(mesh, patches[p], system);
                            }
                        });
    for (std::size_t p = 0; p < patches.size(); ++p)
    {
        for (std::size_t k = 0; k < points[p].size(); ++k)
        {
            mesh.set_point(patches[p][k], points[p][k]);
        }
    }
}

void log_unmet_equations(TriMesh const& mesh, std::vector<Patch> const& patches,
                         FairingSystem const& system, FairingLimits const& limits,
                         char const* format)
{
    constexpr float LARGEST = 0.0005F;
    for (std::size_t p = 0; p < patches.size(); ++p)
    {
        if (!has_solvable_size(patches[p], system, limits))
        {
            continue;
        }
        auto const around = neighbourhood(mesh, patches[p], system);
        for (int k = 0; k < around.patch_size(); ++k)
        {
            float const value = laplace_value(around, system.order, k).norm();
            if (value > LARGEST)
            {
                Vector3f const& point = around.point(k);
                log(format, static_cast<int>(p), patches[p][static_cast<std::size_t>(k)].idx(),
                    point.x(), point.y(), point.z(), value);
            }
        }
    }
}

} // namespace OrvaneAlgorithm::detail
