// The three logs: file names, entries written out in full, the day's file, text already there,
// and the appending writer against the whole-rewrite model byte for byte.
#include "vornleads/package/log_file.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "package/log_rewrite_model.h"
#include "support/fixed_clock.h"
#include "support/paths.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

const std::string kSep(152, '=');

class LogFileTest : public ::testing::Test {
 protected:
  LogFileTest() { setHostDirectory(home_.path()); }
  ~LogFileTest() override { setHostDirectory({}); }

  std::string file(const std::string& day, const char* log = kLogBuscaLeads) const {
    return test::readFile(home_ / (log + day + ".txt"));
  }

  test::TempDir home_{"vornleads-log"};
  std::shared_ptr<test::FixedClock> clock_ =
      std::make_shared<test::FixedClock>(EncodeDateTime({2024, 3, 5, 14, 7, 9, 123}));
};

TEST_F(LogFileTest, EntriesInFull) {
  const LogFile fachada(kLogFachada, clock_), busca(kLogBuscaLeads, clock_);
  EXPECT_EQ(fachada.pathFor(clock_->now()), home_ / "logVornLeadsVWDLL_2024_03_05.txt");
  EXPECT_EQ(LogFile(kLogEnvioLeads).pathFor(45000), home_ / "logErroLeadsVW_2023_03_15.txt");
  EXPECT_FALSE(std::filesystem::exists(fachada.pathFor(clock_->now())));

  fachada.appendFacade("BuscaLeads", R"({"DNs":"4711"})", "Ok");
  clock_->set(EncodeDateTime({2024, 3, 5, 9, 0, 0, 7}));
  fachada.appendFacade("AtualizaLeads", "", "Falha\r\nna linha 2");
  EXPECT_EQ(file("2024_03_05", kLogFachada),
            kSep +
                "\r\n05-03-24 14:07:09.123\r\nFunção: BuscaLeads\r\n{\"DNs\":\"4711\"}\r\n\r\n"
                "Situação/Erro:\r\nOk\r\n" +
                kSep +
                "\r\n05-03-24 09:00:00.007\r\nFunção: AtualizaLeads\r\n\r\n\r\n"
                "Situação/Erro:\r\nFalha\r\nna linha 2\r\n");

  busca.appendExchange(R"({"DNs":"4711"})", R"({"Leads":[]})");
  EXPECT_EQ(file("2024_03_05"), kSep +
                                    "\r\n05-03-24 09:00:00.007\r\nRequisição: \r\n"
                                    "{\"DNs\":\"4711\"}\r\n\r\nResposta:\r\n{\"Leads\":[]}\r\n");

  // Entries after midnight go to the next day's file.
  clock_->set(EncodeDateTime({2023, 12, 31, 23, 59, 59, 999}));
  busca.append("antes");
  clock_->set(EncodeDateTime({2024, 1, 1, 0, 0, 0, 0}));
  busca.append("depois");
  EXPECT_EQ(file("2023_12_31"), kSep + "\r\nantes\r\n");
  EXPECT_EQ(file("2024_01_01"), kSep + "\r\ndepois\r\n");

  // An entry holding a separator line is taken to end there: the bare line feed before it stays.
  busca.append("a\nb\r\n" + kSep + "\r\nc\rd");
  busca.append("e");
  EXPECT_EQ(file("2024_01_01"), kSep + "\r\ndepois\r\n" + kSep + "\r\na\nb\r\n" + kSep +
                                    "\r\nc\r\nd\r\n" + kSep + "\r\ne\r\n");
}

TEST_F(LogFileTest, HostDirectoryIsTheSettingElseTheEnvironmentElseTheProgramsOwn) {
  const char* saved = std::getenv("VORNLEADS_HOME");
  const std::string savedHome = saved ? saved : "";
  setHostDirectory({});
  ::unsetenv("VORNLEADS_HOME");
  EXPECT_EQ(hostDirectory(), std::filesystem::read_symlink("/proc/self/exe").parent_path());
  ::setenv("VORNLEADS_HOME", "/srv/dms", 1);
  EXPECT_EQ(hostDirectory(), "/srv/dms");
  setHostDirectory("/opt/host");
  EXPECT_EQ(hostDirectory(), "/opt/host");
  saved ? ::setenv("VORNLEADS_HOME", savedHome.c_str(), 1) : ::unsetenv("VORNLEADS_HOME");
}

// Entries with every kind of line break in every position, empty ones, and long ones that reach
// past the writer's first read-back window, over three days; the first two days' files hold text
// written by something else (bare line breaks, no final one; a single byte).
TEST_F(LogFileTest, AppendingGivesTheBytesOfTheWholeRewrite) {
  test::TempDir model("vornleads-log-model");
  const LogFile log(kLogBuscaLeads, clock_);
  for (const auto& [day, foreign] :
       {std::pair{clock_->now(), "antigo\nconteúdo\r\rsem quebra final"},
        std::pair{clock_->now() + 1, "x"}}) {
    test::writeFile(log.pathFor(day), foreign);
    test::writeFile(model / log.pathFor(day).filename().string(), foreign);
  }

  const std::vector<std::string> pieces = {
      "texto", "Função ção", "{\"a\":1}", "\r\n", "\n", "\r", "\r\r\n", "\n\r", "\n\n", "", " ",
      std::string(151, '='), "\r\n" + std::string(153, '=') + "\r\n", "x" + kSep + "\r\n"};
  std::mt19937 random(20240305);
  for (int i = 0; i < 300; ++i) {
    std::string entry;
    for (int count = static_cast<int>(random() % 8); count > 0; --count) {
      entry += pieces[random() % pieces.size()];
    }
    if (random() % 25 == 0) {
      std::string big(6000 + random() % 6000, 'x');
      for (size_t at = random() % 97; at < big.size(); at += 97) big[at] = "\r\n"[random() % 2];
      entry += big;
    }
    const auto real = log.pathFor(clock_->now());
    log.append(entry);
    test::rewriteLogModel(model / real.filename().string(), logSeparator(), entry);
    ASSERT_EQ(test::readFile(real), test::readFile(model / real.filename().string()))
        << "entry " << i << " differs: \"" << entry << "\"";
    clock_->set(clock_->now() + 1.0 / 100);
  }
}

}  // namespace
}  // namespace vornleads
