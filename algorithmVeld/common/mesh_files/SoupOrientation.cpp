#include "algorithmVeld/common/mesh_files/SoupOrientation.h"

#include "algorithmVeld/common/mesh_files/SoupParts.h"

#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// For each side the other one of its edge, where that has two.
std::vector<SideIndex> neighbours(MeshSoup const& soup)
{
    std::vector<SideIndex> others(3 * soup.faces.size(), NO_SIDE);
    EdgeTable(soup).for_each_edge(
        [&](std::vector<SideIndex> const& sides)
        {
            if (sides.size() == 2)
            {
                others[at(sides[0])] = sides[1];
                others[at(sides[1])] = sides[0];
            }
        });
    return others;
}

/// Which faces of a piece to turn, found from one of its faces.
class PieceOrientation
{
public:
    explicit PieceOrientation(MeshSoup const& soup)
        : soup_(soup), others_(neighbours(soup)), state_(soup.faces.size(), UNSEEN)
    {
    }

    /// Calls `turn(face)` for the smaller part of the faces that hang together with one.
    template <typename Turn>
    void turn_smaller_part(int first, Turn const& turn)
    {
        if (state_[at(first)] != UNSEEN)
        {
            return;
        }
        grow(first);
        auto const n_unlike = std::count_if(piece_.begin(), piece_.end(),
                                            [&](int face) { return state_[at(face)] == UNLIKE; });
        bool const most_are_unlike = 2 * n_unlike > static_cast<std::ptrdiff_t>(piece_.size());
        for (int const face : piece_)
        {
            if ((state_[at(face)] == UNLIKE) != most_are_unlike)
            {
                turn(at(face));
            }
        }
    }

private:
    enum State : char
    {
        UNSEEN,
        LIKE, ///< Oriented as the first face.
        UNLIKE
    };

    void grow(int first)
    {
        piece_.assign(1, first);
        state_[at(first)] = LIKE;
        for (std::size_t i = 0; i < piece_.size(); ++i) // the list is the queue
        {
            int const face = piece_[i];
            for (SideIndex side = 3 * face; side < 3 * face + 3; ++side)
            {
                SideIndex const other = others_[at(side)];
                if (other == NO_SIDE || state_[at(other / 3)] != UNSEEN)
                {
                    continue;
                }
                bool const agree = begin_of(soup_, side) != begin_of(soup_, other);
                state_[at(other / 3)] = (state_[at(face)] == LIKE) == agree ? LIKE : UNLIKE;
                piece_.push_back(other / 3);
            }
        }
    }

    MeshSoup const& soup_;
    std::vector<SideIndex> others_;
    std::vector<State> state_;
    std::vector<int> piece_;
};

void turn_over(MeshSoup& soup, std::size_t face)
{
    std::swap(soup.faces[face][1], soup.faces[face][2]);
    if (!soup.texcoords.empty())
    {
        std::swap(soup.texcoords[3 * face + 1], soup.texcoords[3 * face + 2]);
    }
}

} // namespace

std::size_t orient(MeshSoup& soup)
{
    std::vector<std::size_t> turned;
    PieceOrientation pieces(soup);
    CancelPoll poll;
    for (std::size_t face = 0; face < soup.faces.size(); ++face)
    {
        poll.next();
        pieces.turn_smaller_part(static_cast<int>(face),
                                 [&](std::size_t i) { turned.push_back(i); });
    }
    for (std::size_t const face : turned)
    {
        turn_over(soup, face);
    }
    return turned.size();
}

} // namespace OrvaneAlgorithm::detail
