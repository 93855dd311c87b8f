#include "algorithmVeld/common/image_files/image_codecs.h"

#include "algorithmVeld/common/files/BinaryFile.h"
#include "algorithmVeld/common/files/limits.h"
#include "algorithmVeld/common/running/Progress.h"

#include <png.h>

#include <cstring>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The most that a byte can stand for in PNG's compression; a header that promises more is damaged.
constexpr std::uint64_t MAX_EXPANSION = 1032;

[[noreturn]] void on_error(png_structp png, png_const_charp)
{
    std::longjmp(*static_cast<std::jmp_buf*>(png_get_error_ptr(png)), 1);
}

void on_warning(png_structp, png_const_charp) {}

/// What a reader wants of a file's pixels: blue, green, red, whatever they are.
struct ColourPixels
{
    using Image = RgbImage;
    static constexpr std::size_t BYTES = 3;

    static bool takes(png_structp, png_infop) { return true; }
    static void convert(png_structp png)
    {
        png_set_scale_16(png);
        png_set_palette_to_rgb(png);
        png_set_expand_gray_1_2_4_to_8(png);
        png_set_strip_alpha(png);
        png_set_gray_to_rgb(png);
        png_set_bgr(png);
    }
};

/// One grey channel of 16 bits as numbers of the machine.
struct DepthPixels
{
    using Image = DepthImage;
    static constexpr std::size_t BYTES = 2;

    static bool takes(png_structp png, png_infop info)
    {
        return png_get_bit_depth(png, info) == 16 &&
               png_get_color_type(png, info) == PNG_COLOR_TYPE_GRAY;
    }
    static void convert(png_structp png)
    {
        if (host_is_little_endian())
        {
            png_set_swap(png); // the file's are big-endian
        }
    }
};

template <typename Pixels>
class PngReader
{
public:
    explicit PngReader(Bytes const& bytes) : next_(bytes.data()), left_(bytes.size()) {}
    ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngReader(PngReader const&) = delete;
    PngReader& operator=(PngReader const&) = delete;

    bool read(typename Pixels::Image& image)
    {
        std::uint64_t const n_bytes = left_;
        if (!runs_without_error(jump_, [this] { read_header(); }) || !has_plausible_size(n_bytes) ||
            !Pixels::takes(png_, info_))
        {
            return false;
        }
        make_room();
        if (!runs_without_error(jump_, [this] { read_rows(); }))
        {
            return false;
        }
        image.swap(image_);
        return true;
    }

private:
    static void on_read(png_structp png, png_bytep to, std::size_t n)
    {
        auto* const reader = static_cast<PngReader*>(png_get_io_ptr(png));
        if (n > reader->left_)
        {
            png_error(png, "cut off");
        }
        std::memcpy(to, reader->next_, n);
        reader->next_ += n;
        reader->left_ -= n;
    }

    static void on_row(png_structp png, png_uint_32, int)
    {
        if (is_run_cancelled())
        {
            png_error(png, "cancelled");
        }
    }

    void read_header()
    {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &jump_, on_error, on_warning);
        info_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
        if (info_ == nullptr)
        {
            std::longjmp(jump_, 1);
        }
        png_set_crc_action(png_, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
        png_set_read_fn(png_, this, on_read);
        png_set_read_status_fn(png_, on_row);
        png_read_info(png_, info_);
    }

    bool has_plausible_size(std::uint64_t n_bytes) const
    {
        std::uint64_t const width = png_get_image_width(png_, info_);
        std::uint64_t const height = png_get_image_height(png_, info_);
        return width * height <= MOST_CELLS &&
               height * png_get_rowbytes(png_, info_) / MAX_EXPANSION <= n_bytes;
    }

    void make_room()
    {
        image_ = typename Pixels::Image(static_cast<int>(png_get_image_width(png_, info_)),
                                        static_cast<int>(png_get_image_height(png_, info_)));
        for (int y = 0; y < image_.height(); ++y)
        {
            rows_.push_back(reinterpret_cast<png_bytep>(image_.pixel(0, y)));
        }
    }

    void read_rows()
    {
        Pixels::convert(png_);
        png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        if (png_get_rowbytes(png_, info_) !=
            Pixels::BYTES * static_cast<std::size_t>(image_.width()))
        {
            png_error(png_, "other channels");
        }
        png_read_image(png_, rows_.data());
        png_read_end(png_, nullptr);
    }

    unsigned char const* next_;
    std::size_t left_;
    std::jmp_buf jump_{};
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    typename Pixels::Image image_;
    std::vector<png_bytep> rows_;
};

class PngWriter
{
public:
    PngWriter(std::ostream& stream, RgbImage const& image) : stream_(stream), image_(image) {}
    ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
    PngWriter(PngWriter const&) = delete;
    PngWriter& operator=(PngWriter const&) = delete;

    bool write()
    {
        return runs_without_error(jump_,
                                  [this]
                                  {
                                      write_header();
                                      write_rows();
                                  });
    }

private:
    static void on_write(png_structp png, png_bytep from, std::size_t n)
    {
        auto* const writer = static_cast<PngWriter*>(png_get_io_ptr(png));
        writer->stream_.write(reinterpret_cast<char const*>(from), static_cast<std::streamsize>(n));
        if (!writer->stream_)
        {
            png_error(png, "not written");
        }
    }

    static void on_flush(png_structp) {}

    void write_header()
    {
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &jump_, on_error, on_warning);
        info_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
        if (info_ == nullptr)
        {
            std::longjmp(jump_, 1);
        }
        png_set_write_fn(png_, this, on_write, on_flush);
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(image_.width()),
                     static_cast<png_uint_32>(image_.height()), 8, PNG_COLOR_TYPE_RGB,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png_, info_);
        png_set_bgr(png_);
    }

    void write_rows()
    {
        for (int y = 0; y < image_.height(); ++y)
        {
            png_write_row(png_, image_.pixel(0, y));
            poll_cancel();
        }
        png_write_end(png_, nullptr);
    }

    std::ostream& stream_;
    RgbImage const& image_;
    std::jmp_buf jump_{};
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

} // namespace

bool write_png(std::ostream& stream, RgbImage const& image)
{
    bool const written = PngWriter(stream, image).write();
    poll_cancel();
    return written;
}

bool read_png(Bytes const& bytes, RgbImage& image)
{
    bool const read = PngReader<ColourPixels>(bytes).read(image);
    poll_cancel();
    return read;
}

bool read_png_depth(Bytes const& bytes, DepthImage& image)
{
    bool const read = PngReader<DepthPixels>(bytes).read(image);
    poll_cancel();
    return read;
}

} // namespace OrvaneAlgorithm::detail
