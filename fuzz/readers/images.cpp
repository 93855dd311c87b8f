#include "algorithmVeld/common/image_files/image_codecs.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"
#include "workflow/files/ImageHeader.h"

#include <zlib.h>

namespace
{

using OrvaneAlgorithm::detail::Bytes;

constexpr std::size_t PNG_SIGNATURE = 8;

std::size_t number_at(Bytes const& bytes, std::size_t at)
{
    std::size_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
    {
        number = number << 8U | bytes[at + i];
    }
    return number;
}

/// Gives the chunks of a PNG file the checksums that they need: no search finds these.
void mend_checksums(Bytes& png)
{
    for (std::size_t at = PNG_SIGNATURE; at + 12 <= png.size();)
    {
        std::size_t const size = number_at(png, at);
        if (size > png.size() - at - 12)
        {
            return;
        }
        auto sum = crc32(0, png.data() + at + 4, static_cast<uInt>(size + 4));
        for (std::size_t i = 4; i-- > 0; sum >>= 8U)
        {
            png[at + 8 + size + i] = static_cast<unsigned char>(sum & 0xFFU);
        }
        at += size + 12;
    }
}

} // namespace

void veld_fuzz::images(std::string_view input)
{
    Bytes bytes(input.begin(), input.end());
    bool const is_png = bytes.size() > PNG_SIGNATURE && bytes[1] == 'P';
    if (is_png)
    {
        mend_checksums(bytes);
    }
    auto const path =
        work_file("image", {reinterpret_cast<char const*>(bytes.data()), bytes.size()});
    if (is_png || (bytes.size() > 2 && bytes[0] == 0xFF && bytes[1] == 0xD8))
    {
        note_header();
    }
    veld::why_no_image(path);
    OrvaneAlgorithm::detail::RgbImage image;
    OrvaneAlgorithm::detail::DepthImage depths;
    bool const is_image = is_png ? OrvaneAlgorithm::detail::read_png(bytes, image)
                                 : OrvaneAlgorithm::detail::read_jpeg(bytes, image);
    if (is_image || (is_png && OrvaneAlgorithm::detail::read_png_depth(bytes, depths)))
    {
        note_accepted();
    }
}
