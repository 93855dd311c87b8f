// Patches of new and region vertices, and the systems that fair them.

#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include "algorithmVeld/HoleFilling/careful/LaplaceSystem.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/solver/Pardiso.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm
{

using detail::log;

namespace
{

/// The third vertex of the face beside a halfedge; invalid if there is none but its two ends.
OpenMesh::VertexHandle third_vertex(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    for (auto const vertex : mesh.fv_range(mesh.face_handle(h)))
    {
        if (vertex != mesh.from_vertex_handle(h) && vertex != mesh.to_vertex_handle(h))
        {
            return vertex;
        }
    }
    return OpenMesh::VertexHandle();
}

/// Cotangent of the angle at `apex`, between the sides to `v` and `u`. \return false for no area
bool cotangent(Vector3d const& apex, Vector3d const& v, Vector3d const& u, double& value)
{
    double const a = (v - apex).norm();
    double const b = (u - apex).norm();
    double const c = (v - u).norm();
    double const s = (a + b + c) / 2.0;
    double const area = std::sqrt(std::max(0.0, s * (s - a) * (s - b) * (s - c)));
    if (!(area > 0.0))
    {
        return false;
    }
    value = (a * a + b * b - c * c) / (4.0 * area);
    return true;
}

} // namespace

void HoleFillingCore::create_smooth_patch()
{
    log("create_smooth_patch() ..\n");
    show_mesh_info();
    auto& patch_of = mesh_->property(vert_patch_prop_).data_vector();
    auto& place_of = mesh_->property(vert_patch_index_prop_).data_vector();
    std::fill(patch_of.begin(), patch_of.end(), -1);
    std::fill(place_of.begin(), place_of.end(), -1);
    patches_.clear();
    // What was turned down once is turned down from each of its vertices.
    std::vector<char> turned_down(mesh_->n_vertices(), 0);
    for (auto const vertex : mesh_->all_vertices())
    {
        auto const v = static_cast<std::size_t>(vertex.idx());
        if (patch_of[v] != -1 || turned_down[v] != 0 || !is_movable(vertex))
        {
            continue;
        }
        std::vector<VertexHandle> members;
        if (gather_patch(vertex, static_cast<int>(patches_.size()), members))
        {
            patches_.push_back(std::move(members));
            continue;
        }
        for (auto const member : members)
        {
            auto const m = static_cast<std::size_t>(member.idx());
            patch_of[m] = -1;
            place_of[m] = -1;
            turned_down[m] = 1;
        }
    }
    log("  ###total regions:          %8d\n", static_cast<int>(patches_.size()));
}

bool HoleFillingCore::is_movable(VertexHandle vertex) const
{
    return mesh_->property(vert_new_prop_, vertex) || mesh_->property(vert_region_prop_, vertex);
}

bool HoleFillingCore::gather_patch(VertexHandle first, int patch,
                                   std::vector<VertexHandle>& members)
{
    bool touches_outside = false;
    bool has_new = false;
    auto const take = [&](VertexHandle vertex)
    {
        mesh_->property(vert_patch_prop_, vertex) = patch;
        mesh_->property(vert_patch_index_prop_, vertex) = static_cast<int>(members.size());
        has_new = has_new || mesh_->property(vert_new_prop_, vertex);
        members.push_back(vertex);
    };
    take(first);
    for (std::size_t i = 0; i < members.size(); ++i)
    {
        for (auto const other : mesh_->vv_range(members[i]))
        {
            if (!is_movable(other))
            {
                touches_outside = true;
            }
            else if (mesh_->property(vert_patch_prop_, other) == -1)
            {
                take(other);
            }
        }
    }
    return touches_outside && has_new;
}

bool HoleFillingCore::calc_cot_weight(TriMesh const& mesh, VertexHandle const& v,
                                      VertexHandle const& u, double& weight) const
{
    weight = 1.0;
    auto const h = mesh.find_halfedge(v, u);
    if (!h.is_valid())
    {
        log("  # error: fail to find target he [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto const opposite = mesh.opposite_halfedge_handle(h);
    if (!mesh.face_handle(h).is_valid() || !mesh.face_handle(opposite).is_valid())
    {
        log("  # error: fail to find the face pair [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto const left = third_vertex(mesh, h);
    auto const right = third_vertex(mesh, opposite);
    if (!left.is_valid() || !right.is_valid())
    {
        log("  # error: fail to find the third point pair [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto const point = [&](VertexHandle vertex) -> Vector3d
    { return mesh.point(vertex).cast<double>(); };
    double left_cotangent = 0.0;
    double right_cotangent = 0.0;
    if (!cotangent(point(left), point(v), point(u), left_cotangent) ||
        !cotangent(point(right), point(v), point(u), right_cotangent))
    {
        return false;
    }
    weight = left_cotangent + right_cotangent;
    return true;
}

float HoleFillingCore::edge_weight(VertexHandle from, VertexHandle to) const
{
    constexpr float SHORTEST = 1e-5F;
    if (weight_type_ == 1)
    {
        float const length = (mesh_->point(from) - mesh_->point(to)).norm();
        return length > SHORTEST ? 1.0F / length : length;
    }
    double weight = 1.0;
    if (weight_type_ == 2 && !calc_cot_weight(*mesh_, from, to, weight))
    {
        weight = 1.0;
    }
    return static_cast<float>(weight);
}

detail::PatchNeighbourhood HoleFillingCore::neighbourhood(std::vector<VertexHandle> const& patch,
                                                          int order) const
{
    return {*mesh_, patch, order,
            [this](VertexHandle from, VertexHandle to) { return edge_weight(from, to); }};
}

bool HoleFillingCore::fairing_patch_C0()
{
    log("fairing_patch_C0() ..\n");
    fair(1);
    return true;
}

bool HoleFillingCore::fairing_patch_C1()
{
    log("fairing_patch_C1() ..\n");
    fair(2);
    return true;
}

bool HoleFillingCore::fairing_patch_C2()
{
    log("fairing_patch_C2() ..\n");
    fair(3);
    return true;
}

void HoleFillingCore::fair(int order)
{
    // All systems see the positions of before, whichever patch is solved first.
    std::vector<std::vector<Vector3f>> points(patches_.size());
    detail::parallel_for_uneven(static_cast<std::ptrdiff_t>(patches_.size()),
                                [&](std::ptrdiff_t i)
                                {
                                    auto const p = static_cast<std::size_t>(i);
                                    points[p] = faired_points(patches_[p], order);
                                });
    for (std::size_t p = 0; p < patches_.size(); ++p)
    {
        for (std::size_t k = 0; k < points[p].size(); ++k)
        {
            mesh_->set_point(patches_[p][k], points[p][k]);
        }
    }
}

bool HoleFillingCore::has_solvable_size(std::size_t vertices, int order) const
{
    int const n = static_cast<int>(vertices);
    log("  Laplace's equation dim:\n    inner verts:             %8d\n", n);
    if (n > fairing_verts_thr_ || (n < fairing_min_verts_thr_ && order > 1))
    {
        // The higher orders call a tiny system large too: hosts look for this line.
        log("  skip large dim Laplace's equation (with %d verts)\n", n);
        return false;
    }
    if (n < fairing_min_verts_thr_)
    {
        log("  skip tiny dim Laplace's equation (with %d verts)\n", n);
        return false;
    }
    return true;
}

std::vector<Vector3f> HoleFillingCore::faired_points(std::vector<VertexHandle> const& patch,
                                                     int order) const
{
    if (!has_solvable_size(patch.size(), order))
    {
        return {};
    }
    auto const system = detail::assemble_laplace(neighbourhood(patch, order), order);
    std::vector<double> x;
    if (!MKL_Pardiso(system.matrix, system.right_side, x))
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

bool HoleFillingCore::MKL_Pardiso(SparseRows const& a, DenseVector const& b,
                                  std::vector<double>& x) const
{
    log("MKL_Pardiso() ..\n");
    auto const report = detail::solve_direct(a, b, x);
    if (report.analysis_error != 0)
    {
        log("   ERROR during symbolic factorization: %d    [%s (%d)]\n", report.analysis_error,
            __FILE__, __LINE__);
        return false;
    }
    if (report.factorisation_error != 0)
    {
        log("   ERROR during numerical factorization: %d    [%s (%d)]\n",
            report.factorisation_error, __FILE__, __LINE__);
        return false;
    }
    log("   Factorization completed ...\n");
    if (report.solution_error != 0)
    {
        log("   ERROR during solution: %d\n", report.solution_error);
        return false;
    }
    log("   Solve completed ... \n");
    return true;
}

void HoleFillingCore::check_C0_value()
{
    log("check_C0_value() ..\n");
    check(1, " error: patch %d vert %d C0 value of point( %15.8f, %15.8f, %15.8f) = %15.8f\n");
}

void HoleFillingCore::check_C1_value()
{
    log("check_C1_value() ..\n");
    check(2, " error: patch %d vert %d C1 value of point( %15.8f, %15.8f, %15.8f) = %15.8f\n");
}

void HoleFillingCore::check_C2_value()
{
    log("check_C2_value() ..\n");
    check(3, " error: patch %d vert %d C2 value of point( %15.8f, %15.8f, %15.8f) = %15.8f\n");
}

void HoleFillingCore::check(int order, char const* format)
{
    constexpr float LARGEST = 0.0005F;
    for (std::size_t p = 0; p < patches_.size(); ++p)
    {
        auto const& patch = patches_[p];
        if (!has_solvable_size(patch.size(), order))
        {
            continue;
        }
        auto const around = neighbourhood(patch, order);
        for (int k = 0; k < around.patch_size(); ++k)
        {
            float const value = detail::laplace_value(around, order, k).norm();
            if (value > LARGEST)
            {
                Vector3f const& point = around.point(k);
                log(format, static_cast<int>(p), patch[static_cast<std::size_t>(k)].idx(),
                    point.x(), point.y(), point.z(), value);
            }
        }
    }
}

} // namespace OrvaneAlgorithm
