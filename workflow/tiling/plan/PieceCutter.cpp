#include "workflow/tiling/plan/PieceCutter.h"

#include "workflow/frames/FrameFiles.h"
#include "workflow/tiling/plan/FrameSamples.h"

#include <algorithm>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::Vector3f;

namespace
{

std::pair<Vector3f, Vector3f> box_of(std::vector<Vector3f> const& points)
{
    std::pair<Vector3f, Vector3f> box(points[0], points[0]);
    for (auto const& point : points)
    {
        box.first = box.first.cwiseMin(point);
        box.second = box.second.cwiseMax(point);
    }
    return box;
}

/// The part of a frame that a tile sees, with a flag on what is the tile's own.
RangeData piece_of(RangeData const& frame, std::vector<std::size_t> const& seen,
                   std::vector<unsigned char> own)
{
    RangeData piece = frame;
    piece.disable_vFlag();
    piece.enable_vFlag();
    std::fill(piece.vFlag.begin(), piece.vFlag.end(), static_cast<unsigned char>(1));
    for (std::size_t const i : seen)
    {
        piece.vFlag[i] = 0;
    }
    piece.squeeze();
    piece.disable_vFlag();
    piece.has_vFlag = true;
    piece.vFlag = std::move(own);
    return piece;
}

} // namespace

PieceCutter::PieceCutter(TileFolder const& folder, TileRecord& record, Outputs& outputs)
    : folder_(folder), record_(record)
{
    for (std::size_t t = 0; t < record.boxes.size(); ++t)
    {
        outputs.make_directory(folder.tile(t));
    }
}

void PieceCutter::cut(RangeData const& frame)
{
    std::vector<std::size_t> samples;
    std::vector<Vector3f> points;
    for_each_sample(frame,
                    [&](std::size_t i, Vector3f const& point)
                    {
                        samples.push_back(i);
                        points.push_back(point);
                    });
    if (!points.empty())
    {
        auto const [low, high] = box_of(points);
        for (std::size_t t = 0; t < record_.boxes.size(); ++t)
        {
            if (is_near(record_.boxes[t], low, high, record_.side, margin()))
            {
                cut_for(t, frame, samples, points);
            }
        }
    }
    ++number_;
}

double PieceCutter::margin() const
{
    return record_.plan.tiling.margin * record_.plan.settings.spacing;
}

void PieceCutter::cut_for(std::size_t tile, RangeData const& frame,
                          std::vector<std::size_t> const& samples,
                          std::vector<Vector3f> const& points)
{
    TileBox const& box = record_.boxes[tile];
    std::vector<std::size_t> seen;
    std::vector<unsigned char> own;
    for (std::size_t k = 0; k < samples.size(); ++k)
    {
        if (is_near(box, points[k], points[k], record_.side, margin()))
        {
            seen.push_back(samples[k]);
            own.push_back(box.has(cell_of(points[k], record_.side)) ? 1 : 0);
        }
    }
    if (seen.empty())
    {
        return;
    }
    PlannedTile& planned = record_.plan.tiles[tile];
    auto const n_own = static_cast<std::size_t>(std::count(own.begin(), own.end(), 1));
    planned.points += n_own;
    planned.margin += own.size() - n_own;
    planned.frames.push_back(number_);
    write_frame(folder_.piece_file(tile, number_), piece_of(frame, seen, std::move(own)));
}

} // namespace veld
