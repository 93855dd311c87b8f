#include "workflow/tiling/files/TileFolder.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonFields.h"
#include "workflow/files/OutputFile.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/steps/StepJson.h"
#include "workflow/words.h"

#include "algorithmVeld/common/files/TemporaryPlace.h"
#include "algorithmVeld/common/solver.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::Vector3f;

namespace
{

/// Largest number of which a double knows every one below.
constexpr double MOST = 9007199254740992.0;
constexpr int PLAN_VERSION = 1;
constexpr char const* THIN_FILE = "thin.json";
constexpr char const* MESH_FILE = "mesh.tile";
/// Of the numbers in names, at least.
constexpr std::size_t TILE_DIGITS = 5;
constexpr std::size_t FRAME_DIGITS = 6;

std::size_t read_count(JsonFields const& fields, std::string const& key, std::string const& place)
{
    double const value = fields.number(key);
    if (!(value >= 0.0 && value <= MOST && std::floor(value) == value))
    {
        throw InputError(fmt::format("{}'{}' has to be a number of things", place, key));
    }
    return static_cast<std::size_t>(value);
}

TileCell read_cell(JsonFields const& fields, std::string const& key, std::string const& place)
{
    auto const values = fields.numbers(key, 3);
    TileCell cell{};
    for (std::size_t a = 0; a < 3; ++a)
    {
        constexpr double FARTHEST = 2147483648.0;
        if (!(values[a] >= -FARTHEST && values[a] < FARTHEST))
        {
            throw InputError(fmt::format("{}'{}' has to be a cell", place, key));
        }
        cell[a] = static_cast<int>(values[a]);
    }
    return cell;
}

/// Numbers of frames, of which a plan has so many.
std::vector<int> read_frames(Json const& tile, std::size_t count, std::string const& place)
{
    auto const is_frame = [count](Json const& number)
    { return number.is_number_unsigned() && number.get<std::uint64_t>() < count; };
    auto const list = tile.find("frames");
    if (list == tile.end() || !list->is_array() ||
        !std::all_of(list->begin(), list->end(), is_frame))
    {
        throw InputError(place + "'frames' has to be a list of numbers of frames");
    }
    return list->get<std::vector<int>>();
}

void read_tiles(Json const& plan, std::string const& place, TileRecord& record)
{
    auto const tiles = plan.find("tiles");
    if (tiles == plan.end() || !tiles->is_array() || tiles->empty())
    {
        throw InputError(place + "'tiles' has to be a list of tiles");
    }
    for (auto const& tile : *tiles)
    {
        JsonFields const fields(tile, place);
        record.boxes.push_back({read_cell(fields, "low", place), read_cell(fields, "high", place)});
        record.plan.tiles.push_back({read_count(fields, "points", place),
                                     read_count(fields, "margin", place),
                                     read_frames(tile, record.plan.frames, place)});
    }
}

/// Names as UTF-8; what is none of it in a name is lost.
Json json_of(std::vector<fs::path> const& files)
{
    Json names = Json::array();
    for (auto const& file : files)
    {
        names.push_back(file.u8string());
    }
    return names;
}

std::vector<fs::path> read_sources(Json const& plan, std::string const& place)
{
    auto const names = plan.find("sources");
    if (names == plan.end() || !names->is_array() ||
        !std::all_of(names->begin(), names->end(),
                     [](Json const& name) { return name.is_string(); }))
    {
        throw InputError(place + "'sources' has to be a list of names of files");
    }
    std::vector<fs::path> files;
    for (auto const& name : *names)
    {
        files.push_back(fs::u8path(name.get<std::string>()));
    }
    return files;
}

void refuse_other_maker(JsonFields const& fields, std::string const& place)
{
    if (fields.text("made_by") != tile_maker())
    {
        throw InputError(place + "holds the tiles of another version of the library; an empty "
                                 "directory is needed for those of this one");
    }
}

Json json_of(TileRecord const& record)
{
    TilePlan const& plan = record.plan;
    Json tiles = Json::array();
    for (std::size_t t = 0; t < plan.tiles.size(); ++t)
    {
        tiles.push_back({{"low", record.boxes[t].low},
                         {"high", record.boxes[t].high},
                         {"points", plan.tiles[t].points},
                         {"margin", plan.tiles[t].margin},
                         {"frames", plan.tiles[t].frames}});
    }
    return {{"version", PLAN_VERSION},
            {"made_by", tile_maker()},
            {"inputs", record.inputs},
            {"sources", json_of(record.sources)},
            {"frames", plan.frames},
            {"left_out", plan.left_out},
            {"points", plan.points},
            {"colours", record.has_colours},
            {"side", record.side},
            {"tile_points", plan.tiling.tile_points},
            {"margin", plan.tiling.margin},
            {"seconds", plan.seconds},
            {"settings", to_json(plan.settings)},
            {"tiles", std::move(tiles)}};
}

Vector3f read_point(JsonFields const& fields, std::string const& key)
{
    auto const values = fields.numbers(key, 3);
    return Eigen::Map<Eigen::Vector3d const>(values.data()).cast<float>();
}

VertexBox read_box(JsonFields const& fields)
{
    VertexBox box;
    if (fields.has("low"))
    {
        box.add(read_point(fields, "low"), read_point(fields, "high"));
    }
    return box;
}

void put_box(VertexBox const& box, Json& json)
{
    if (box.has_any)
    {
        json["low"] = json_point(box.low);
        json["high"] = json_point(box.high);
    }
}

/// Names in a folder that others may change meanwhile.
std::vector<fs::path> entries_of(fs::path const& folder)
{
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
    {
        entries.push_back(entry->path());
    }
    return entries;
}

/// Whether a name is one of ours: a number of so many digits or more between two texts.
bool has_numbered_name(fs::path const& path, std::string const& before, std::string const& behind,
                       std::size_t digits)
{
    std::string const name = path.filename().string();
    std::size_t const fixed = before.size() + behind.size();
    return name.size() >= fixed + digits && name.compare(0, before.size(), before) == 0 &&
           name.compare(name.size() - behind.size(), behind.size(), behind) == 0 &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(before.size()),
                       name.end() - static_cast<std::ptrdiff_t>(behind.size()),
                       [](char c) { return c >= '0' && c <= '9'; });
}

bool is_tile_file(fs::path const& path)
{
    fs::path const name = path.filename();
    return name == THIN_FILE || name == MESH_FILE ||
           has_numbered_name(path, "piece-", ".rge", FRAME_DIGITS) ||
           has_numbered_name(path, "kept-", ".rge", FRAME_DIGITS);
}

/// All files that the tiles of a plan have in the end.
std::set<fs::path> files_of(TileFolder const& folder, TileRecord const& plan)
{
    std::set<fs::path> files;
    for (std::size_t t = 0; t < plan.plan.tiles.size(); ++t)
    {
        files.insert({folder.thin_file(t), folder.mesh_file(t)});
        for (int const frame : plan.plan.tiles[t].frames)
        {
            files.insert({folder.piece_file(t, frame), folder.kept_file(t, frame)});
        }
    }
    return files;
}

void write_json(fs::path const& path, Json const& json)
{
    OutputFile file(path);
    write_text_file(file, json.dump(1, ' ', false, Json::error_handler_t::replace) + '\n');
    file.commit();
}

} // namespace

void VertexBox::add(Vector3f const& from, Vector3f const& to)
{
    low = has_any ? Vector3f(low.cwiseMin(from)) : from;
    high = has_any ? Vector3f(high.cwiseMax(to)) : to;
    has_any = true;
}

std::string tile_maker()
{
    return fmt::format("{} {}", VELD_VERSION, OrvaneAlgorithm::solver_name());
}

void refuse_unknown_tile(TileRecord const& record, std::size_t tile)
{
    if (tile >= record.boxes.size())
    {
        throw InputError(fmt::format("there is no tile {}: the plan has {}", tile,
                                     counted(record.boxes.size(), "tile")));
    }
}

fs::path TileFolder::tile(std::size_t tile) const
{
    return folder_ / fmt::format("tile-{:0{}}", tile, TILE_DIGITS);
}

fs::path TileFolder::thin_file(std::size_t tile) const
{
    return this->tile(tile) / THIN_FILE;
}

fs::path TileFolder::mesh_file(std::size_t tile) const
{
    return this->tile(tile) / MESH_FILE;
}

fs::path TileFolder::piece_file(std::size_t tile, int frame) const
{
    return this->tile(tile) / fmt::format("piece-{:0{}}.rge", frame, FRAME_DIGITS);
}

fs::path TileFolder::kept_file(std::size_t tile, int frame) const
{
    return this->tile(tile) / fmt::format("kept-{:0{}}.rge", frame, FRAME_DIGITS);
}

TileRecord TileFolder::read_plan() const
{
    Json const json = read_json(plan_file());
    std::string const place = shown(plan_file()) + ": ";
    JsonFields const fields(json, place);
    fields.integer("version", PLAN_VERSION, PLAN_VERSION);
    refuse_other_maker(fields, place);
    TileRecord record;
    record.inputs = fields.text("inputs");
    record.sources = read_sources(json, place);
    record.side = fields.number("side");
    if (!(record.side > 0.0))
    {
        throw InputError(place + "'side' has to be above 0");
    }
    record.has_colours = fields.flag("colours", false);
    record.plan.frames = read_count(fields, "frames", place);
    record.plan.left_out = read_count(fields, "left_out", place);
    record.plan.points = read_count(fields, "points", place);
    record.plan.tiling.tile_points = read_count(fields, "tile_points", place);
    record.plan.tiling.margin = fields.number("margin");
    record.plan.seconds = fields.number("seconds");
    fields.object("settings");
    read_settings(json["settings"], place, record.plan.settings);
    read_tiles(json, place, record);
    return record;
}

void TileFolder::write_plan(TileRecord const& record) const
{
    write_json(plan_file(), json_of(record));
}

std::optional<VertexBox> TileFolder::find_box(TileRecord const& plan) const
{
    if (!is_plain_file(box_file()))
    {
        return {};
    }
    Json const json = read_json(box_file());
    JsonFields const fields(json, shown(box_file()) + ": ");
    return fields.text("plan") == plan.inputs ? std::optional(read_box(fields)) : std::nullopt;
}

void TileFolder::write_box(TileRecord const& plan, VertexBox const& box) const
{
    Json json{{"plan", plan.inputs}};
    put_box(box, json);
    write_json(box_file(), json);
}

std::optional<ThinRecord> TileFolder::find_thin(TileRecord const& plan, std::size_t tile) const
{
    if (!is_plain_file(thin_file(tile)))
    {
        return {};
    }
    Json const json = read_json(thin_file(tile));
    std::string const place = shown(thin_file(tile)) + ": ";
    JsonFields const fields(json, place);
    if (fields.text("plan") != plan.inputs || read_count(fields, "tile", place) != tile)
    {
        return {};
    }
    ThinRecord record;
    record.result.points = read_count(fields, "points", place);
    record.result.removed = read_count(fields, "removed", place);
    record.result.seconds = fields.number("seconds");
    record.box = read_box(fields);
    return record;
}

void TileFolder::write_thin(TileRecord const& plan, std::size_t tile,
                            ThinRecord const& record) const
{
    Json json{{"plan", plan.inputs},
              {"tile", tile},
              {"points", record.result.points},
              {"removed", record.result.removed},
              {"seconds", record.result.seconds}};
    put_box(record.box, json);
    write_json(thin_file(tile), json);
}

void TileFolder::drop_thin_of_others(TileRecord const& plan, std::size_t tile) const
{
    std::error_code error;
    if (!find_thin(plan, tile) && !fs::remove(thin_file(tile), error) && error)
    {
        throw OperationError(shown(thin_file(tile)) +
                             ": cannot be removed: " + why_not_written(error));
    }
}

void TileFolder::remove_files_of_others(TileRecord const& plan) const
{
    std::set<fs::path> const needed = files_of(*this, plan);
    for (auto const& folder : entries_of(folder_))
    {
        if (!has_numbered_name(folder, "tile-", "", TILE_DIGITS) || !is_folder(folder))
        {
            continue;
        }
        OrvaneAlgorithm::detail::remove_left_over(folder);
        std::error_code ignored;
        for (auto const& file : entries_of(folder))
        {
            if (is_tile_file(file) && is_plain_file(file) && needed.count(file) == 0)
            {
                fs::remove(file, ignored);
            }
        }
        if (needed.count(folder / THIN_FILE) == 0)
        {
            fs::remove(folder, ignored); // refused while anything is in it
        }
    }
}

RangeData read_piece(fs::path const& file)
{
    RangeData piece;
    std::string reason = read_frame(file, piece);
    if (reason.empty() && !(piece.is_legal() && piece.has_vNormal && piece.has_vFlag))
    {
        reason = "it is no piece of a frame";
    }
    if (!reason.empty())
    {
        throw InputError(shown(file) + ": " + reason);
    }
    return piece;
}

} // namespace veld
