#include "workflow/steps/LoadPhotos.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/StepScope.h"
#include "workflow/files/InputFile.h"
#include "workflow/words.h"

#include "algorithmVeld/common/image_io.h"

#include <fmt/format.h>

namespace veld
{

namespace
{

Photo load_photo(PhotoView const& view, std::size_t number)
{
    std::string const name = shown(view.file);
    try
    {
        open_input(view.file); // to tell a missing file from one of another kind
    }
    catch (InputError const& error)
    {
        throw InputError(fmt::format("{}, the photograph of view {}", error.what(), number));
    }
    Photo photo;
    int const code = OrvaneAlgorithm::read_rgb_image(view.file.string(), photo);
    if (code != 0)
    {
        throw InputError(name + (code == 1 ? ": is neither JPEG nor PNG"
                                           : ": is damaged, or has no colours of a screen"));
    }
    if (photo.width() != view.width || photo.height() != view.height)
    {
        throw InputError(fmt::format("{}: has {} x {} pixels, and view {} says {} x {}", name,
                                     photo.width(), photo.height(), number, view.width,
                                     view.height));
    }
    return photo;
}

} // namespace

PhotoSet load_photos(std::filesystem::path const& source, Context& context)
{
    StepScope const scope(context, "load-photographs", "load the photographs");
    PhotoSet set;
    set.source = shown(source);
    set.files = camera_list_files(source);
    set.views = read_camera_list(source);
    for (auto const& view : set.views)
    {
        set.files.push_back(view.file);
    }
    set.images.resize(set.views.size());
    for_each_index(set.views.size(),
                   [&set](std::size_t i) { set.images[i] = load_photo(set.views[i], i); });
    return set;
}

} // namespace veld
