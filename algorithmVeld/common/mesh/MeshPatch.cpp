#include "algorithmVeld/common/mesh/MeshPatch.h"

namespace OrvaneAlgorithm::detail
{

// ------------------------------------------------------------------------------------ KeyNumbers

std::size_t KeyNumbers::slot(int key) const
{
    auto const mask = slots_.size() - 1;
    auto const mixed = static_cast<std::uint32_t>(key) * std::uint32_t{2654435769U};
    auto s = static_cast<std::size_t>(mixed >> 7U) & mask;
    while (slots_[s] >= 0 && keys_[static_cast<std::size_t>(slots_[s])] != key)
    {
        s = (s + 1) & mask;
    }
    return s;
}

std::pair<int, bool> KeyNumbers::add(int key)
{
    if (2 * (keys_.size() + 1) > slots_.size())
    {
        grow();
    }
    auto& number = slots_[slot(key)];
    if (number >= 0)
    {
        return {number, false};
    }
    number = size();
    keys_.push_back(key);
    return {number, true};
}

int KeyNumbers::find(int key) const
{
    return slots_.empty() ? -1 : slots_[slot(key)];
}

std::size_t KeyNumbers::clear()
{
    // The last key first: those that are still held were placed before it, so that the way to
    // their slots never leads over the one that is emptied.
    std::size_t emptied = 0;
    for (; !keys_.empty(); keys_.pop_back())
    {
        slots_[slot(keys_.back())] = -1;
        ++emptied;
    }
    return emptied;
}

void KeyNumbers::grow()
{
    slots_.assign(slots_.empty() ? 256 : 2 * slots_.size(), -1);
    for (int number = 0; number < size(); ++number)
    {
        slots_[slot(key(number))] = number;
    }
}

// ------------------------------------------------------------------------------------- MeshPatch

void MeshPatch::copy(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& centres)
{
    number_elements(mesh, centres);
    patch_.clean_keep_reservation();
    patch_.resize(static_cast<std::size_t>(vertices_.size()),
                  static_cast<std::size_t>(edges_.size()), static_cast<std::size_t>(faces_.size()));
    link_elements(mesh, centres);
}

void MeshPatch::number_elements(TriMesh const& mesh,
                                std::vector<OpenMesh::VertexHandle> const& centres)
{
    vertices_.clear();
    edges_.clear();
    faces_.clear();
    for (auto const centre : centres)
    {
        vertices_.add(centre.idx());
        auto const first = mesh.halfedge_handle(centre);
        for (auto out = first; out.is_valid();)
        {
            vertices_.add(mesh.to_vertex_handle(out).idx());
            edges_.add(mesh.edge_handle(out).idx());
            auto const face = mesh.face_handle(out);
            if (face.is_valid() && faces_.add(face.idx()).second)
            {
                // The face's other edges begin or end at the centre and are met there.
                edges_.add(mesh.edge_handle(mesh.next_halfedge_handle(out)).idx());
            }
            out = mesh.next_halfedge_handle(mesh.opposite_halfedge_handle(out));
            if (out == first)
            {
                break;
            }
        }
    }
}

OpenMesh::HalfedgeHandle MeshPatch::to_patch(OpenMesh::HalfedgeHandle h) const
{
    // A missing link, such as that of an isolated vertex, would pass for a side of edge 0.
    int const edge = h.is_valid() ? edges_.find(h.idx() / 2) : -1;
    return edge < 0 ? OpenMesh::HalfedgeHandle() : OpenMesh::HalfedgeHandle(2 * edge + h.idx() % 2);
}

void MeshPatch::link_elements(TriMesh const& mesh,
                              std::vector<OpenMesh::VertexHandle> const& centres)
{
    for (int v = 0; v < vertices_.size(); ++v)
    {
        patch_.set_point(OpenMesh::VertexHandle(v),
                         mesh.point(OpenMesh::VertexHandle(vertices_.key(v))));
    }
    for (int i = 0; i < 2 * edges_.size(); ++i)
    {
        OpenMesh::HalfedgeHandle const h(i);
        OpenMesh::HalfedgeHandle const original(2 * edges_.key(i / 2) + i % 2);
        patch_.set_vertex_handle(h, to_patch(mesh.to_vertex_handle(original)));
        auto const face = mesh.face_handle(original);
        if (face.is_valid())
        {
            patch_.set_face_handle(h, OpenMesh::FaceHandle(faces_.find(face.idx())));
        }
        auto const next = to_patch(mesh.next_halfedge_handle(original));
        if (next.is_valid())
        {
            patch_.set_next_halfedge_handle(h, next);
        }
    }
    for (int f = 0; f < faces_.size(); ++f)
    {
        OpenMesh::FaceHandle const original(faces_.key(f));
        patch_.set_halfedge_handle(OpenMesh::FaceHandle(f),
                                   to_patch(mesh.halfedge_handle(original)));
    }
    for (auto const centre : centres)
    {
        patch_.set_halfedge_handle(to_patch(centre), to_patch(mesh.halfedge_handle(centre)));
    }
}

} // namespace OrvaneAlgorithm::detail
