#include "workflow/steps/LoadPhotos.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/StepScope.h"
#include "workflow/files/ImageHeader.h"
#include "workflow/files/InputFile.h"
#include "workflow/words.h"

#include "algorithmVeld/common/image_io.h"

#include <fmt/format.h>

#include <algorithm>

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
        throw InputError(name + ": " +
                         (code == 1 ? "is neither JPEG nor PNG" : why_no_image(view.file)));
    }
    if (photo.width() != view.width || photo.height() != view.height)
    {
        throw InputError(fmt::format("{}: has {} x {} pixels, and view {} says {} x {}", name,
                                     photo.width(), photo.height(), number, view.width,
                                     view.height));
    }
    return photo;
}

/// One photograph cannot have been taken from several places.
void warn_of_repetition(PhotoSet const& set, StepScope& scope)
{
    auto const& views = set.views;
    if (views.size() > 1 &&
        std::all_of(views.begin(), views.end(),
                    [&](PhotoView const& view) { return view.file == views.front().file; }))
    {
        scope.warn(WarningCode::PHOTOS_REPEATED, set.source,
                   fmt::format("all {} name one photograph, {}", counted(views.size(), "view"),
                               shown(views.front().file)));
    }
}

} // namespace

PhotoSet load_photos(std::filesystem::path const& source, Context& context)
{
    StepScope scope(context, "load-photographs", "load the photographs");
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
    warn_of_repetition(set, scope);
    return set;
}

} // namespace veld
