// Finds the holes that a scanner's round markers left.
//
//   find_marker_holes MESH MARKERS RADIUS
//
// MARKERS has one marker a line, x y z in millimetres; RADIUS is theirs.

#include <algorithmVeld/algorithmVeld.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

using namespace OrvaneAlgorithm;

namespace
{

Verts read_markers(std::string const& path)
{
    Verts markers;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        std::istringstream numbers(line.substr(0, line.find('#')));
        Vector3f marker;
        if (numbers >> marker.x() >> marker.y() >> marker.z())
        {
            markers.push_back(marker);
        }
    }
    return markers;
}

} // namespace

int main(int argc, char** argv)
{
    TriMesh mesh;
    MeshReadReport report;
    if (argc != 4 || !read_mesh(argv[1], mesh, report))
    {
        std::cerr << (argc == 4 ? report.error : "usage: find_marker_holes MESH MARKERS RADIUS")
                  << '\n';
        return 1;
    }
    Verts const markers = read_markers(argv[2]);
    double const radius = std::atof(argv[3]);

    // [find]
    // A hole belongs to a marker if it is shorter than the marker's circumference and its centre
    // lies within the match distance. Normals could be compared too; here none are handed over.
    double const match_distance = radius;
    Holes holes;
    RetVal const result =
        find_marker_holes(mesh, markers, {}, match_distance, radius, false, 0.0, holes, false);
    // [find]

    if (result != RET_SUCCESS)
    {
        std::cout << "no hole belongs to a marker\n";
        return 0;
    }
    for (auto const& hole : holes)
    {
        Vector3f centre = Vector3f::Zero();
        for (auto const vertex : hole)
        {
            centre += mesh.point(vertex);
        }
        centre /= static_cast<float>(hole.size());
        std::cout << "marker hole of " << hole.size() << " edges at " << centre.transpose() << '\n';
    }
    return 0;
}
