#pragma once

#include "algorithmVeld/common/BaseData.h"

#include <string>

namespace OrvaneAlgorithm
{

/// Half-edge triangle mesh with float coordinates in millimetres: OpenMesh's array kernel with the
/// library's common interface. Use OpenMesh's operations on it directly.
class ALGORITHMVELD_API TriMesh
    : public BaseData,
      public OpenMesh::TriMeshT<OpenMesh::AttribKernelT<
          OpenMesh::FinalMeshItemsT<OpenMesh::EigenFloatTraits, true>, OpenMesh::TriConnectivity>>
{
public:
    using Kernel = OpenMesh::TriMeshT<OpenMesh::AttribKernelT<
        OpenMesh::FinalMeshItemsT<OpenMesh::EigenFloatTraits, true>, OpenMesh::TriConnectivity>>;

    TriMesh() = default;
    TriMesh(TriMesh const&) = default;
    TriMesh& operator=(TriMesh const&) = default;
    ~TriMesh() override = default;

    /// Moves connectivity, coordinates and the standard attributes to the file. Properties that the
    /// host added stay in memory and are there again when the data is back.
    int swap_out_data() override;
    int swap_in_data() override;
    /// Drops all vertices, edges and faces. Properties stay, without elements.
    void clear() override;
    /// Removes what is marked deleted. Without status attributes there is nothing to remove. The
    /// gaps are filled from the end.
    void squeeze() override;
    void get_boundBox(Vector3f& min, Vector3f& max) const override;
    /// True if all coordinates are finite and every face is a triangle of three different, valid
    /// vertices whose halfedges are linked to each other.
    bool is_legal() const override;
    /// Deletes the vertices whose coordinates are not finite, with their faces.
    void repair_illegal() override;

    /// Makes room for more elements in the connectivity and in all properties, so that adding them
    /// one by one does not move the arrays.
    void reserve_more(size_t vertices, size_t edges, size_t faces);

    // Moving is copying for OpenMesh's kernel; leaving it out keeps one way to hand a mesh over.
};

} // namespace OrvaneAlgorithm
