#include "depth_png.h"
#include "measured_run.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/reconstruction/frames.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <cmath>
#include <csignal>
#include <map>
#include <mutex>
#include <random>
#include <thread>

#if !defined(_WIN32)

/// \file
/// Files of every kind that a command reads, damaged in every way that is not the file's name: cut
/// off, empty, with numbers that cannot be, with bytes changed. Each is read as far as it makes
/// sense or refused, in one line, in little memory, and leaves nothing behind.

namespace
{

using namespace veld_test;

namespace fs = std::filesystem;

constexpr long MOST_MEGABYTES = 200;

using Files = std::map<std::string, std::string>;
using Arguments = std::vector<std::string>;

/// What a command reads, and the calls that read it. In these IN is the file or folder that the
/// command is given, and OUT what it may write.
struct Source
{
    std::string name;
    Files files;
    std::vector<std::string> victims; ///< those of the files that are damaged, one at a time
    std::string in;
    std::vector<Arguments> calls;
};

std::ostream& operator<<(std::ostream& stream, Source const& source)
{
    return stream << source.name;
}

// Good files.

std::vector<Arguments> mesh_calls()
{
    return {
        {"info", "IN"},
        {"holes", "IN"},
        {"fill", "IN", "-o", "OUT.ply"},
        {"fill", "IN", "-o", "OUT.obj", "--method", "core"},
        {"fill", "IN", "-o", "OUT.off", "--method", "clip"},
        {"clean", "IN", "-o", "OUT.stl", "--min-faces", "2", "--non-manifold", "--peel", "1"},
        {"repair", "IN", "-o", "OUT.ply"},
        {"repair", "IN", "-o", "OUT.obj", "--method", "project"},
        {"normals", "IN", "-o", "OUT.ply"},
        {"sticks", "IN", "--seeds", "SEEDS", "-o", "OUT"},
        {"render", "IN", "-o", "OUT.png", "--width", "32", "--height", "32"},
        {"render", "MESH", "--compare", "IN", "-o", "OUT.jpg", "--width", "32", "--height", "32"}};
}

/// A mesh as a file of the format that the extension names.
std::string mesh_content(std::string const& extension)
{
    TempDir const dir;
    std::string error;
    EXPECT_TRUE(OrvaneAlgorithm::write_mesh(dir.file("m" + extension), grid_with_hole(2), error))
        << error;
    return file_content(dir.file("m" + extension));
}

std::string stl_text()
{
    std::string text = "solid sheet\n";
    for (int i = 0; i < 4; ++i)
    {
        std::string const x = std::to_string(i);
        text += "facet normal 0 0 1\nouter loop\nvertex " + x + " 0 0\nvertex " + x +
                " 1 0\nvertex 9 9 " + x + "\nendloop\nendfacet\n";
    }
    return text + "endsolid sheet\n";
}

std::string const SEEDS = "1.5 1.5 0 2 3\n0 0 0 1 1 # a corner\n";

Source mesh_source(std::string const& name, std::string const& extension,
                   std::string const& content)
{
    std::string const file = "mesh" + extension;
    return {name,
            {{file, content}, {"good.ply", ply_text(grid_with_hole(2))}, {"seeds.txt", SEEDS}},
            {file},
            file,
            mesh_calls()};
}

std::vector<Arguments> frame_calls()
{
    return {{"frames", "IN", "-o", "OUT"},
            {"frames", "IN", "--check"},
            {"align", "IN", "-o", "OUT"},
            {"merge", "IN", "-o", "OUT.ply"},
            {"merge", "IN", "-o", "OUT.ply", "--method", "outlier"},
            {"normals", "IN", "-o", "OUT.ply"}};
}

std::string rge_content(RangeData const& frame)
{
    TempDir const dir;
    EXPECT_EQ(OrvaneAlgorithm::CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), frame), 0);
    return file_content(dir.file("a.rge"));
}

Source rge_source()
{
    return {"RgeFrames",
            {{"f/a.rge", rge_content(flat_frame(9, 9, 1.0F))},
             {"f/b.rge", rge_content(flat_frame(9, 9, 1.0F, {9, 0, 0}))}},
            {"f/b.rge"},
            "f",
            frame_calls()};
}

/// A range scan of 12 x 12 points.
std::string scan_text(int x0)
{
    std::string text = "ply\nformat ascii 1.0\nobj_info num_cols 12\nobj_info num_rows 12\n"
                       "element vertex 144\nproperty float x\nproperty float y\nproperty float z\n"
                       "element range_grid 144\nproperty list uchar int vertex_indices\n"
                       "end_header\n";
    std::string grid;
    for (int i = 0; i < 144; ++i)
    {
        text += std::to_string(x0 + i % 12) + " " + std::to_string(i / 12) + " 0\n";
        grid += "1 " + std::to_string(i) + "\n";
    }
    return text + grid;
}

Source scan_source()
{
    return {"RangeScans",
            {{"f/scans.conf", "bmesh a.ply 0 0 0 0 0 0 1\nbmesh \"b b.ply\" 12 0 0 0 0 0 1\n"},
             {"f/a.ply", scan_text(0)},
             {"f/b b.ply", scan_text(12)}},
            {"f/scans.conf", "f/b b.ply"},
            "f",
            frame_calls()};
}

std::string points_text(int x0)
{
    std::string text;
    for (int i = 0; i < 144; ++i)
    {
        text += std::to_string(x0 + i % 12) + " " + std::to_string(i / 12) + " 500 0 0 1\n";
    }
    return text;
}

/// Text frames of 12 x 12 points, with their poses in one of the three forms.
Source text_source(std::string const& name, std::string const& form)
{
    std::string const range = form == "common" ? "" : R"(, "first": 1, "last": 2)";
    Source source{
        name,
        {{"scan.json", R"({"rows": 12, "columns": 12, "points": {"prefix": "c", "suffix": ".asc"},
                           "poses": {"form": ")" +
                           form + R"(", "prefix": "rt", "suffix": ".txt"})" + range + "}"},
         {"c1.asc", points_text(0)},
         {"c2.asc", points_text(12)}},
        {"scan.json", "c2.asc"},
        "scan.json",
        frame_calls()};
    if (form == "common")
    {
        source.files["rt.txt"] = "a 1 1 0 0 0 0 1 0 0 0 0 1 0\nb 2 1 0 0 0 0 1 0 0 0 0 1 0\n";
        source.victims.emplace_back("rt.txt");
        return source;
    }
    for (std::string const number : {"1", "2"})
    {
        source.files["rt" + number + ".txt"] =
            form == "twelve" ? "1 0 0\n0 1 0\n0 0 1\n0 0 0\n"
                             : "scan 1\nframe " + number + "\n1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1\n";
    }
    source.victims.emplace_back("rt2.txt");
    return source;
}

Source depth_source()
{
    std::string const view = R"(, "width": 12, "height": 12, "fx": 500, "fy": 500, "cx": 6,
        "cy": 6, "depth_fx": 400, "R": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "t": [0, 0, 0]})";
    std::vector<int> depths;
    for (int i = 0; i < 144; ++i)
    {
        depths.push_back(500 + i % 5);
    }
    return {"DepthImages",
            {{"f/cameras.json", R"({"units": "mm", "views": [{"depth": "a.png")" + view +
                                    R"(, {"depth": "b.png")" + view + "]}"},
             {"f/a.png", png_text(12, 12, depths)},
             {"f/b.png", png_text(12, 12, depths)}},
            {"f/cameras.json", "f/b.png"},
            "f",
            frame_calls()};
}

/// Points on a sphere with normals: a ring of 12 on each of 7 heights.
std::string cloud_text()
{
    std::string text = "ply\nformat ascii 1.0\nelement vertex 84\nproperty float x\n"
                       "property float y\nproperty float z\nproperty float nx\n"
                       "property float ny\nproperty float nz\nend_header\n";
    for (int i = 0; i < 84; ++i)
    {
        double const height = 0.3 * (i / 12 - 3);
        double const width = std::sqrt(1.0 - height * height);
        double const angle = 0.5236 * (i % 12);
        std::string const place = std::to_string(width * std::cos(angle)) + " " +
                                  std::to_string(width * std::sin(angle)) + " " +
                                  std::to_string(height);
        text += place + " " + place + "\n";
    }
    return text;
}

Source cloud_source()
{
    return {"Cloud",
            {{"cloud.ply", cloud_text()}},
            {"cloud.ply"},
            "cloud.ply",
            {{"repair", "IN", "-o", "OUT.ply"},
             {"repair", "IN", "-o", "OUT.off", "--normal-angle", "180", "--radius", "0.5"}}};
}

Source marker_source()
{
    return {"Markers",
            {{"good.ply", ply_text(grid_with_hole(2))},
             {"markers.txt", "# two\n1.5 1.5 0 0 0 1\n0 0 0 0 0 1\n"}},
            {"markers.txt"},
            "markers.txt",
            {{"holes", "MESH", "--markers", "IN", "--match", "1", "--marker-radius", "1"},
             {"clean", "MESH", "-o", "OUT.ply", "--markers", "IN", "--marker-radius", "1"}}};
}

Source seed_source()
{
    return {"Seeds",
            {{"good.ply", ply_text(grid_with_hole(2))}, {"seeds.txt", SEEDS}},
            {"seeds.txt"},
            "seeds.txt",
            {{"sticks", "MESH", "--seeds", "IN", "-o", "OUT"}}};
}

Source cloud_text_source()
{
    std::string text = "# x y z nx ny nz\n";
    for (int i = 0; i < 36; ++i)
    {
        text += std::to_string(i % 6) + " " + std::to_string(i / 6) + " 0.5 0 0 1\n";
    }
    return {
        "CloudText", {{"c.xyz", text}}, {"c.xyz"}, "c.xyz", {{"normals", "IN", "-o", "OUT.ply"}}};
}

std::vector<Source> sources()
{
    return {mesh_source("PlyText", ".ply", ply_text(grid_with_hole(2))),
            mesh_source("PlyBinary", ".ply", mesh_content(".ply")),
            mesh_source("Obj", ".obj", mesh_content(".obj")),
            mesh_source("Off", ".off", mesh_content(".off")),
            mesh_source("StlText", ".stl", stl_text()),
            mesh_source("StlBinary", ".stl", mesh_content(".stl")),
            mesh_source("Om", ".om", mesh_content(".om")),
            rge_source(),
            scan_source(),
            text_source("TextFramesTwelve", "twelve"),
            text_source("TextFramesSixteen", "sixteen"),
            text_source("TextFramesCommon", "common"),
            depth_source(),
            cloud_source(),
            marker_source(),
            seed_source(),
            cloud_text_source()};
}

// Damage.

/// A damaged file, and what was done to it.
struct Damaged
{
    std::string what;
    std::string content;
};

bool is_text(std::string const& content)
{
    return std::none_of(content.begin(), content.end(),
                        [](char c) { return c != '\n' && (c < ' ' || c > '~'); });
}

std::vector<Damaged> cut(std::string const& content)
{
    std::vector<Damaged> list{{"empty", ""}, {"one byte", content.substr(0, 1)}};
    for (std::size_t const part : {1U, 3U, 5U, 7U})
    {
        std::size_t const n = content.size() * part / 8;
        list.push_back({"cut at " + std::to_string(n), content.substr(0, n)});
    }
    list.push_back({"cut before its end", content.substr(0, content.size() - 1)});
    return list;
}

/// Where the runs of digits of a text begin.
std::vector<std::size_t> numbers_of(std::string const& text)
{
    auto const is_digit = [](char c) { return c >= '0' && c <= '9'; };
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (is_digit(text[i]) && (i == 0 || !is_digit(text[i - 1])))
        {
            places.push_back(i);
        }
    }
    return places;
}

/// Each of the first numbers, where sizes stand, and some of the others become what no size is.
std::vector<Damaged> with_other_numbers(std::string const& text)
{
    constexpr std::size_t FIRST = 14;
    constexpr std::size_t OTHERS = 4;
    std::array<char const*, 7> const values{"16384", "-1",    "268435456", "99999999999999999999",
                                            "nan",   "1e308", "4294967295"};
    auto const places = numbers_of(text);
    std::vector<Damaged> list;
    for (std::size_t i = 0; i < FIRST + OTHERS && !places.empty(); ++i)
    {
        std::size_t const k = i < FIRST ? std::min(i, places.size() - 1)
                                        : (i - FIRST) * (places.size() - 1) / (OTHERS - 1);
        std::size_t const end = text.find_first_not_of("0123456789", places[k]);
        std::string const behind = end == std::string::npos ? "" : text.substr(end);
        char const* const value = values[i % values.size()];
        list.push_back({"number " + std::to_string(k) + " is " + value,
                        text.substr(0, places[k]) + value + behind});
    }
    return list;
}

/// Words of four bytes, also of the first bytes, where sizes stand, become what no size is.
std::vector<Damaged> with_other_words(std::string const& content)
{
    std::array<std::string, 4> const words{"\xff\xff\xff\xff", std::string("\0\0\0\x80", 4),
                                           "\xff\xff\xff\x7f", std::string("\0\0\x10\0", 4)};
    std::vector<Damaged> list;
    for (std::size_t i = 0; i < 24; ++i)
    {
        // The sizes of these formats stand at 8 to 20, 80 and 116.
        std::size_t const place = i < 16 ? 8 + 4 * (i / 4) : i < 20 ? 80 : 116;
        if (place + 4 <= content.size())
        {
            std::string changed = content;
            list.push_back({"word " + std::to_string(i % 4) + " at " + std::to_string(place),
                            changed.replace(place, 4, words[i % 4])});
        }
    }
    return list;
}

std::vector<Damaged> with_other_bytes(std::string const& content)
{
    std::vector<Damaged> list;
    for (unsigned seed = 0; seed < 8; ++seed)
    {
        std::mt19937 random(seed);
        std::string changed = content;
        for (unsigned k = 0; k < 1 + 4 * (seed % 2) && !changed.empty(); ++k)
        {
            changed[random() % changed.size()] = static_cast<char>(random() % 256);
        }
        list.push_back({"bytes of seed " + std::to_string(seed), changed});
    }
    return list;
}

/// Makes the checksum of a frame file right again, so that the damage is not told by it.
std::string with_rge_checksum(std::string content)
{
    if (content.size() >= 4)
    {
        auto const sum = crc32(0, reinterpret_cast<Bytef const*>(content.data()),
                               static_cast<uInt>(content.size() - 4));
        for (unsigned i = 0; i < 4; ++i)
        {
            content[content.size() - 4 + i] = static_cast<char>(sum >> 8 * i & 0xFFU);
        }
    }
    return content;
}

/// The same for the header of a PNG file.
std::string with_png_checksum(std::string content)
{
    constexpr std::size_t HEADER = 12;
    constexpr std::size_t LENGTH = 17;
    if (content.size() >= HEADER + LENGTH + 4)
    {
        auto const sum = crc32(0, reinterpret_cast<Bytef const*>(content.data() + HEADER), LENGTH);
        std::string bytes;
        append_big_endian(bytes, static_cast<std::uint32_t>(sum));
        content.replace(HEADER + LENGTH, 4, bytes);
    }
    return content;
}

/// All damaged forms of a file.
std::vector<Damaged> damaged_forms(std::string const& file, std::string const& content)
{
    std::vector<Damaged> list = cut(content);
    auto const append = [&list](std::vector<Damaged> const& more)
    { list.insert(list.end(), more.begin(), more.end()); };
    if (is_text(content) || content.rfind("ply", 0) == 0)
    {
        append(with_other_numbers(content));
    }
    if (!is_text(content))
    {
        append(with_other_words(content));
    }
    append(with_other_bytes(content));
    std::string const extension = fs::path(file).extension().string();
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        if (extension == ".rge" && i % 4 != 0)
        {
            list[i].content = with_rge_checksum(list[i].content);
        }
        if (extension == ".png" && i % 4 != 0)
        {
            list[i].content = with_png_checksum(list[i].content);
        }
    }
    return list;
}

// Runs.

/// All files below a directory, seen from there.
std::vector<std::string> all_files(fs::path const& directory)
{
    std::vector<std::string> names;
    for (auto const& entry : fs::recursive_directory_iterator(directory))
    {
        names.push_back(entry.path().lexically_relative(directory).string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void write_files(TempDir const& dir, Files const& files)
{
    for (auto const& [name, content] : files)
    {
        fs::create_directories((dir.path() / name).parent_path());
        write_file(dir.file(name), content);
    }
}

Arguments arguments_of(Arguments call, std::string const& in, TempDir const& dir)
{
    for (auto& argument : call)
    {
        if (argument.rfind("OUT", 0) == 0)
        {
            argument = dir.file("out" + argument.substr(3));
        }
        else if (argument == "IN")
        {
            argument = dir.file(in);
        }
        else if (argument == "MESH" || argument == "SEEDS")
        {
            argument = dir.file(argument == "MESH" ? "good.ply" : "seeds.txt");
        }
    }
    call.insert(call.end(), {"--threads", "1"});
    return call;
}

/// What is wrong with the lines on standard error: warnings, and the error last if there is one.
std::string complaint_about_lines(MeasuredRun const& run)
{
    std::istringstream lines(run.err);
    std::string last;
    int n_errors = 0;
    for (std::string line; std::getline(lines, line); last = line)
    {
        n_errors += line.rfind("error: ", 0) == 0 ? 1 : 0;
        if (line.rfind("error: ", 0) != 0 && line.rfind("warning: ", 0) != 0)
        {
            return "neither a warning nor an error";
        }
    }
    bool const ends_well =
        run.status == 0 ? n_errors == 0 : n_errors == 1 && last.rfind("error: ", 0) == 0;
    return ends_well ? "" : "not the one line";
}

/// What is wrong with a run; empty if nothing is.
std::string complaint(MeasuredRun const& run, std::vector<std::string> const& before,
                      std::vector<std::string> const& after)
{
    if (run.signal == SIGALRM)
    {
        return "hangs";
    }
    if (run.signal != 0)
    {
        return "ended by signal " + std::to_string(run.signal);
    }
    if (run.status < 0 || run.status > 2)
    {
        return "exit status " + std::to_string(run.status);
    }
    if (run.peak_mb > MOST_MEGABYTES)
    {
        return "takes " + std::to_string(run.peak_mb) + " MB";
    }
    if (run.status != 0 && before != after)
    {
        return "left a file behind";
    }
    if (std::any_of(after.begin(), after.end(),
                    [](std::string const& name)
                    { return fs::path(name).filename().string().front() == '.'; }))
    {
        return "left a temporary file behind";
    }
    return complaint_about_lines(run);
}

/// Runs a call on files that are there, and checks how it ends.
std::string complaint_of_call(Arguments const& call, std::string const& in, TempDir const& dir)
{
    auto const before = all_files(dir.path());
    auto const run = run_measured(arguments_of(call, in, dir));
    std::string const text = complaint(run, before, all_files(dir.path()));
    for (auto const& name : files_in(dir.path()))
    {
        if (name.rfind("out", 0) == 0)
        {
            fs::remove_all(dir.path() / name);
        }
    }
    std::string line;
    for (auto const& argument : call)
    {
        line += argument + " ";
    }
    return text.empty() ? text : line + ": " + text + "\n" + run.err;
}

/// Runs tasks on two threads, for most of a run is waiting, and tells what was wrong.
template <typename Task>
void run_all(std::size_t n, Task const& task)
{
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::vector<std::string> complaints;
    auto const work = [&]
    {
        for (std::size_t i = next++; i < n; i = next++)
        {
            std::string const text = task(i);
            if (!text.empty())
            {
                std::lock_guard<std::mutex> const lock(mutex);
                complaints.push_back(text);
            }
        }
    };
    std::thread other(work);
    work();
    other.join();
    std::sort(complaints.begin(), complaints.end());
    for (std::size_t i = 0; i < std::min<std::size_t>(complaints.size(), 20); ++i)
    {
        ADD_FAILURE() << complaints[i];
    }
}

/// Frames that lie side by side overlap nowhere, which is what is told of them.
template <typename Run>
bool has_nothing_to_align(Arguments const& call, Run const& run)
{
    return call.front() == "align" && run.status == 1 &&
           run.err.find("no two frames overlap within") != std::string::npos;
}

class HostileFiles : public testing::TestWithParam<Source>
{
};

TEST_P(HostileFiles, GoodOnesAreRead)
{
    Source const& source = GetParam();
    run_all(source.calls.size(),
            [&](std::size_t i) -> std::string
            {
                TempDir const dir;
                write_files(dir, source.files);
                auto const run = run_measured(arguments_of(source.calls[i], source.in, dir));
                if (has_nothing_to_align(source.calls[i], run))
                {
                    return "";
                }
                return run.status == 0 ? "" : source.calls[i].front() + ": " + run.err;
            });
}

TEST_P(HostileFiles, DamagedOnesAreReadOrRefusedInOneLineAndInLittleMemory)
{
    // One call after the other gets a damaged file, so that all meet every kind of damage.
    constexpr std::size_t STEP = IS_SANITIZED ? 7 : 1;
    Source const& source = GetParam();
    for (auto const& victim : source.victims)
    {
        auto const forms = damaged_forms(victim, source.files.at(victim));
        run_all(forms.size() / STEP,
                [&](std::size_t i)
                {
                    Damaged const& form = forms[i * STEP];
                    TempDir const dir;
                    Files files = source.files;
                    files[victim] = form.content;
                    write_files(dir, files);
                    auto const& call = source.calls[i % source.calls.size()];
                    std::string const wrong = complaint_of_call(call, source.in, dir);
                    return wrong.empty() ? wrong : victim + " " + form.what + ": " + wrong;
                });
    }
}

TEST_P(HostileFiles, WhatIsNoFileIsRefusedInOneLine)
{
    Source const& source = GetParam();
    for (auto const& victim : source.victims)
    {
        run_all(source.calls.size(),
                [&](std::size_t i)
                {
                    TempDir const dir;
                    Files files = source.files;
                    files.erase(victim);
                    write_files(dir, files);
                    std::string text = complaint_of_call(source.calls[i], source.in, dir);
                    fs::create_directory(dir.path() / victim);
                    text += complaint_of_call(source.calls[i], source.in, dir);
                    fs::remove(dir.path() / victim);
                    write_file(dir.file(victim), source.files.at(victim));
                    fs::permissions(dir.path() / victim, fs::perms::none);
                    text += complaint_of_call(source.calls[i], source.in, dir);
                    return text.empty() ? text : victim + ": " + text;
                });
    }
}

TEST_P(HostileFiles, NameThatIsNoUtf8IsShownOrRefusedInOneLine)
{
    Source const& source = GetParam();
    std::string const odd = "\xff\xfe\x80" + fs::path(source.in).extension().string();
    run_all(source.calls.size(),
            [&](std::size_t i)
            {
                TempDir const dir;
                write_files(dir, source.files);
                fs::rename(dir.path() / source.in, dir.path() / odd);
                return complaint_of_call(source.calls[i], odd, dir);
            });
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileFiles, testing::ValuesIn(sources()),
                         [](auto const& source) { return source.param.name; });

/// Frames that say their grid is the largest there may be, and hold next to nothing.
std::vector<Source> huge_grids()
{
    Source text = text_source("TextFrames", "twelve");
    std::string& json = text.files["scan.json"];
    for (auto at = json.find(": 12,"); at != std::string::npos; at = json.find(": 12,"))
    {
        json.replace(at, 5, ": 16384,");
    }
    Source rge = rge_source();
    RangeData frame = flat_frame(9, 9, 1.0F);
    frame.set_grid_size(16384, 16384);
    frame.add_vCoord_and_vUV({50, 50, 50}, {16383, 16383});
    rge.files["f/a.rge"] = rge_content(frame);
    frame.disable_vNormal();
    rge.files["f/b.rge"] = rge_content(frame);
    return {text, rge};
}

TEST(HostileFrames, LargestGridTakesLittleMemory)
{
    for (auto const& source : huge_grids())
    {
        run_all(source.calls.size(),
                [&](std::size_t i) -> std::string
                {
                    TempDir const dir;
                    write_files(dir, source.files);
                    auto call = source.calls[i];
                    if (call.front() == "merge")
                    {
                        call.insert(call.end(), {"--min-component", "0"});
                    }
                    auto const run = run_measured(arguments_of(call, source.in, dir));
                    EXPECT_TRUE(run.status == 0 || has_nothing_to_align(call, run))
                        << source.name << " " << run.err;
                    EXPECT_LT(run.peak_mb, MOST_MEGABYTES) << source.name << " " << call.front();
                    return "";
                });
    }
}

TEST(HostileFrames, PoseFileThatNamesOneFrameManyTimesReadsItOnce)
{
    Source source = text_source("TextFrames", "common");
    std::string& poses = source.files["rt.txt"];
    for (int i = 0; i < 20000; ++i)
    {
        poses += "a 2 ";
    }
    std::string& points = source.files["c2.asc"];
    for (int i = 0; i < 5; ++i)
    {
        points += points;
    }
    for (auto const& call : source.calls)
    {
        TempDir const dir;
        write_files(dir, source.files);
        EXPECT_EQ(complaint_of_call(call, source.in, dir), "");
    }
}

} // namespace

#endif
