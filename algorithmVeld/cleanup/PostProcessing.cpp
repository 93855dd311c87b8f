#include "algorithmVeld/cleanup/PostProcessing.h"

#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

namespace OrvaneAlgorithm
{

using detail::Growth;
using detail::IsolatedVertices;
using OpenMesh::FaceHandle;

/// The three marks of the faces, on the mesh for a scope.
class PostProcessing::Marks
{
public:
    Marks(PostProcessing& owner, TriMesh& mesh) : owner_(owner), mesh_(mesh)
    {
        mesh_.add_property(owner_.decided_, "<fprop>");
        mesh_.add_property(owner_.delete_, "<fprop>");
        mesh_.add_property(owner_.in_queue_, "<fprop>");
    }
    ~Marks()
    {
        mesh_.remove_property(owner_.decided_);
        mesh_.remove_property(owner_.delete_);
        mesh_.remove_property(owner_.in_queue_);
    }
    Marks(Marks const&) = delete;
    Marks& operator=(Marks const&) = delete;

private:
    PostProcessing& owner_;
    TriMesh& mesh_;
};

namespace
{

int delete_marked_faces(TriMesh& mesh, OpenMesh::FPropHandleT<bool> marks)
{
    int deleted = 0;
    detail::LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.all_faces())
    {
        progress.next();
        if (mesh.property(marks, face))
        {
            detail::delete_face_checked(mesh, face, IsolatedVertices::KEPT);
            ++deleted;
        }
    }
    return deleted;
}

/// Deletes all vertices without a face, also those that had none before.
int delete_isolated_vertices(TriMesh& mesh)
{
    int deleted = 0;
    detail::LoopProgress progress(mesh.n_vertices());
    for (auto const vertex : mesh.all_vertices())
    {
        progress.next();
        if (mesh.is_isolated(vertex))
        {
            detail::delete_vertex_checked(mesh, vertex, IsolatedVertices::KEPT);
            ++deleted;
        }
    }
    return deleted;
}

} // namespace

void PostProcessing::remove_small_objects(TriMesh& mesh, int face_limit)
{
    bool const log = gPH.log_enabled;
    detail::log_and_print_line(log, "remove_small_objects() ..\n");
    face_limit_ = face_limit;

    detail::DeletionScope const status(mesh);
    Marks const marks(*this, mesh);
    detail::CompactedOnException const compacted(mesh);
    detail::Stages stages({6, 1, 1, 2});
    stages.next();
    decide_objects(mesh);
    stages.next();
    int const faces = delete_marked_faces(mesh, delete_);
    stages.next();
    int const vertices = delete_isolated_vertices(mesh);
    detail::log_and_print_line(log, "    deleted faces: %d\n", faces);
    detail::log_and_print_line(log, " deleted vertices: %d\n", vertices);
    stages.next();
    detail::compact(mesh);
}

void PostProcessing::decide_objects(TriMesh& mesh)
{
    std::vector<FaceHandle> faces;
    detail::LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        progress.next();
        if (!mesh.property(decided_, face))
        {
            decide_object(mesh, face, faces);
        }
    }
}

/// Collects the object of a face, and settles what becomes of all of its faces.
void PostProcessing::decide_object(TriMesh& mesh, FaceHandle first, std::vector<FaceHandle>& faces)
{
    mesh.property(in_queue_, first) = true;
    faces.assign(1, first);
    FaceHandle hit;
    bool decided = true;
    bool small = false;
    if (face_BFS(mesh, faces, hit))
    {
        decided = mesh.property(decided_, hit);
        small = mesh.property(delete_, hit);
    }
    else
    {
        small = static_cast<int>(faces.size()) <= face_limit_;
    }
    for (auto const face : faces)
    {
        mesh.property(decided_, face) = decided;
        mesh.property(delete_, face) = small;
        mesh.property(in_queue_, face) = false;
    }
}

/// Grows the faces over their edges: up to the whole object, or until it is too large to go, which
/// settles it. The faces that are left of a large object meet those that are settled, and so are
/// spared a search whose front lies all over the memory. \return true, with the face that was hit,
/// if a face was met whose object is settled already
bool PostProcessing::face_BFS(TriMesh& mesh, std::vector<FaceHandle>& faces, FaceHandle& hit) const
{
    hit.invalidate();
    detail::grow_faces(mesh, faces,
                       [&](FaceHandle, FaceHandle other)
                       {
                           if (mesh.property(decided_, other))
                           {
                               hit = other;
                               return Growth::STOP;
                           }
                           auto in_queue = mesh.property(in_queue_, other);
                           if (in_queue)
                           {
                               return Growth::PASS;
                           }
                           if (static_cast<int>(faces.size()) > face_limit_)
                           {
                               return Growth::STOP;
                           }
                           in_queue = true;
                           return Growth::TAKE;
                       });
    return hit.is_valid();
}

} // namespace OrvaneAlgorithm
