#include "workflow/files/SeedFile.h"

#include "workflow/Error.h"
#include "workflow/files/NumberLines.h"
#include "workflow/words.h"

namespace veld
{

StickSeeds read_seeds(std::filesystem::path const& path)
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
        throw InputError(shown(path) + ": holds no seed");
    }
    return seeds;
}

} // namespace veld
