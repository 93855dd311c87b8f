#include "workflow/photos/ViewCheck.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>

namespace veld
{

using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::Vector3d;
using Photo = OrvaneAlgorithm::Image<3, unsigned char>;

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

/// How much photographs agree where nothing tells, and at least: a wrong guess may do so by chance.
constexpr double UNKNOWN_AGREEMENT = 0.3;
constexpr double LEAST_AGREEMENT = 0.1;
constexpr std::size_t LEAST_SHARED = 30; // places; fewer may be chance
constexpr double LEAST_VARIANCE = 25.0;  // of a channel; a plain surface looks alike from anywhere

/// How photographs see places.
struct Sight
{
    std::size_t in_view = 0;   ///< Places that are in view of a photograph.
    std::size_t facing = 0;    ///< Those that look towards its camera too.
    double largest_part = 0.0; ///< Of the width or height of a photograph, that they take.
    double mean_part = 0.0;
    double agreement = UNKNOWN_AGREEMENT; ///< Of the colours that photographs show at one place.

    /// How well the poses fit: a surface that is photographed shows its front, fills the
    /// photographs, most of it is in one or another, and they show the same there.
    double worth() const { return static_cast<double>(facing) * mean_part * agreement; }
};

enum Look : unsigned char
{
    OUTSIDE = 0,
    IN_VIEW = 1,
    FACING = 2
};

/// What one photograph shows of places.
struct PhotoLooks
{
    std::vector<unsigned char> looks;         ///< Of each place.
    std::vector<unsigned char const*> pixels; ///< Of each place that faces the camera.
    double part = 0.0;                        ///< Of its width or height, that they take.
};

PhotoLooks look(std::vector<SampledPlace> const& places, PhotoView const& view, Photo const& photo)
{
    PlacedCamera const camera(view);
    Eigen::Vector2d const size(view.width, view.height);
    Eigen::Vector2d min = Eigen::Vector2d::Constant(std::numeric_limits<double>::infinity());
    Eigen::Vector2d max = -min;
    bool const has_pixels = photo.width() == view.width && photo.height() == view.height;
    PhotoLooks result;
    result.looks.assign(places.size(), OUTSIDE);
    result.pixels.assign(places.size(), nullptr);
    for (std::size_t i = 0; i < places.size(); ++i)
    {
        if (auto const at = camera.pixel_inside(places[i].point))
        {
            Eigen::Vector2d const pixel((*at)[0], (*at)[1]);
            min = min.cwiseMin(pixel);
            max = max.cwiseMax(pixel);
            result.looks[i] = camera.faces(places[i], 0.0) ? FACING : IN_VIEW;
            if (result.looks[i] == FACING && has_pixels)
            {
                result.pixels[i] = photo.pixel(static_cast<int>(std::lround(pixel.x())),
                                               static_cast<int>(std::lround(pixel.y())));
            }
        }
    }
    result.part = std::max(0.0, ((max - min).array() / size.array()).maxCoeff());
    return result;
}

/// 1 less the part of all differences of colours that lies between photographs of one place.
double find_agreement(std::vector<PhotoLooks> const& photos, std::size_t n_places)
{
    using Eigen::Array3d;
    Array3d sum = Array3d::Zero();
    Array3d squares = Array3d::Zero();
    Array3d within = Array3d::Zero();
    double n = 0.0;
    std::size_t n_shared = 0;
    for (std::size_t i = 0; i < n_places; ++i)
    {
        Array3d place_sum = Array3d::Zero();
        Array3d place_squares = Array3d::Zero();
        double k = 0.0;
        for (auto const& photo : photos)
        {
            if (auto const* const pixel = photo.pixels[i])
            {
                Array3d const colour(pixel[0], pixel[1], pixel[2]);
                place_sum += colour;
                place_squares += colour.square();
                k += 1.0;
            }
        }
        if (k > 1.0)
        {
            ++n_shared;
            n += k;
            sum += place_sum;
            squares += place_squares;
            within += place_squares - place_sum.square() / k;
        }
    }
    double const all = (squares - sum.square() / std::max(n, 1.0)).sum();
    if (n_shared < LEAST_SHARED || all < LEAST_VARIANCE * n)
    {
        return UNKNOWN_AGREEMENT;
    }
    double const freedom = (n - 1.0) / (n - static_cast<double>(n_shared));
    return std::clamp(1.0 - freedom * within.sum() / all, LEAST_AGREEMENT, 1.0);
}

Sight look(std::vector<SampledPlace> const& places, std::vector<PhotoView> const& views,
           std::vector<Photo> const& photos)
{
    std::vector<PhotoLooks> looks(views.size());
    for_each_index(views.size(),
                   [&](std::size_t i) { looks[i] = look(places, views[i], photos[i]); });
    Sight sight;
    for (std::size_t i = 0; i < places.size(); ++i)
    {
        unsigned char best = OUTSIDE;
        for (auto const& photo : looks)
        {
            best = std::max(best, photo.looks[i]);
        }
        sight.in_view += best != OUTSIDE ? 1 : 0;
        sight.facing += best == FACING ? 1 : 0;
    }
    for (auto const& photo : looks)
    {
        sight.largest_part = std::max(sight.largest_part, photo.part);
        sight.mean_part += photo.part / static_cast<double>(looks.size());
    }
    sight.agreement = find_agreement(looks, places.size());
    return sight;
}

/// Other poses that may have been meant.
struct Guess
{
    std::string remedy; ///< What makes the poses these, behind "where".
    std::string setting;
    double factor = 1.0; ///< Of the lengths.
    std::function<RigidMatrix(RigidMatrix const&)> meant;
};

RigidMatrix with_lengths(RigidMatrix pose, double factor)
{
    pose.set_translation(pose.get_translation() * factor);
    return pose;
}

/// A camera that looks along -z, with y up, as one that looks along z, with y down.
RigidMatrix with_other_axes(RigidMatrix pose)
{
    Matrix3d const turn = Vector3d(1.0, -1.0, -1.0).asDiagonal();
    pose.set_rotation(turn * pose.get_rotation());
    pose.set_translation(turn * pose.get_translation());
    return pose;
}

std::vector<Guess> all_guesses(double pose_scale)
{
    std::vector<Guess> guesses;
    for (double const unit : {1000.0, 100.0, 25.4, 10.0})
    {
        for (double const factor : {unit, 1.0 / unit})
        {
            guesses.push_back({fmt::format("the lengths of the poses are taken times {:.4g}: mesh "
                                           "and poses have different units, and pose_scale {:.6g} "
                                           "makes them one",
                                           factor, factor * pose_scale),
                               "pose_scale", factor, [factor](RigidMatrix const& pose) {
                                   return with_lengths(pose, factor);
                               }});
        }
    }
    guesses.push_back({"the poses are turned round: these have to lead from the world to the "
                       "camera",
                       "", 1.0, [](RigidMatrix const& pose) { return pose.inverse(); }});
    guesses.push_back({"the axes are those of OpenGL: negate the second and third row of R and of "
                       "t",
                       "", 1.0, with_other_axes});
    guesses.push_back({"the poses are turned round and the axes those of OpenGL: invert them to "
                       "lead from the world to the camera, then negate the second and third row of "
                       "R and of t",
                       "", 1.0,
                       [](RigidMatrix const& pose) { return with_other_axes(pose.inverse()); }});
    return guesses;
}

/// Whether most of the places are in view, at a size that photographs are taken at.
bool fits(Sight const& sight, std::size_t n)
{
    return 2 * sight.in_view > n && sight.largest_part > SMALLEST_PART;
}

struct BestGuess
{
    Guess guess;
    double worth = 0.0;
};

/// The best of all guesses that fit; of worth 0 if none does.
BestGuess find_guess(std::vector<SampledPlace> const& places, std::vector<PhotoView> const& views,
                     std::vector<Photo> const& photos, double pose_scale)
{
    BestGuess best;
    for (auto& guess : all_guesses(pose_scale))
    {
        auto meant = views;
        for (auto& view : meant)
        {
            view.pose = guess.meant(view.pose);
        }
        Sight const sight = look(places, meant, photos);
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
    Sight const sight = look(places, views, photos);
    SightReport report;
    report.facing = share(sight.facing, places.size());
    BestGuess const best = find_guess(places, views, photos, pose_scale);
    if (sight.in_view == 0 &&
        look(choose_places(faces, faces.points.size()), views, photos).in_view == 0)
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
    return best.worth > BETTER * look(places, views, photos).worth() ? best.guess.factor : 1.0;
}

} // namespace veld
