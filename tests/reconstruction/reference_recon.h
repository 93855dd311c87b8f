#pragma once

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/cleanup/PostProcessing.h"
#include "tests/reconstruction/reference_merge.h"
#include "tests/support/plain_walks.h"

#include <cstddef>
#include <vector>

/// \file
/// The merge in the order of the vertices, and the removal of loose points off the surface, as
/// plainly as they can be written. What the library gives has to be the same, to the bit.

namespace veld_test::reference
{

/// Edges that went with another one are not counted.
inline int delete_long_edges_once(TriMesh& mesh, double length)
{
    request_status(mesh);
    int deleted = 0;
    for (auto it = mesh.edges_begin(); it != mesh.edges_end(); ++it)
    {
        if (!mesh.status(*it).deleted() && mesh.is_boundary(*it) &&
            static_cast<double>(mesh.calc_edge_length(*it)) > length)
        {
            mesh.delete_edge(*it, false);
            ++deleted;
        }
    }
    collect_garbage(mesh);
    return deleted;
}

inline void clip_ears(TriMesh& mesh, MergeSettings const& settings, bool is_first_round)
{
    OrvaneAlgorithm::EarClipping clipping;
    clipping.set_node_num_constraint(!is_first_round);
    clipping.set_node_num_thr(settings.max_hole_edges);
    clipping.set_edge_length_constraint(is_first_round);
    clipping.set_edge_length_thr(settings.ear_edge_factor * settings.point_spacing);
    clipping.set_norm_constraint(is_first_round);
    clipping.fill_hole(mesh);
}

/// The radius of the stitch is not used here. \return how many faces the stitch could not add
inline int mesh_merge_in_turn(std::vector<RangeData> const& frames, MergeSettings const& settings,
                              bool is_preprocessed, TriMesh& mesh, std::vector<int>& vertex_frames)
{
    OpenMesh::VPropHandleT<int> frame_of;
    mesh.add_property(frame_of);
    convert(frames, frame_of, mesh);
    if (is_preprocessed)
    {
        delete_long_edges_once(mesh, settings.long_edge_length);
    }
    int const refused = PlainStitch(mesh, settings).run_in_turn();
    filter(mesh);
    clip_ears(mesh, settings, true);
    OrvaneAlgorithm::PostProcessing().remove_small_objects(mesh, settings.min_component_size);
    clip_ears(mesh, settings, false);
    vertex_frames.clear();
    for (auto const v : mesh.vertices())
    {
        vertex_frames.push_back(mesh.property(frame_of, v));
    }
    mesh.remove_property(frame_of);
    return refused;
}

/// Removes loose points by their distance from the plane of each border vertex in turn.
class PlainOutliers
{
public:
    PlainOutliers(TriMesh& mesh, double point_spacing, float factor)
        : mesh_(mesh), start_(static_cast<float>(point_spacing * 2.0)), factor_(factor)
    {
    }

    /// \return the points that went, in their order, as they were numbered before
    std::vector<int> run()
    {
        request_status(mesh_);
        tree_.set_sorted(false);
        tree_.build_kdtree(
            std::vector<Vector3f>(mesh_.points(), mesh_.points() + mesh_.n_vertices()));
        mesh_.add_property(plane_distance_);
        for (auto it = mesh_.vertices_begin(); it != mesh_.vertices_end(); ++it)
        {
            if (!mesh_.status(*it).deleted() && mesh_.is_boundary(*it))
            {
                remove_around(*it);
            }
        }
        mesh_.remove_property(plane_distance_);
        collect_garbage(mesh_);
        return removed_;
    }

private:
    void remove_around(VertexHandle c)
    {
        std::vector<int> hits;
        std::vector<float> distances;
        tree_.radius_search(mesh_.point(c), reach_at(mesh_, c, start_), hits, distances, 0);
        Vector3f const n = frame_at(mesh_, hits, c).col(2);
        float const d = -n.dot(mesh_.point(c));
        float const s = n.dot(n);
        if (static_cast<double>(s) < 1e-5)
        {
            return;
        }
        float sum = 0.0F;
        int count = 0;
        for (int const i : hits)
        {
            if (i != c.idx() && mesh_.is_boundary(vh(i)))
            {
                float const e = n.dot(mesh_.point(vh(i))) + d;
                mesh_.property(plane_distance_, vh(i)) = e * e / s;
                sum += mesh_.property(plane_distance_, vh(i));
                ++count;
            }
        }
        if (count == 0)
        {
            return;
        }
        float const limit = (sum / static_cast<float>(count)) * factor_;
        for (int const i : hits)
        {
            if (!mesh_.status(vh(i)).deleted() && mesh_.is_boundary(vh(i)) && i != c.idx() &&
                mesh_.is_isolated(vh(i)) && mesh_.property(plane_distance_, vh(i)) > limit)
            {
                mesh_.delete_vertex(vh(i), false);
                removed_.push_back(i);
            }
        }
    }

    TriMesh& mesh_;
    float start_;
    float factor_;
    KdTree3f tree_;
    OpenMesh::VPropHandleT<float> plane_distance_;
    std::vector<int> removed_;
};

} // namespace veld_test::reference
