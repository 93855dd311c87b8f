#include "algorithmVeld/common/mesh/EdgeLengths.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <mutex>

namespace OrvaneAlgorithm::detail
{
namespace
{

/// A sum of lengths, and whether it may have been rounded.
class LengthSum
{
public:
    void add(float length)
    {
        sum_ += length;
        if (length > 0.0F)
        {
            smallest_ = std::min(smallest_, length);
        }
    }

    void add(LengthSum const& other)
    {
        sum_ += other.sum_;
        smallest_ = std::min(smallest_, other.smallest_);
    }

    double value() const { return sum_; }

    /// The lengths are multiples of the smallest one's last bit, of which a `double` holds 2^53 to
    /// the bit. So as long as the whole is less than that, nothing was rounded on the way to it, in
    /// whatever order. What is no number is not exact.
    bool is_exact() const
    {
        int exponent = 0;
        std::frexp(smallest_, &exponent);
        return sum_ < std::ldexp(1.0, exponent - 24 + 53);
    }

private:
    double sum_ = 0.0;
    float smallest_ = std::numeric_limits<float>::max();
};

LengthSum sum_of(TriMesh const& mesh, std::ptrdiff_t begin, std::ptrdiff_t end)
{
    LengthSum sum;
    Vector3f const* const points = mesh.points();
    for (auto i = begin; i < end; ++i)
    {
        OpenMesh::EdgeHandle const edge(static_cast<int>(i));
        if (!is_deleted(mesh, edge))
        {
            auto const h = mesh.halfedge_handle(edge, 0);
            Vector3f const side =
                points[mesh.to_vertex_handle(h).idx()] - points[mesh.from_vertex_handle(h).idx()];
            sum.add(side.norm());
        }
    }
    return sum;
}

} // namespace

double sum_of_edge_lengths(TriMesh const& mesh)
{
    auto const n = static_cast<std::ptrdiff_t>(mesh.n_edges());
    LengthSum total;
    std::mutex mutex;
    parallel_for_blocks(n,
                        [&](std::ptrdiff_t begin, std::ptrdiff_t end)
                        {
                            LengthSum const sum = sum_of(mesh, begin, end);
                            std::lock_guard<std::mutex> const lock(mutex);
                            total.add(sum);
                        });
    // Lengths of very different size: their order shows in the last bits.
    return total.is_exact() ? total.value() : sum_of(mesh, 0, n).value();
}

} // namespace OrvaneAlgorithm::detail
