#include "algorithmVeld/reconstruction/depth/InverseDepths.h"

#include "algorithmVeld/common/arrays/checked.h"

#include <Eigen/Core>

#include <algorithm>
#include <cmath>
#include <limits>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The first is about the start, which is level; those behind it are about the plane before.
constexpr int PLANE_ROUNDS = 3;
/// In tolerances: a plane that moves less than this anywhere in the window has settled. Its own
/// noise is as much.
constexpr float SETTLED = 0.1F;
/// Least determinant of the scatter of the pixels, of weight 1, for their plane to have a slope.
constexpr double LEAST_SCATTER = 1e-3;

/// Weighted sums of pixels of which a plane comes. Values are in tolerances, from the start on.
struct PlaneSums
{
    float w = 0.0F;
    float u = 0.0F;
    float v = 0.0F;
    float uu = 0.0F;
    float uv = 0.0F;
    float vv = 0.0F;
    float d = 0.0F;
    float ud = 0.0F;
    float vd = 0.0F;
};

struct LevelPlane
{
    float value = 0.0F;
    float by_u = 0.0F;
    float by_v = 0.0F;
};

/// By least squares; level where the pixels lie on a line.
LevelPlane level_plane_of(PlaneSums const& s)
{
    double const w = s.w;
    double const mu = s.u / w;
    double const mv = s.v / w;
    double const md = s.d / w;
    double const uu = s.uu / w - mu * mu;
    double const uv = s.uv / w - mu * mv;
    double const vv = s.vv / w - mv * mv;
    double const ud = s.ud / w - mu * md;
    double const vd = s.vd / w - mv * md;
    double const scatter = uu * vv - uv * uv;
    if (!(scatter > LEAST_SCATTER))
    {
        return {static_cast<float>(md), 0.0F, 0.0F};
    }
    double const by_u = (ud * vv - vd * uv) / scatter;
    double const by_v = (vd * uu - ud * uv) / scatter;
    return {static_cast<float>(md - by_u * mu - by_v * mv), static_cast<float>(by_u),
            static_cast<float>(by_v)};
}

/// How far a plane lies from another one, within so many pixels of the middle.
float largest_move(LevelPlane const& a, LevelPlane const& b, int radius)
{
    return std::abs(a.value - b.value) +
           static_cast<float>(radius) * (std::abs(a.by_u - b.by_u) + std::abs(a.by_v - b.by_v));
}

/// The pixels around a place.
struct PixelWindow
{
    int first_row;
    int last_row;
    int first_column;
    int last_column;
};

/// Four columns at a time: the sums have one order on every machine, and compilers make vectors of
/// them.
constexpr int N_LANES = 4;
using Lanes = Eigen::Array<float, N_LANES, 1>;

/// Sums over one row of pixels; a lane has every fourth of them.
struct RowSums
{
    Lanes w = Lanes::Zero();
    Lanes u = Lanes::Zero();
    Lanes uu = Lanes::Zero();
    Lanes d = Lanes::Zero();
    Lanes ud = Lanes::Zero();

    /// \param columns from the middle of the window \param values in tolerances, from the start on
    /// \param square of the distance from the plane
    void add(Lanes const& columns, Lanes const& values, Lanes const& square)
    {
        Lanes const inside = (Lanes::Ones() - square).max(Lanes::Zero());
        Lanes const weight = inside * inside;
        w += weight;
        u += weight * columns;
        uu += weight * columns * columns;
        d += weight * values;
        ud += weight * columns * values;
    }
};

float total(Lanes const& lanes)
{
    return (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
}

/// What a row of pixels is compared with.
struct RowPlane
{
    float start;
    float per_tolerance;
    float level; ///< in tolerances from the start, in the middle of the row
    float by_u;
};

/// The columns of a window, a few at a time.
struct WindowColumns
{
    Lanes first;  ///< from the middle of the window
    Lanes beyond; ///< 0, and for the last few infinity where they are beyond the window
    int n;

    WindowColumns(float from, int count) : first(0.0F, 1.0F, 2.0F, 3.0F), n(count)
    {
        auto const last = static_cast<float>((count - 1) % N_LANES);
        beyond = (first <= last).select(Lanes::Zero(), std::numeric_limits<float>::infinity());
        first += from;
    }
};

RowSums sum_row(float const* values, WindowColumns const& window, RowPlane const& plane)
{
    RowSums sum;
    Lanes columns = window.first;
    for (int c = 0; c < window.n; c += N_LANES)
    {
        Lanes const d = (Eigen::Map<Lanes const>(values + c) - plane.start) * plane.per_tolerance;
        Lanes const off = d - plane.level - plane.by_u * columns;
        Lanes square = off * off;
        if (c + N_LANES > window.n)
        {
            // So far from the plane it counts nothing.
            square += window.beyond;
        }
        sum.add(columns, d, square);
        columns += static_cast<float>(N_LANES);
    }
    return sum;
}

/// Sums over all rows, lane by lane, so that lanes are added up once.
struct WindowSums
{
    RowSums rows;
    Lanes v = Lanes::Zero();
    Lanes uv = Lanes::Zero();
    Lanes vv = Lanes::Zero();
    Lanes vd = Lanes::Zero();

    void add(RowSums const& row, float down)
    {
        rows.w += row.w;
        rows.u += row.u;
        rows.uu += row.uu;
        rows.d += row.d;
        rows.ud += row.ud;
        Lanes const weight = row.w * down;
        v += weight;
        vv += weight * down;
        uv += row.u * down;
        vd += row.d * down;
    }

    PlaneSums totals() const
    {
        return {total(rows.w), total(rows.u), total(v),       total(rows.uu), total(uv),
                total(vv),     total(rows.d), total(rows.ud), total(vd)};
    }
};

PlaneSums sum_window(InverseDepths const& image, PixelWindow const& window, double row,
                     double column, float start, float per_tolerance, LevelPlane const& plane)
{
    WindowSums sums;
    WindowColumns const columns(static_cast<float>(window.first_column) -
                                    static_cast<float>(column),
                                window.last_column - window.first_column + 1);
    for (int r = window.first_row; r <= window.last_row; ++r)
    {
        auto const v = static_cast<float>(r - row);
        sums.add(sum_row(image.value.data() + image.index(r, window.first_column), columns,
                         {start, per_tolerance, plane.value + plane.by_v * v, plane.by_u}),
                 v);
    }
    return sums.totals();
}

} // namespace

InverseDepths inverse_depths(RangeData const& frame)
{
    InverseDepths image;
    image.rows = frame.grid_rows;
    image.columns = frame.grid_cols;
    std::size_t const n =
        static_cast<std::size_t>(image.rows) * static_cast<std::size_t>(image.columns);
    // Four columns are read at a time, also where a row ends.
    image.value.assign(n + N_LANES, 0.0F);
    image.vertex.assign(n, -1);
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        auto const [row, col] = at(frame.vUV, i);
        float const depth = std::abs(frame.vCoord[i].z());
        if (row >= 0 && row < image.rows && col >= 0 && col < image.columns &&
            depth >= std::numeric_limits<float>::min()) // Below, the inverse is infinite.
        {
            image.value[image.index(row, col)] = 1.0F / depth;
            image.vertex[image.index(row, col)] = static_cast<int>(i);
        }
    }
    return image;
}

InversePlane fit_inverse_plane(InverseDepths const& image, double row, double column, int radius,
                               double start, double tolerance)
{
    PixelWindow const window{
        std::max(0, static_cast<int>(std::ceil(row - radius))),
        std::min(image.rows - 1, static_cast<int>(std::floor(row + radius))),
        std::max(0, static_cast<int>(std::ceil(column - radius))),
        std::min(image.columns - 1, static_cast<int>(std::floor(column + radius)))};
    auto const from = static_cast<float>(start);
    auto const per_tolerance = static_cast<float>(1.0 / tolerance);
    LevelPlane plane;
    PlaneSums sums;
    for (int round = 0; round < PLANE_ROUNDS; ++round)
    {
        sums = sum_window(image, window, row, column, from, per_tolerance, plane);
        if (!(sums.w > 0.0F))
        {
            return {};
        }
        LevelPlane const before = plane;
        plane = level_plane_of(sums);
        if (largest_move(before, plane, radius) < SETTLED)
        {
            break;
        }
    }
    int const pixels =
        (window.last_row - window.first_row + 1) * (window.last_column - window.first_column + 1);
    return {start + tolerance * static_cast<double>(plane.value),
            tolerance * static_cast<double>(plane.by_v),
            tolerance * static_cast<double>(plane.by_u), static_cast<double>(sums.w) / pixels};
}

} // namespace OrvaneAlgorithm::detail
