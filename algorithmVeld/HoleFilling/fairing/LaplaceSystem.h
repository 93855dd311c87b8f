#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/solver/Pardiso.h"

#include <functional>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The neighbourhood of a patch in compact arrays: its vertices first, in their order, then those
/// within reach of them, ring by ring. Vertices are named by their place here.
class PatchNeighbourhood
{
public:
    /// Weight of the edge from one vertex to another.
    using EdgeWeight = std::function<float(OpenMesh::VertexHandle, OpenMesh::VertexHandle)>;

    /// One neighbour of a vertex, with the weight of the edge to it.
    struct Neighbour
    {
        int vertex;
        float weight;
    };

    /// \param order power of the operator that will be applied: the patch and the `order` - 1 rings
    ///        around it know their neighbours
    PatchNeighbourhood(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& patch,
                       int order, EdgeWeight const& weight);

    int patch_size() const { return patch_size_; }
    bool in_patch(int vertex) const { return vertex < patch_size_; }
    Vector3f const& point(int vertex) const { return points_[static_cast<std::size_t>(vertex)]; }

    /// Sum of the weights around a vertex, in the order of its neighbours.
    float total_weight(int vertex) const { return totals_[static_cast<std::size_t>(vertex)]; }

    /// The neighbours in circulator order.
    Neighbour const* begin(int vertex) const { return neighbours_.data() + start(vertex); }
    Neighbour const* end(int vertex) const { return neighbours_.data() + start(vertex + 1); }

private:
    std::size_t start(int vertex) const { return starts_[static_cast<std::size_t>(vertex)]; }

    int patch_size_;
    std::vector<Vector3f> points_;
    std::vector<std::size_t> starts_;
    std::vector<Neighbour> neighbours_;
    std::vector<float> totals_;
};

/// A power of the Laplace operator, set to zero on a patch whose surroundings stay where they are.
/// The unknowns are the coordinates x, y, z of patch vertex k at 3k, 3k + 1, 3k + 2.
struct LaplaceSystem
{
    RowMajorMatrix matrix;
    Eigen::VectorXd right_side;
};

/// Assembles `(E - I)^order x = 0`, E being the weighted mean over the neighbours.
/// \param order 1 to 3, as the neighbourhood was made for
LaplaceSystem assemble_laplace(PatchNeighbourhood const& patch, int order);

/// The left side of that equation for one patch vertex, with the points where they are.
Vector3f laplace_value(PatchNeighbourhood const& patch, int order, int vertex);

} // namespace OrvaneAlgorithm::detail
