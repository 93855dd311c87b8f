#include "algorithmVeld/TextureFusion/projection/SmoothNormals.h"

#include "algorithmVeld/common/running/Progress.h"

namespace OrvaneAlgorithm::detail
{

void smooth_vertex_normals(TriMesh& mesh)
{
    LoopProgress progress(mesh.n_vertices());
    for (auto const vertex : mesh.all_vertices())
    {
        progress.next();
        Vector3f sum = mesh.normal(vertex);
        for (auto const neighbour : mesh.vv_range(vertex))
        {
            sum += mesh.normal(neighbour);
        }
        mesh.set_normal(vertex, sum.normalized());
    }
}

} // namespace OrvaneAlgorithm::detail
