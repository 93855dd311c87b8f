// Fills the holes of a mesh file, but for the outer border of an open scan.
//
//   fill_holes IN OUT

#include <algorithmVeld/algorithmVeld.h>

#include <iostream>

using namespace OrvaneAlgorithm;

int main(int argc, char** argv)
{
    TriMesh mesh;
    MeshReadReport report;
    if (argc != 3 || !read_mesh(argv[1], mesh, report))
    {
        std::cerr << (argc == 3 ? report.error : "usage: fill_holes IN OUT") << '\n';
        return 1;
    }
    Vector3f low, high;
    mesh.get_boundBox(low, high);

    // [fill]
    Holes holes;
    find_holes(mesh, holes, false);

    EarTrimming filler;
    filler.set_max_perimeter((high - low).norm());
    filler.set_node_num_constraint(false);
    filler.set_edge_length_constraint(false);
    filler.ear_trimming(mesh);

    std::cout << holes.size() << " holes found\n";
    for (OpenHole const& hole : filler.open_holes())
    {
        std::cout << "one of " << hole.corners.size()
                  << " edges stays open: " << to_string(hole.reason) << '\n';
    }
    // [fill]

    std::string error;
    if (!write_mesh(argv[2], mesh, error))
    {
        std::cerr << error << '\n';
        return 2;
    }
    return 0;
}
