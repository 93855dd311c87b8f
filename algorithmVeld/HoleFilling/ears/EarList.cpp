#include "algorithmVeld/HoleFilling/ears/EarList.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The angle as the order of ears takes it.
float order_of(HoleNode const& node)
{
    return std::isfinite(node.angle) ? node.angle : std::numeric_limits<float>::infinity();
}

} // namespace

bool is_in_ear(OpenMesh::VertexHandle vertex, HoleNode const& ear)
{
    return vertex == ear.cur || vertex == ear.prev || vertex == ear.next;
}

int corners_in_ear(HoleNode const& node, HoleNode const& ear)
{
    return int{is_in_ear(node.cur, ear)} + int{is_in_ear(node.prev, ear)} +
           int{is_in_ear(node.next, ear)};
}

EarList::EarList(std::vector<HoleNode> nodes)
    : nodes_(std::move(nodes)),
      size_(nodes_.size()),
      before_(size_ + 1),
      after_(size_ + 1),
      winners_(2 * size_),
      by_vertex_(size_),
      first_rank_(size_),
      first_alive_(size_)
{
    auto const n = size_;
    for (Place place = 0; place <= n; ++place)
    {
        before_[place] = place == 0 ? n : place - 1;
        after_[place] = place == n ? 0 : place + 1;
    }

    std::iota(winners_.begin() + static_cast<std::ptrdiff_t>(n), winners_.end(), Place{0});
    for (auto i = n; i-- > 1;)
    {
        auto const a = winners_[2 * i];
        auto const b = winners_[2 * i + 1];
        winners_[i] = precedes(a, b) ? a : b;
    }

    std::iota(by_vertex_.begin(), by_vertex_.end(), Place{0});
    std::sort(by_vertex_.begin(), by_vertex_.end(),
              [&](Place a, Place b)
              { return nodes_[a].cur != nodes_[b].cur ? nodes_[a].cur < nodes_[b].cur : a < b; });
    for (std::size_t r = 0; r < n; ++r)
    {
        bool const same = r > 0 && nodes_[by_vertex_[r]].cur == nodes_[by_vertex_[r - 1]].cur;
        first_rank_[by_vertex_[r]] = same ? first_rank_[by_vertex_[r - 1]] : r;
        first_alive_[r] = r;
    }
}

EarList::Place EarList::find(OpenMesh::VertexHandle vertex) const
{
    auto const first = std::lower_bound(by_vertex_.begin(), by_vertex_.end(), vertex,
                                        [&](Place place, OpenMesh::VertexHandle v)
                                        { return nodes_[place].cur < v; });
    if (first == by_vertex_.end())
    {
        return NONE;
    }
    auto const alive_rank = first_alive_[static_cast<std::size_t>(first - by_vertex_.begin())];
    if (alive_rank == by_vertex_.size() || nodes_[by_vertex_[alive_rank]].cur != vertex)
    {
        return NONE;
    }
    return by_vertex_[alive_rank];
}

void EarList::widen(Place place, float angle)
{
    nodes_[place].angle += angle;
    play(place);
}

std::vector<OpenMesh::VertexHandle> EarList::corners() const
{
    std::vector<OpenMesh::VertexHandle> result;
    result.reserve(size_);
    for (auto place = after_.back(); place != nodes_.size(); place = after_[place])
    {
        result.push_back(nodes_[place].cur);
    }
    return result;
}

std::vector<EarList::Place> EarList::key_nodes(HoleNode const& ear) const
{
    std::vector<Place> result;
    for (auto place = after_.back(); place != nodes_.size(); place = after_[place])
    {
        if (corners_in_ear(nodes_[place], ear) >= 2)
        {
            result.push_back(place);
        }
    }
    return result;
}

bool EarList::precedes(Place a, Place b) const
{
    if (!alive(a) || !alive(b))
    {
        return alive(a);
    }
    auto const angle_a = order_of(nodes_[a]);
    auto const angle_b = order_of(nodes_[b]);
    return angle_a != angle_b ? angle_a < angle_b : a < b;
}

void EarList::play(Place place)
{
    for (auto i = (place + nodes_.size()) / 2; i >= 1; i /= 2)
    {
        auto const a = winners_[2 * i];
        auto const b = winners_[2 * i + 1];
        winners_[i] = precedes(a, b) ? a : b;
    }
}

void EarList::erase(Place place)
{
    if (!alive(place))
    {
        return;
    }
    after_[before_[place]] = after_[place];
    before_[after_[place]] = before_[place];
    before_[place] = NONE;
    --size_;
    play(place);

    auto const first = first_rank_[place];
    auto& r = first_alive_[first];
    auto const same_vertex = [&] { return first_rank_[by_vertex_[r]] == first; };
    while (r < by_vertex_.size() && same_vertex() && !alive(by_vertex_[r]))
    {
        ++r;
    }
}

} // namespace OrvaneAlgorithm::detail
