#include "algorithmVeld/common/image_files/image_codecs.h"
#include "algorithmVeld/common/running/Progress.h"

#include "algorithmVeld/common/files/limits.h"

#include <array>
#include <cstdio> // libjpeg's header needs it

#include <jerror.h>
#include <jpeglib.h>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int QUALITY = 95;

/// A block of 64 pixels takes a bit at least; a header that promises more is damaged. Arithmetic
/// coding, which hardly any reader knows, can do with less and is refused.
constexpr std::uint64_t MAX_PIXELS_PER_BYTE = 512;

/// Real files have a dozen. Each costs a pass over the image, however few bytes it has.
constexpr int MAX_SCANS = 500;

/// libjpeg's own way out of an error ends the process, and its messages go to standard error.
struct JpegErrors
{
    jpeg_error_mgr manager{}; // libjpeg knows this part only: it stays the first
    std::jmp_buf jump{};
};

[[noreturn]] void on_error(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<JpegErrors*>(info->err)->jump, 1);
}

/// libjpeg fills in grey where data is missing or wrong, and only warns of it.
bool means_damage(int message)
{
    return message == JWRN_HIT_MARKER || message == JWRN_HUFF_BAD_CODE ||
           message == JWRN_JPEG_EOF || message == JWRN_MUST_RESYNC;
}

void on_message(j_common_ptr info, int level)
{
    if (level < 0 && means_damage(info->err->msg_code))
    {
        on_error(info);
    }
}

void on_output(j_common_ptr) {}

void on_progress(j_common_ptr info)
{
    if (is_run_cancelled() ||
        reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > MAX_SCANS)
    {
        on_error(info);
    }
}

jpeg_error_mgr* set_up(JpegErrors& errors)
{
    jpeg_std_error(&errors.manager);
    errors.manager.error_exit = on_error;
    errors.manager.emit_message = on_message;
    errors.manager.output_message = on_output;
    return &errors.manager;
}

/// Exchanges red and blue of a row, from `from` to `to`, which may be the same.
void exchange_red_and_blue(unsigned char const* from, unsigned char* to, std::size_t width)
{
    for (std::size_t i = 0; i < 3 * width; i += 3)
    {
        unsigned char const first = from[i];
        to[i + 1] = from[i + 1];
        to[i] = from[i + 2];
        to[i + 2] = first;
    }
}

class JpegReader
{
public:
    explicit JpegReader(Bytes const& bytes) : bytes_(bytes)
    {
        info_.err = set_up(errors_);
        progress_.progress_monitor = on_progress;
    }
    ~JpegReader() { jpeg_destroy_decompress(&info_); }
    JpegReader(JpegReader const&) = delete;
    JpegReader& operator=(JpegReader const&) = delete;

    bool read(RgbImage& image)
    {
        if (!runs_without_error(errors_.jump, [this] { read_header(); }) || !has_plausible_size())
        {
            return false;
        }
        image_ =
            RgbImage(static_cast<int>(info_.image_width), static_cast<int>(info_.image_height));
        if (!runs_without_error(errors_.jump, [this] { read_rows(); }))
        {
            return false;
        }
        image.swap(image_);
        return true;
    }

private:
    void read_header()
    {
        jpeg_create_decompress(&info_);
        info_.progress = &progress_;
        jpeg_mem_src(&info_, bytes_.data(), static_cast<unsigned long>(bytes_.size()));
        jpeg_read_header(&info_, TRUE);
        info_.out_color_space = JCS_RGB;
    }

    bool has_plausible_size() const
    {
        std::uint64_t const pixels = std::uint64_t{info_.image_width} * info_.image_height;
        return !info_.arith_code && pixels > 0 && pixels <= MOST_CELLS &&
               pixels / MAX_PIXELS_PER_BYTE <= bytes_.size();
    }

    void read_rows()
    {
        jpeg_start_decompress(&info_);
        while (info_.output_scanline < info_.output_height)
        {
            JSAMPROW row = image_.pixel(0, static_cast<int>(info_.output_scanline));
            jpeg_read_scanlines(&info_, &row, 1);
            exchange_red_and_blue(row, row, info_.output_width);
            poll_cancel();
        }
        jpeg_finish_decompress(&info_);
    }

    Bytes const& bytes_;
    JpegErrors errors_;
    jpeg_progress_mgr progress_{};
    jpeg_decompress_struct info_{};
    RgbImage image_;
};

/// Takes libjpeg's output to a stream, a buffer at a time.
struct JpegSink
{
    jpeg_destination_mgr manager{}; // libjpeg knows this part only: it stays the first
    std::ostream* stream = nullptr;
    std::array<JOCTET, 65536> buffer{};
};

JpegSink& sink_of(j_compress_ptr info)
{
    return *reinterpret_cast<JpegSink*>(info->dest);
}

void write_buffer(j_compress_ptr info, std::size_t n)
{
    JpegSink& sink = sink_of(info);
    sink.stream->write(reinterpret_cast<char const*>(sink.buffer.data()),
                       static_cast<std::streamsize>(n));
    if (!*sink.stream)
    {
        on_error(reinterpret_cast<j_common_ptr>(info));
    }
}

void on_sink_start(j_compress_ptr info)
{
    JpegSink& sink = sink_of(info);
    sink.manager.next_output_byte = sink.buffer.data();
    sink.manager.free_in_buffer = sink.buffer.size();
}

boolean on_sink_full(j_compress_ptr info)
{
    write_buffer(info, sink_of(info).buffer.size());
    on_sink_start(info);
    return TRUE;
}

void on_sink_end(j_compress_ptr info)
{
    JpegSink const& sink = sink_of(info);
    write_buffer(info, sink.buffer.size() - sink.manager.free_in_buffer);
}

class JpegWriter
{
public:
    JpegWriter(std::ostream& stream, RgbImage const& image)
        : image_(image), row_(3 * static_cast<std::size_t>(image.width()))
    {
        info_.err = set_up(errors_);
        sink_.stream = &stream;
        sink_.manager.init_destination = on_sink_start;
        sink_.manager.empty_output_buffer = on_sink_full;
        sink_.manager.term_destination = on_sink_end;
    }
    ~JpegWriter() { jpeg_destroy_compress(&info_); }
    JpegWriter(JpegWriter const&) = delete;
    JpegWriter& operator=(JpegWriter const&) = delete;

    bool write()
    {
        return runs_without_error(errors_.jump,
                                  [this]
                                  {
                                      write_header();
                                      write_rows();
                                  });
    }

private:
    void write_header()
    {
        jpeg_create_compress(&info_);
        info_.dest = &sink_.manager;
        info_.image_width = static_cast<JDIMENSION>(image_.width());
        info_.image_height = static_cast<JDIMENSION>(image_.height());
        info_.input_components = 3;
        info_.in_color_space = JCS_RGB;
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, QUALITY, TRUE);
        // Colour in full resolution: in an atlas, the patch next door would shine in.
        info_.comp_info[0].h_samp_factor = 1;
        info_.comp_info[0].v_samp_factor = 1;
        jpeg_start_compress(&info_, TRUE);
    }

    void write_rows()
    {
        while (info_.next_scanline < info_.image_height)
        {
            exchange_red_and_blue(image_.pixel(0, static_cast<int>(info_.next_scanline)),
                                  row_.data(), info_.image_width);
            JSAMPROW row = row_.data();
            jpeg_write_scanlines(&info_, &row, 1);
            poll_cancel();
        }
        jpeg_finish_compress(&info_);
    }

    RgbImage const& image_;
    Bytes row_;
    JpegErrors errors_;
    JpegSink sink_;
    jpeg_compress_struct info_{};
};

} // namespace

bool write_jpeg(std::ostream& stream, RgbImage const& image)
{
    bool const written = JpegWriter(stream, image).write();
    poll_cancel();
    return written;
}

bool read_jpeg(Bytes const& bytes, RgbImage& image)
{
    bool const read = JpegReader(bytes).read(image);
    poll_cancel();
    return read;
}

} // namespace OrvaneAlgorithm::detail
