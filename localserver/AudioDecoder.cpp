#include "localserver/AudioDecoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "localserver/ApiError.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/log.h>
#include <libswresample/swresample.h>
}

namespace pell::localserver {
namespace {

constexpr std::size_t sampleLimit =
    static_cast<std::size_t>(std::chrono::seconds(longestAudio).count()) * speechRate;
// Playlists and other formats that name further files are kept out.
constexpr const char* formats = "mov,mp4,m4a,3gp,3g2,mj2,mp3,aac,wav,ogg,matroska,webm,flac";
// What recorders put into these. Containers could ask for hundreds of other decoders, pictures' among them,
// that few people look at and that strangers' bytes must not reach.
constexpr const char* codecs =
    "aac,alac,flac,mp3,mp3float,opus,vorbis,pcm_u8,pcm_s16le,pcm_s16be,pcm_s24le,pcm_s32le,pcm_f32le,"
    "pcm_f64le,pcm_alaw,pcm_mulaw";

struct CloseInput {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct FreeIo {
  void operator()(AVIOContext* io) const {
    av_freep(&io->buffer);
    avio_context_free(&io);
  }
};
struct FreeCodec {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};
struct FreeFrame {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct FreePacket {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FreeResampler {
  void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};

[[noreturn]] void refuse() {
  throw Refusal({422, "BAD_AUDIO", "The recording could not be read. Try again."});
}

template <class T>
T* present(T* pointer) {
  if (!pointer) throw std::bad_alloc();
  return pointer;
}

/// The bytes as a seekable file.
struct MemoryFile {
  const std::string& bytes;
  std::size_t position = 0;

  static int read(void* context, std::uint8_t* buffer, int size) {
    auto& file = *static_cast<MemoryFile*>(context);
    const std::size_t count = std::min(static_cast<std::size_t>(size), file.bytes.size() - file.position);
    if (count == 0) return AVERROR_EOF;
    std::memcpy(buffer, file.bytes.data() + file.position, count);
    file.position += count;
    return static_cast<int>(count);
  }

  static std::int64_t seek(void* context, std::int64_t offset, int whence) {
    auto& file = *static_cast<MemoryFile*>(context);
    const auto size = static_cast<std::int64_t>(file.bytes.size());
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE) return size;
    std::int64_t target = offset;
    if (whence == SEEK_CUR) target += static_cast<std::int64_t>(file.position);
    if (whence == SEEK_END) target += size;
    if (target < 0 || target > size) return AVERROR(EINVAL);
    file.position = static_cast<std::size_t>(target);
    return target;
  }
};

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
  return AVERROR(EACCES);
}

/// The container: demultiplexes the first sound track.
class Container {
 public:
  explicit Container(const std::string& bytes) : file_{bytes} {
    constexpr int bufferSize = 32 << 10;
    auto* buffer = static_cast<unsigned char*>(present(av_malloc(bufferSize)));
    io_.reset(present(
        avio_alloc_context(buffer, bufferSize, 0, &file_, &MemoryFile::read, nullptr, &MemoryFile::seek)));
    AVFormatContext* context = present(avformat_alloc_context());
    context->pb = io_.get();
    context->io_open = &refuseToOpen;
    context->format_whitelist = present(av_strdup(formats));
    context->codec_whitelist = present(av_strdup(codecs));
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    // On failure the library frees the context.
    if (avformat_open_input(&context, nullptr, nullptr, nullptr) < 0) refuse();
    context_.reset(context);
    if (avformat_find_stream_info(context, nullptr) < 0) refuse();
    track_ = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (track_ < 0) refuse();
  }

  const AVStream& track() const { return *context_->streams[track_]; }

  /// False at the end, or where the rest cannot be read.
  bool next(AVPacket& packet) {
    while (av_read_frame(context_.get(), &packet) >= 0) {
      if (packet.stream_index == track_) return true;
      av_packet_unref(&packet);
    }
    return false;
  }

 private:
  MemoryFile file_;
  std::unique_ptr<AVIOContext, FreeIo> io_;
  std::unique_ptr<AVFormatContext, CloseInput> context_;
  int track_ = -1;
};

// Samples a second of what people record with: telephones have 8,000, studios 192,000.
constexpr int lowestRate = 4'000;
constexpr int highestRate = 384'000;

/// Brings frames of any layout and rate to `Pcm`.
class Resampler {
 public:
  void take(const AVFrame& frame) {
    if (!resampler_ || !fits(frame)) begin(frame);
    convert(const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
  }

  void flush() {
    if (resampler_) convert(nullptr, 0);
  }

  Pcm samples;

 private:
  bool fits(const AVFrame& frame) const {
    return frame.sample_rate == rate_ && frame.format == format_ && frame.ch_layout.nb_channels == channels_;
  }

  void begin(const AVFrame& frame) {
    // A file may claim a rate at which a few bytes would last for hours, and take the memory for them.
    if (frame.sample_rate < lowestRate || frame.sample_rate > highestRate) refuse();
    flush();
    rate_ = frame.sample_rate;
    format_ = frame.format;
    channels_ = frame.ch_layout.nb_channels;
    AVChannelLayout in;
    av_channel_layout_default(&in, channels_);
    AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    SwrContext* resampler = nullptr;
    const int result = swr_alloc_set_opts2(&resampler, &mono, AV_SAMPLE_FMT_S16, speechRate, &in,
                                           static_cast<AVSampleFormat>(format_), rate_, 0, nullptr);
    resampler_.reset(resampler);
    if (result < 0 || swr_init(resampler) < 0) refuse();
  }

  void convert(const std::uint8_t** data, int count) {
    const int room = swr_get_out_samples(resampler_.get(), count);
    if (room <= 0) return;
    const std::size_t before = samples.size();
    samples.resize(before + static_cast<std::size_t>(room));
    auto* target = reinterpret_cast<std::uint8_t*>(samples.data() + before);
    const int made = swr_convert(resampler_.get(), &target, room, data, count);
    samples.resize(before + static_cast<std::size_t>(std::max(made, 0)));
  }

  std::unique_ptr<SwrContext, FreeResampler> resampler_;
  int rate_ = 0;
  int format_ = -1;
  int channels_ = 0;
};

/// Decodes the packets of one track.
class TrackDecoder {
 public:
  explicit TrackDecoder(const AVStream& track) : frame_(present(av_frame_alloc())) {
    const AVCodec* codec = avcodec_find_decoder(track.codecpar->codec_id);
    if (!codec) refuse();
    codec_.reset(present(avcodec_alloc_context3(codec)));
    codec_->codec_whitelist = present(av_strdup(codecs));
    codec_->thread_count = 1;
    if (avcodec_parameters_to_context(codec_.get(), track.codecpar) < 0) refuse();
    codec_->pkt_timebase = track.time_base;
    if (avcodec_open2(codec_.get(), codec, nullptr) < 0) refuse();
  }

  /// A null packet drains the decoder.
  void take(const AVPacket* packet, Resampler& out) {
    if (avcodec_send_packet(codec_.get(), packet) < 0 && packet) ++broken;
    while (true) {
      const int result = avcodec_receive_frame(codec_.get(), frame_.get());
      if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
      if (result < 0) {
        ++broken;
        return;
      }
      ++good;
      if (frame_->sample_rate > 0 && frame_->nb_samples > 0 && frame_->ch_layout.nb_channels > 0)
        out.take(*frame_);
      av_frame_unref(frame_.get());
    }
  }

  std::size_t good = 0;
  std::size_t broken = 0;

 private:
  std::unique_ptr<AVCodecContext, FreeCodec> codec_;
  std::unique_ptr<AVFrame, FreeFrame> frame_;
};

void requireBounds(const Pcm& samples, const std::stop_token& stop) {
  if (samples.size() > sampleLimit) {
    throw Refusal({413, "AUDIO_TOO_LONG", "The recording is longer than 30 minutes."});
  }
  if (stop.stop_requested()) throw Refusal({503, "UNAVAILABLE", "The request was given up."});
}

}  // namespace

bool isKnownAudioType(const std::string& mediaType) {
  constexpr std::array<std::string_view, 13> known = {
      "audio/mp4",  "audio/m4a",   "audio/x-m4a", "audio/aac",  "audio/mpeg", "audio/mp3",   "audio/wav",
      "audio/wave", "audio/x-wav", "audio/ogg",   "audio/webm", "audio/flac", "audio/x-flac"};
  return std::find(known.begin(), known.end(), mediaType) != known.end();
}

Pcm decodeAudio(const std::string& file, const std::stop_token& stop) {
  if (file.empty()) refuse();
  Container container(file);
  TrackDecoder decoder(container.track());
  Resampler out;
  const std::unique_ptr<AVPacket, FreePacket> packet(present(av_packet_alloc()));
  while (container.next(*packet)) {
    decoder.take(packet.get(), out);
    av_packet_unref(packet.get());
    requireBounds(out.samples, stop);
  }
  decoder.take(nullptr, out);
  out.flush();
  requireBounds(out.samples, stop);
  // Noise that looks like a format now and then must not pass for a recording, but one bad packet does no
  // harm.
  if (out.samples.empty() || decoder.broken > decoder.good) refuse();
  return std::move(out.samples);
}

void quietAudioLibrary() { av_log_set_level(AV_LOG_QUIET); }

}  // namespace pell::localserver
