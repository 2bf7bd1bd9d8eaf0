// Films by FFmpeg's libraries, in the module that the programs load for them.
#include "apps/common/filmencoder.h"
#include "apps/common/filmpalette.h"
#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivimage.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

namespace {

class FfmpegFilm : public FilmEncoder {
public:
    FfmpegFilm(const std::string& name, tagSIZE size, int framesPerSecond) : file(name) {
        try {
            open(size, framesPerSecond);
        } catch (...) {
            release();
            throw;
        }
    }
    FfmpegFilm(const FfmpegFilm&) = delete;
    FfmpegFilm& operator=(const FfmpegFilm&) = delete;
    ~FfmpegFilm() override {
        release();
    }

    void add(const KivImage& picture) override;
    void finish() override;

private:
    void release() {
        if (hasHeader) {
            av_write_trailer(format); // else the writer of gifs keeps its last packet for good
        }
        sws_freeContext(scaler);
        av_packet_free(&packet);
        av_frame_free(&frame);
        avcodec_free_context(&codec);
        if (format != nullptr) {
            avio_closep(&format->pb);
            avformat_free_context(format);
        }
    }

    [[noreturn]] void fail(int error) const {
        std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
        av_strerror(error, text.data(), text.size());
        throw std::runtime_error("can't write \"" + file + "\": " + text.data());
    }
    int check(int result) const {
        if (result < 0) {
            fail(result);
        }
        return result;
    }

    void open(tagSIZE size, int framesPerSecond);
    void openCodec(tagSIZE size, int framesPerSecond);
    void encode(const AVFrame* picture);
    void fill(const KivImage& picture);

    std::string file;
    AVFormatContext* format = nullptr;
    AVCodecContext* codec = nullptr;
    AVStream* stream = nullptr;
    AVFrame* frame = nullptr;
    AVPacket* packet = nullptr;
    SwsContext* scaler = nullptr;
    std::unique_ptr<FilmPalette> palette; // of a gif
    std::int64_t number = 0;
    bool hasHeader = false; // and no trailer yet
};

void FfmpegFilm::open(tagSIZE size, int framesPerSecond) {
    av_log_set_level(AV_LOG_QUIET); // what goes wrong is told by us
    check(avformat_alloc_output_context2(&format, nullptr, nullptr, file.c_str()));
    stream = avformat_new_stream(format, nullptr);
    frame = av_frame_alloc();
    packet = av_packet_alloc();
    if (stream == nullptr || frame == nullptr || packet == nullptr) {
        throw std::bad_alloc();
    }
    openCodec(size, framesPerSecond);
    check(avcodec_parameters_from_context(stream->codecpar, codec));
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = codec->framerate;
    check(avio_open(&format->pb, file.c_str(), AVIO_FLAG_WRITE));
    // The index of an mp4 stands at its beginning, so that it plays while it is loaded.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "+faststart", 0);
    const int result = avformat_write_header(format, &options);
    av_dict_free(&options);
    check(result);
    hasHeader = true;
}

void FfmpegFilm::openCodec(tagSIZE size, int framesPerSecond) {
    const bool isGif = format->oformat->video_codec == AV_CODEC_ID_GIF;
    const bool isWebm = std::strcmp(format->oformat->name, "webm") == 0;
    const AVCodec* encoder = isGif    ? avcodec_find_encoder(AV_CODEC_ID_GIF)
                             : isWebm ? avcodec_find_encoder(AV_CODEC_ID_VP9)
                                      : avcodec_find_encoder(AV_CODEC_ID_H264);
    if (encoder == nullptr) {
        throw std::runtime_error("can't write \"" + file + "\": libavcodec has no encoder for it here");
    }
    codec = avcodec_alloc_context3(encoder);
    if (codec == nullptr) {
        throw std::bad_alloc();
    }
    codec->width = size.cx;
    codec->height = size.cy;
    codec->time_base = {1, framesPerSecond};
    codec->framerate = {framesPerSecond, 1};
    codec->pix_fmt = isGif ? AV_PIX_FMT_PAL8 : AV_PIX_FMT_YUV420P;
    codec->gop_size = 2 * framesPerSecond;
    // The same film whatever machine draws it.
    codec->flags |= AV_CODEC_FLAG_BITEXACT;
    format->flags |= AVFMT_FLAG_BITEXACT;
    if (!isGif) {
        codec->color_range = AVCOL_RANGE_MPEG;
        codec->colorspace = AVCOL_SPC_BT709;
        codec->color_primaries = AVCOL_PRI_BT709;
        codec->color_trc = AVCOL_TRC_BT709;
        // Flat colours beside ink lines show every saving: a quality at which nothing is seen of it.
        av_opt_set(codec->priv_data, "crf", isWebm ? "24" : "17", 0);
        av_opt_set(codec->priv_data, "preset", "medium", 0);
        av_opt_set(codec->priv_data, "tune", "animation", 0);
        av_opt_set(codec->priv_data, "deadline", "good", 0);
        av_opt_set(codec->priv_data, "cpu-used", "3", 0);
    }
    if ((format->oformat->flags & AVFMT_GLOBALHEADER) != 0) {
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    check(avcodec_open2(codec, encoder, nullptr));
    frame->format = codec->pix_fmt;
    frame->width = size.cx;
    frame->height = size.cy;
    check(av_frame_get_buffer(frame, 0));
    if (!isGif) {
        scaler = sws_getContext(size.cx, size.cy, AV_PIX_FMT_BGR24, size.cx, size.cy, codec->pix_fmt,
                                SWS_BICUBIC | SWS_ACCURATE_RND | SWS_BITEXACT, nullptr, nullptr, nullptr);
        if (scaler == nullptr) {
            throw std::bad_alloc();
        }
        const int* const coefficients = sws_getCoefficients(SWS_CS_ITU709);
        sws_setColorspaceDetails(scaler, coefficients, 1, coefficients, 0, 0, 1 << 16, 1 << 16);
    }
}

void FfmpegFilm::encode(const AVFrame* picture) {
    check(avcodec_send_frame(codec, picture));
    for (;;) {
        const int result = avcodec_receive_packet(codec, packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        check(result);
        av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
        packet->stream_index = stream->index;
        check(av_interleaved_write_frame(format, packet));
    }
}

void FfmpegFilm::fill(const KivImage& picture) {
    check(av_frame_make_writable(frame));
    if (codec->pix_fmt == AV_PIX_FMT_PAL8) {
        if (!palette) {
            palette = std::make_unique<FilmPalette>(picture);
        }
        palette->fill(picture, frame->data[0], static_cast<std::size_t>(frame->linesize[0]));
        std::memcpy(frame->data[1], palette->colours().data(), palette->colours().size() * 4);
        return;
    }
    const std::uint8_t* const rows[] = {picture.row(0)};
    const int strides[] = {static_cast<int>(picture.rowBytes())};
    sws_scale(scaler, rows, strides, 0, picture.height(), frame->data, frame->linesize);
}

void FfmpegFilm::add(const KivImage& picture) {
    if (picture.width() != codec->width || picture.height() != codec->height ||
        picture.layout() != KivImage::Layout::rgb24) {
        throw std::runtime_error("a picture has not the size of the film");
    }
    fill(picture);
    frame->pts = number++;
    encode(frame);
}

void FfmpegFilm::finish() {
    encode(nullptr);
    hasHeader = false;
    check(av_write_trailer(format));
    check(avio_closep(&format->pb));
}

} // namespace

KIV_PLUGIN_EXPORT void selvarinFilmEncoder(const std::string& file, tagSIZE size, int framesPerSecond,
                                           std::unique_ptr<FilmEncoder>* encoder) {
    *encoder = std::make_unique<FfmpegFilm>(file, size, framesPerSecond);
}
