#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "localserver/Transcriber.h"

namespace pell::localserver {

/// The built-in recogniser: English, offline, modest. Speech is cut at its pauses, and the pieces of all
/// requests are recognised by one decoder per core, in turn between the requests, so that a long dictation
/// does not hold up a short one. Decoders take about 100 MB each and load in the background.
class SphinxTranscriber : public Transcriber {
 public:
  /// Where Debian's pocketsphinx-en-us puts its model.
  static std::filesystem::path installedModel();

  /// Throws TranscriberFailure where `model` does not hold the English model.
  SphinxTranscriber(std::filesystem::path model, unsigned decoders);
  ~SphinxTranscriber() override;
  SphinxTranscriber(const SphinxTranscriber&) = delete;
  SphinxTranscriber& operator=(const SphinxTranscriber&) = delete;

  SpokenText transcribe(const Speech& speech) override;

 private:
  struct Job;
  class Decoder;

  void run();
  bool takePiece(std::shared_ptr<Job>& job, std::size_t& piece);

  const std::filesystem::path model_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable_any done_;
  std::deque<std::shared_ptr<Job>> waiting_;
  unsigned alive_;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace pell::localserver
