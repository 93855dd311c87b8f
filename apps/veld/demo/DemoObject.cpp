#include "demo/DemoObject.h"

#include "demo/GourdModel.h"
#include "demo/GourdSurface.h"
#include "demo/TriangleSoup.h"
#include "demo/angles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace veld::cli
{

namespace
{

constexpr double STICK_DIAMETER = 5.0;
constexpr double STICK_HEIGHT = 9.0;
constexpr double RING_ANGLE = 48.0; // of the cone below the object that the ring hides

std::array<Vector3d, 3> stick_places()
{
    return {direction(-12, 18), direction(28, -4), direction(2, -17)};
}

/// A round stick along z, from inside the gourd up, with a rounded rim and a slightly domed cap.
TriangleSoup make_stick(Vector3d const& foot)
{
    constexpr std::uint32_t SIDES = 64;
    constexpr int RIM_STEPS = 6;
    constexpr int CAP_RINGS = 8;
    constexpr std::uint32_t RIMS = 1 + RIM_STEPS + CAP_RINGS + 1;
    constexpr double ROOT = 8.0;     // below the foot
    constexpr double ROUNDING = 0.8; // radius of the rim
    constexpr double DOME = 0.3;     // the middle of the cap is so much higher than its edge
    constexpr double FLAT = 0.5 * STICK_DIAMETER - ROUNDING;
    TriangleSoup soup;
    auto const add_rim = [&](double radius, double height)
    {
        for (std::uint32_t i = 0; i < SIDES; ++i)
        {
            double const angle = 2.0 * PI * i / SIDES;
            soup.add(foot + Vector3d(radius * std::cos(angle), radius * std::sin(angle), height));
        }
    };
    add_rim(0.5 * STICK_DIAMETER, -ROOT);
    for (int step = 0; step < RIM_STEPS; ++step)
    {
        double const angle = 0.5 * PI * step / RIM_STEPS;
        add_rim(FLAT + ROUNDING * std::cos(angle),
                STICK_HEIGHT - DOME - ROUNDING * (1.0 - std::sin(angle)));
    }
    for (int ring = CAP_RINGS; ring >= 0; --ring)
    {
        double const part = static_cast<double>(ring) / CAP_RINGS;
        add_rim(FLAT * part, STICK_HEIGHT - DOME * part * part);
    }
    for (std::uint32_t lower = 0; lower < (RIMS - 1) * SIDES; lower += SIDES)
    {
        for (std::uint32_t i = 0; i < SIDES; ++i)
        {
            std::uint32_t const next = (i + 1) % SIDES;
            soup.triangles.push_back({lower + i, lower + next, lower + SIDES + next});
            soup.triangles.push_back({lower + i, lower + SIDES + next, lower + SIDES + i});
        }
    }
    return soup;
}

/// Fluff in the air, as a small egg.
TriangleSoup make_lint(Vector3d const& centre, double size)
{
    TriangleSoup soup = unit_sphere(3);
    for (auto& point : soup.points)
    {
        Vector3d const out = point.cast<double>();
        point = (centre + size * Vector3d(out.x(), 0.8 * out.y(), 0.9 * out.z())).cast<float>();
    }
    return soup;
}

void add_lint(TriangleSoup& soup)
{
    struct Lint
    {
        double azimuth, elevation, height, size;
    };
    for (auto const& lint :
         {Lint{-58, 48, 8.0, 2.4}, Lint{-47, 56, 11.0, 2.1}, Lint{62, 40, 7.0, 2.6},
          Lint{70, 30, 10.0, 2.0}, Lint{-75, -8, 9.0, 2.3}, Lint{150, 40, 8.0, 2.5}})
    {
        Vector3d const at = direction(lint.azimuth, lint.elevation);
        soup.append(make_lint(gourd_point(at) + at * lint.height, lint.size));
    }
}

/// A place of the gourd that a scanner sees nothing of.
struct DarkPatch
{
    Vector3d centre;
    double angle;  ///< Degrees from the middle of the object.
    double ragged; ///< How far the rim strays, in parts of the angle.
};

/// Of all sizes, from a few points to a fifth of the object's width.
std::vector<DarkPatch> const& dark_patches()
{
    static std::vector<DarkPatch> const patches{
        {direction(8, 8), 13.0, 0.25},     {direction(-32, -12), 6.5, 0.2},
        {direction(42, 28), 5.0, 0.3},     {direction(-40, 22), 3.5, 0.3},
        {direction(-10, 40), 2.5, 0.2},    {direction(52, -8), 2.2, 0.3},
        {direction(25, -20), 2.0, 0.0},    {direction(-20, 24), 1.8, 0.0},
        {direction(65, 12), 1.6, 0.0},     {direction(-60, 0), 1.4, 0.0},
        {direction(130, 20), 9.0, 0.3},    {direction(180, -5), 4.0, 0.2},
        {direction(-120, 35), 11.0, 0.35}, {direction(-100, -15), 2.0, 0.3},
        {direction(95, 50), 3.0, 0.2},     {direction(0, 82), 2.0, 0.2}};
    return patches;
}

bool in_patch(Vector3d const& at, DarkPatch const& patch)
{
    double const angle = angle_between(at, patch.centre);
    if (angle > patch.angle * (1.0 + patch.ragged))
    {
        return false;
    }
    Vector3d const side = at - patch.centre;
    double const wave = std::sin(60.0 / patch.angle * side.x() * 4.0 + patch.angle) *
                        std::cos(60.0 / patch.angle * (side.y() + side.z()) * 3.0);
    return angle < patch.angle * (1.0 + patch.ragged * wave);
}

/// A narrow shiny streak.
bool in_streak(Vector3d const& at)
{
    static Vector3d const start = direction(18, 55);
    static Vector3d const end = direction(55, 45);
    static Vector3d const across = start.cross(end).normalized();
    static Vector3d const middle = (start + end).normalized();
    double const off = degrees(std::abs(std::asin(at.dot(across))));
    return off < 2.2 && angle_between(at, middle) < angle_between(start, end) / 2.0;
}

bool is_unseen(Vector3d const& at)
{
    auto const& patches = dark_patches();
    return angle_between(at, -Vector3d::UnitY()) < RING_ANGLE || in_streak(at) ||
           std::any_of(patches.begin(), patches.end(),
                       [&at](DarkPatch const& patch) { return in_patch(at, patch); });
}

Markers place_markers()
{
    Markers markers;
    for (auto const& at :
         {direction(-25, 6), direction(33, 10), direction(-14, -21), direction(20, 36),
          direction(70, -18), direction(-80, 12), direction(150, 22), direction(-150, 5)})
    {
        markers.points.push_back(gourd_point(at).cast<float>());
        markers.normals.push_back(gourd_normal(at, 2.0 * DemoObject::MARKER_RADIUS).cast<float>());
    }
    return markers;
}

/// What the print of a marker, dark rings on white, adds to the height of the surface.
double print_height(double off_centre)
{
    return 0.45 + 0.25 * std::cos(off_centre / DemoObject::MARKER_RADIUS * 3.0 * PI);
}

} // namespace

DemoObject::DemoObject() : scene_(RayScene::of_triangles({}, {})), markers_(place_markers())
{
    TriangleSoup soup = make_gourd();
    gourd_triangles_ = static_cast<std::uint32_t>(soup.triangles.size());
    for (auto const& at : stick_places())
    {
        Vector3d const foot = gourd_point(at);
        soup.append(make_stick(foot));
        sticks_.points.push_back((foot + 0.5 * STICK_HEIGHT * Vector3d::UnitZ()).cast<float>());
        sticks_.sizes.emplace_back(static_cast<float>(STICK_DIAMETER),
                                   static_cast<float>(STICK_HEIGHT));
    }
    add_lint(soup);
    scene_ = RayScene::of_triangles(soup.points, soup.triangles);
}

std::optional<Vector3d> DemoObject::appearance(RayHit const& hit, Vector3d const& place) const
{
    if (hit.element >= gourd_triangles_)
    {
        return place;
    }
    if (is_unseen(place.normalized()))
    {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < markers_.points.size(); ++i)
    {
        double const off_centre = (place - markers_.points[i].cast<double>()).norm();
        if (off_centre < MARKER_RADIUS)
        {
            return place + markers_.normals[i].cast<double>() * print_height(off_centre);
        }
    }
    return place;
}

} // namespace veld::cli
