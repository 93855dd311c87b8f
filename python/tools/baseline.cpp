/// The calls of `scripts/trials/python-overhead` without Python: the same mesh, the same steps.
/// Prints JSON: for each call the seconds of each turn.

#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Inspect.h"
#include "workflow/steps/StepJson.h"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <utility>

namespace
{

using OrvaneAlgorithm::BaseTriMesh;

/// A flat grid of n x n vertices, 1 mm apart.
BaseTriMesh grid(int n)
{
    BaseTriMesh mesh;
    for (int y = 0; y < n; ++y)
    {
        for (int x = 0; x < n; ++x)
        {
            mesh.vCoord.emplace_back(static_cast<float>(x), static_cast<float>(y), 0.0F);
        }
    }
    for (int y = 0; y + 1 < n; ++y)
    {
        for (int x = 0; x + 1 < n; ++x)
        {
            int const corner = y * n + x;
            mesh.faces.emplace_back(corner, corner + 1, corner + n + 1);
            mesh.faces.emplace_back(corner, corner + n + 1, corner + n);
        }
    }
    return mesh;
}

veld::Json seconds_of(int turns, std::function<void()> const& work)
{
    veld::Json seconds = veld::Json::array();
    for (int turn = 0; turn < turns; ++turn)
    {
        auto const begin = std::chrono::steady_clock::now();
        work();
        std::chrono::duration<double> const passed = std::chrono::steady_clock::now() - begin;
        seconds.push_back(passed.count());
    }
    return seconds;
}

} // namespace

/// Arguments: vertices along a side of the large mesh, turns of large and of small calls.
int main(int argc, char** argv)
{
    int const side = argc > 1 ? std::atoi(argv[1]) : 708;
    int const large_turns = argc > 2 ? std::atoi(argv[2]) : 5;
    int const small_turns = argc > 3 ? std::atoi(argv[3]) : 1000;
    veld::Context context;
    BaseTriMesh const arrays = grid(side);
    auto const make = [&] { return veld::make_mesh("grid", BaseTriMesh(arrays), context).mesh; };
    auto large = make();
    auto small = veld::make_mesh("grid", grid(3), context).mesh;
    veld::Json const told{
        {"make", seconds_of(large_turns, make)},
        {"info_large", seconds_of(large_turns, [&] { veld::inspect(large, context); })},
        {"info_small", seconds_of(small_turns, [&] { veld::inspect(small, context); })}};
    std::cout << told.dump() << '\n';
    return 0;
}
