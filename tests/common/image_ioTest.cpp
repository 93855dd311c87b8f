#include "algorithmVeld/common/image_io.h"

#include "tests/support/files.h"
#include "tests/support/real_data.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include <jpeglib.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>

#if defined(__unix__)
#include <sys/resource.h>
#endif

using namespace OrvaneAlgorithm;

namespace
{

using RgbImage = Image<3, unsigned char>;
using veld_test::Bytes;
using veld_test::files_in;
using veld_test::read_bytes;
using veld_test::TempDir;
using veld_test::write_bytes;

/// Different in every row, column and channel; smooth, so that JPEG keeps it closely.
RgbImage gradient(int width, int height)
{
    RgbImage image(width, height);
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            image.pixel(x, y)[0] = static_cast<unsigned char>(200 * x / width);
            image.pixel(x, y)[1] = static_cast<unsigned char>(200 * y / height + 30);
            image.pixel(x, y)[2] = static_cast<unsigned char>(220 - 100 * x / width);
        }
    }
    return image;
}

std::size_t n_bytes(RgbImage const& image)
{
    return 3 * static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height());
}

bool same_size(RgbImage const& a, RgbImage const& b)
{
    return a.width() == b.width() && a.height() == b.height();
}

bool same(RgbImage const& a, RgbImage const& b)
{
    return same_size(a, b) && std::equal(a.data(), a.data() + n_bytes(a), b.data());
}

/// Mean of the channels' absolute differences.
double mean_difference(RgbImage const& a, RgbImage const& b)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < n_bytes(a); ++i)
    {
        sum += std::abs(a.data()[i] - b.data()[i]);
    }
    return sum / static_cast<double>(n_bytes(a));
}

/// Reads bytes as a file into an image that is not empty before.
int read_as_file(Bytes const& bytes, RgbImage& image)
{
    TempDir const dir;
    write_bytes(dir.file("image"), bytes);
    image = gradient(2, 2);
    return read_rgb_image(dir.file("image"), image);
}

int code_of(Bytes const& bytes)
{
    RgbImage image;
    int const code = read_as_file(bytes, image);
    EXPECT_EQ(image.empty(), code != 0);
    return code;
}

Bytes encoded(RgbImage const& image, std::string const& extension)
{
    TempDir const dir;
    EXPECT_EQ(write_rgb_image(dir.file("image" + extension), image), 0);
    return read_bytes(dir.file("image" + extension));
}

void append_number(Bytes& bytes, std::uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        bytes.push_back(static_cast<unsigned char>(number >> static_cast<unsigned>(shift)));
    }
}

/// A PNG file from its chunks, with right lengths and checksums.
class PngFile
{
public:
    PngFile(std::uint32_t width, std::uint32_t height, unsigned char depth, unsigned char type)
        : bytes_{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}
    {
        Bytes header;
        append_number(header, width);
        append_number(header, height);
        header.insert(header.end(), {depth, type, 0, 0, 0});
        chunk("IHDR", header);
    }

    PngFile& chunk(std::string const& name, Bytes const& data)
    {
        append_number(bytes_, static_cast<std::uint32_t>(data.size()));
        Bytes body(name.begin(), name.end());
        body.insert(body.end(), data.begin(), data.end());
        bytes_.insert(bytes_.end(), body.begin(), body.end());
        append_number(bytes_, static_cast<std::uint32_t>(
                                  crc32(0, body.data(), static_cast<uInt>(body.size()))));
        return *this;
    }

    /// Rows with their filter bytes.
    Bytes finish(Bytes const& rows)
    {
        uLongf size = compressBound(static_cast<uLong>(rows.size()));
        Bytes packed(size);
        compress(packed.data(), &size, rows.data(), static_cast<uLong>(rows.size()));
        packed.resize(size);
        return chunk("IDAT", packed).chunk("IEND", {}).bytes_;
    }

private:
    Bytes bytes_;
};

/// Encodes with libjpeg itself. \param n_channels 1: grey, 4: CMYK
Bytes jpeg_with_channels(int width, int height, int n_channels, bool progressive, Bytes const& rows)
{
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = static_cast<JDIMENSION>(width);
    info.image_height = static_cast<JDIMENSION>(height);
    info.input_components = n_channels;
    info.in_color_space = n_channels == 1 ? JCS_GRAYSCALE : n_channels == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 100, TRUE);
    if (progressive)
    {
        jpeg_simple_progression(&info);
    }
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height)
    {
        Bytes line(rows.begin() +
                       static_cast<std::ptrdiff_t>(info.next_scanline) * width * n_channels,
                   rows.end());
        JSAMPROW row = line.data();
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    Bytes bytes(buffer, buffer + size);
    std::free(buffer);
    jpeg_destroy_compress(&info);
    return bytes;
}

std::array<int, 3> pixel(RgbImage const& image, int x, int y)
{
    unsigned char const* const p = image.pixel(x, y);
    return {p[0], p[1], p[2]};
}

using Pixel = std::array<int, 3>;

/// The largest amount of memory that this process has had, in bytes; 0 where it is not known.
std::size_t peak_memory()
{
#if defined(__linux__)
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
#else
    return 0;
#endif
}

} // namespace

TEST(ImageIo, PngKeepsEveryByte)
{
    TempDir const dir;
    for (auto const& [width, height] : {std::pair(1, 1), std::pair(3, 2), std::pair(301, 97)})
    {
        RgbImage const image = gradient(width, height);
        ASSERT_EQ(write_rgb_image(dir.file("a.png"), image), 0);
        RgbImage back;
        ASSERT_EQ(read_rgb_image(dir.file("a.png"), back), 0);
        EXPECT_TRUE(same(image, back));
    }
    EXPECT_EQ(files_in(dir.path()).size(), 1U);
}

TEST(ImageIo, JpegKeepsColoursClosely)
{
    TempDir const dir;
    for (auto const& [width, height] : {std::pair(1, 1), std::pair(17, 9), std::pair(301, 97)})
    {
        RgbImage const image = gradient(width, height);
        ASSERT_EQ(write_rgb_image(dir.file("a.jpg"), image), 0);
        RgbImage back;
        ASSERT_EQ(read_rgb_image(dir.file("a.jpg"), back), 0);
        ASSERT_TRUE(same_size(image, back));
        EXPECT_LT(mean_difference(image, back), 1.5);
    }
    EXPECT_EQ(files_in(dir.path()).size(), 1U);
}

TEST(ImageIo, MemoryIsBlueGreenRedAndTheFileRedGreenBlue)
{
    RgbImage image(1, 1);
    image.pixel(0, 0)[0] = 10;
    image.pixel(0, 0)[1] = 20;
    image.pixel(0, 0)[2] = 30;
    Bytes const bytes = encoded(image, ".png");
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()), 0);
    png.format = PNG_FORMAT_RGB;
    std::array<unsigned char, 3> rgb{};
    ASSERT_NE(png_image_finish_read(&png, nullptr, rgb.data(), 0, nullptr), 0);
    EXPECT_EQ(rgb, (std::array<unsigned char, 3>{30, 20, 10}));
}

// Black patches and colour beside them: at reduced colour resolution the colour would spread.
TEST(ImageIo, JpegKeepsTheColourOfNeighboursApart)
{
    RgbImage image(64, 64);
    for (int y = 0; y < 64; ++y)
    {
        for (int x = 0; x < 64; x += 2)
        {
            image.pixel(x, y)[2] = 200;
        }
    }
    RgbImage back;
    ASSERT_EQ(read_as_file(encoded(image, ".jpg"), back), 0);
    EXPECT_LT(mean_difference(image, back), 5.0);
}

TEST(ImageIo, ExtensionChoosesTheFormatInEitherCase)
{
    for (char const* const extension : {".png", ".PNG", ".Png"})
    {
        EXPECT_EQ(encoded(gradient(2, 2), extension)[0], 0x89) << extension;
    }
    for (char const* const extension : {".jpg", ".JPG", ".jpeg", ".JPEG"})
    {
        EXPECT_EQ(encoded(gradient(2, 2), extension)[0], 0xff) << extension;
    }
}

TEST(ImageIo, ReadingGoesByContentNotByName)
{
    RgbImage image;
    TempDir const dir;
    write_bytes(dir.file("a.jpg"), encoded(gradient(5, 4), ".png"));
    EXPECT_EQ(read_rgb_image(dir.file("a.jpg"), image), 0);
    EXPECT_TRUE(same(image, gradient(5, 4)));
}

TEST(ImageIo, UnknownExtensionAndEmptyImageAreRefused)
{
    TempDir const dir;
    for (char const* const name : {"a.bmp", "a", "png", "a.png.txt", ".png"})
    {
        EXPECT_EQ(write_rgb_image(dir.file(name), gradient(2, 2)), 1) << name;
    }
    EXPECT_EQ(write_rgb_image("", gradient(2, 2)), 1);
    EXPECT_EQ(write_rgb_image(dir.file("a.png"), RgbImage()), 1);
    EXPECT_EQ(write_rgb_image(dir.file("a.jpg"), RgbImage(0, 5)), 1);
    EXPECT_EQ(files_in(dir.path()).size(), 0U);
}

TEST(ImageIo, WhatCannotBeWrittenLeavesNothingBehind)
{
    TempDir const dir;
    for (char const* const extension : {".png", ".jpg"})
    {
        EXPECT_EQ(write_rgb_image(dir.file(std::string("missing/a") + extension), gradient(2, 2)),
                  2);
        std::string const folder = dir.file(std::string("folder") + extension);
        std::filesystem::create_directory(folder);
        EXPECT_EQ(write_rgb_image(folder, gradient(2, 2)), 2);
    }
    EXPECT_EQ(files_in(dir.path()).size(), 2U);
}

TEST(ImageIo, SidesThatTheFormatCannotTakeAreRefusedAndTheOldFileStays)
{
    TempDir const dir;
    ASSERT_EQ(write_rgb_image(dir.file("a.jpg"), gradient(2, 2)), 0);
    ASSERT_EQ(write_rgb_image(dir.file("a.png"), gradient(2, 2)), 0);
    EXPECT_EQ(write_rgb_image(dir.file("a.jpg"), RgbImage(70000, 1)), 2);
    EXPECT_EQ(write_rgb_image(dir.file("a.png"), RgbImage(1000001, 1)), 2);
    RgbImage image;
    EXPECT_EQ(read_rgb_image(dir.file("a.jpg"), image), 0);
    EXPECT_EQ(image.width(), 2);
    EXPECT_EQ(read_rgb_image(dir.file("a.png"), image), 0);
    EXPECT_TRUE(same(image, gradient(2, 2)));
    EXPECT_EQ(files_in(dir.path()).size(), 2U);
}

TEST(ImageIo, MissingForeignAndEmptyFilesAreNoImages)
{
    TempDir const dir;
    RgbImage image = gradient(2, 2);
    EXPECT_EQ(read_rgb_image(dir.file("missing.png"), image), 1);
    EXPECT_TRUE(image.empty());
    EXPECT_EQ(read_rgb_image("", image), 1);
    image = gradient(2, 2);
    EXPECT_EQ(read_rgb_image(dir.path().string(), image), 1);
    EXPECT_TRUE(image.empty());
    EXPECT_EQ(code_of({}), 1);
    EXPECT_EQ(code_of({0x89, 'P', 'N'}), 1);
    EXPECT_EQ(code_of(Bytes(1000, 'x')), 1);
}

TEST(ImageIo, CutOffFilesAreDamagedAtEveryLength)
{
    for (char const* const extension : {".png", ".jpg"})
    {
        Bytes const whole = encoded(gradient(20, 20), extension);
        for (std::size_t length = 8; length < whole.size(); ++length)
        {
            ASSERT_EQ(code_of(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(length))), 2)
                << extension << " cut to " << length << " of " << whole.size();
        }
    }
}

TEST(ImageIo, CutOffProgressiveJpegIsDamaged)
{
    Bytes const rows(3 * 64 * 64, 77);
    Bytes const whole = jpeg_with_channels(64, 64, 3, true, rows);
    ASSERT_EQ(code_of(whole), 0);
    for (std::size_t length = 8; length < whole.size(); ++length)
    {
        ASSERT_EQ(code_of(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(length))), 2);
    }
}

// A scan of a few bytes costs a pass over the whole image, so a file may not have thousands.
TEST(ImageIo, JpegWithCountlessScansIsRefused)
{
    Bytes const whole = jpeg_with_channels(16, 16, 3, true, Bytes(3 * 16 * 16, 77));
    std::array<unsigned char, 2> const scan{0xff, 0xda};
    std::array<unsigned char, 2> const tables{0xff, 0xc4};
    auto const begin = std::search(whole.begin(), whole.end(), scan.begin(), scan.end());
    auto const end = std::search(begin, whole.end(), tables.begin(), tables.end());
    ASSERT_NE(end, whole.end());
    auto const with_copies = [&](int n)
    {
        Bytes bytes(whole.begin(), end);
        for (int i = 0; i < n; ++i)
        {
            bytes.insert(bytes.end(), begin, end);
        }
        bytes.insert(bytes.end(), end, whole.end());
        return code_of(bytes);
    };
    EXPECT_EQ(with_copies(0), 0);
    EXPECT_EQ(with_copies(50), 0);
    EXPECT_EQ(with_copies(1000), 2);
}

TEST(ImageIo, PngWithAnyChangedByteIsRefused)
{
    Bytes const whole = encoded(gradient(9, 9), ".png");
    for (std::size_t i = 0; i < whole.size(); ++i)
    {
        Bytes changed = whole;
        changed[i] ^= 0x10;
        ASSERT_NE(code_of(changed), 0) << "byte " << i;
    }
}

TEST(ImageIo, ChangedJpegBytesDoNoHarm)
{
    // JPEG has no checksum: a changed pixel is another picture. It is read, or refused whole.
    Bytes const whole = encoded(gradient(40, 40), ".jpg");
    for (std::size_t i = 3; i < whole.size(); ++i)
    {
        for (unsigned char const change : {0x01, 0x80, 0xff})
        {
            Bytes changed = whole;
            changed[i] ^= change;
            int const code = code_of(changed);
            ASSERT_TRUE(code == 0 || code == 2) << "byte " << i;
        }
    }
}

TEST(ImageIo, LibrariesSayNothing)
{
    Bytes const jpeg = encoded(gradient(20, 20), ".jpg");
    Bytes const png = encoded(gradient(20, 20), ".png");
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(code_of(Bytes(jpeg.begin(), jpeg.end() - 9)), 2);
    EXPECT_EQ(code_of(Bytes(jpeg.begin(), jpeg.begin() + 60)), 2);
    EXPECT_EQ(code_of(Bytes(png.begin(), png.end() - 9)), 2);
    EXPECT_EQ(code_of(Bytes(png.begin(), png.begin() + 20)), 2);
    TempDir const dir;
    EXPECT_EQ(write_rgb_image(dir.file("a.jpg"), RgbImage(70000, 1)), 2);
    EXPECT_EQ(write_rgb_image(dir.file("a.png"), RgbImage(1000001, 1)), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ImageIo, HugeSizesInSmallFilesTakeNoMemory)
{
    Bytes jpeg = encoded(gradient(8, 8), ".jpg");
    std::array<unsigned char, 2> const frame_header{0xff, 0xc0};
    auto const at = std::search(jpeg.begin(), jpeg.end(), frame_header.begin(), frame_header.end());
    ASSERT_NE(at, jpeg.end());
    std::fill(at + 5, at + 9, static_cast<unsigned char>(0x3f)); // 16 191 x 16 191
    std::size_t const before = peak_memory();
    EXPECT_EQ(code_of(jpeg), 2);
    EXPECT_EQ(code_of(PngFile(16000, 16000, 8, 2).finish(Bytes(100, 0))), 2);
    EXPECT_EQ(code_of(PngFile(16000, 16000, 16, 6).finish(Bytes(100, 0))), 2);
    EXPECT_EQ(code_of(PngFile(900000, 900000, 1, 0).finish(Bytes(100, 0))), 2);
    EXPECT_EQ(code_of(PngFile(0x7fffffff, 0x7fffffff, 8, 2).finish(Bytes(100, 0))), 2);
    EXPECT_EQ(code_of(PngFile(0xffffffff, 1, 8, 2).finish(Bytes(100, 0))), 2);
    EXPECT_EQ(code_of(PngFile(0, 5, 8, 2).finish(Bytes(100, 0))), 2);
    EXPECT_LT(peak_memory() - before, 100U << 20U);
}

TEST(ImageIo, GreyBecomesColour)
{
    RgbImage image;
    ASSERT_EQ(read_as_file(PngFile(2, 1, 8, 0).finish({0, 17, 250}), image), 0);
    EXPECT_EQ(pixel(image, 0, 0), (Pixel{17, 17, 17}));
    EXPECT_EQ(pixel(image, 1, 0), (Pixel{250, 250, 250}));
    ASSERT_EQ(read_as_file(jpeg_with_channels(8, 8, 1, false, Bytes(64, 90)), image), 0);
    EXPECT_EQ(pixel(image, 3, 3), (Pixel{90, 90, 90}));
}

TEST(ImageIo, GreyOfOneBitIsBlackAndWhite)
{
    RgbImage image;
    ASSERT_EQ(read_as_file(PngFile(3, 1, 1, 0).finish({0, 0xa0}), image), 0);
    EXPECT_EQ(pixel(image, 0, 0), (Pixel{255, 255, 255}));
    EXPECT_EQ(pixel(image, 1, 0), (Pixel{0, 0, 0}));
    EXPECT_EQ(pixel(image, 2, 0), (Pixel{255, 255, 255}));
}

TEST(ImageIo, SixteenBitsAreScaledToEight)
{
    // 65535 is 255, and 0x8080 is 0x80 times 257 exactly.
    RgbImage image;
    ASSERT_EQ(read_as_file(PngFile(2, 1, 16, 0).finish({0, 0xff, 0xff, 0x80, 0x80}), image), 0);
    EXPECT_EQ(pixel(image, 0, 0), (Pixel{255, 255, 255}));
    EXPECT_EQ(pixel(image, 1, 0), (Pixel{0x80, 0x80, 0x80}));
}

TEST(ImageIo, PaletteBecomesColour)
{
    RgbImage image;
    PngFile file(2, 1, 8, 3);
    file.chunk("PLTE", {1, 2, 3, 200, 100, 50}).chunk("tRNS", {0, 128});
    ASSERT_EQ(read_as_file(file.finish({0, 1, 0}), image), 0);
    EXPECT_EQ(pixel(image, 0, 0), (Pixel{50, 100, 200}));
    EXPECT_EQ(pixel(image, 1, 0), (Pixel{3, 2, 1}));
}

TEST(ImageIo, TransparencyIsDroppedAndTheColourStays)
{
    RgbImage image;
    ASSERT_EQ(read_as_file(PngFile(1, 1, 8, 6).finish({0, 10, 20, 30, 0}), image), 0);
    EXPECT_EQ(pixel(image, 0, 0), (Pixel{30, 20, 10}));
    ASSERT_EQ(read_as_file(PngFile(1, 1, 8, 4).finish({0, 40, 7}), image), 0);
    EXPECT_EQ(pixel(image, 0, 0), (Pixel{40, 40, 40}));
    PngFile keyed(1, 1, 8, 2);
    keyed.chunk("tRNS", {0, 9, 0, 8, 0, 7});
    ASSERT_EQ(read_as_file(keyed.finish({0, 9, 8, 7}), image), 0);
    EXPECT_EQ(pixel(image, 0, 0), (Pixel{7, 8, 9}));
}

TEST(ImageIo, PrintColoursAreRefused)
{
    EXPECT_EQ(code_of(jpeg_with_channels(8, 8, 4, false, Bytes(256, 90))), 2);
}

using ImageIoRealData = veld_test::RealData;

TEST_F(ImageIoRealData, JpegSurvivesBothFormats)
{
    RgbImage photo;
    ASSERT_EQ(read_rgb_image(veld_test::real_data("photos_castle/00000.jpg"), photo), 0);
    EXPECT_GT(photo.width(), 500);
    RgbImage back;
    ASSERT_EQ(read_as_file(encoded(photo, ".jpg"), back), 0);
    ASSERT_TRUE(same_size(photo, back));
    EXPECT_LT(mean_difference(photo, back), 2.0);
    ASSERT_EQ(read_as_file(encoded(photo, ".png"), back), 0);
    EXPECT_TRUE(same(photo, back));
}

TEST_F(ImageIoRealData, PngAgreesWithTheLibrarysOwnReading)
{
    std::string const path = veld_test::real_data("photos_temple_ring/templeSR0001.png");
    RgbImage photo;
    ASSERT_EQ(read_rgb_image(path, photo), 0);
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_file(&png, path.c_str()), 0);
    png.format = PNG_FORMAT_BGR;
    Bytes pixels(PNG_IMAGE_SIZE(png));
    ASSERT_NE(png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr), 0);
    ASSERT_EQ(pixels.size(), n_bytes(photo));
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), photo.data()));
}

TEST_F(ImageIoRealData, DepthImageOfSixteenBitsIsRead)
{
    RgbImage depth;
    ASSERT_EQ(read_rgb_image(veld_test::real_data("rgbd_room/frame-000000.depth.png"), depth), 0);
    EXPECT_EQ(depth.width(), 640);
    EXPECT_EQ(depth.height(), 480);
}

// Depth images.

using DepthImage = Image<1, std::uint16_t>;

/// Reads bytes as a depth image into one that is not empty before.
int depth_code_of(Bytes const& bytes, DepthImage& image)
{
    TempDir const dir;
    write_bytes(dir.file("image"), bytes);
    image = DepthImage(2, 2);
    int const code = read_depth_image(dir.file("image"), image);
    EXPECT_EQ(image.empty(), code != 0);
    return code;
}

TEST(DepthImages, ValuesComeAsTheyAreStored)
{
    DepthImage image;
    // Two rows of 0, 1, 258 and 65535, 256, 4660; high bytes first.
    Bytes const rows{0, 0, 0, 0, 1, 1, 2, 0, 0xff, 0xff, 1, 0, 0x12, 0x34};
    ASSERT_EQ(depth_code_of(PngFile(3, 2, 16, 0).finish(rows), image), 0);
    EXPECT_EQ(image.width(), 3);
    EXPECT_EQ(image.height(), 2);
    EXPECT_EQ(std::vector<int>(image.data(), image.data() + 6),
              (std::vector<int>{0, 1, 258, 65535, 256, 4660}));
}

TEST(DepthImages, OtherChannelsAreRefused)
{
    DepthImage image;
    EXPECT_EQ(depth_code_of(PngFile(1, 1, 8, 0).finish({0, 9}), image), 2);
    EXPECT_EQ(depth_code_of(PngFile(1, 1, 16, 4).finish({0, 0, 9, 0, 9}), image), 2);
    EXPECT_EQ(depth_code_of(PngFile(1, 1, 16, 2).finish(Bytes(7, 0)), image), 2);
    EXPECT_EQ(depth_code_of(encoded(gradient(3, 3), ".png"), image), 2);
    EXPECT_EQ(depth_code_of(encoded(gradient(3, 3), ".jpg"), image), 1);
}

TEST(DepthImages, MissingForeignAndCutOffFiles)
{
    TempDir const dir;
    DepthImage image(2, 2);
    EXPECT_EQ(read_depth_image(dir.file("missing.png"), image), 1);
    EXPECT_TRUE(image.empty());
    EXPECT_EQ(depth_code_of({}, image), 1);
    EXPECT_EQ(depth_code_of(Bytes(100, 'x'), image), 1);
    Bytes const whole = PngFile(5, 1, 16, 0).finish({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    for (std::size_t length = 8; length < whole.size(); ++length)
    {
        Bytes const cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(depth_code_of(cut, image), 2) << length;
    }
    EXPECT_EQ(depth_code_of(PngFile(16000, 16000, 16, 0).finish(Bytes(100, 0)), image), 2);
}

using DepthImagesRealData = veld_test::RealData;

TEST_F(DepthImagesRealData, ReadingAgreesWithTheLibrarysOwnReading)
{
    std::string const path = veld_test::real_data("rgbd_room/frame-000000.depth.png");
    DepthImage depth;
    ASSERT_EQ(read_depth_image(path, depth), 0);
    ASSERT_EQ(depth.width(), 640);
    ASSERT_EQ(depth.height(), 480);
    RgbImage grey;
    ASSERT_EQ(read_rgb_image(path, grey), 0);
    for (int y = 0; y < 480; ++y)
    {
        for (int x = 0; x < 640; ++x)
        {
            // 65535 becomes 255, so a grey level is 257 depths wide.
            ASSERT_NEAR(*depth.pixel(x, y) / 257.0, grey.pixel(x, y)[0], 0.51);
        }
    }
}
