#include "workflow/steps/LoadPhotos.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/StepScope.h"
#include "workflow/files/ImageHeader.h"
#include "workflow/files/InputFile.h"
#include "workflow/photos/cameras/CameraLists.h"
#include "workflow/words.h"

#include "algorithmVeld/common/image_io.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace veld
{

namespace
{

void check_size(Photo const& photo, PhotoView const& view, std::string const& name,
                std::size_t number)
{
    if (photo.width() != view.width || photo.height() != view.height)
    {
        throw InputError(fmt::format("{}: has {} x {} pixels, and view {} says {} x {}", name,
                                     photo.width(), photo.height(), number, view.width,
                                     view.height));
    }
}

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
    check_size(photo, view, name, number);
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

PhotoSet prepare_photos(std::string const& name, std::vector<PhotoView> views,
                        std::vector<Photo> images, Context& context)
{
    StepScope const scope(context, "prepare-photographs", "check the photographs");
    if (views.empty() || views.size() != images.size())
    {
        throw InputError(fmt::format("{}: has {} for {}", name, counted(views.size(), "view"),
                                     counted(images.size(), "photograph")));
    }
    for (std::size_t i = 0; i < views.size(); ++i)
    {
        std::string const place = fmt::format("{}: view {} ({}): ", name, i, views[i].image);
        check_size(images[i], views[i], views[i].image, i);
        check_camera(views[i], place);
        if (!is_rotation(views[i].pose.get_rotation()))
        {
            throw InputError(place + "'R' is no rotation");
        }
    }
    PhotoSet set;
    set.source = name;
    set.views = std::move(views);
    set.images = std::move(images);
    return set;
}

} // namespace veld
