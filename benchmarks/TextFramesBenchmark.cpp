#include "algorithmVeld/reconstruction/PointCloud2RangeData.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

using namespace OrvaneAlgorithm;

namespace
{

/// A directory with one text frame of a wavy surface, a fifth of its pixels without a point.
class TextFrame
{
public:
    explicit TextFrame(int rows, int columns)
    {
        std::filesystem::create_directories(directory_);
        std::ofstream(directory_ / "rt0.txt") << "1 0 0 0 1 0 0 0 1 0 0 0\n";
        std::ofstream points(directory_ / "cloud0.asc");
        for (int i = 0; i < rows * columns; ++i)
        {
            double const x = 0.1 * (i % columns);
            double const y = 0.1 * static_cast<double>(i / columns);
            char line[128] = "0 0 0 0 0 0\n";
            if (i % 5 != 0)
            {
                std::snprintf(line, sizeof line, "%.6f %.6f %.6f 0.0 0.0 1.0\n", x, y,
                              400.0 + std::sin(x) * std::cos(y));
            }
            points << line;
        }
    }
    ~TextFrame()
    {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }
    TextFrame(TextFrame const&) = delete;
    TextFrame& operator=(TextFrame const&) = delete;

    std::string directory() const { return directory_.string(); }
    std::int64_t bytes() const
    {
        return static_cast<std::int64_t>(std::filesystem::file_size(directory_ / "cloud0.asc"));
    }

private:
    std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / "veld-bench-text-frame";
};

void read_text_frame(benchmark::State& state)
{
    int const rows = static_cast<int>(state.range(0));
    int const columns = rows * 4 / 3;
    TextFrame const file(rows, columns);
    for ([[maybe_unused]] auto _ : state)
    {
        PointCloud2RangeData frames;
        frames.set_ImageSize(rows, columns);
        frames.set_DataInputDir(file.directory());
        frames.set_PointCloudName("cloud", ".asc");
        frames.set_RtParamName("rt", ".txt");
        frames.set_rt_file_with_12_params(true);
        frames.Initialize();
        if (!frames.processPointCloud())
        {
            state.SkipWithError("the frame cannot be read");
            break;
        }
        benchmark::DoNotOptimize(frames.get_rangeData(0).vCoord.data());
    }
    state.SetBytesProcessed(state.iterations() * file.bytes());
}

} // namespace

BENCHMARK(read_text_frame)
    ->ArgName("rows")
    ->RangeMultiplier(2)
    ->Range(240, 1920)
    ->Unit(benchmark::kMillisecond);
