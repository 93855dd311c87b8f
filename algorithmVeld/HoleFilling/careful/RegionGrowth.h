#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/arrays/IndexTable.h"

#include <array>
#include <cstddef>
#include <vector>

/// \file
/// The growth of regions around holes, by rings and by the length of the path.

namespace OrvaneAlgorithm::detail
{

/// How far a region reaches from its hole. A face lies within it while it is below both.
struct RegionLimits
{
    int rings;  ///< Rings of faces; those along the hole are ring 0.
    float path; ///< Length of the path over the centroids of faces.
};

/// The region around a hole.
struct GrownRegion
{
    std::vector<OpenMesh::FaceHandle> faces;
    /// Its path has kept a face out that is within the limit of rings.
    bool is_cut_short = false;
    /// All faces around the vertices of the hole were taken before any was kept out.
    bool has_whole_rim = false;
};

/// What is kept of a region.
enum class RegionPart
{
    WHOLE,
    /// Faces that are within the limit of rings of this hole, and those that no region before had.
    OWN_OR_NEW
};

/// Grows regions one after the other: the faces along a hole, whatever the limits, then those
/// around them, in the order in which they are reached. That costs as much as they are.
///
/// Ring and path of a face stay from one region to the next. So a region goes on through all faces
/// of the ones before that it touches.
class RegionGrowth
{
public:
    RegionGrowth(TriMesh const& mesh, RegionLimits const& limits) : mesh_(mesh), limits_(limits) {}

    /// \param loop boundary halfedges; one without a face behind it is passed over
    GrownRegion grow(std::vector<OpenMesh::HalfedgeHandle> const& loop,
                     RegionPart part = RegionPart::WHOLE);

private:
    static constexpr int NONE = -1;

    /// A face that some region has met.
    struct MetFace
    {
        OpenMesh::FaceHandle face;
        int ring;
        float path;
        Vector3f centroid;
        std::array<int, 3> neighbours{NONE, NONE, NONE}; ///< By number, once it has been visited.
        bool is_visited = false;
        bool was_taken = false; ///< By any region that is complete.
        int place = NONE;       ///< In the region that grows.
        int steps = 0;          ///< From the hole of that region.
    };

    int meet(OpenMesh::FaceHandle face);
    void find_neighbours(int number);
    void take(int number, int steps);
    void visit(int number);
    bool has_whole_rim(std::vector<OpenMesh::HalfedgeHandle> const& loop) const;
    std::vector<OpenMesh::FaceHandle> finish(RegionPart part);

    MetFace& met(int number) { return faces_[static_cast<std::size_t>(number)]; }

    TriMesh const& mesh_;
    RegionLimits limits_;
    IndexTable numbers_;         ///< Of the faces that were met, by index.
    std::vector<MetFace> faces_; ///< By that number.
    std::vector<int> front_;     ///< The region that grows.
    std::size_t sure_ = 0;       ///< How many were taken before any was kept out.
    bool is_cut_short_ = false;
};

} // namespace OrvaneAlgorithm::detail
