#include "algorithmVeld/HoleFilling/fairing/LaplaceSystem.h"

#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Of the identity and of the paths of one, two and three edges in `(E - I)^ORDER`.
template <int ORDER>
constexpr std::array<double, 4> PATH_COEFFICIENTS{};
template <>
constexpr std::array<double, 4> PATH_COEFFICIENTS<1>{-1.0, 1.0, 0.0, 0.0};
template <>
constexpr std::array<double, 4> PATH_COEFFICIENTS<2>{1.0, -2.0, 1.0, 0.0};
template <>
constexpr std::array<double, 4> PATH_COEFFICIENTS<3>{-1.0, 3.0, -3.0, 1.0};

/// Places of vertices by their index in the mesh, in open addressing: asked for every neighbour.
class PlaceTable
{
public:
    explicit PlaceTable(std::size_t expected)
    {
        while (slots_.size() < 2 * expected)
        {
            slots_.resize(2 * slots_.size(), FREE);
        }
    }

    /// The place of a vertex, which is `next` for a new one. Places are given in rising order.
    int find_or_add(int vertex, int next)
    {
        if (2 * static_cast<std::size_t>(next) >= slots_.size())
        {
            grow();
        }
        Slot& slot = find(vertex);
        if (slot.vertex < 0)
        {
            slot = {vertex, next};
        }
        return slot.place;
    }

private:
    struct Slot
    {
        int vertex;
        int place;
    };
    static constexpr Slot FREE{-1, -1};

    /// The vertex's slot, or the free one that it would take. Neighbours have near indices, which
    /// the factor scatters.
    Slot& find(int vertex)
    {
        std::size_t const mask = slots_.size() - 1;
        auto const hash = static_cast<std::uint64_t>(vertex) * 0x9E3779B97F4A7C15U;
        std::size_t i = static_cast<std::size_t>(hash >> 32U) & mask;
        while (slots_[i].vertex >= 0 && slots_[i].vertex != vertex)
        {
            i = (i + 1) & mask;
        }
        return slots_[i];
    }

    void grow()
    {
        std::vector<Slot> before(2 * slots_.size(), FREE);
        before.swap(slots_);
        for (Slot const& slot : before)
        {
            if (slot.vertex >= 0)
            {
                find(slot.vertex) = slot;
            }
        }
    }

    std::vector<Slot> slots_ = std::vector<Slot>(16, FREE);
};

/// The coefficients that the three coordinates share, row by row, in rising order of columns.
struct SharedRows
{
    std::vector<std::size_t> starts{0};
    std::vector<int> columns;
    std::vector<double> values;
};

/// One row of them, filled in any order of columns.
class RowAccumulator
{
public:
    explicit RowAccumulator(int columns)
        : values_(static_cast<std::size_t>(columns)), used_(static_cast<std::size_t>(columns))
    {
    }

    void add(int column, double value)
    {
        auto const c = static_cast<std::size_t>(column);
        if (used_[c] == 0)
        {
            used_[c] = 1;
            values_[c] = 0.0;
            columns_.push_back(column);
        }
        values_[c] += value;
    }

    /// Moves the row to the end of `rows` and starts anew.
    void flush(SharedRows& rows)
    {
        std::sort(columns_.begin(), columns_.end());
        for (int const column : columns_)
        {
            auto const c = static_cast<std::size_t>(column);
            rows.columns.push_back(column);
            rows.values.push_back(values_[c]);
            used_[c] = 0;
        }
        rows.starts.push_back(rows.columns.size());
        columns_.clear();
    }

private:
    std::vector<double> values_;
    std::vector<char> used_;
    std::vector<int> columns_;
};

/// Makes the matrix of all coordinates of them: no row has an entry of another coordinate.
void interleave(SharedRows const& rows, RowMajorMatrix& matrix)
{
    std::size_t const n = rows.starts.size() - 1;
    auto const unknowns = static_cast<Eigen::Index>(3 * n);
    matrix.resize(unknowns, unknowns);
    matrix.resizeNonZeros(static_cast<Eigen::Index>(3 * rows.columns.size()));
    int* start = matrix.outerIndexPtr();
    int* column = matrix.innerIndexPtr();
    double* value = matrix.valuePtr();
    *start = 0;
    for (std::size_t k = 0; k < n; ++k)
    {
        for (int c = 0; c < 3; ++c)
        {
            for (std::size_t e = rows.starts[k]; e < rows.starts[k + 1]; ++e)
            {
                *column++ = 3 * rows.columns[e] + c;
                *value++ = rows.values[e];
            }
            *++start = static_cast<int>(column - matrix.innerIndexPtr());
        }
    }
}

/// Adds up what the paths from one vertex contribute. Ends inside the patch are unknowns and go to
/// the matrix; the others are known, and their weighted sums go to the right side.
template <int ORDER>
class PathSum
{
public:
    PathSum(PatchNeighbourhood const& patch, RowAccumulator& row) : patch_(patch), row_(row) {}

    /// \return the row's right side
    Vector3d run(int vertex)
    {
        right_side_ = Vector3d::Zero();
        row_.add(vertex, PATH_COEFFICIENTS<ORDER>[0]);
        extend<1>(vertex, 1.0);
        return right_side_;
    }

private:
    /// \param factor product of `weight / total weight` along the path that ends in `vertex`
    template <int LENGTH>
    void extend(int vertex, double factor)
    {
        double const total = patch_.total_weight(vertex);
        double const scale = PATH_COEFFICIENTS<ORDER>[LENGTH] * factor / total;
        Vector3f known = Vector3f::Zero();
        for (auto const* n = patch_.begin(vertex); n != patch_.end(vertex); ++n)
        {
            if (patch_.in_patch(n->vertex))
            {
                row_.add(n->vertex, scale * n->weight);
            }
            else
            {
                known += n->weight * patch_.point(n->vertex);
            }
        }
        right_side_ -= scale * known.cast<double>();
        if constexpr (LENGTH < ORDER)
        {
            for (auto const* n = patch_.begin(vertex); n != patch_.end(vertex); ++n)
            {
                extend<LENGTH + 1>(n->vertex, factor * n->weight / total);
            }
        }
    }

    PatchNeighbourhood const& patch_;
    RowAccumulator& row_;
    Vector3d right_side_ = Vector3d::Zero();
};

template <int ORDER>
LaplaceSystem assemble(PatchNeighbourhood const& patch)
{
    int const n = patch.patch_size();
    LaplaceSystem system;
    system.right_side.resize(3 * static_cast<Eigen::Index>(n));
    SharedRows rows;
    RowAccumulator row(n);
    PathSum<ORDER> paths(patch, row);
    CancelPoll poll;
    for (int k = 0; k < n; ++k)
    {
        poll.next();
        system.right_side.segment<3>(3 * static_cast<Eigen::Index>(k)) = paths.run(k);
        row.flush(rows);
    }
    interleave(rows, system.matrix);
    return system;
}

/// What the paths that go on from `vertex` contribute to the left side.
template <int ORDER, int LENGTH>
Vector3d path_value(PatchNeighbourhood const& patch, int vertex)
{
    Vector3d sum = Vector3d::Zero();
    for (auto const* n = patch.begin(vertex); n != patch.end(vertex); ++n)
    {
        Vector3d value = PATH_COEFFICIENTS<ORDER>[LENGTH] * patch.point(n->vertex).cast<double>();
        if constexpr (LENGTH < ORDER)
        {
            value += path_value<ORDER, LENGTH + 1>(patch, n->vertex);
        }
        sum += n->weight * value;
    }
    return sum / patch.total_weight(vertex);
}

template <int ORDER>
Vector3f left_side(PatchNeighbourhood const& patch, int vertex)
{
    Vector3d const own = PATH_COEFFICIENTS<ORDER>[0] * patch.point(vertex).cast<double>();
    Vector3d const value = own + path_value<ORDER, 1>(patch, vertex);
    return value.cast<float>();
}

} // namespace

PatchNeighbourhood::PatchNeighbourhood(TriMesh const& mesh,
                                       std::vector<OpenMesh::VertexHandle> const& patch, int order,
                                       EdgeWeight const& weight)
    : patch_size_(static_cast<int>(patch.size())), starts_{0}
{
    std::vector<OpenMesh::VertexHandle> vertices;
    PlaceTable places(2 * patch.size());
    auto const place_of = [&](OpenMesh::VertexHandle vertex)
    {
        int const next = static_cast<int>(vertices.size());
        int const place = places.find_or_add(vertex.idx(), next);
        if (place == next)
        {
            vertices.push_back(vertex);
        }
        return place;
    };
    for (auto const vertex : patch)
    {
        place_of(vertex);
    }
    std::size_t next = 0;
    CancelPoll poll;
    for (int ring = 0; ring < order; ++ring)
    {
        for (std::size_t const ring_end = vertices.size(); next < ring_end; ++next)
        {
            poll.next();
            auto const vertex = vertices[next];
            float total = 0.0F;
            for (auto const h : mesh.voh_range(vertex))
            {
                auto const other = mesh.to_vertex_handle(h);
                float const w = weight(vertex, other);
                neighbours_.push_back({place_of(other), w});
                total += w;
            }
            totals_.push_back(total);
            starts_.push_back(neighbours_.size());
        }
    }
    points_.reserve(vertices.size());
    for (auto const vertex : vertices)
    {
        points_.push_back(mesh.point(vertex));
    }
}

LaplaceSystem assemble_laplace(PatchNeighbourhood const& patch, int order)
{
    return order == 1 ? assemble<1>(patch) : order == 2 ? assemble<2>(patch) : assemble<3>(patch);
}

Vector3f laplace_value(PatchNeighbourhood const& patch, int order, int vertex)
{
    return order == 1   ? left_side<1>(patch, vertex)
           : order == 2 ? left_side<2>(patch, vertex)
                        : left_side<3>(patch, vertex);
}

} // namespace OrvaneAlgorithm::detail
