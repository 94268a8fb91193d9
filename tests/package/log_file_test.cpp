// The three logs: file names, entry layout written out in full, day rollover, failures.
#include "vornleads/package/log_file.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/fixed_clock.h"
#include "support/paths.h"
#include "vornleads/error.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/service/records_replies.h"
#include "vornleads/service/records_requests.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using test::FixedClock;

const std::string kSep(152, '=');

class LogFileTest : public ::testing::Test {
 protected:
  LogFileTest() { setHostDirectory(home_.path()); }
  ~LogFileTest() override { setHostDirectory({}); }

  std::string file(const std::string& name) const { return test::readFile(home_ / name); }

  test::TempDir home_{"vornleads-log"};
  std::shared_ptr<FixedClock> clock_ =
      std::make_shared<FixedClock>(EncodeDateTime({2024, 3, 5, 14, 7, 9, 123}));
};

TEST_F(LogFileTest, FacadeEntriesFirstCreatesTheFile) {
  const LogFile log(kLogFachada, clock_);
  EXPECT_EQ(log.pathFor(clock_->now()), home_ / "logVornLeadsVWDLL_2024_03_05.txt");
  EXPECT_FALSE(std::filesystem::exists(home_ / "logVornLeadsVWDLL_2024_03_05.txt"));

  log.appendFacade("BuscaLeads", R"({"DNs":"4711"})", "Ok");
  EXPECT_EQ(file("logVornLeadsVWDLL_2024_03_05.txt"), kSep +
                                                          "\r\n"
                                                          "05-03-24 14:07:09.123\r\n"
                                                          "Função: BuscaLeads\r\n"
                                                          "{\"DNs\":\"4711\"}\r\n"
                                                          "\r\n"
                                                          "Situação/Erro:\r\n"
                                                          "Ok\r\n");

  clock_->set(EncodeDateTime({2024, 3, 5, 9, 0, 0, 7}));
  log.appendFacade("AtualizaLeads", "", "Falha\r\nna linha 2");
  EXPECT_EQ(file("logVornLeadsVWDLL_2024_03_05.txt"), kSep +
                                                          "\r\n"
                                                          "05-03-24 14:07:09.123\r\n"
                                                          "Função: BuscaLeads\r\n"
                                                          "{\"DNs\":\"4711\"}\r\n"
                                                          "\r\n"
                                                          "Situação/Erro:\r\n"
                                                          "Ok\r\n" +
                                                          kSep +
                                                          "\r\n"
                                                          "05-03-24 09:00:00.007\r\n"
                                                          "Função: AtualizaLeads\r\n"
                                                          "\r\n"
                                                          "\r\n"
                                                          "Situação/Erro:\r\n"
                                                          "Falha\r\n"
                                                          "na linha 2\r\n");
}

TEST_F(LogFileTest, IntakeExchangeEntry) {
  const LogFile log(kLogBuscaLeads, clock_);
  log.appendExchange(R"({"DNs":"4711","Status":"0","Nome":""})",
                     R"({"Status":{"Codigo":0,"Descricao":"Ok","Versao":"1.0"},"Leads":[]})");
  EXPECT_EQ(file("logBuscaLeadsVW_2024_03_05.txt"),
            kSep +
                "\r\n"
                "05-03-24 14:07:09.123\r\n"
                "Requisição: \r\n"
                "{\"DNs\":\"4711\",\"Status\":\"0\",\"Nome\":\"\"}\r\n"
                "\r\n"
                "Resposta:\r\n"
                "{\"Status\":{\"Codigo\":0,\"Descricao\":\"Ok\",\"Versao\":\"1.0\"},"
                "\"Leads\":[]}\r\n");
}

TEST_F(LogFileTest, UpdateWorkerEntryCarriesTheRecordsJson) {
  const LogFile log(kLogEnvioLeads, clock_);
  const TEnviaAtualizaLeadClass request{"12345678901", "05/03/2024 14:07:09", "", 77, 3};
  TRetornoAtualizaLeadClass reply;
  reply.Status->Codigo = 297;
  reply.Status->Descricao = "Lead não encontrado";
  log.appendExchange(request.AsJSON(), reply.AsJSON());
  EXPECT_EQ(file("logErroLeadsVW_2024_03_05.txt"),
            kSep +
                "\r\n"
                "05-03-24 14:07:09.123\r\n"
                "Requisição: \r\n"
                "{\"Cpf\":\"12345678901\",\"DataAtualizacao\":\"05/03/2024 14:07:09\","
                "\"DataReagendamento\":\"\",\"IdLead\":77,\"Status\":3}\r\n"
                "\r\n"
                "Resposta:\r\n"
                "{\"Status\":{\"Codigo\":297,\"Descricao\":\"Lead não encontrado\","
                "\"Versao\":\"\"},\"Retorno\":{\"Mensagem\":\"\",\"Retorno\":\"\"}}\r\n");
}

TEST_F(LogFileTest, EntriesAfterMidnightGoToTheNextDaysFile) {
  const LogFile log(kLogBuscaLeads, clock_);
  clock_->set(EncodeDateTime({2023, 12, 31, 23, 59, 59, 999}));
  log.append("antes");
  clock_->set(EncodeDateTime({2024, 1, 1, 0, 0, 0, 0}));
  log.append("depois");
  EXPECT_EQ(file("logBuscaLeadsVW_2023_12_31.txt"), kSep + "\r\nantes\r\n");
  EXPECT_EQ(file("logBuscaLeadsVW_2024_01_01.txt"), kSep + "\r\ndepois\r\n");
}

TEST_F(LogFileTest, ExistingTextIsKeptInSavedForm) {
  // A file written by something else: bare line breaks, no final line break.
  test::writeFile(home_ / "logBuscaLeadsVW_2024_03_05.txt", "linha 1\nlinha 2\rlinha 3");
  const LogFile log(kLogBuscaLeads, clock_);
  log.append("a\nb");
  EXPECT_EQ(file("logBuscaLeadsVW_2024_03_05.txt"),
            "linha 1\r\nlinha 2\r\nlinha 3\r\n" + kSep + "\r\na\nb\r\n");
  log.append("");
  EXPECT_EQ(file("logBuscaLeadsVW_2024_03_05.txt"),
            "linha 1\r\nlinha 2\r\nlinha 3\r\n" + kSep + "\r\na\r\nb\r\n" + kSep + "\r\n\r\n");
}

TEST_F(LogFileTest, AnEntryHoldingASeparatorLineIsTakenToEndThere) {
  // The documented limit: the bare line feed before the inner separator line stays.
  const LogFile log(kLogBuscaLeads, clock_);
  log.append("a\nb\r\n" + kSep + "\r\nc\rd");
  log.append("e");
  EXPECT_EQ(file("logBuscaLeadsVW_2024_03_05.txt"),
            kSep + "\r\na\nb\r\n" + kSep + "\r\nc\r\nd\r\n" + kSep + "\r\ne\r\n");
}

TEST_F(LogFileTest, AFileThatCannotBeWrittenRaisesNamingIt) {
  test::writeFile(home_ / "arquivo", "not a directory");
  setHostDirectory(home_ / "arquivo" / "logs");
  const LogFile log(kLogFachada, clock_);
  const auto path = home_ / "arquivo" / "logs" / "logVornLeadsVWDLL_2024_03_05.txt";
  try {
    log.append("x");
    FAIL() << "no error raised";
  } catch (const VornError& error) {
    EXPECT_EQ(std::string(error.what()),
              "Não foi possível gravar o arquivo \"" + path.string() + "\": Not a directory");
  }

  setHostDirectory(home_.path());
  std::filesystem::create_directory(home_ / "logVornLeadsVWDLL_2024_03_05.txt");
  EXPECT_THROW(log.append("x"), VornError);
}

TEST_F(LogFileTest, HostDirectoryOrder) {
  const char* saved = std::getenv("VORNLEADS_HOME");
  const std::string savedHome = saved ? saved : "";
  setHostDirectory({});
  ::unsetenv("VORNLEADS_HOME");
  EXPECT_EQ(hostDirectory(), std::filesystem::read_symlink("/proc/self/exe").parent_path());
  ::setenv("VORNLEADS_HOME", "/srv/dms", 1);
  EXPECT_EQ(hostDirectory(), "/srv/dms");
  setHostDirectory("/opt/host");
  EXPECT_EQ(hostDirectory(), "/opt/host");
  if (saved) {
    ::setenv("VORNLEADS_HOME", savedHome.c_str(), 1);
  } else {
    ::unsetenv("VORNLEADS_HOME");
  }
}

}  // namespace
}  // namespace vornleads
