#include "run_veld.h"

#include "tests/support/real_data.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;

using FillRealData = RealData;

/// Length of the diagonal of the box around a mesh.
double diagonal_of(nlohmann::json const& info)
{
    double square = 0.0;
    for (int axis = 0; axis < 3; ++axis)
    {
        double const side = info["bounding_box"]["max"][axis].get<double>() -
                            info["bounding_box"]["min"][axis].get<double>();
        square += side * side;
    }
    return std::sqrt(square);
}

TEST_F(FillRealData, HolesSaidToBeBeyondALimitAreBeyondIt)
{
    constexpr int LIMIT = 12;
    for (auto const& file : real_meshes())
    {
        std::string const path = file.string();
        double const diagonal = diagonal_of(run_veld({"info", path, "--json"}).json());
        for (std::string const method : {"clip", "trim", "core", "whole", "auto"})
        {
            TempDir const dir;
            auto const json = run_veld({"fill", path, "-o", dir.file("out.ply"), "--method", method,
                                        "--max-edges", std::to_string(LIMIT), "--json"})
                                  .json();
            for (auto const& open : json["open"])
            {
                if (open["reason"] == "longer perimeter than allowed")
                {
                    EXPECT_GE(open["perimeter"].get<double>(), diagonal * (1.0 - 1e-6))
                        << path << method << open;
                }
                if (open["reason"] == "more edges than allowed")
                {
                    EXPECT_GT(open["edges"], LIMIT) << path << method << open;
                }
            }
        }
    }
}

} // namespace
