#pragma once

#include "algorithmVeld/common/range_scan_io.h"
#include "tests/support/real_data.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace veld_test
{

/// The ten registered scans of the bunny in millimetres, with normals. Read without the loader of
/// the program.
inline std::vector<OrvaneAlgorithm::RangeData> real_bunny_frames()
{
    using OrvaneAlgorithm::Vector3d;
    std::vector<OrvaneAlgorithm::RangeData> frames;
    std::ifstream conf(real_data("range_bunny/bun.conf"));
    for (std::string line; std::getline(conf, line);)
    {
        std::istringstream words(line);
        std::string kind;
        std::string file;
        double t[3] = {};
        double q[4] = {};
        words >> kind >> file >> t[0] >> t[1] >> t[2] >> q[0] >> q[1] >> q[2] >> q[3];
        if (kind != "bmesh")
        {
            continue;
        }
        OrvaneAlgorithm::RangeData frame;
        std::string error;
        EXPECT_TRUE(OrvaneAlgorithm::read_range_ply(real_data("range_bunny/" + file), frame, error))
            << error;
        for (auto& point : frame.vCoord)
        {
            point *= 1000.0F;
        }
        OrvaneAlgorithm::RigidMatrix pose;
        pose.set_rotation(
            Eigen::Quaterniond(q[3], q[0], q[1], q[2]).normalized().toRotationMatrix().transpose());
        pose.set_translation(1000.0 * Vector3d(t[0], t[1], t[2]));
        frame.set_rigidMatrix(pose);
        frame.update_vNrv_from_grid();
        frames.push_back(std::move(frame));
    }
    return frames;
}

} // namespace veld_test
