#include "algorithmVeld/HoleFilling/careful/RegionGrowth.h"

#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

namespace
{

using Loop = std::vector<OpenMesh::HalfedgeHandle>;

constexpr int FAR_RING = 10000;
constexpr float FAR_LENGTH = 10000.0F;

Vector3f centroid_of(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    Vector3f sum = Vector3f::Zero();
    for (auto const vertex : mesh.fv_range(face))
    {
        sum += mesh.point(vertex);
    }
    return sum / 3.0F;
}

} // namespace

GrownRegion RegionGrowth::grow(Loop const& loop, RegionPart part)
{
    front_.clear();
    is_cut_short_ = false;
    for (auto const h : loop)
    {
        auto const face = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
        int const number = face.is_valid() ? meet(face) : NONE;
        if (number != NONE && met(number).place == NONE)
        {
            met(number).ring = 0;
            met(number).path = 0.0F;
            take(number, 0);
        }
    }
    CancelPoll poll;
    for (std::size_t i = 0; i < front_.size(); ++i)
    {
        poll.next();
        visit(front_[i]);
    }
    GrownRegion region;
    region.is_cut_short = is_cut_short_;
    region.has_whole_rim = has_whole_rim(loop);
    region.faces = finish(part);
    return region;
}

/// The number of a face.
int RegionGrowth::meet(OpenMesh::FaceHandle face)
{
    int const number = numbers_.add(face.idx());
    if (static_cast<std::size_t>(number) == faces_.size())
    {
        faces_.emplace_back();
        faces_.back().face = face;
        faces_.back().ring = FAR_RING;
        faces_.back().path = FAR_LENGTH;
        faces_.back().centroid = centroid_of(mesh_, face);
    }
    return number;
}

void RegionGrowth::find_neighbours(int number)
{
    std::array<int, 3> neighbours{NONE, NONE, NONE};
    std::size_t n = 0;
    for (auto const h : mesh_.fh_range(met(number).face))
    {
        auto const other = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
        neighbours[n++ % 3] = other.is_valid() ? meet(other) : NONE;
    }
    met(number).neighbours = neighbours;
    met(number).is_visited = true;
}

void RegionGrowth::take(int number, int steps)
{
    met(number).place = static_cast<int>(front_.size());
    met(number).steps = steps;
    front_.push_back(number);
}

/// Takes the way to the neighbours of a face.
void RegionGrowth::visit(int number)
{
    if (!met(number).is_visited)
    {
        find_neighbours(number);
    }
    MetFace const& from = met(number);
    for (int const neighbour : from.neighbours)
    {
        if (neighbour == NONE)
        {
            continue;
        }
        auto& to = met(neighbour);
        float const path = (from.centroid - to.centroid).norm() + from.path;
        to.ring = std::min(to.ring, from.ring + 1);
        if (path < to.path)
        {
            to.path = path;
        }
        if (to.place != NONE || !(to.ring < limits_.rings))
        {
            continue;
        }
        if (to.path < limits_.path)
        {
            take(neighbour, from.steps + 1);
        }
        else if (!is_cut_short_)
        {
            is_cut_short_ = true;
            sure_ = front_.size();
        }
    }
}

bool RegionGrowth::has_whole_rim(Loop const& loop) const
{
    std::size_t const sure = is_cut_short_ ? sure_ : front_.size();
    auto const is_sure = [&](OpenMesh::FaceHandle face)
    {
        int const number = numbers_.find(face.idx());
        int const place =
            number == IndexTable::NONE ? NONE : faces_[static_cast<std::size_t>(number)].place;
        return place != NONE && static_cast<std::size_t>(place) < sure;
    };
    return std::all_of(loop.begin(), loop.end(),
                       [&](OpenMesh::HalfedgeHandle h)
                       {
                           auto const faces = mesh_.vf_range(mesh_.from_vertex_handle(h));
                           return std::all_of(faces.begin(), faces.end(), is_sure);
                       });
}

/// The faces of the region that has grown.
std::vector<OpenMesh::FaceHandle> RegionGrowth::finish(RegionPart part)
{
    std::vector<OpenMesh::FaceHandle> faces;
    for (int const number : front_)
    {
        auto& face = met(number);
        if (part == RegionPart::WHOLE || !face.was_taken || face.steps < std::max(limits_.rings, 1))
        {
            faces.push_back(face.face);
        }
        face.was_taken = true;
        face.place = NONE;
    }
    return faces;
}

} // namespace OrvaneAlgorithm::detail
