#include "workflow/files/MarkerFile.h"

#include "workflow/Error.h"
#include "workflow/files/NumberLines.h"
#include "workflow/words.h"

namespace veld
{

using OrvaneAlgorithm::Vector3f;

namespace
{

void add_marker(Markers& markers, NumberLine const& line, bool with_normals)
{
    auto const& numbers = line.numbers;
    if (numbers.size() != 6 && (with_normals || numbers.size() != 3))
    {
        throw InputError(line.place + (with_normals
                                           ? ": a marker with its normal is 'x y z nx ny nz'"
                                           : ": a marker is 'x y z' or 'x y z nx ny nz'"));
    }
    markers.points.emplace_back(numbers[0], numbers[1], numbers[2]);
    if (with_normals)
    {
        Vector3f const normal(numbers[3], numbers[4], numbers[5]);
        if (!(normal.stableNorm() > 0.0F))
        {
            throw InputError(line.place + ": the normal has no length");
        }
        markers.normals.push_back(normal.stableNormalized());
    }
}

} // namespace

Markers read_markers(std::filesystem::path const& path, bool with_normals)
{
    Markers markers;
    for (auto const& line : read_number_lines(path))
    {
        add_marker(markers, line, with_normals);
    }
    if (markers.points.empty())
    {
        throw InputError(shown(path) + ": holds no marker");
    }
    return markers;
}

} // namespace veld
