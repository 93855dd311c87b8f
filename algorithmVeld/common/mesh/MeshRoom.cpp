#include "algorithmVeld/common/mesh/MeshRoom.h"

#include "algorithmVeld/common/mesh/KernelLists.h"

#include <algorithm>
#include <vector>

namespace OrvaneAlgorithm::detail
{
namespace
{

/// For how many elements an array gets room that is made for some.
constexpr std::size_t with_room(std::size_t n)
{
    return n + n / 8;
}

template <typename Item>
std::size_t room_for_new_array(std::vector<Item> const& list)
{
    return std::max(list.capacity(), with_room(list.size()));
}

/// For how many elements a list is to have room, so that `more` fit into it. If it has to be moved
/// for a few, that is what the arrays got that were added before: these stay where they are.
template <typename Item>
std::size_t room_for_more(std::vector<Item> const& list, std::size_t more)
{
    std::size_t const n = list.size();
    return n + more <= list.capacity() ? list.capacity() : with_room(more <= n / 8 ? n : n + more);
}

template <typename Item>
void make_room_in_list(std::vector<Item>& list, std::size_t n)
{
    if (list.capacity() < n)
    {
        std::vector<Item>().swap(list);
        list.reserve(with_room(n));
    }
}

} // namespace

MeshSizes room_for_new_arrays(TriMesh& mesh)
{
    auto const lists = lists_of(mesh);
    return {room_for_new_array(lists.vertices), room_for_new_array(lists.edges),
            room_for_new_array(lists.faces)};
}

MeshSizes room_for_more(TriMesh& mesh, MeshSizes const& more)
{
    auto const lists = lists_of(mesh);
    return {room_for_more(lists.vertices, more.vertices), room_for_more(lists.edges, more.edges),
            room_for_more(lists.faces, more.faces)};
}

void make_room_for_copy(TriMesh::Kernel& mesh, TriMesh::Kernel const& source)
{
    auto const lists = lists_of(mesh);
    make_room_in_list(lists.vertices, source.n_vertices());
    make_room_in_list(lists.edges, source.n_edges());
    make_room_in_list(lists.faces, source.n_faces());
}

} // namespace OrvaneAlgorithm::detail
