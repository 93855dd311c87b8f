#include "workflow/Error.h"
#include "workflow/Stopwatch.h"
#include "workflow/files/Checksum.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/OutputFile.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/steps/FrameNoise.h"
#include "workflow/steps/MergeStages.h"
#include "workflow/steps/StepJson.h"
#include "workflow/tiling/TileFolder.h"
#include "workflow/words.h"

#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/reconstruction/DepthFrames.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::DepthFrames;
using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// Side of the cells by which samples are counted, in spacings of the first frame that has one.
constexpr double CELL_SPACINGS = 16.0;
/// More of them are put together: what is counted stays small whatever the spacing.
constexpr std::size_t MOST_CELLS = std::size_t{1} << 20;
/// What a point needs to see around it to be taken or left as in the whole: the band in which a
/// frame's border counts less.
constexpr double LEAST_MARGIN = 8.0;
constexpr double LARGEST_MARGIN = 1e6;
/// As of frames that are merged as a whole.
constexpr double NOISY = 0.5;

void refuse_wrong(TileSettings const& tiling, MergeSettings const& settings)
{
    if (tiling.tile_points < 1)
    {
        throw InputError("a tile has to have at least 1 sample", "tile_points");
    }
    if (!(tiling.margin >= LEAST_MARGIN && tiling.margin <= LARGEST_MARGIN))
    {
        throw InputError(fmt::format("the margin of tiles has to be {:.0f} to {:.0f} spacings",
                                     LEAST_MARGIN, LARGEST_MARGIN),
                         "margin");
    }
    if (settings.method != MergeMethod::STITCH)
    {
        throw InputError("tiles are stitched: outliers are found one after the other, through the "
                         "whole scan",
                         "method");
    }
    if (settings.preparation == Preparation::ALWAYS)
    {
        throw InputError("noise is not taken out in tiles", "preparation");
    }
}

/// Calls `take(i, point)` with each sample of a frame and its place in global coordinates. Points
/// without a cell of their own are none.
template <typename Take>
void for_each_sample(RangeData const& frame, Take const& take)
{
    OrvaneAlgorithm::detail::GridMap const map(frame);
    OrvaneAlgorithm::detail::CancelPoll poll;
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        poll.next();
        auto const [row, col] = frame.vUV[i];
        if (map(row, col) == static_cast<int>(i))
        {
            Vector3f point;
            frame.get_global_vCoord(i, point);
            take(i, point);
        }
    }
}

/// What the first look at all frames tells.
class Survey
{
public:
    explicit Survey(MergeSettings const& settings)
        : given_spacing_(settings.spacing), given_noise_(settings.noise)
    {
    }

    void add(NamedFrame const& frame)
    {
        RangeData const& data = frame.data;
        double const spacing = FrameOverlap::measure_point_spacing({&data});
        if (spacing > 0.0)
        {
            spacings_.push_back(spacing);
        }
        count(data);
        has_colours = has_colours || data.has_vColor;
        has_photos = has_photos || frame.photo != nullptr;
        are_cameras_ = are_cameras_ && DepthFrames::is_camera_frame(data);
        if (are_cameras_)
        {
            noise_.push_back(noise_of({&data}, given_noise_).in_the_middle());
        }
        ++frames;
    }

    double spacing() const { return given_spacing_ > 0.0 ? given_spacing_ : measured_spacing(); }

    double measured_spacing() const { return OrvaneAlgorithm::detail::median(spacings_); }

    /// Whether the noise of the frames would be taken out in a whole.
    bool is_noisy(MergeSettings const& settings) const
    {
        return settings.preparation == Preparation::AUTO && settings.layers == Layers::MEAN &&
               are_cameras_ && OrvaneAlgorithm::detail::median(noise_) > NOISY * measured_spacing();
    }

    double side = 0.0; ///< of the cells
    CellCounts counts;
    std::size_t points = 0;
    std::size_t frames = 0;
    bool has_colours = false;
    bool has_photos = false;

private:
    void count(RangeData const& data)
    {
        if (side == 0.0)
        {
            double const measured = spacing();
            side = CELL_SPACINGS * (measured > 0.0 ? measured : 1.0);
        }
        // Most samples are in the cell of the one before.
        auto last = counts.end();
        for_each_sample(data,
                        [&](std::size_t /*i*/, Vector3f const& point)
                        {
                            auto const cell = cell_of(point, side);
                            if (last == counts.end() || last->first != cell)
                            {
                                last = counts.emplace(cell, 0).first;
                            }
                            ++last->second;
                            ++points;
                        });
        while (counts.size() > MOST_CELLS)
        {
            counts = in_larger_cells(counts);
            side *= 2.0;
        }
    }

    double given_spacing_;
    double given_noise_;
    std::vector<double> spacings_;
    std::vector<double> noise_; ///< of each frame
    bool are_cameras_ = true;
};

/// A checksum of all that a plan follows from. Files are known by name, length and time: to read
/// them takes as long as the plan.
std::string checksum_of_inputs(fs::path const& source, LoadFramesSettings const& load,
                               MergeSettings const& settings, TileSettings const& tiling)
{
    Checksum sum;
    for (auto const& file : frame_source_files(source))
    {
        std::error_code error;
        sum.add(fs::weakly_canonical(file, error).string());
        auto const size = fs::file_size(file, error);
        auto const time = fs::last_write_time(file, error);
        sum.add(error ? std::string("missing")
                      : fmt::format("{} {}", size, time.time_since_epoch().count()));
    }
    sum.add(to_json(load).dump());
    sum.add(to_json(settings).dump());
    sum.add(fmt::format("{} {}", tiling.tile_points, tiling.margin));
    return sum.text();
}

/// Cuts frames into the pieces that tiles see.
class PieceCutter
{
public:
    PieceCutter(TileFolder const& folder, TileRecord& record) : folder_(folder), record_(record)
    {
        Outputs outputs;
        for (std::size_t t = 0; t < record.boxes.size(); ++t)
        {
            outputs.make_directory(folder.tile(t));
        }
        outputs.commit();
    }

    void cut(RangeData const& frame)
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
            auto const box = box_of(points);
            double const margin = record_.plan.tiling.margin * record_.plan.settings.spacing;
            for (std::size_t t = 0; t < record_.boxes.size(); ++t)
            {
                if (is_near(record_.boxes[t], box.first, box.second, record_.side, margin))
                {
                    cut_for(t, frame, samples, points);
                }
            }
        }
        ++number_;
    }

private:
    static std::pair<Vector3f, Vector3f> box_of(std::vector<Vector3f> const& points)
    {
        std::pair<Vector3f, Vector3f> box(points[0], points[0]);
        for (auto const& point : points)
        {
            box.first = box.first.cwiseMin(point);
            box.second = box.second.cwiseMax(point);
        }
        return box;
    }

    void cut_for(std::size_t tile, RangeData const& frame, std::vector<std::size_t> const& samples,
                 std::vector<Vector3f> const& points)
    {
        TileBox const& box = record_.boxes[tile];
        double const margin = record_.plan.tiling.margin * record_.plan.settings.spacing;
        std::vector<std::size_t> seen;
        std::vector<unsigned char> own;
        for (std::size_t k = 0; k < samples.size(); ++k)
        {
            if (is_near(box, points[k], points[k], record_.side, margin))
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

    /// The part of a frame that a tile sees, with a flag on what is the tile's own.
    static RangeData piece_of(RangeData const& frame, std::vector<std::size_t> const& seen,
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

    TileFolder const& folder_;
    TileRecord& record_;
    int number_ = 0;
};

/// The frames that a merge of tiles cannot take, what it leaves out, and what looks like a slip.
void judge(Survey const& survey, MergeSettings const& settings, std::string const& source,
           Context const& context)
{
    std::string const doubt = doubt_of_spacing(settings.spacing, survey.measured_spacing());
    if (!doubt.empty() && context.warn)
    {
        context.warn({WarningCode::UNITS_UNLIKELY, source, doubt, {}});
    }
    if (survey.is_noisy(settings))
    {
        throw InputError(source + ": a merge takes the noise of these frames out first, and tiles "
                                  "are merged without that; 'never' merges them as they are",
                         "preparation");
    }
    if (survey.has_photos && context.warn)
    {
        context.warn({WarningCode::VALUES_DROPPED,
                      source,
                      "photographs beside the frames give no colours to a mesh of tiles",
                      {}});
    }
}

/// Makes the folder of a file that is written later, or says why it cannot be.
void make_folder_for(fs::path const& file)
{
    Outputs outputs;
    outputs.make_directory(file.parent_path());
    outputs.check({file}, {});
    outputs.commit();
}

TileRecord divide(fs::path const& source, LoadFramesSettings const& load,
                  MergeSettings const& settings, TileSettings const& tiling,
                  TileFolder const& folder, Context& context)
{
    TileRecord record;
    Survey survey(settings);
    Context first = share_of(context, 0.0, 0.4);
    record.plan.left_out = visit_frames(
        source, load, [&](NamedFrame&& frame) { survey.add(frame); }, first);
    judge(survey, settings, shown(source), context);
    record.plan.settings = settings;
    record.plan.settings.spacing = survey.spacing();
    record.plan.settings = complete(record.plan.settings, {}, false, shown(source));
    record.plan.tiling = tiling;
    record.plan.points = survey.points;
    record.plan.frames = survey.frames;
    record.has_colours = survey.has_colours;
    record.side = survey.side;
    record.boxes = divide_space(survey.counts, tiling.tile_points);
    record.plan.tiles.resize(record.boxes.size());
    PieceCutter cutter(folder, record);
    Context second = share_of(context, 0.4, 1.0);
    second.warn = nullptr; // what was wrong with the frames was told
    visit_frames(
        source, load, [&](NamedFrame&& frame) { cutter.cut(frame.data); }, second);
    return record;
}

} // namespace

TilePlan plan_tiles(fs::path const& source, LoadFramesSettings const& load,
                    MergeSettings const& settings, TileSettings const& tiling,
                    fs::path const& folder, Context& context)
{
    refuse_wrong(tiling, settings);
    Stopwatch const watch;
    TileFolder const files(folder);
    std::string const inputs = checksum_of_inputs(source, load, settings, tiling);
    if (is_plain_file(files.plan_file()))
    {
        TileRecord record = files.read_plan();
        if (record.inputs != inputs)
        {
            throw InputError(shown(folder) + ": holds the tiles of other files or settings; an "
                                             "empty directory is needed for these");
        }
        record.plan.found = true;
        return record.plan;
    }
    make_folder_for(files.plan_file());
    TileRecord record = divide(source, load, settings, tiling, files, context);
    record.inputs = inputs;
    record.plan.seconds = watch.seconds();
    files.write_plan(record);
    return record.plan;
}

TilePlan read_tile_plan(fs::path const& folder)
{
    return TileFolder(folder).read_plan().plan;
}

} // namespace veld
