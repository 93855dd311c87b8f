// Takes specks and non-manifold vertices off a mesh file.
//
//   clean_up IN OUT

#include <algorithmVeld/algorithmVeld.h>

#include <iostream>

using namespace OrvaneAlgorithm;

int main(int argc, char** argv)
{
    TriMesh mesh;
    MeshReadReport report;
    if (argc != 3 || !read_mesh(argv[1], mesh, report))
    {
        std::cerr << (argc == 3 ? report.error : "usage: clean_up IN OUT") << '\n';
        return 1;
    }

    // [clean]
    auto const before = mesh.n_faces();
    remove_small_components_by_face(mesh, 10, false);
    remove_non_manifold_verts(mesh, false);
    std::cout << mesh.n_faces() << " of " << before << " faces stay\n";
    // [clean]

    std::string error;
    if (!write_mesh(argv[2], mesh, error))
    {
        std::cerr << error << '\n';
        return 2;
    }
    return 0;
}
