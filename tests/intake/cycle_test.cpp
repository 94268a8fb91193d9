// Whole intake cycles through the library edition: what a lead becomes, receipts, the log, and
// how refused and failed cycles end (a failed lead's repeats: failing_lead_test.cpp).
#include <filesystem>
#include <string>
#include <vector>

#include "intake/intake_harness.h"
#include "vornleads/package/log_failures.h"
#include "vornleads/package/log_file.h"

namespace vornleads::test {
namespace {

std::string logEntry(const std::string& requisicao, const std::string& resposta) {
  return logSeparator() + "\r\n09-06-25 09:00:00.000\r\nRequisição: \r\n" + requisicao +
         "\r\n\r\nResposta:\r\n" + resposta + "\r\n";
}

TEST_F(IntakeTest, CleanCycleWritesContactInterestMessageLinkAndCustomerThenConfirms) {
  const Json item = leadItem("5001");
  sandbox().addLeads(Json::array({item}));
  EXPECT_EQ(cycle(), "no error");
  EXPECT_EQ(row("SELECT EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, "
                "ATIVO_PASSIVO, DEPARTAMENTO, TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, "
                "USUARIO_ENCAMINHADO_ORIGINAL, USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, "
                "ORIGEM, ORIGEM_INTEGRACAO, EMAIL, DDD_1, TELEFONE_1, ORIGEM_TRAFEGO "
                "FROM CAC_CONTATO"),
            "1|1|1|10/06/2025 10:00:00|A|CONTATO CRIADO A PARTIR DE LEAD VW\r\nMODELO: POLO\r\n"
            "TELEFONE: 11-900005001\r\nE-MAIL: cliente5001@exemplo.com.br|P|3|1|2|0|0|0|1|4|V|S|"
            "cliente5001@exemplo.com.br|11|900005001|7");
  EXPECT_EQ(row("SELECT * FROM CAC_LEAD_CONTATO"),
            "1|1|1|5001|Site VW|Gostaria de agendar um test drive|11/06/2025 15:30:00|WhatsApp|"
            "Loja Centro|S");
  EXPECT_EQ(row("SELECT * FROM CAC_INTERESSE"), "1|1|1|1|1002|1|2|N|98500,9|R");
  EXPECT_EQ(row("SELECT DTA_MENSAGEM, USUARIO_ORIGEM, USUARIO_DESTINO, ASSUNTO, MENSAGEM, "
                "SITUACAO FROM GER_MENSAGEM"),
            "09/06/2025 09:00:00|0|12|Novo Contato Lead|Incluído contato 1.1 para o cliente 1: "
            "Maria da Silva|N");
  // The prospect's columns are the registration's (customer_test.cpp); here, its seller.
  EXPECT_EQ(row("SELECT CLIENTE, VENDEDOR FROM FAT_CLIENTE"), "1|1");
  const std::string receipt =
      R"({"Cpf":"22233344405","DataAtualizacao":"09/06/2025 09:00:00","DataReagendamento":"",)"
      R"("IdLead":5001,"Status":-1})";
  EXPECT_EQ(sandbox().updates().dump(), "[" + receipt + "]");
  EXPECT_EQ(confirmedLeads(), Strings{"5001"});
  EXPECT_EQ(logText(),
            logEntry(R"({"DNs":"01234","Status":"0","Nome":"Vorn Veículos"})",
                     kSucesso + R"("Leads":[)" + item.dump() + "]}") +
                logEntry(receipt, kSucesso + R"("Retorno":{"Mensagem":"Recebimento do lead )"
                                             R"(5001 confirmado","Retorno":"OK"}})"));
  EXPECT_EQ(worker_->sPbPasso(), "09");
  EXPECT_FALSE(worker_->listaDN().has_value());
  EXPECT_EQ(Strings({"lead:", "1/1 5001", "confirming lead:", "1/1 5001"}), host_->reported);
  const TotaisIntake& t = worker_->totais();
  EXPECT_EQ((std::vector<int>{1, 1, 1, 1, 0, 1}),
            (std::vector<int>{t.ciclos, t.revendas, t.leadsLidos, t.contatosCriados, t.falhas,
                              t.confirmados}));
}

// How and at which step a cycle ends: the service's refusal (through the library edition), the
// replies a bridge may give, a dealer list that cannot be asked for. Nothing is written, and a
// worker serves one top-level call. A receipt needs a bridge and an answer with a status.
TEST_F(IntakeTest, FetchAndReceiptFailuresEndTheCycleAtTheirStep) {
  sandbox().addLeads(Json::array({leadItem("5020")}));
  struct Case {
    const char *setup, *reply;  // a fault mode of the sandbox (no reply) or SQL; a bridge's reply
    std::string outcome, passo;
    int calls;
  };
  for (const Case& c :
       {Case{"reject", nullptr, "Concessionária sem permissão", "08", 0},
        Case{"", "<html>Service Unavailable</html>", "ConversionError", "07", 1},
        Case{"", R"({"Status":{"Codigo":0.5,"Descricao":"Meio erro"},"Leads":[]})", "Meio erro",
             "08", 1},
        Case{"", R"({"Leads":[]})", R"(Resposta do serviço de leads sem Status: {"Leads":[]})",
             "08", 1},
        Case{"DELETE FROM GER_REVENDA", "", "Erro ao buscar nome fantasia da revenda 1.1", "03", 0},
        Case{"UPDATE CAC_PARAMETRO SET UTILIZA_INTEGRACAO_LEADVW = 'N'", "", "", "01.03", 0}}) {
    std::vector<int> calls;
    newWorker();
    if (c.reply) {
      worker_->IntegraLeadsVW = [&](int32_t servico, const AnsiString&) -> AnsiString {
        calls.push_back(servico);
        return c.reply;
      };
      if (*c.setup) execute(c.setup);
    } else {
      sandbox().fault({{"operation", "BuscaLeadsStatus"},
                       {"mode", c.setup},
                       {"descricao", "Concessionária sem permissão"}});
    }
    std::string outcome;
    try {
      worker_->buscarLeads();
    } catch (const ConversionError&) {
      outcome = "ConversionError";
    } catch (const VornError& error) {
      outcome = error.what();
    }
    EXPECT_EQ(c.outcome, outcome) << c.setup << (c.reply ? c.reply : "");
    EXPECT_EQ(c.passo, worker_->sPbPasso());
    EXPECT_EQ(std::vector<int>(c.calls, 4), calls);
    EXPECT_EQ(1, worker_->totais().ciclos);
    EXPECT_THROW(worker_->buscarLeads(), VornError);
  }
  EXPECT_NE(logText().find("Concessionária sem permissão"), std::string::npos);
  EXPECT_TRUE(host_->waits.empty());
  EXPECT_EQ(count("CAC_CONTATO") + count("FAT_CLIENTE"), 0);

  TContatoLeadVW lead;
  lead.empresa = lead.revenda = 1;
  lead.usuarioCorreio = 12;
  lead.leadID = 77;
  newWorker().IntegraLeadsVW = nullptr;
  EXPECT_EQ(outcome([&] { worker_->marcaLeadComoRecebido(lead); }),
            "Função IntegraLeadsVW não definida");
  worker_->IntegraLeadsVW = [](int32_t, const AnsiString&) -> AnsiString {
    return R"({"Status":null})";
  };
  EXPECT_EQ(outcome([&] { worker_->marcaLeadComoRecebido(lead); }),
            R"(Resposta do serviço de leads sem Status: {"Status":null})");
  EXPECT_EQ(0, worker_->totais().confirmados);
}

// A log that cannot be written (a directory stands where the day's file should be) changes
// nothing: the leads go in and are confirmed, and each lost entry is recorded.
TEST_F(IntakeTest, LogThatCannotBeWrittenChangesNothing) {
  std::filesystem::create_directory(LogFile(kLogBuscaLeads, clock_).pathFor(testNow()));
  sandbox().addLeads(Json::array({leadItem("7201"), leadItem("7202")}));
  const uint64_t lost = logWriteFailureCount();
  EXPECT_EQ(cycle(), "no error");
  EXPECT_EQ(count("CAC_LEAD_CONTATO"), 2);
  EXPECT_EQ(confirmedLeads(), Strings({"7201", "7202"}));
  EXPECT_EQ(logWriteFailureCount() - lost, 3u) << "the fetch and two receipts";
  ASSERT_TRUE(currentLogWriteFailure().has_value());
  EXPECT_EQ(currentLogWriteFailure()->rfind("Não foi possível gravar o arquivo \"", 0), 0u);
}

}  // namespace
}  // namespace vornleads::test
