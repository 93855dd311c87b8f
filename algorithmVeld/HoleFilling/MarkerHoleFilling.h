#pragma once

#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "algorithmVeld/HoleFilling/HoleRadius.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Fills the holes that adhesive markers left on a scanned object, and leaves all others open.
///
/// A hole belongs to a marker if its centre lies within a search radius of it. It is filled as
/// `HoleFilling` fills all holes: by default its region is cut away first. A hole that was selected
/// and whose centre has moved out of reach by that stays open, with its region cut away.
class ALGORITHMVELD_API MarkerHoleFilling : public HoleFilling
{
public:
    /// Fills the holes at markers.
    /// \param mesh as in `HoleFilling::holes_filling`
    /// \param markers centres in millimetres; one without a hole nearby has no effect, and one
    ///        between two holes selects both
    /// \return `RET_SUCCESS` in all cases; `open_holes` tells which of the selected holes stayed
    ///         open
    RetVal marker_holes_filling(TriMesh& mesh, std::vector<Vector3f> const& markers);

    /// How far from a marker the centre of its hole may lie, in millimetres; below, not at it.
    void set_marker_search_radius(double radius) { marker_search_radius_ = radius; }
    /// Whether the regions are neither cut nor smoothed, for which `set_region_process_type` has no
    /// value here. Off by default.
    void set_keep_regions(bool keep) { keep_regions_ = keep; }
    /// Without influence.
    void set_marker_expand_factor(double factor) { marker_expand_factor_ = factor; }
    /// Whether the search is logged marker by marker.
    void set_verbose_match(bool verbose) { verbose_match_ = verbose; }

private:
    void calc_hole_radius();
    void match_markers();
    void region_processing();
    void expand_marker_holes();
    void delete_marker_holes_region();
    void smooth_marker_holes_region(unsigned int rounds);
    void log_candidates(Vector3f const& marker, std::vector<int> const& holes,
                        std::vector<float> const& sq_distances) const;
    void log_selection() const;

    double marker_expand_factor_ = 10.0;
    double marker_search_radius_ = 1.0;
    std::vector<Vector3f> markers_;
    std::vector<Vector3f> hole_centers_;
    std::vector<HoleRadius> hole_radii_;
    std::vector<bool> hole_selected_;
    FPropHandleT<bool> marker_region_prop_; ///< Faces around selected holes.
    bool verbose_match_ = true;
    bool keep_regions_ = false;
};

} // namespace OrvaneAlgorithm
