#pragma once

#include "tests/HoleFilling/reference_whole.h"

#include <cstddef>
#include <vector>

/// \file
/// The filling of those holes of a mesh that have a marker near their centre, as plainly as it can
/// be written: every marker is compared with every hole. What the library gives has to be the same.

namespace veld_test::reference
{

struct HoleRadius
{
    double r_p = 0.0; ///< From the perimeter.
    double r_d = 0.0; ///< From the distances to the centre.
    double r_b = 0.0; ///< From the box.
    double r_a = 0.0; ///< Their average.
};

class MarkerFilling : public WholeFilling
{
public:
    /// \param marker_search_radius how near to a marker the centre of its hole has to be
    explicit MarkerFilling(WholeSettings const& settings, double marker_search_radius = 1.0)
        : WholeFilling(settings), marker_search_radius_(marker_search_radius)
    {
    }

    void marker_holes_filling(TriMesh& mesh, std::vector<Vector3f> const& markers)
    {
        mesh_ = mesh;
        markers_ = markers;
        preprocessing();
        find_and_match();
        expand_holes(hole_selected);
        if (settings_.region_process_type != 0)
        {
            delete_region();
            find_and_match();
            expand_holes(hole_selected);
        }
        else
        {
            smooth_marker_holes_region(5);
            mesh_.update_normals();
        }
        process_holes(hole_selected);
        mesh = mesh_;
    }

    std::vector<Vector3f> hole_centers;
    std::vector<HoleRadius> hole_radii;
    std::vector<bool> hole_selected;

private:
    void find_and_match()
    {
        find_holes();
        calc_hole_radius();
        match_markers();
    }

    /// Each corner counts twice.
    Vector3f center_of(Loop const& hole) const
    {
        Vector3f sum = Vector3f::Zero();
        for (auto const h : hole)
        {
            sum +=
                mesh_.point(mesh_.from_vertex_handle(h)) + mesh_.point(mesh_.to_vertex_handle(h));
        }
        return sum / static_cast<float>(2 * hole.size());
    }

    HoleRadius radius_of(Loop const& hole, double perimeter, Vector3f const& center) const
    {
        HoleRadius radius;
        radius.r_p = perimeter / 6.283185307179586;
        Vector3f low = mesh_.point(mesh_.from_vertex_handle(hole.front()));
        Vector3f high = low;
        double distances = 0.0;
        for (auto const h : hole)
        {
            Vector3f const& point = mesh_.point(mesh_.from_vertex_handle(h));
            distances += static_cast<double>((point - center).norm());
            low = low.cwiseMin(point);
            high = high.cwiseMax(point);
        }
        radius.r_d = distances / static_cast<double>(hole.size());
        radius.r_b = 0.5 * static_cast<double>((high - low).norm());
        radius.r_a = (radius.r_p + radius.r_d + radius.r_b) / 3.0;
        return radius;
    }

    void calc_hole_radius()
    {
        hole_centers.clear();
        hole_radii.clear();
        for (std::size_t i = 0; i < holes.size(); ++i)
        {
            hole_centers.push_back(center_of(holes[i]));
            hole_radii.push_back(radius_of(holes[i], hole_lengths[i], hole_centers.back()));
        }
    }

    /// By the centres alone. A centre at the radius itself is not near enough.
    void match_markers()
    {
        hole_selected.assign(holes.size(), false);
        auto const radius = static_cast<float>(marker_search_radius_);
        for (auto const& marker : markers_)
        {
            for (std::size_t i = 0; i < holes.size(); ++i)
            {
                float const sq_dist = (hole_centers[i] - marker).squaredNorm();
                if (radius >= 0.0F && sq_dist < radius * radius)
                {
                    hole_selected[i] = true;
                }
            }
        }
    }

    /// Each round from the positions that the one before it left.
    void smooth_marker_holes_region(unsigned rounds)
    {
        auto const marked = region_verts();
        for (unsigned round = 0; round < rounds; ++round)
        {
            TriMesh const before = mesh_;
            for (auto const v : mesh_.vertices())
            {
                if (marked[at(v)] && !mesh_.is_isolated(v))
                {
                    mesh_.set_point(v, mean_of_neighbours(before, v));
                }
            }
        }
    }

    double marker_search_radius_;
    std::vector<Vector3f> markers_;
};

} // namespace veld_test::reference
