#include "demo/PhotoFiles.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/files/Json.h"
#include "workflow/words.h"

#include "algorithmVeld/common/image_io.h"

namespace veld::cli
{

namespace
{

Json view_json(PhotoView const& view)
{
    Json rotation = Json::array();
    for (int row = 0; row < 3; ++row)
    {
        auto const r = view.pose.get_rotation().row(row);
        rotation.push_back({r.x(), r.y(), r.z()});
    }
    auto const& t = view.pose.get_translation();
    return {{"image", view.image},
            {"width", view.width},
            {"height", view.height},
            {"fx", view.intrinsics.get_fx()},
            {"fy", view.intrinsics.get_fy()},
            {"cx", view.intrinsics.get_cx()},
            {"cy", view.intrinsics.get_cy()},
            {"R", rotation},
            {"t", {t.x(), t.y(), t.z()}}};
}

} // namespace

std::vector<std::string> PhotoFiles::all() const
{
    std::vector<std::string> files{cameras()};
    for (std::size_t i = 0; i < photos_; ++i)
    {
        files.push_back(file(VirtualCamera::photo_name(i)));
    }
    return files;
}

std::string PhotoFiles::save(std::vector<TakenPhoto> const& photos, Outputs& outputs) const
{
    StagingDirectory const& staging = outputs.make_staging(directory_);
    OutputFile const& list = outputs.add_staged(cameras(), staging);
    Json views = Json::array();
    std::vector<OutputFile const*> files;
    for (auto const& [view, photo] : photos)
    {
        views.push_back(view_json(view));
        files.push_back(&outputs.add_staged(file(view.image), staging));
    }
    write_text_file(list, Json{{"views", views}}.dump(2) + "\n");
    for_each_index(photos.size(),
                   [&](std::size_t i)
                   {
                       if (OrvaneAlgorithm::write_rgb_image(files[i]->temporary().string(),
                                                            photos[i].photo) != 0)
                       {
                           throw OperationError(shown(files[i]->path()) + ": cannot be written");
                       }
                   });
    return list.temporary().string();
}

} // namespace veld::cli
