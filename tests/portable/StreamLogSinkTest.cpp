#include <fcntl.h>
#include <fstream>
#include <unistd.h>

#include "contracts/ServicesContract.h"
#include "platform/portable/StreamLogSink.h"
#include "portable/support/RealTime.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SystemActivityContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LoginItemContract);

namespace {

class StreamWorld final : public RealTime<LogSinkWorld> {
 public:
  ~StreamWorld() override { close(descriptor_); }
  LogSink& sink() override { return sink_; }
  std::vector<std::string> lines() override {
    std::ifstream in(file_);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

 private:
  TemporaryDirectory directory_;
  std::string file_ = (directory_.path() / "log").string();
  int descriptor_ = open(file_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  StreamLogSink sink_{descriptor_};
};

PELL_INSTANTIATE_CONTRACT(Stream, LogSinkContract, LogSinkWorld, StreamWorld);

TEST(StreamLogSinkTest, OutlivesItsReader) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  StreamLogSink sink(ends[1]);
  for (int round = 0; round < 3; ++round)
    sink.write(LogLevel::info, "{}");  // SIGPIPE would end the test here
  close(ends[1]);
  sink.write(LogLevel::info, "{}");
}

}  // namespace
}  // namespace pell::testing
