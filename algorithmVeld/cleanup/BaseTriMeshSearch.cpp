#include "algorithmVeld/cleanup/BaseTriMeshSearch.h"

#include "algorithmVeld/common/ScopeTimer.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace OrvaneAlgorithm
{

namespace
{

constexpr auto MOST_ENTRIES = static_cast<std::size_t>(std::numeric_limits<int>::max());

std::size_t place(int i)
{
    // A negative index becomes one that no list has.
    return static_cast<std::size_t>(i);
}

/// The corners of all faces as one array.
std::vector<int> flat_corners(BaseTriMesh const& mesh)
{
    std::size_t const n = mesh.get_fn();
    if (n > MOST_ENTRIES / 3)
    {
        throw std::length_error("too many faces");
    }
    std::vector<int> corners(3 * n);
    detail::parallel_for_even(static_cast<std::ptrdiff_t>(n),
                              [&](std::ptrdiff_t i)
                              {
                                  auto const f = static_cast<std::size_t>(i);
                                  auto const& face = mesh.faces[f];
                                  std::copy(face.v.begin(), face.v.end(), &corners[3 * f]);
                              });
    return corners;
}

} // namespace

void BaseTriMeshSearch::Lists::reserve(std::size_t lists, std::size_t n_entries)
{
    offsets.reserve(lists + 1);
    entries.reserve(n_entries);
}

void BaseTriMeshSearch::Lists::end_list()
{
    offsets.push_back(static_cast<int>(entries.size()));
}

int BaseTriMeshSearch::Lists::range(int i, int*& begin, int*& end)
{
    int const past = detail::at(offsets, place(i) + 1);
    int const first = detail::at(offsets, place(i));
    begin = entries.data() + first;
    end = entries.data() + past;
    return past - first;
}

BaseTriMeshSearch::BaseTriMeshSearch(BaseTriMesh const& mesh)
    : vert_count_(static_cast<int>(mesh.get_vn())), face_count_(static_cast<int>(mesh.get_fn()))
{
    ScopeTimer const timer("OrvaneAlgorithm::BaseTriMeshSearch::BaseTriMeshSearch");
    detail::Stages stages({1, 2, 10, 12});
    stages.next();
    std::vector<int> const corners = flat_corners(mesh);
    stages.next();
    list_faces_of_vertices(corners);
    stages.next();
    list_neighbours_of_vertices(corners);
    stages.next();
    list_neighbours_of_faces(corners);
}

void BaseTriMeshSearch::list_faces_of_vertices(std::vector<int> const& corners)
{
    auto& offsets = v2f_.offsets;
    offsets.assign(place(vert_count_) + 1, 0);
    detail::CancelPoll poll;
    for (int const v : corners)
    {
        poll.next();
        if (v < 0 || v >= vert_count_)
        {
            detail::at(offsets, offsets.size());
        }
        ++offsets[place(v) + 1];
    }
    for (std::size_t v = 1; v < offsets.size(); ++v)
    {
        offsets[v] += offsets[v - 1];
    }
    std::vector<int> free_slot(offsets.begin(), offsets.end() - 1);
    v2f_.entries.resize(corners.size());
    for (std::size_t k = 0; k < corners.size(); ++k)
    {
        poll.next();
        int const slot = free_slot[place(corners[k])]++;
        v2f_.entries[place(slot)] = static_cast<int>(k / 3);
    }
}

void BaseTriMeshSearch::list_neighbours_of_vertices(std::vector<int> const& corners)
{
    is_boundary_.assign(place(vert_count_), false);
    v2v_.reserve(place(vert_count_), corners.size());
    std::vector<int> met; ///< each neighbour as often as it is met
    detail::LoopProgress progress(place(vert_count_));
    for (int v = 0; v < vert_count_; ++v)
    {
        progress.next();
        met.clear();
        int* face = nullptr;
        int* end = nullptr;
        for (v2f_.range(v, face, end); face != end; ++face)
        {
            for (std::size_t k = 3 * place(*face); k < 3 * place(*face) + 3; ++k)
            {
                if (corners[k] != v)
                {
                    met.push_back(corners[k]);
                }
            }
        }
        std::sort(met.begin(), met.end());
        for (std::size_t i = 0; i < met.size();)
        {
            std::size_t const first = i;
            while (i < met.size() && met[i] == met[first])
            {
                ++i;
            }
            v2v_.entries.push_back(met[first]);
            if (i - first < 2)
            {
                // The edge has a face on one side only.
                is_boundary_[place(v)] = true;
            }
        }
        v2v_.end_list();
    }
}

/// How often faces are met around the corners of faces, which is as many entries as the lists of
/// neighbours can have.
std::size_t BaseTriMeshSearch::count_meetings() const
{
    std::size_t meetings = 0;
    for (std::size_t v = 0; v < place(vert_count_); ++v)
    {
        auto const faces = static_cast<std::size_t>(v2f_.offsets[v + 1] - v2f_.offsets[v]);
        meetings += faces * faces;
        if (meetings > MOST_ENTRIES)
        {
            throw std::length_error("too many faces around one vertex");
        }
    }
    return meetings - std::min(meetings, 3 * place(face_count_));
}

void BaseTriMeshSearch::list_neighbours_of_faces(std::vector<int> const& corners)
{
    f2f_.reserve(place(face_count_), count_meetings());
    f2f_edge_.reserve(place(face_count_), corners.size());
    std::vector<int> met_by(place(face_count_), -1);
    detail::LoopProgress progress(place(face_count_));
    for (int f = 0; f < face_count_; ++f)
    {
        progress.next();
        for (std::size_t k = 3 * place(f); k < 3 * place(f) + 3; ++k)
        {
            int* other = nullptr;
            int* end = nullptr;
            for (v2f_.range(corners[k], other, end); other != end; ++other)
            {
                if (*other == f)
                {
                    continue;
                }
                // A face that is met again shares a second vertex.
                auto& list = met_by[place(*other)] == f ? f2f_edge_ : f2f_;
                met_by[place(*other)] = f;
                list.entries.push_back(*other);
            }
        }
        f2f_.end_list();
        f2f_edge_.end_list();
    }
}

int BaseTriMeshSearch::v2fRing1(int vertex, int*& begin, int*& end)
{
    if (vertex < 0 || vertex >= vert_count_)
    {
        detail::print_line("v2fRing1: idx-%d illegal\n", vertex);
        begin = nullptr;
        end = nullptr;
        return 0;
    }
    return v2f_.range(vertex, begin, end);
}

int BaseTriMeshSearch::v2vRing1(int vertex, int*& begin, int*& end)
{
    return v2v_.range(vertex, begin, end);
}

int BaseTriMeshSearch::f2fRing1(int face, int*& begin, int*& end)
{
    if (face < 0 || face >= face_count_)
    {
        detail::print_line("f2fRing1: idx-%d illegal\n", face);
    }
    return f2f_.range(face, begin, end);
}

int BaseTriMeshSearch::f2fEdgeRing1(int face, int*& begin, int*& end)
{
    return f2f_edge_.range(face, begin, end);
}

bool BaseTriMeshSearch::is_boundary_vertex(int vertex) const
{
    return detail::at(is_boundary_, place(vertex));
}

} // namespace OrvaneAlgorithm
