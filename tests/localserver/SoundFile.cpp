#include "SoundFile.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

namespace pell::localserver {
namespace {

void require(bool condition) {
  if (!condition) throw std::runtime_error("the sound file could not be made");
}

/// Floating point where the encoder takes it, else 16 bits. For one channel planar and packed are the same.
AVSampleFormat formatOf(const AVCodec& encoder) {
  AVSampleFormat found = AV_SAMPLE_FMT_NONE;
  for (const AVSampleFormat* format = encoder.sample_fmts; *format != AV_SAMPLE_FMT_NONE; ++format) {
    const AVSampleFormat packed = av_get_packed_sample_fmt(*format);
    if (packed == AV_SAMPLE_FMT_FLT) return *format;
    if (packed == AV_SAMPLE_FMT_S16) found = *format;
  }
  return found;
}

struct Writer {
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();

  ~Writer() {
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
    avformat_free_context(format);
  }

  void open(const char* container, const char* encoderName) {
    require(avformat_alloc_output_context2(&format, nullptr, container, nullptr) >= 0);
    require(avio_open_dyn_buf(&format->pb) >= 0);
    const AVCodec* encoder = avcodec_find_encoder_by_name(encoderName);
    require(encoder);
    codec = avcodec_alloc_context3(encoder);
    codec->sample_rate = speechRate;
    codec->sample_fmt = formatOf(*encoder);
    codec->bit_rate = 32'000;
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&codec->ch_layout, 1);
    require(avcodec_open2(codec, encoder, nullptr) >= 0);
    AVStream* stream = avformat_new_stream(format, nullptr);
    require(avcodec_parameters_from_context(stream->codecpar, codec) >= 0);
    require(avformat_write_header(format, nullptr) >= 0);
    constexpr int anySize = 1024;
    frame->nb_samples = codec->frame_size > 0 ? codec->frame_size : anySize;
    frame->format = codec->sample_fmt;
    frame->sample_rate = speechRate;
    av_channel_layout_default(&frame->ch_layout, 1);
    require(av_frame_get_buffer(frame, 0) >= 0);
  }

  void encode(const AVFrame* input) {
    require(avcodec_send_frame(codec, input) >= 0);
    while (avcodec_receive_packet(codec, packet) >= 0) {
      av_packet_rescale_ts(packet, {1, speechRate}, format->streams[0]->time_base);
      require(av_interleaved_write_frame(format, packet) >= 0);
    }
  }

  std::string close() {
    encode(nullptr);
    require(av_write_trailer(format) >= 0);
    std::uint8_t* bytes = nullptr;
    const int size = avio_close_dyn_buf(format->pb, &bytes);
    const std::string file(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    av_free(bytes);
    return file;
  }
};

}  // namespace

Pcm tone(double seconds) {
  Pcm samples(static_cast<std::size_t>(seconds * speechRate));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double phase = 2 * std::numbers::pi * 440 * static_cast<double>(i) / speechRate;
    samples[i] = static_cast<std::int16_t>(8192 * std::sin(phase));
  }
  return samples;
}

std::string mp4File(const Pcm& samples) { return soundFile("mp4", "aac", samples); }

std::string soundFile(const char* container, const char* encoder, const Pcm& samples) {
  Writer writer;
  writer.open(container, encoder);
  const bool real = av_get_packed_sample_fmt(writer.codec->sample_fmt) == AV_SAMPLE_FMT_FLT;
  const auto length = static_cast<std::size_t>(writer.frame->nb_samples);
  for (std::size_t begin = 0; begin < samples.size(); begin += length) {
    require(av_frame_make_writable(writer.frame) >= 0);
    auto* reals = reinterpret_cast<float*>(writer.frame->data[0]);
    auto* integers = reinterpret_cast<std::int16_t*>(writer.frame->data[0]);
    for (std::size_t i = 0; i < length; ++i) {
      const std::int16_t sample = begin + i < samples.size() ? samples[begin + i] : 0;
      if (real) {
        reals[i] = static_cast<float>(sample) / 32768;
      } else {
        integers[i] = sample;
      }
    }
    writer.frame->pts = static_cast<std::int64_t>(begin);
    writer.encode(writer.frame);
  }
  return writer.close();
}

}  // namespace pell::localserver
