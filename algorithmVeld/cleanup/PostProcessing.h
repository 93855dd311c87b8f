#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Removes small objects from a mesh that was merged from frames.
///
/// It differs from `PatchEditor` in that it takes every vertex without a face out of the mesh, also
/// those that had none before, and that it goes by the log switch of `gPH`.
class ALGORITHMVELD_API PostProcessing
{
public:
    PostProcessing() = default;
    PostProcessing(PostProcessing const&) = default;
    PostProcessing& operator=(PostProcessing const&) = default;
    ~PostProcessing() = default;

    /// Removes the components of `face_limit` faces or fewer, and all isolated vertices. Faces hang
    /// together over edges. The mesh comes back compacted as from `PatchEditor`. With the log
    /// switch on, the numbers are logged and printed past the log as well.
    /// \param mesh changed in place; handles do not stay
    /// \param face_limit stored first
    void remove_small_objects(TriMesh& mesh, int face_limit);

private:
    class Marks;

    bool face_BFS(TriMesh& mesh, std::vector<OpenMesh::FaceHandle>& faces,
                  OpenMesh::FaceHandle& hit) const;
    void decide_objects(TriMesh& mesh);
    void decide_object(TriMesh& mesh, OpenMesh::FaceHandle first,
                       std::vector<OpenMesh::FaceHandle>& faces);

    OpenMesh::FPropHandleT<bool> decided_;  ///< The face belongs to an object that is settled.
    OpenMesh::FPropHandleT<bool> delete_;   ///< The face is to be deleted.
    OpenMesh::FPropHandleT<bool> in_queue_; ///< The face is in the object now being collected.
    int face_limit_ = 10;
};

} // namespace OrvaneAlgorithm
