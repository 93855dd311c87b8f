#include "workflow/Error.h"
#include "workflow/Stopwatch.h"
#include "workflow/files/Checksum.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/OutputFile.h"
#include "workflow/steps/MergeStages.h"
#include "workflow/steps/StepJson.h"
#include "workflow/tiling/files/TileFolder.h"
#include "workflow/tiling/plan/PieceCutter.h"
#include "workflow/tiling/plan/Survey.h"
#include "workflow/words.h"

#include <fmt/format.h>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

void refuse_wrong(TileSettings const& tiling, MergeSettings const& settings)
{
    if (tiling.tile_points < LEAST_TILE_POINTS)
    {
        throw InputError("a tile has to have at least 1 sample", "tile_points");
    }
    if (!(tiling.margin >= LEAST_TILE_MARGIN && tiling.margin <= LARGEST_TILE_MARGIN))
    {
        throw InputError(fmt::format("the margin of tiles has to be {:.0f} to {:.0f} spacings",
                                     LEAST_TILE_MARGIN, LARGEST_TILE_MARGIN),
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

/// The files of a scan by the names that they have from everywhere.
std::vector<fs::path> source_files(fs::path const& source)
{
    std::vector<fs::path> files;
    for (auto const& file : frame_source_files(source))
    {
        std::error_code error;
        fs::path const whole = fs::weakly_canonical(file, error);
        files.push_back(error ? fs::absolute(file) : whole);
    }
    return files;
}

/// A checksum of all that a plan follows from. Files are known by name, length and time: to read
/// them takes as long as the plan.
std::string checksum_of_inputs(std::vector<fs::path> const& sources, LoadFramesSettings const& load,
                               MergeSettings const& settings, TileSettings const& tiling)
{
    Checksum sum;
    sum.add(tile_maker());
    for (auto const& file : sources)
    {
        std::error_code error;
        sum.add(file.string());
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

TileRecord divide(fs::path const& source, LoadFramesSettings const& load,
                  MergeSettings const& settings, TileSettings const& tiling,
                  TileFolder const& folder, Outputs& outputs, Context& context)
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
    PieceCutter cutter(folder, record, outputs);
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
    auto const sources = source_files(source);
    std::string const inputs = checksum_of_inputs(sources, load, settings, tiling);
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
    // What is refused leaves no folder behind.
    Outputs outputs;
    outputs.make_directory(folder);
    outputs.check({files.plan_file()}, {});
    TileRecord record = divide(source, load, settings, tiling, files, outputs, context);
    record.inputs = inputs;
    record.sources = sources;
    record.plan.seconds = watch.seconds();
    files.remove_files_of_others(record);
    files.write_plan(record);
    outputs.commit();
    return record.plan;
}

TilePlan read_tile_plan(fs::path const& folder)
{
    return TileFolder(folder).read_plan().plan;
}

} // namespace veld
