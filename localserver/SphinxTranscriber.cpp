#include "localserver/SphinxTranscriber.h"

#include <algorithm>
#include <pocketsphinx.h>
#include <sphinxbase/err.h>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace pell::localserver {
namespace {

/// The library reports whatever it likes, which belongs in no log. After a fatal message it ends the process
/// by itself, with several threads at work; so the end is told and made here.
void hearLibrary(void*, err_lvl_t level, const char*, ...) {
  if (level != ERR_FATAL) return;
  constexpr std::string_view sentence =
      "pell-server: The speech recogniser gave up; its model may be damaged. Reinstall pocketsphinx-en-us.\n";
  [[maybe_unused]] const auto written = write(STDERR_FILENO, sentence.data(), sentence.size());
  _exit(1);
}

}  // namespace

/// The pieces of one request. Guarded by the transcriber's mutex, but for the samples, which only decoders
/// read.
struct SphinxTranscriber::Job {
  std::span<const std::int16_t> samples;
  std::vector<Piece> pieces;
  std::vector<std::string> texts;
  std::size_t next = 0;
  std::size_t running = 0;
  bool failed = false;

  bool complete() const { return running == 0 && (failed || next == pieces.size()); }
};

/// One recogniser. Belongs to the thread that made it.
class SphinxTranscriber::Decoder {
 public:
  explicit Decoder(const std::filesystem::path& model) {
    const std::string acoustic = (model / "en-us").string();
    const std::string language = (model / "en-us.lm.bin").string();
    const std::string dictionary = (model / "cmudict-en-us.dict").string();
    config_.reset(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.c_str(), "-lm", language.c_str(),
                              "-dict", dictionary.c_str(), nullptr));
    if (!config_) throw TranscriberFailure("The speech recogniser cannot be configured.");
    decoder_.reset(ps_init(config_.get()));
    if (!decoder_) throw TranscriberFailure("The speech model cannot be loaded.");
  }

  std::string recognise(std::span<const std::int16_t> samples) {
    ps_decoder_t* decoder = decoder_.get();
    const bool ok = ps_start_utt(decoder) == 0 &&
                    ps_process_raw(decoder, samples.data(), samples.size(), FALSE, TRUE) >= 0 &&
                    ps_end_utt(decoder) == 0;
    if (!ok) throw TranscriberFailure("The speech recogniser failed.");
    std::int32_t score = 0;
    const char* text = ps_get_hyp(decoder, &score);
    return text ? text : "";
  }

 private:
  struct FreeConfig {
    void operator()(cmd_ln_t* config) const { cmd_ln_free_r(config); }
  };
  struct FreeDecoder {
    void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
  };
  std::unique_ptr<cmd_ln_t, FreeConfig> config_;
  std::unique_ptr<ps_decoder_t, FreeDecoder> decoder_;
};

std::filesystem::path SphinxTranscriber::installedModel() { return "/usr/share/pocketsphinx/model/en-us"; }

SphinxTranscriber::SphinxTranscriber(std::filesystem::path model, unsigned decoders)
    : model_(std::move(model)), alive_(decoders) {
  for (const char* part : {"en-us/mdef", "en-us.lm.bin", "cmudict-en-us.dict"}) {
    if (std::filesystem::exists(model_ / part)) continue;
    throw TranscriberFailure("The speech model is not at " + model_.string() +
                             ": install the package pocketsphinx-en-us, or name another transcriber.");
  }
  err_set_logfp(nullptr);
  err_set_callback(&hearLibrary, nullptr);
  for (unsigned i = 0; i < decoders; ++i) threads_.emplace_back([this] { run(); });
}

SphinxTranscriber::~SphinxTranscriber() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_all();
  for (auto& thread : threads_) thread.join();
}

SpokenText SphinxTranscriber::transcribe(const Speech& speech) {
  const auto job = std::make_shared<Job>();
  job->samples = speech.samples;
  job->pieces = speechPieces(speech.samples);
  job->texts.resize(job->pieces.size());

  std::unique_lock lock(mutex_);
  if (!job->pieces.empty()) {
    if (alive_ == 0) throw TranscriberFailure("The speech model could not be loaded.");
    waiting_.push_back(job);
    wake_.notify_all();
  }
  if (!done_.wait(lock, speech.stop, [&] { return job->complete(); })) {
    std::erase(waiting_, job);
    job->failed = true;
    // The decoders read the samples, so those that are at them must come to an end.
    done_.wait(lock, [&] { return job->complete(); });
  }
  if (job->failed) throw TranscriberFailure("The speech recogniser failed or was stopped.");
  lock.unlock();

  SpokenText result{.text = {}, .confidence = std::nullopt, .language = "en"};
  for (const std::string& text : job->texts) {
    if (text.empty()) continue;
    if (!result.text.empty()) result.text += ' ';
    result.text += text;
  }
  return result;
}

/// Waits for a piece of work; false when the transcriber ends. The requests take turns, piece by piece.
bool SphinxTranscriber::takePiece(std::shared_ptr<Job>& job, std::size_t& piece) {
  std::unique_lock lock(mutex_);
  wake_.wait(lock, [this] { return ending_ || !waiting_.empty(); });
  if (ending_) return false;
  job = waiting_.front();
  waiting_.pop_front();
  piece = job->next++;
  ++job->running;
  if (job->next < job->pieces.size()) waiting_.push_back(job);
  return true;
}

void SphinxTranscriber::run() {
  std::unique_ptr<Decoder> decoder;
  try {
    decoder = std::make_unique<Decoder>(model_);
  } catch (const std::exception&) {
    const std::lock_guard lock(mutex_);
    if (--alive_ > 0) return;
    for (const auto& job : waiting_) job->failed = true;
    waiting_.clear();
    done_.notify_all();
    return;
  }
  std::shared_ptr<Job> job;
  std::size_t piece = 0;
  while (takePiece(job, piece)) {
    std::string text;
    bool failed = false;
    try {
      const Piece& range = job->pieces[piece];
      text = decoder->recognise(job->samples.subspan(range.begin, range.end - range.begin));
    } catch (const std::exception&) {
      failed = true;
    }
    const std::lock_guard lock(mutex_);
    job->texts[piece] = std::move(text);
    --job->running;
    if (failed) {
      job->failed = true;
      std::erase(waiting_, job);
    }
    if (job->complete()) done_.notify_all();
  }
}

}  // namespace pell::localserver
