#pragma once

#include "tests/TextureFusion/plain_texture.h"

#include <map>
#include <utility>
#include <vector>

/// \file
/// The choice of a view for each face as plainly as it can be written. What the library gives has
/// to be the same.

namespace veld_test::reference
{

/// Grows a list of faces from its first one, nearest first, over edges to faces that `is_wanted`
/// and that no list has yet.
template <typename Wanted>
std::vector<int> connected_faces(PlainMesh const& mesh, int first, std::vector<bool>& visited,
                                 Wanted const& is_wanted)
{
    std::vector<int> list{first};
    visited[at(first)] = true;
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        for (int const neighbour : mesh.across[at(list[i])])
        {
            if (!visited[at(neighbour)] && is_wanted(neighbour))
            {
                visited[at(neighbour)] = true;
                list.push_back(neighbour);
            }
        }
    }
    return list;
}

/// Takes the view from faces that have no neighbour with one, and from small regions.
inline void filter_faces(PlainMesh const& mesh, std::vector<FaceViews>& faces, int small,
                         Taken& taken)
{
    std::vector<FaceViews> const before = faces;
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        bool is_alone = before[at(f)].has_tex;
        for (int const neighbour : mesh.across[at(f)])
        {
            is_alone = is_alone && !before[at(neighbour)].has_tex;
        }
        if (is_alone)
        {
            ++taken["face alone"];
            faces[at(f)].has_tex = false;
        }
    }
    std::vector<bool> visited(faces.size(), false);
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (!faces[at(f)].has_tex || visited[at(f)])
        {
            continue;
        }
        auto const region =
            connected_faces(mesh, f, visited, [&](int g) { return faces[at(g)].has_tex; });
        int const n = static_cast<int>(region.size());
        ++taken[n > small ? "region kept" : "region dropped"];
        taken["region of just that size"] += n == small ? 1 : 0;
        taken["region of one more"] += n == small + 1 ? 1 : 0;
        for (int const g : region)
        {
            faces[at(g)].has_tex = n > small;
        }
    }
}

/// The views around a block, each face there counted once: the most frequent first, equally
/// frequent ones by number.
inline std::vector<int> labels_around(PlainMesh const& mesh, std::vector<FaceViews> const& faces,
                                      std::vector<int> const& block, Taken& taken)
{
    std::vector<bool> is_out(faces.size(), false);
    for (int const f : block)
    {
        is_out[at(f)] = true;
    }
    std::map<int, int> counts;
    for (int const f : block)
    {
        for (int const neighbour : mesh.across[at(f)])
        {
            if (faces[at(neighbour)].has_tex && !is_out[at(neighbour)])
            {
                is_out[at(neighbour)] = true;
                ++counts[faces[at(neighbour)].label];
            }
        }
    }
    std::vector<int> labels;
    while (!counts.empty())
    {
        auto best = counts.begin();
        for (auto it = counts.begin(); it != counts.end(); ++it)
        {
            taken["labels around equally frequent"] += it != best && it->second == best->second;
            best = it->second > best->second ? it : best;
        }
        labels.push_back(best->first);
        counts.erase(best);
    }
    return labels;
}

/// Gives the faces of small blocks the views around.
inline void absorb_small_blocks(PlainMesh const& mesh, std::vector<FaceViews>& faces, int small,
                                Taken& taken)
{
    std::vector<bool> visited(faces.size(), false);
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (!faces[at(f)].has_tex || visited[at(f)])
        {
            continue;
        }
        int const label = faces[at(f)].label;
        auto const block = connected_faces(
            mesh, f, visited,
            [&](int g) { return faces[at(g)].has_tex && faces[at(g)].label == label; });
        int const n = static_cast<int>(block.size());
        taken["block of just that size"] += n == small ? 1 : 0;
        taken["block of one more"] += n == small + 1 ? 1 : 0;
        if (n > small)
        {
            ++taken["large block"];
            continue;
        }
        auto const labels = labels_around(mesh, faces, block, taken);
        taken["nothing around a block"] += labels.empty() ? 1 : 0;
        for (int const g : block)
        {
            std::size_t rank = 0;
            while (rank < labels.size() && !relabel(faces[at(g)], labels[rank]))
            {
                ++rank;
            }
            ++taken[rank == 0 ? "first label taken" : "later label or none"];
            taken["face of a block keeps its label"] += rank == labels.size() ? 1 : 0;
        }
    }
}

/// The view that most faces around the corners of a face have; the lowest of equally frequent ones.
/// A face that touches several corners counts as often.
inline int label_by_vote(PlainMesh const& mesh, std::vector<FaceViews> const& faces, int face,
                         Taken& taken)
{
    std::map<int, int> counts;
    for (int const corner : mesh.corners[at(face)])
    {
        for (int const f : mesh.around[at(corner)])
        {
            counts[faces[at(f)].label] += faces[at(f)].has_tex ? 1 : 0;
        }
    }
    int best = -1;
    int most = 0;
    for (auto const& [label, count] : counts)
    {
        taken["tie of votes"] += count > 0 && count == most ? 1 : 0;
        best = count > most ? label : best;
        most = count > most ? count : most;
    }
    return best;
}

/// Whether a face has a neighbour of another view.
inline bool is_at_border(PlainMesh const& mesh, std::vector<FaceViews> const& faces, int face)
{
    bool differs = false;
    for (int const g : mesh.across[at(face)])
    {
        differs = differs || (faces[at(g)].has_tex && faces[at(g)].label != faces[at(face)].label);
    }
    return faces[at(face)].has_tex && differs;
}

/// Lets the faces at borders of blocks take the view of the majority, and those whose neighbours
/// changed. None is asked twice.
inline void smooth_borders(PlainMesh const& mesh, std::vector<FaceViews>& faces, Taken& taken)
{
    std::vector<int> list;
    std::vector<bool> in_queue(faces.size(), false);
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (is_at_border(mesh, faces, f))
        {
            list.push_back(f);
            in_queue[at(f)] = true;
        }
    }
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        FaceViews& face = faces[at(list[i])];
        int const label = label_by_vote(mesh, faces, list[i], taken);
        if (label == face.label)
        {
            ++taken["majority is its own"];
            continue;
        }
        if (!relabel(face, label))
        {
            ++taken["vote cannot be followed"];
            continue;
        }
        ++taken["vote followed"];
        for (int const g : mesh.across[at(list[i])])
        {
            if (faces[at(g)].has_tex && !in_queue[at(g)] && faces[at(g)].label != label)
            {
                ++taken["comes to the list later"];
                in_queue[at(g)] = true;
                list.push_back(g);
            }
        }
    }
}

/// All of it, in order.
inline void choose_views(PlainMesh const& mesh, std::vector<FaceViews>& faces, int small,
                         Taken& taken)
{
    filter_faces(mesh, faces, small, taken);
    absorb_small_blocks(mesh, faces, small, taken);
    smooth_borders(mesh, faces, taken);
    absorb_small_blocks(mesh, faces, small, taken);
}

} // namespace veld_test::reference
