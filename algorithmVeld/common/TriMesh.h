#pragma once

#include "algorithmVeld/common/BaseData.h"
#include "algorithmVeld/common/EigenFloatTraits.h"
#include "algorithmVeld/common/types.h"

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
    /// OpenMesh's mesh, for those who need the base by its name.
    using Kernel = OpenMesh::TriMeshT<OpenMesh::AttribKernelT<
        OpenMesh::FinalMeshItemsT<OpenMesh::EigenFloatTraits, true>, OpenMesh::TriConnectivity>>;

    TriMesh() = default;
    /// Copies are deep, with all properties: handles of the source are good for the copy. Its
    /// links, which are most of a mesh, have room for an eighth more.
    TriMesh(TriMesh const& other);
    TriMesh& operator=(TriMesh const& other);
    /// The arrays go to the target, with all properties and requested attributes: handles of the
    /// source are good for it, also those of properties. What keeps a pointer to the mesh itself,
    /// such as OpenMesh's smart handles and property managers, still points to the source. That is
    /// an empty mesh without attributes then, which takes some hundred bytes. Only where not even
    /// these are to be had would moving throw, which ends the process.
    TriMesh(TriMesh&& other) noexcept;
    TriMesh& operator=(TriMesh&& other) noexcept;
    ~TriMesh() override = default;

    /// Moves connectivity, coordinates and the standard attributes that are requested to the file.
    /// Properties that the host added stay in memory. All handles, of elements and of properties,
    /// are good again when the data is back; if it does not come back the properties are empty.
    int swap_out_data() override;
    int swap_in_data() override;
    /// Drops all vertices, edges and faces, with their memory. Properties and requested attributes
    /// stay, without elements.
    void clear() override;
    /// Removes what is marked deleted. Without status attributes there is nothing to remove. The
    /// gaps are filled from the end.
    void squeeze() override;
    void get_boundBox(Vector3f& min, Vector3f& max) const override;
    /// True if all coordinates are finite, every face is a triangle of three different vertices,
    /// and the links between halfedges, vertices and faces agree with each other. What is marked
    /// deleted is not looked at.
    bool is_legal() const override;
    /// Makes the mesh legal, and changes nothing if it is legal: removes the vertices whose
    /// coordinates are not finite, with their faces, and what was marked deleted. If the links do
    /// not agree the mesh is built anew from those faces that still are triangles; vertices stay,
    /// and so do their attributes, while those of edges and faces are lost.
    void repair_illegal() override;

    /// Makes room for more elements in the connectivity and in all properties, so that adding them
    /// one by one does not move the arrays. An array that has to be moved for it gets room for an
    /// eighth more at least, so that making room again and again does not move them each time. Room
    /// that is not used takes addresses and no memory.
    void reserve_more(size_t vertices, size_t edges, size_t faces);

protected:
    /// Swaps the contents of two meshes.
    void exchange(TriMesh& other) noexcept;

private:
    bool is_linked() const;
    void rebuild_from_faces();
};

} // namespace OrvaneAlgorithm
