#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"

#include "algorithmVeld/HoleFilling/markers/HoleMeasures.h"
#include "algorithmVeld/HoleFilling/whole/RegionSmoothing.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

namespace OrvaneAlgorithm
{

using detail::log;

RetVal MarkerHoleFilling::marker_holes_filling(TriMesh& mesh, std::vector<Vector3f> const& markers)
{
    detail::StepTimer const timer("marker-holes-filling");
    log("marker_holes_filling() ..\n");
    detail::Stages stages({2, 10, 3, 1, 10, 60});
    stages.next();
    begin_run(mesh);
    markers_ = markers;
    stages.next();
    preprocessing();
    stages.next();
    find_holes_ordered_halfedges();
    calc_hole_radius();
    stages.next();
    match_markers();
    stages.next();
    region_processing();
    stages.next();
    {
        detail::StepTimer const step("process-holes", "marker-holes-filling");
        fill_holes([this](std::size_t i) { return hole_selected_[i]; });
    }
    give_back(mesh);
    return RET_SUCCESS;
}

void MarkerHoleFilling::calc_hole_radius()
{
    log("calc_hole_diameter() ..\n");
    hole_centers_.resize(holes_.size());
    hole_radii_.resize(holes_.size());
    detail::parallel_for_even(static_cast<std::ptrdiff_t>(holes_.size()),
                              [&](std::ptrdiff_t i)
                              {
                                  auto const k = static_cast<std::size_t>(i);
                                  hole_centers_[k] = detail::hole_centre(mesh_, holes_[k]);
                                  hole_radii_[k] = detail::hole_radius(
                                      mesh_, holes_[k], hole_centers_[k], hole_lengths_[k]);
                              });
}

void MarkerHoleFilling::match_markers()
{
    log("match_markers() ..\n");
    KdTree3f tree;
    tree.build_kdtree(hole_centers_);
    tree.set_sorted(false);
    hole_selected_.assign(holes_.size(), false);
    std::vector<int> found;
    std::vector<float> sq_distances;
    for (auto const& marker : markers_)
    {
        detail::poll_cancel();
        tree.radius_search(marker, static_cast<float>(marker_search_radius_), found, sq_distances,
                           0);
        for (int const hole : found)
        {
            hole_selected_[static_cast<std::size_t>(hole)] = true;
        }
        log_candidates(marker, found, sq_distances);
    }
    log_selection();
}

void MarkerHoleFilling::log_candidates(Vector3f const& marker, std::vector<int> const& holes,
                                       std::vector<float> const& sq_distances) const
{
    if (!gPH.log_enabled || !verbose_match_)
    {
        return;
    }
    log("  marker (%f, %f, %f) has [%d] candidate holes\n", marker.x(), marker.y(), marker.z(),
        static_cast<int>(holes.size()));
    for (std::size_t k = 0; k < holes.size(); ++k)
    {
        Vector3f const& centre = hole_centers_[static_cast<std::size_t>(holes[k])];
        log("    candidate [%d] hole-center(%f, %f, %f) \t c-to-c-dis = %f \t dis2 = %f\n",
            holes[k], centre.x(), centre.y(), centre.z(), (centre - marker).norm(),
            sq_distances[k]);
    }
}

void MarkerHoleFilling::log_selection() const
{
    if (!gPH.log_enabled || !verbose_match_)
    {
        return;
    }
    log("\n========== holes to filled ==========\n");
    for (std::size_t i = 0; i < hole_selected_.size(); ++i)
    {
        if (hole_selected_[i])
        {
            Vector3f const& centre = hole_centers_[i];
            HoleRadius const& radius = hole_radii_[i];
            log("  hole [%d] \t center = (%f, %f, %f) \t r_p = %f \t r_d = %f \t r_b = %f \t r_a = "
                "%f\n",
                static_cast<int>(i), centre.x(), centre.y(), centre.z(), radius.r_p, radius.r_d,
                radius.r_b, radius.r_a);
        }
    }
    log("\n  total markers: %d\n", static_cast<int>(markers_.size()));
}

void MarkerHoleFilling::region_processing()
{
    detail::ScopedProperty<FPropHandleT<bool>> const region(mesh_, "<fprop>");
    marker_region_prop_ = region.handle();
    expand_marker_holes();
    if (keep_regions_)
    {
        return;
    }
    // Anything but smoothing cuts here, while the whole-mesh filling knows a third way.
    if (region_process_type_ != 0)
    {
        delete_marker_holes_region();
        // The holes have grown, and what is left is renumbered.
        find_holes_ordered_halfedges();
        calc_hole_radius();
        match_markers();
        expand_marker_holes();
    }
    else
    {
        smooth_marker_holes_region(5);
        detail::update_normals(mesh_);
    }
}

void MarkerHoleFilling::expand_marker_holes()
{
    std::vector<std::vector<HalfedgeHandle>> loops(holes_.size());
    for (std::size_t i = 0; i < holes_.size(); ++i)
    {
        if (hole_selected_[i])
        {
            loops[i] = holes_[i];
        }
    }
    grow_regions(loops, marker_region_prop_);
}

void MarkerHoleFilling::delete_marker_holes_region()
{
    log("delete_hole_region() ..\n");
    delete_flagged_faces(marker_region_prop_);
    dump("20-markers-region-deleted-mesh.stl", "save-markers-region-deleted-mesh");
}

void MarkerHoleFilling::smooth_marker_holes_region(unsigned int rounds)
{
    log("smooth_marker_holes_region() ..\n");
    detail::smooth_at_once(mesh_, regions_, rounds);
}

} // namespace OrvaneAlgorithm
