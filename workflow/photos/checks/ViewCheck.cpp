#include "workflow/photos/checks/ViewCheck.h"

#include "workflow/Error.h"
#include "workflow/photos/checks/PoseGuesses.h"
#include "workflow/photos/checks/Sight.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace veld
{

namespace
{

/// So many places tell where a surface is, fewer where there are many photographs.
constexpr std::size_t MOST_SAMPLES = 20'000;
constexpr std::size_t FEWEST_SAMPLES = 1000;
constexpr std::size_t MOST_LOOKS = 2'000'000;
/// An object that is smaller than this part of every photograph was not what they were taken of.
constexpr double SMALLEST_PART = 0.02;
/// Other poses that are so much better are worth a word, or are the right ones.
constexpr double BETTER = 2.5;
constexpr double FAR_BETTER = 10.0;

/// Whether most of the places are in view, at a size that photographs are taken at.
bool fits(Sight const& sight, std::size_t n)
{
    return 2 * sight.in_view > n && sight.largest_part > SMALLEST_PART;
}

struct BestGuess
{
    PoseGuess guess;
    double worth = 0.0;
};

/// The best of all guesses that fit; of worth 0 if none does.
BestGuess find_guess(std::vector<SampledPlace> const& places, std::vector<PhotoView> const& views,
                     std::vector<Photo> const& photos, double pose_scale)
{
    BestGuess best;
    for (auto& guess : pose_guesses(pose_scale))
    {
        auto meant = views;
        for (auto& view : meant)
        {
            view.pose = guess.meant(view.pose);
        }
        Sight const sight = look_at_places(places, meant, photos);
        if (fits(sight, places.size()) && sight.worth() > best.worth)
        {
            best = {std::move(guess), sight.worth()};
        }
    }
    return best;
}

[[noreturn]] void refuse_views(BestGuess const& best, std::string const& source)
{
    std::string const reason = source + ": no vertex of the mesh is in view of any photograph; ";
    if (best.worth > 0.0)
    {
        throw InputError(reason + "they are where " + best.guess.remedy, best.guess.setting);
    }
    throw InputError(reason + "the poses have to lead from the world to the camera, whose z looks "
                              "forward, and to have the mesh's unit");
}

std::vector<SampledPlace> sample(MeshTriangles const& faces, std::size_t n_views)
{
    return choose_places(faces, std::clamp(MOST_LOOKS / std::max<std::size_t>(n_views, 1),
                                           FEWEST_SAMPLES, MOST_SAMPLES));
}

double share(std::size_t part, std::size_t all)
{
    return static_cast<double>(part) / static_cast<double>(all);
}

} // namespace

SightReport check_sight(MeshTriangles const& faces, std::vector<PhotoView> const& views,
                        std::vector<Photo> const& photos, double pose_scale,
                        std::string const& source)
{
    auto const places = sample(faces, views.size());
    if (places.empty())
    {
        throw InputError("no face of the mesh has an area");
    }
    Sight const sight = look_at_places(places, views, photos);
    SightReport report;
    report.facing = share(sight.facing, places.size());
    BestGuess const best = find_guess(places, views, photos, pose_scale);
    if (sight.in_view == 0 &&
        look_at_places(choose_places(faces, faces.points.size()), views, photos).in_view == 0)
    {
        refuse_views(best, source);
    }
    if (best.worth > BETTER * sight.worth())
    {
        report.doubt = fmt::format("{} of the mesh is in view, and takes {} of a photograph at "
                                   "most; it fits better where {}",
                                   percent(share(sight.in_view, places.size())),
                                   percent(sight.largest_part), best.guess.remedy);
        report.setting = best.guess.setting;
        // A wrong unit may be the right one of a small object, unless nothing can be seen of it.
        bool const is_certain = best.guess.setting.empty() || sight.largest_part < SMALLEST_PART;
        if (is_certain && best.worth > FAR_BETTER * sight.worth())
        {
            throw InputError(source + ": " + report.doubt, report.setting);
        }
    }
    return report;
}

double likely_pose_scale(MeshTriangles const& faces, std::vector<PhotoView> const& views,
                         std::vector<Photo> const& photos)
{
    auto const places = sample(faces, views.size());
    if (places.empty())
    {
        return 1.0;
    }
    BestGuess const best = find_guess(places, views, photos, 1.0);
    return best.worth > BETTER * look_at_places(places, views, photos).worth() ? best.guess.factor
                                                                               : 1.0;
}

} // namespace veld
