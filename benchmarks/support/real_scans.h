#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/mesh_io.h"
#include "algorithmVeld/common/range_scan_io.h"

#include <Eigen/Geometry>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// \file
/// Real scans from the folder that the environment variable VELD_TEST_DATA names, in millimetres.

namespace veld_benchmark
{

/// The path of a file in the folder; empty where none is named.
inline std::string real_scan(std::string const& file)
{
    char const* const directory = std::getenv("VELD_TEST_DATA");
    return directory == nullptr ? std::string() : std::string(directory) + "/" + file;
}

/// The reconstruction of the bunny, 69,451 faces, with the holes that it has. Empty without data.
inline OrvaneAlgorithm::TriMesh bunny()
{
    OrvaneAlgorithm::TriMesh mesh;
    OrvaneAlgorithm::MeshReadReport report;
    if (!OrvaneAlgorithm::read_mesh(real_scan("meshes_holes/bun_zipper.ply"), mesh, report))
    {
        mesh.clear();
    }
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) *= 1000.0F;
    }
    return mesh;
}

/// Its ten registered scans, with normals; none without data.
inline std::vector<OrvaneAlgorithm::RangeData> bunny_frames()
{
    std::vector<OrvaneAlgorithm::RangeData> frames;
    std::ifstream poses(real_scan("range_bunny/bun.conf"));
    for (std::string line; std::getline(poses, line);)
    {
        std::istringstream words(line);
        std::string kind;
        std::string file;
        Eigen::Vector3d t;
        double q[4] = {};
        words >> kind >> file >> t.x() >> t.y() >> t.z() >> q[0] >> q[1] >> q[2] >> q[3];
        OrvaneAlgorithm::RangeData frame;
        std::string error;
        if (kind != "bmesh" ||
            !OrvaneAlgorithm::read_range_ply(real_scan("range_bunny/" + file), frame, error))
        {
            continue;
        }
        for (auto& point : frame.vCoord)
        {
            point *= 1000.0F;
        }
        OrvaneAlgorithm::RigidMatrix pose;
        pose.set_rotation(
            Eigen::Quaterniond(q[3], q[0], q[1], q[2]).normalized().toRotationMatrix().transpose());
        pose.set_translation(1000.0 * t);
        frame.set_rigidMatrix(pose);
        frame.update_vNrv_from_grid();
        frames.push_back(std::move(frame));
    }
    return frames;
}

} // namespace veld_benchmark
