// The send log: one entry per call of the bridge, in the day's file of the host directory.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "feedback/feedback_fixture.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

class SendLogTest : public FeedbackSuite {};

TEST_F(SendLogTest, EveryCallIsLoggedWithRequestAndReply) {
  addLeadContact(*db_, 910001, 910001);
  const std::filesystem::path file = service().home() / "logErroLeadsVW_2024_04_02.txt";
  std::filesystem::remove(file);
  sandbox().fault({{"operation", "AtualizaLeads"},
                   {"mode", "reject"},
                   {"codigo", 150},
                   {"descricao", "Recusado pela VW"}});

  for (int status : {1, 10}) {
    auto atualiza = worker(*db_);
    atualiza->setClock(
        std::make_shared<FixedClock>(EncodeDateTime({2024, 4, 2, 11, 22, 33 + status, 444})));
    auto parametros = updateOf(910001, 910001, status);
    atualiza->realizaAtualizacao(parametros);
  }

  const std::string separator(152, '=');
  EXPECT_EQ(
      separator + "\r\n" +
          "02-04-24 11:22:34.444\r\n"
          "Requisição: \r\n"
          R"({"Cpf":"22233344405","DataAtualizacao":"02/04/2024 11:22:34","DataReagendamento":"","IdLead":910001,"Status":1})"
          "\r\n\r\nResposta:\r\n"
          R"({"Status":{"Codigo":150,"Descricao":"Recusado pela VW","Versao":"1.0"},"Retorno":{"Mensagem":"Recusado pela VW","Retorno":"ERRO"}})"
          "\r\n" +
          separator + "\r\n" +
          "02-04-24 11:22:43.444\r\n"
          "Requisição: \r\n"
          R"({"Cpf":"22233344405","DataAtualizacao":"02/04/2024 11:22:43","DataReagendamento":"","IdLead":910001,"Status":10})"
          "\r\n\r\nResposta:\r\n"
          R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Retorno":{"Mensagem":"Status do lead 910001 atualizado para 10","Retorno":"OK"}})"
          "\r\n",
      readFile(file));
}

}  // namespace
}  // namespace vornleads::test
