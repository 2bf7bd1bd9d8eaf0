// JPEG, through libjpeg itself: its messages go nowhere, and the size is known before the pixels take memory.
#include "kivrender/platform/kivimagecodecs.h"

#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <jerror.h>
#include <jpeglib.h>

namespace {

// Lines stay clean from about 90 on.
constexpr int quality = 95;
// A file of a few thousand bytes can ask for any number of passes over a large picture; cameras and tools make some
// ten.
constexpr int maxScans = 100;

struct ErrorManager : jpeg_error_mgr {
    std::jmp_buf escape;
    bool cutOff = false; // the file ended before its picture
};

extern "C" {
void kivJpegExit(j_common_ptr codec) {
    std::longjmp(static_cast<ErrorManager*>(codec->err)->escape, 1);
}

void kivJpegMessage(j_common_ptr codec, int level) {
    // Below 0 is a warning. Most are about details that every program overlooks.
    if (level < 0 && codec->err->msg_code == JWRN_JPEG_EOF) {
        static_cast<ErrorManager*>(codec->err)->cutOff = true;
    }
}

void kivJpegProgress(j_common_ptr codec) {
    if (codec->is_decompressor != 0 && reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > maxScans) {
        kivJpegExit(codec);
    }
}

void kivJpegSilent(j_common_ptr) {}
}

jpeg_error_mgr* prepare(ErrorManager& errors) {
    jpeg_error_mgr* base = jpeg_std_error(&errors);
    base->error_exit = kivJpegExit;
    base->emit_message = kivJpegMessage;
    base->output_message = kivJpegSilent;
    return base;
}

double perInch(int unit, int density) {
    return unit == 1 ? density : unit == 2 ? density * 2.54 : 0;
}

// Where libjpeg keeps its state, apart from the functions that call setjmp: those have no objects to destroy.
struct Decoder {
    Decoder() : codec{}, progress{} {
        codec.err = prepare(errors);
        progress.progress_monitor = kivJpegProgress;
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() {
        jpeg_destroy_decompress(&codec);
    }

    jpeg_decompress_struct codec;
    jpeg_progress_mgr progress;
    ErrorManager errors{};
};

bool readHeader(Decoder& decoder, KivImageBytes bytes) {
    if (setjmp(decoder.errors.escape) != 0) {
        return false;
    }
    jpeg_create_decompress(&decoder.codec);
    decoder.codec.progress = &decoder.progress;
    jpeg_mem_src(&decoder.codec, bytes.data(), bytes.size());
    return jpeg_read_header(&decoder.codec, TRUE) == JPEG_HEADER_OK;
}

// What scanline filled: 3 or 4 channels (the latter inverted, as every program writes them) to blue, green, red.
void convertRow(const JSAMPLE* from, int channels, KivImage& image, std::int32_t y) {
    std::uint8_t* to = image.row(y);
    for (std::int32_t x = 0; x < image.width(); ++x, to += 3, from += channels) {
        if (channels == 4) {
            to[0] = static_cast<std::uint8_t>(from[2] * from[3] / 255);
            to[1] = static_cast<std::uint8_t>(from[1] * from[3] / 255);
            to[2] = static_cast<std::uint8_t>(from[0] * from[3] / 255);
        } else {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
        }
    }
}

bool readPixels(Decoder& decoder, JSAMPLE* scanline, KivImage& image) {
    if (setjmp(decoder.errors.escape) != 0) {
        return false;
    }
    jpeg_decompress_struct& codec = decoder.codec;
    codec.out_color_space = codec.num_components == 4 ? JCS_CMYK : JCS_RGB;
    jpeg_start_decompress(&codec);
    while (codec.output_scanline < codec.output_height) {
        const auto y = static_cast<std::int32_t>(codec.output_scanline);
        jpeg_read_scanlines(&codec, &scanline, 1);
        convertRow(scanline, codec.output_components, image, y);
    }
    return !decoder.errors.cutOff;
}

struct Encoder {
    Encoder() : codec{} {
        codec.err = prepare(errors);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
    ~Encoder() {
        jpeg_destroy_compress(&codec);
        std::free(bytes);
    }

    jpeg_compress_struct codec;
    ErrorManager errors{};
    unsigned char* bytes = nullptr;
    unsigned long count = 0;
};

bool write(Encoder& encoder, const KivImage& image, JSAMPLE* scanline) {
    if (setjmp(encoder.errors.escape) != 0) {
        return false;
    }
    jpeg_compress_struct& codec = encoder.codec;
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, &encoder.bytes, &encoder.count);
    codec.image_width = static_cast<JDIMENSION>(image.width());
    codec.image_height = static_cast<JDIMENSION>(image.height());
    codec.input_components = 3;
    codec.in_color_space = JCS_RGB;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, quality, TRUE);
    // Colour in full resolution: thin coloured lines would bleed.
    codec.comp_info[0].h_samp_factor = 1;
    codec.comp_info[0].v_samp_factor = 1;
    if (image.horizontalResolution() > 0 && image.verticalResolution() > 0) {
        codec.density_unit = 1;
        codec.X_density = static_cast<UINT16>(std::lround(image.horizontalResolution()));
        codec.Y_density = static_cast<UINT16>(std::lround(image.verticalResolution()));
    }
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        image.copyRowRgb(static_cast<std::int32_t>(codec.next_scanline), scanline);
        jpeg_write_scanlines(&codec, &scanline, 1);
    }
    jpeg_finish_compress(&codec);
    return true;
}

} // namespace

std::unique_ptr<KivImage> kivReadJpeg(KivImageBytes bytes, std::uint64_t maxPixels) {
    Decoder decoder;
    if (!readHeader(decoder, bytes) ||
        !kivImageSizeAllowed(decoder.codec.image_width, decoder.codec.image_height, maxPixels)) {
        return nullptr;
    }
    std::unique_ptr<KivImage> image = KivImage::create(
        {static_cast<std::int32_t>(decoder.codec.image_width), static_cast<std::int32_t>(decoder.codec.image_height)});
    if (!image) {
        return nullptr;
    }
    image->setResolution(perInch(decoder.codec.density_unit, decoder.codec.X_density),
                         perInch(decoder.codec.density_unit, decoder.codec.Y_density));
    std::vector<JSAMPLE> scanline(std::size_t{4} * decoder.codec.image_width);
    return readPixels(decoder, scanline.data(), *image) ? std::move(image) : nullptr;
}

std::vector<std::uint8_t> kivWriteJpeg(const KivImage& image) {
    Encoder encoder;
    std::vector<JSAMPLE> scanline(std::size_t{3} * static_cast<std::size_t>(image.width()));
    if (!write(encoder, image, scanline.data())) {
        return {};
    }
    return {encoder.bytes, encoder.bytes + encoder.count};
}
