// The configuration file and the built-in endpoint.
#include "vornleads/package/configuracao.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/paths.h"

namespace vornleads {
namespace {

// Runs a test in another current directory, since the file is written to the current one.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::filesystem::path& directory)
      : saved_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  ~CurrentDirectory() {
    std::error_code ignored;  // nothing sensible to do if the old directory vanished
    std::filesystem::current_path(saved_, ignored);
  }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;

 private:
  std::filesystem::path saved_;
};

class GravaINITest : public ::testing::Test {
 protected:
  std::string ini() const { return test::readFile(dir_ / "VornLeadsVW.ini"); }
  void givenIni(const std::string& content) const {
    test::writeFile(dir_ / "VornLeadsVW.ini", content);
  }

  test::TempDir dir_{"vornleads-ini"};
  CurrentDirectory cwd_{dir_.path()};
};

TEST_F(GravaINITest, NewFile) {
  EXPECT_TRUE(GravaINI("Proxy", "http://dms.example:8080/VornLeadsVW/x"));
  EXPECT_EQ(ini(), "[Config]\r\nProxy=http://dms.example:8080/VornLeadsVW/x\r\n");
  EXPECT_TRUE(GravaINI("Proxy", "http://outro"));
  EXPECT_EQ(ini(), "[Config]\r\nProxy=http://outro\r\n");
}

TEST_F(GravaINITest, KeepsOtherSectionsAndKeys) {
  givenIni("[Geral]\nNome=A\r\n\r\n[ config ]\r\n proxy = antigo\r\nOutra=1\r\n[Fim]\rX=2");
  EXPECT_TRUE(GravaINI("Proxy", "novo"));
  EXPECT_EQ(ini(),
            "[Geral]\r\nNome=A\r\n\r\n[ config ]\r\nProxy=novo\r\nOutra=1\r\n[Fim]\r\nX=2\r\n");
}

TEST_F(GravaINITest, AddsTheKeyAtTheEndOfItsSection) {
  givenIni("[Config]\r\nA=1\r\n\r\n[B]\r\nProxy=de outra secao\r\n");
  EXPECT_TRUE(GravaINI("Proxy", "v"));
  EXPECT_EQ(ini(), "[Config]\r\nA=1\r\nProxy=v\r\n\r\n[B]\r\nProxy=de outra secao\r\n");
}

TEST_F(GravaINITest, AddsTheSectionAfterOtherContent) {
  givenIni("[B]\r\nx=1");
  EXPECT_TRUE(GravaINI("Proxy", "v"));
  EXPECT_EQ(ini(), "[B]\r\nx=1\r\n\r\n[Config]\r\nProxy=v\r\n");
}

TEST_F(GravaINITest, LineBreaksCannotAddEntries) {
  EXPECT_TRUE(GravaINI("Proxy", "http://a\r\n[Outra]\nChave=1"));
  EXPECT_EQ(ini(), "[Config]\r\nProxy=http://a  [Outra] Chave=1\r\n");
}

TEST_F(GravaINITest, ReportsFalseWhenItCannotWrite) {
  std::filesystem::create_directory(dir_ / "VornLeadsVW.ini");
  EXPECT_FALSE(GravaINI("Proxy", "x"));
  {
    const CurrentDirectory proc("/proc");  // read-only even for root
    EXPECT_FALSE(GravaINI("Proxy", "x"));
  }
  std::filesystem::create_directory(dir_ / "gone");
  const CurrentDirectory gone(dir_ / "gone");
  std::filesystem::remove(dir_ / "gone");
  EXPECT_FALSE(GravaINI("Proxy", "x"));
}

TEST(AcessaINI, IgnoresTheFile) {
  test::TempDir dir("vornleads-ini");
  const CurrentDirectory cwd(dir.path());
  const std::string builtIn = AcessaINI("Proxy");
  ASSERT_TRUE(GravaINI("Proxy", "http://gravado:1/x"));
  EXPECT_EQ(AcessaINI("Proxy"), builtIn);
  EXPECT_EQ(AcessaINI("QualquerChave"), builtIn);
  EXPECT_NE(builtIn, "http://gravado:1/x");
}

// The environment is read once, at the first call; each case runs in a fresh process.
TEST(AcessaINIDeathTest, EnvironmentOrBuildSetting) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        ::setenv("VORNLEADS_ENDPOINT", "http://leads.example:8080/VornLeadsVW/s", 1);
        const bool ok = AcessaINI("Proxy") == "http://leads.example:8080/VornLeadsVW/s";
        ::setenv("VORNLEADS_ENDPOINT", "http://later", 1);
        std::_Exit(ok && AcessaINI("Proxy") == "http://leads.example:8080/VornLeadsVW/s" ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  EXPECT_EXIT(
      {
        ::unsetenv("VORNLEADS_ENDPOINT");
        const std::string endpoint = AcessaINI("Proxy");
        const std::string path = ":8080/VornLeadsVW/VornISAPILeadsVW.dll/soap/VornLeadsVW";
        std::_Exit(endpoint.size() > path.size() &&
                           endpoint.compare(endpoint.size() - path.size(), path.size(), path) == 0
                       ? 0
                       : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vornleads
