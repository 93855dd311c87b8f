#include "workflow/tiling/seams/SeamStrip.h"

#include "workflow/ForEachIndex.h"
#include "workflow/steps/MergeStages.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/MeshScope.h"

#include <algorithm>

namespace veld
{

using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::detail::IsolatedVertices;

namespace
{

/// How far the strip reaches, in times of what a stitched face does: so far that nothing that
/// closes a gap touches its end.
constexpr double REACHES = 2.0;

float square_reach_of(MergeSettings const& settings)
{
    double const reach =
        REACHES * settings.neighbour_factor * std::max(settings.spacing, settings.stitch_radius);
    return static_cast<float>(reach * reach);
}

} // namespace

SeamStrip::SeamStrip(std::vector<SeamVertex> const& gaps, MergeSettings const& settings)
    : settings_(settings), square_reach_(square_reach_of(settings))
{
    std::vector<Vector3f> points;
    for (auto const& gap : gaps)
    {
        gaps_.insert(gap.key);
        points.push_back(gap.point);
    }
    tree_.build_kdtree(points);
    mesh_.request_vertex_normals();
}

bool SeamStrip::is_near_gap(Vector3f const& point) const
{
    int index = -1;
    float square = 0.0F;
    return tree_.nearest_search(point, index, square) && square <= square_reach_;
}

void SeamStrip::add(TileMesh const& tile)
{
    std::vector<char> is_near(tile.keys.size());
    for_each_index(is_near.size(),
                   [&](std::size_t v) { is_near[v] = is_near_gap(tile.points[v]) ? 1 : 0; });
    for (auto const& face : tile.faces)
    {
        auto const is_near_corner = [&](std::int32_t v)
        { return is_near[static_cast<std::size_t>(v)] != 0; };
        if (std::none_of(face.begin(), face.end(), is_near_corner))
        {
            continue;
        }
        KeyedFace keyed{};
        for (std::size_t k = 0; k < 3; ++k)
        {
            auto const v = static_cast<std::size_t>(face[k]);
            keyed[k] = tile.keys[v];
            vertex({tile.keys[v], tile.points[v], tile.normals[v]});
        }
        turn_to_least(keyed);
        faces_.push_back(keyed);
    }
}

void SeamStrip::add(KeyedFace const& face, std::array<SeamVertex, 3> const& corners)
{
    if (std::any_of(corners.begin(), corners.end(),
                    [this](SeamVertex const& corner) { return is_near_gap(corner.point); }))
    {
        for (auto const& corner : corners)
        {
            vertex(corner);
        }
        faces_.push_back(face);
    }
}

OpenMesh::VertexHandle SeamStrip::vertex(SeamVertex const& from)
{
    auto const [entry, is_new] = vertices_.emplace(from.key, Vertex());
    if (is_new)
    {
        entry->second = mesh_.add_vertex(from.point);
        mesh_.set_normal(entry->second, from.normal);
        keys_.push_back(from.key);
        is_whole_.push_back(is_near_gap(from.point) ? 1 : 0);
    }
    return entry->second;
}

/// Faces that round a vertex come in an order in which the mesh cannot take them go, as if their
/// tiles had not agreed.
void SeamStrip::link_faces()
{
    for (auto const& face : faces_)
    {
        auto const added = OrvaneAlgorithm::detail::add_face_checked(
            mesh_, vertices_.at(face[0]), vertices_.at(face[1]), vertices_.at(face[2]));
        if (!added.is_valid())
        {
            removed_.insert(face);
            gaps_.insert(face.begin(), face.end());
        }
    }
}

std::vector<OpenMesh::VertexHandle> SeamStrip::gap_vertices() const
{
    std::vector<Vertex> list;
    for (auto const vertex : mesh_.vertices())
    {
        bool const is_gap = gaps_.count(keys_[static_cast<std::size_t>(vertex.idx())]) > 0;
        if (is_gap && !mesh_.is_isolated(vertex) && mesh_.is_boundary(vertex))
        {
            list.push_back(vertex);
        }
    }
    return list;
}

void SeamStrip::close()
{
    link_faces();
    auto const n_old_faces = static_cast<int>(mesh_.n_faces());
    merger_for(settings_).close_seams(mesh_, settings_.stitch_radius, gap_vertices(),
                                      settings_.max_hole_edges);
    OrvaneAlgorithm::detail::DeletionScope const scope(mesh_);
    drop_strays(n_old_faces);
    drop_pinches(n_old_faces);
    for (auto const face : mesh_.faces())
    {
        if (face.idx() >= n_old_faces)
        {
            added_.push_back(keys_of(face));
        }
    }
}

/// New faces stay where they close a gap, and not where they close the end of the strip.
void SeamStrip::drop_strays(int n_old_faces)
{
    for (int f = n_old_faces; f < static_cast<int>(mesh_.n_faces()); ++f)
    {
        if (!may_stay(Face(f)))
        {
            drop(Face(f), n_old_faces);
        }
    }
}

bool SeamStrip::may_stay(Face face) const
{
    bool is_at_gap = false;
    for (auto const vertex : mesh_.fv_range(face))
    {
        auto const v = static_cast<std::size_t>(vertex.idx());
        if (is_whole_[v] == 0)
        {
            return false;
        }
        is_at_gap = is_at_gap || gaps_.count(keys_[v]) > 0;
    }
    return is_at_gap;
}

/// Vertices at which several fans meet lose all their faces, which may pinch others.
void SeamStrip::drop_pinches(int n_old_faces)
{
    std::vector<Vertex> open;
    for (auto const vertex : mesh_.vertices())
    {
        open.push_back(vertex);
    }
    while (!open.empty())
    {
        Vertex const vertex = open.back();
        open.pop_back();
        if (is_whole_[static_cast<std::size_t>(vertex.idx())] == 0 || !is_pinched(vertex))
        {
            continue;
        }
        std::vector<Face> faces;
        for (auto const face : mesh_.vf_range(vertex))
        {
            faces.push_back(face);
            for (auto const corner : mesh_.fv_range(face))
            {
                open.push_back(corner);
            }
        }
        for (auto const face : faces)
        {
            drop(face, n_old_faces);
        }
    }
}

bool SeamStrip::is_pinched(Vertex vertex) const
{
    int gaps = 0;
    if (mesh_.is_isolated(vertex))
    {
        return false;
    }
    for (auto const h : mesh_.voh_range(vertex))
    {
        gaps += mesh_.is_boundary(h) ? 1 : 0;
    }
    return gaps > 1;
}

void SeamStrip::drop(Face face, int n_old_faces)
{
    if (face.idx() < n_old_faces)
    {
        removed_.insert(keys_of(face));
    }
    OrvaneAlgorithm::detail::delete_face_checked(mesh_, face, IsolatedVertices::KEPT);
}

KeyedFace SeamStrip::keys_of(Face face) const
{
    KeyedFace keys{};
    auto corner = mesh_.cfv_iter(face);
    for (auto& key : keys)
    {
        key = keys_[static_cast<std::size_t>(corner->idx())];
        ++corner;
    }
    turn_to_least(keys);
    return keys;
}

} // namespace veld
