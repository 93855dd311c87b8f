#include "algorithmVeld/HoleFilling/whole/BorderFairing.h"

#include "algorithmVeld/common/running/Log.h"

#include <Eigen/SparseCholesky>

#include <array>
#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::VertexHandle;
using Entry = Eigen::Triplet<double>;

/// The unknowns: new vertices first, then those of the border, each in the order of the mesh.
struct Unknowns
{
    std::vector<VertexHandle> verts;
    std::vector<int> number; ///< By vertex; -1 for all others.
    std::size_t n_new = 0;

    int of(VertexHandle vertex) const { return number[static_cast<std::size_t>(vertex.idx())]; }
};

void number_flagged(TriMesh const& mesh, OpenMesh::VPropHandleT<bool> flag, Unknowns& unknowns)
{
    for (auto const vertex : mesh.all_vertices())
    {
        auto& number = unknowns.number[static_cast<std::size_t>(vertex.idx())];
        if (mesh.property(flag, vertex) && number < 0)
        {
            number = static_cast<int>(unknowns.verts.size());
            unknowns.verts.push_back(vertex);
        }
    }
}

/// The neighbours of each unknown along the edges of the fill.
std::vector<std::vector<int>> fill_neighbours(TriMesh const& mesh,
                                              OpenMesh::FPropHandleT<bool> face_new,
                                              Unknowns const& unknowns)
{
    std::vector<std::vector<int>> neighbours(unknowns.verts.size());
    for (auto const edge : mesh.all_edges())
    {
        bool in_fill = false;
        for (unsigned int const side : {0U, 1U})
        {
            auto const face = mesh.face_handle(mesh.halfedge_handle(edge, side));
            in_fill = in_fill || (face.is_valid() && mesh.property(face_new, face));
        }
        if (!in_fill)
        {
            continue;
        }
        auto const h = mesh.halfedge_handle(edge, 0);
        int const from = unknowns.of(mesh.from_vertex_handle(h));
        int const to = unknowns.of(mesh.to_vertex_handle(h));
        if (from < 0 || to < 0)
        {
            log(from < 0 ? "   !!!abnormal vh_from [%s (%d)]\n"
                         : "   !!!abnormal vh_to [%s (%d)]\n",
                __FILE__, __LINE__);
            continue;
        }
        neighbours[static_cast<std::size_t>(from)].push_back(to);
        neighbours[static_cast<std::size_t>(to)].push_back(from);
    }
    return neighbours;
}

/// A row for the Laplacian of each new vertex.
Eigen::SparseMatrix<double> laplacians(std::vector<std::vector<int>> const& neighbours,
                                       std::size_t n_new)
{
    std::vector<Entry> entries;
    for (std::size_t k = 0; k < n_new; ++k)
    {
        int const row = static_cast<int>(k);
        entries.emplace_back(row, row, -1.0);
        for (int const other : neighbours[k])
        {
            entries.emplace_back(row, other, 1.0 / static_cast<double>(neighbours[k].size()));
        }
    }
    Eigen::SparseMatrix<double> matrix(static_cast<Eigen::Index>(n_new),
                                       static_cast<Eigen::Index>(neighbours.size()));
    matrix.setFromTriplets(entries.begin(), entries.end());
    return matrix;
}

/// What draws the vertices of the border to where they are.
struct HeldBorder
{
    Eigen::SparseMatrix<double> diagonal; ///< To be added to the system.
    Eigen::MatrixX3d right_side;
};

HeldBorder hold_border(TriMesh const& mesh, Unknowns const& unknowns,
                       std::vector<std::vector<int>> const& neighbours, double hold)
{
    auto const n = static_cast<Eigen::Index>(unknowns.verts.size());
    HeldBorder border{Eigen::SparseMatrix<double>(n, n), Eigen::MatrixX3d::Zero(n, 3)};
    std::vector<Entry> held;
    for (auto k = static_cast<Eigen::Index>(unknowns.n_new); k < n; ++k)
    {
        auto const vertex = unknowns.verts[static_cast<std::size_t>(k)];
        if (neighbours[static_cast<std::size_t>(k)].empty())
        {
            log("   !!!abnormal border vert id [%s (%d)]\n", __FILE__, __LINE__);
        }
        held.emplace_back(static_cast<int>(k), static_cast<int>(k), hold);
        border.right_side.row(k) = hold * mesh.point(vertex).cast<double>().transpose();
    }
    border.diagonal.setFromTriplets(held.begin(), held.end());
    return border;
}

} // namespace

bool fair_with_border(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new,
                      OpenMesh::VPropHandleT<bool> vert_new,
                      OpenMesh::VPropHandleT<bool> vert_boundary, double hold)
{
    Unknowns unknowns;
    unknowns.number.assign(mesh.n_vertices(), -1);
    number_flagged(mesh, vert_new, unknowns);
    unknowns.n_new = unknowns.verts.size();
    number_flagged(mesh, vert_boundary, unknowns);
    if (unknowns.n_new == 0)
    {
        return true;
    }
    auto const neighbours = fill_neighbours(mesh, face_new, unknowns);
    auto const rows = laplacians(neighbours, unknowns.n_new);
    Eigen::SparseMatrix<double> system = rows.transpose() * rows;
    auto const border = hold_border(mesh, unknowns, neighbours, hold);
    system += border.diagonal;
    Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> const solver(system);
    if (solver.info() != Eigen::Success)
    {
        return false;
    }
    Eigen::MatrixX3d const points = solver.solve(border.right_side);
    if (!points.allFinite())
    {
        return false;
    }
    for (std::size_t k = 0; k < unknowns.n_new; ++k)
    {
        Vector3d const point = points.row(static_cast<Eigen::Index>(k));
        mesh.set_point(unknowns.verts[k], point.cast<float>());
    }
    return true;
}

} // namespace OrvaneAlgorithm::detail
