#include "workflow/tiling/seams/SeamFaces.h"

#include <algorithm>

namespace veld
{

void SeamFaces::add(std::vector<CrossingFace> const& faces)
{
    faces_.insert(faces_.end(), faces.begin(), faces.end());
}

void SeamFaces::compare()
{
    constexpr unsigned ALL_CORNERS = 7;
    std::sort(faces_.begin(), faces_.end(),
              [](CrossingFace const& a, CrossingFace const& b) { return a.corners < b.corners; });
    for (std::size_t i = 0; i < faces_.size();)
    {
        KeyedFace const corners = faces_[i].corners;
        unsigned owned = 0;
        for (; i < faces_.size() && faces_[i].corners == corners; ++i)
        {
            owned |= faces_[i].own;
        }
        (owned == ALL_CORNERS ? agreed_ : refused_).push_back(corners);
    }
    faces_.clear();
    faces_.shrink_to_fit();
}

} // namespace veld
