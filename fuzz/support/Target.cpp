#include "fuzz/support/Target.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "fuzz/support/TextMutator.h"
#include "fuzz/targets.h"

#include <OpenMesh/Core/System/omstream.hh>
#include <omp.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

namespace fs = std::filesystem;

namespace veld_fuzz
{

namespace
{

struct Target
{
    std::string_view name;
    void (*run)(std::string_view input);
    bool is_text = false; ///< whether its inputs consist of words, at least in large part
};

constexpr Target TARGETS[] = {
    {"frame_sources", frame_sources, true},
    {"glb", glb},
    {"images", images},
    {"mesh_binary", mesh_binary},
    {"mesh_obj", mesh_obj, true},
    {"mesh_ply", mesh_ply, true},
    {"mesh_text", mesh_text, true},
    {"photo_lists", photo_lists, true},
    {"range_frame", range_frame},
    {"texts", texts, true},
    {"clean_mesh", clean_mesh},
    {"cut_ears", cut_ears},
    {"fill_careful", fill_careful},
    {"fill_whole", fill_whole},
    {"find_holes", find_holes},
    {"merge_frames", merge_frames},
    {"repair_mesh", repair_mesh},
    {"texture_mesh", texture_mesh},
};

Target const* target = nullptr;
bool is_past_header = false; ///< of the input that is run
bool is_accepted = false;
unsigned long headers = 0;
unsigned long accepted = 0;
unsigned long inputs = 0;
fs::path folder;

void run_input(std::string_view input)
{
    is_past_header = false;
    is_accepted = false;
    target->run(input);
    ++inputs;
    headers += is_past_header ? 1 : 0;
    accepted += is_accepted ? 1 : 0;
}

void at_end()
{
    std::fprintf(stderr, "fuzz: inputs %lu header %lu accepted %lu\n", inputs, headers, accepted);
    std::error_code ignored;
    if (!folder.empty())
    {
        fs::remove_all(folder, ignored);
    }
}

} // namespace

void note_header()
{
    is_past_header = true;
}

void note_accepted()
{
    is_past_header = true;
    is_accepted = true;
}

fs::path const& work_folder()
{
    if (folder.empty())
    {
        std::random_device random;
        do
        {
            folder = fs::temp_directory_path() / ("veld-fuzz-" + std::to_string(random()));
        } while (!fs::create_directory(folder));
    }
    return folder;
}

fs::path work_file(std::string const& name, std::string_view content)
{
    fs::path const path = work_folder() / name;
    std::ofstream(path, std::ios::binary)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
    return path;
}

void empty_work_folder()
{
    for (auto const& entry : fs::directory_iterator(work_folder()))
    {
        fs::remove_all(entry.path());
    }
}

} // namespace veld_fuzz

/// One program is all targets: its name tells which.
extern "C" int LLVMFuzzerInitialize(int* /*n_arguments*/, char*** arguments)
{
    using veld_fuzz::target;
    std::string const name = fs::path((*arguments)[0]).filename().string();
    target = std::find_if(std::begin(veld_fuzz::TARGETS), std::end(veld_fuzz::TARGETS),
                          [&](auto const& known) { return known.name == name; });
    if (target == std::end(veld_fuzz::TARGETS))
    {
        std::fprintf(stderr, "%s is no fuzz target: call the program by the name of one\n",
                     name.c_str());
        std::exit(1);
    }
    omp_set_num_threads(1);
    omlog().disable();
    omerr().disable();
    OrvaneAlgorithm::gLH.set_sink([](std::string const&) {});
    OrvaneAlgorithm::gLH.set_print_sink([](std::string const&) {});
    OrvaneAlgorithm::gPH.set_debug_dir(veld_fuzz::work_folder().string());
    OrvaneAlgorithm::gPH.set_result_dir(veld_fuzz::work_folder().string());
    std::atexit(veld_fuzz::at_end);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    veld_fuzz::run_input({reinterpret_cast<char const*>(data), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed)
{
    if (!veld_fuzz::target->is_text || seed % 4 == 0)
    {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    auto const text = veld_fuzz::with_another_word({reinterpret_cast<char*>(data), size}, seed);
    if (text.size() > max_size)
    {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    std::copy(text.begin(), text.end(), data);
    return text.size();
}
