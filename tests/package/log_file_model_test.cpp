// The appending log writer against the whole-rewrite model: the same entries must leave the same
// bytes after every single entry.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "package/log_rewrite_model.h"
#include "support/paths.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/log_file.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

class SteppingClock : public Clock {
 public:
  TDateTime now() const override { return now_; }
  void advance(TDateTime days) { now_ += days; }

 private:
  TDateTime now_ = EncodeDateTime({2024, 3, 5, 23, 0, 0, 0});
};

// Entries with every kind of line break in every position, empty ones, and long ones that
// reach past the writer's first read-back window.
std::string randomEntry(std::mt19937& random) {
  static const std::vector<std::string> pieces = {"texto",
                                                  "Função ção",
                                                  "{\"a\":1}",
                                                  "\r\n",
                                                  "\n",
                                                  "\r",
                                                  "\r\r\n",
                                                  "\n\r",
                                                  "\n\n",
                                                  "",
                                                  " ",
                                                  std::string(151, '='),
                                                  "\r\n" + std::string(153, '=') + "\r\n"};
  std::string entry;
  const int count = static_cast<int>(random() % 8);
  for (int i = 0; i < count; ++i) entry += pieces[random() % pieces.size()];
  if (random() % 25 == 0) {
    std::string big(6000 + random() % 6000, 'x');
    for (size_t at = random() % 97; at < big.size(); at += 97) big[at] = "\r\n"[random() % 2];
    entry += big;
  }
  return entry;
}

TEST(LogFileModel, AppendingGivesTheBytesOfTheWholeRewrite) {
  test::TempDir real("vornleads-log-real");
  test::TempDir model("vornleads-log-model");
  setHostDirectory(real.path());
  auto clock = std::make_shared<SteppingClock>();
  const LogFile log(kLogBuscaLeads, clock);

  // Both start from the same foreign file: bare breaks, no final line break.
  const std::string foreign = "antigo\nconteúdo\r\rsem quebra final";
  test::writeFile(log.pathFor(clock->now()), foreign);
  test::writeFile(model / log.pathFor(clock->now()).filename().string(), foreign);

  std::mt19937 random(20240305);
  for (int i = 0; i < 300; ++i) {
    const std::string entry = randomEntry(random);
    const auto realFile = log.pathFor(clock->now());
    const auto modelFile = model / realFile.filename().string();
    log.append(entry);
    test::rewriteLogModel(modelFile, logSeparator(), entry);
    ASSERT_EQ(test::readFile(realFile), test::readFile(modelFile))
        << "entry " << i << " differs: \"" << entry << "\"";
    clock->advance(1.0 / 100);  // three days in all, so entries also start new files
  }
  setHostDirectory({});
}

}  // namespace
}  // namespace vornleads
