#include "Sticks.h"

#include "Errors.h"
#include "HoleSummary.h"
#include "MutedOutput.h"
#include "NumberLines.h"

#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <fmt/format.h>

namespace veld
{

using OrvaneAlgorithm::RetVal;
using OrvaneAlgorithm::TriMesh;

namespace
{

RetVal extract(TriMesh& mesh, StickSeeds const& seeds, StickTips tips, std::vector<TriMesh>& sticks)
{
    // What the library logs of sticks it prints to standard output too, which is the result's.
    MutedOutput const muted;
    return OrvaneAlgorithm::extract_sticks(mesh, seeds.points, seeds.sizes, sticks,
                                           tips == StickTips::up, OrvaneAlgorithm::gPH.log_enabled);
}

} // namespace

StickSeeds read_seeds(std::string const& path)
{
    StickSeeds seeds;
    for (auto const& [place, numbers] : read_number_lines(path))
    {
        if (numbers.size() != 5)
        {
            throw InputError(place + ": a seed is 'x y z diameter height'");
        }
        if (!(numbers[3] > 0.0F && numbers[4] > 0.0F))
        {
            throw InputError(place + ": diameter and height have to be larger than 0");
        }
        seeds.points.emplace_back(numbers[0], numbers[1], numbers[2]);
        seeds.sizes.emplace_back(numbers[3], numbers[4]);
    }
    if (seeds.points.empty())
    {
        throw InputError(path + ": holds no seed");
    }
    return seeds;
}

std::vector<TriMesh> cut_sticks(TriMesh& mesh, std::string const& path, StickSeeds const& seeds,
                                StickTips tips)
{
    std::vector<TriMesh> sticks;
    switch (extract(mesh, seeds, tips, sticks))
    {
    case OrvaneAlgorithm::RET_SUCCESS:
        return sticks;
    case OrvaneAlgorithm::RET_INVALID_INPUT:
        throw InputError(path + ": no seeds, or not as many sizes as places");
    default:
        throw OperationError(path + ": no vertex is nearest to a seed: the mesh has none, or "
                                    "coordinates are too large to measure distances");
    }
}

Json to_json(std::string const& path, TriMesh const& stick)
{
    return {{"file", path}, {"vertices", stick.n_vertices()}, {"faces", stick.n_faces()}};
}

std::string to_text(std::string const& path, TriMesh const& stick)
{
    return fmt::format("{}: a stick of {} and {} vertices\n", path,
                       counted(stick.n_faces(), "face"), stick.n_vertices());
}

} // namespace veld
