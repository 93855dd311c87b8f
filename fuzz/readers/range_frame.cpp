#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/range_scan_io.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

#include <zlib.h>

#include <cstdlib>

namespace
{

using OrvaneAlgorithm::RangeData;

/// What hosts do with a frame before they work with it.
void use_frame(RangeData& frame)
{
    frame.is_legal();
    frame.repair_illegal();
    if (!frame.is_legal())
    {
        std::abort();
    }
    frame.squeeze();
    frame.update_vNrv_from_grid();
    std::vector<std::vector<int>> quads;
    frame.convert_to_quad(quads);
    double mean = 0.0;
    OrvaneAlgorithm::RangeData_compute_mean_distance(frame, mean, 50);
}

/// The checksum is put behind the input: no search finds it.
std::string with_checksum(std::string_view input)
{
    std::string content(input);
    auto sum = static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<Bytef const*>(input.data()), static_cast<uInt>(input.size())));
    for (int i = 0; i < 4; ++i, sum >>= 8U)
    {
        content += static_cast<char>(sum & 0xFFU);
    }
    return content;
}

} // namespace

void veld_fuzz::range_frame(std::string_view input)
{
    RangeData frame;
    std::string reason;
    if (input.substr(0, 3) == "ply")
    {
        note_header();
        if (!OrvaneAlgorithm::read_range_ply(work_file("scan.ply", input).string(), frame, reason))
        {
            return;
        }
    }
    else
    {
        auto const path = work_file("frame.rge", with_checksum(input));
        int const code = OrvaneAlgorithm::CRangeDataIO::read_rge(path.wstring(), frame, reason);
        if (code != 2)
        {
            note_header();
        }
        if (code != 0)
        {
            return;
        }
    }
    note_accepted();
    use_frame(frame);
}
