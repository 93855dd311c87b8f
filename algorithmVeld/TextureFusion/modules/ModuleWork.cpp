#include "algorithmVeld/TextureFusion/modules/ModuleWork.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

void ModuleWork::set_images(std::vector<Image<3, unsigned char>> const& photos)
{
    images.clear();
    images.resize(photos.size());
    for (std::size_t i = 0; i < photos.size(); ++i)
    {
        images[i].id = static_cast<int>(i);
        images[i].image = photos[i];
    }
}

} // namespace OrvaneAlgorithm::detail
