// Whole intake cycles against the sample database and the sandbox, through the library edition.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "intake_harness.h"
#include "vornleads/error.h"
#include "vornleads/package/log_file.h"

namespace vornleads::test {
namespace {

// One row of a query as "COLUMN=value" pairs joined by "|", values as the datasets read them.
std::string row(const SqlRowSet& rows, size_t index = 0) {
  std::string text;
  for (size_t c = 0; c < rows.columns.size(); ++c) {
    if (c > 0) text += "|";
    text += rows.columns[c] + "=" +
            (rows.rows.at(index)[c].isNull() ? "<null>" : rows.rows[index][c].asString());
  }
  return text;
}

std::string logEntry(const std::string& requisicao, const std::string& resposta) {
  return logSeparator() + "\r\n09-06-25 09:00:00.000\r\nRequisição: \r\n" + requisicao +
         "\r\n\r\nResposta:\r\n" + resposta + "\r\n";
}

using FetchCycleTest = IntakeCycleTest;

TEST_F(FetchCycleTest, CleanCycleWritesContactInterestMessageAndLinkAndConfirms) {
  sandbox().addLeads(Json::array({leadItem("5001")}));
  runCycle();

  EXPECT_EQ(row(query("SELECT EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, "
                      "ATIVO_PASSIVO, DEPARTAMENTO, TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, "
                      "USUARIO_ENCAMINHADO_ORIGINAL, USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, "
                      "ORIGEM, ORIGEM_INTEGRACAO, EMAIL, DDD_1, TELEFONE_1, ORIGEM_TRAFEGO "
                      "FROM CAC_CONTATO")),
            "EMPRESA=1|REVENDA=1|CONTATO=1|DTA_CONTATO=10/06/2025 10:00:00|SITUACAO=A|"
            "DES_CONTATO=CONTATO CRIADO A PARTIR DE LEAD VW\r\nMODELO: POLO\r\n"
            "TELEFONE: 11-900005001\r\nE-MAIL: cliente5001@exemplo.com.br|ATIVO_PASSIVO=P|"
            "DEPARTAMENTO=3|TIPO_CONTATO=1|SUB_TIPO_CONTATO=2|USUARIO_ABRIU=0|"
            "USUARIO_ENCAMINHADO_ORIGINAL=0|USUARIO_ENCAMINHADO=0|CLIENTE=1|FORMA_CONTATO=4|"
            "ORIGEM=V|ORIGEM_INTEGRACAO=S|EMAIL=cliente5001@exemplo.com.br|DDD_1=11|"
            "TELEFONE_1=900005001|ORIGEM_TRAFEGO=7");
  EXPECT_EQ(
      row(query("SELECT * FROM CAC_LEAD_CONTATO")),
      "EMPRESA=1|REVENDA=1|CONTATO=1|ID_LEAD_VW=5001|ORIGEM=Site VW|"
      "MENSAGEM=Gostaria de agendar um test drive|DTA_INTENCAO_AGENDAMENTO=11/06/2025 15:30:00|"
      "PREFERENCIA_CONTATO=WhatsApp|SHOWROOM=Loja Centro|INTEGRANDO=S");
  EXPECT_EQ(row(query("SELECT * FROM CAC_INTERESSE")),
            "INTERESSE=1|EMPRESA=1|REVENDA=1|CONTATO=1|MODELO=1002|QTD_PRETENDIDA=1|"
            "POSSIBILIDADE_FECHAR=2|PRETENDIDO_NU=N|PRECO=98500,9|TIPO_MOEDA=R");
  EXPECT_EQ(
      row(query("SELECT DTA_MENSAGEM, USUARIO_ORIGEM, USUARIO_DESTINO, ASSUNTO, MENSAGEM, "
                "SITUACAO FROM GER_MENSAGEM")),
      "DTA_MENSAGEM=09/06/2025 09:00:00|USUARIO_ORIGEM=0|USUARIO_DESTINO=12|"
      "ASSUNTO=Novo Contato Lead|MENSAGEM=Incluído contato 1.1 para o cliente 1: Maria da Silva|"
      "SITUACAO=N");
  EXPECT_EQ(row(query("SELECT C.CLIENTE, C.NOME, C.PROSPECT, C.E_MAIL_CASA, C.DDD_TELEFONE, "
                      "C.TELEFONE, C.VENDEDOR, F.CPF, F.CONTADOR FROM FAT_CLIENTE C "
                      "JOIN FAT_PESSOA_FISICA F ON F.CLIENTE = C.CLIENTE")),
            "CLIENTE=1|NOME=MARIA DA SILVA|PROSPECT=S|E_MAIL_CASA=cliente5001@exemplo.com.br|"
            "DDD_TELEFONE=11|TELEFONE=900005001|VENDEDOR=1|CPF=50000005001|CONTADOR=0");

  EXPECT_EQ(sandbox().updates().dump(),
            R"([{"Cpf":"22233344405","DataAtualizacao":"09/06/2025 09:00:00",)"
            R"("DataReagendamento":"","IdLead":5001,"Status":-1}])");
  EXPECT_EQ(confirmedLeads(), std::vector<std::string>{"5001"});

  EXPECT_EQ(worker().sPbPasso(), "09");
  EXPECT_FALSE(worker().erroInclusao());
  EXPECT_TRUE(pause_->waits.empty());
  EXPECT_FALSE(worker().listaDN().has_value());
  EXPECT_FALSE(worker().leadsProcessados().has_value());
  const TotaisIntake& totais = worker().totais();
  EXPECT_EQ(totais.ciclos, 1);
  EXPECT_EQ(totais.revendas, 1);
  EXPECT_EQ(totais.leadsLidos, 1);
  EXPECT_EQ(totais.contatosCriados, 1);
  EXPECT_EQ(totais.falhas, 0);
  EXPECT_EQ(totais.confirmados, 1);
}

TEST_F(FetchCycleTest, IntakeLogHoldsTheFetchAndTheReceipt) {
  sandbox().addLeads(Json::array({leadItem("5002", {{"Preco", ""}, {"Acabamento", ""}})}));
  runCycle();

  const std::string fetch = R"({"DNs":"01234","Status":"0","Nome":"Vorn Veículos"})";
  const std::string leads =
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[{"Acabamento":"",)"
      R"("Cor":"Branco","CpfCnpj":"50000005002","DataIntencao":"10/06/2025 10:00:00","Ddd":11,)"
      R"("DealerNumber":"1234","Email":"cliente5002@exemplo.com.br","IdLead":"5002",)"
      R"("Modelo":"POLO","Nome":"Maria da Silva","Opcionais":"","Status":0,"Telefone":900005002,)"
      R"("Preco":"","Origem":"Site VW","Mensagem":"Gostaria de agendar um test drive",)"
      R"("DataIntencaoAgendamento":"11/06/2025 15:30:00","Showroom":"Loja Centro",)"
      R"("PreferenciaContato":"WhatsApp"}]})";
  const std::string receipt =
      R"({"Cpf":"22233344405","DataAtualizacao":"09/06/2025 09:00:00","DataReagendamento":"",)"
      R"("IdLead":5002,"Status":-1})";
  const std::string confirmed =
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},)"
      R"("Retorno":{"Mensagem":"Recebimento do lead 5002 confirmado","Retorno":"OK"}})";
  EXPECT_EQ(logText(), logEntry(fetch, leads) + logEntry(receipt, confirmed));
  EXPECT_EQ(value("SELECT PRECO FROM CAC_INTERESSE"), "0");
}

TEST_F(FetchCycleTest, RunningAgainNeverGivesALeadASecondContact) {
  sandbox().addLeads(
      Json::array({leadItem("5003"), leadItem("5004", {{"CpfCnpj", "11144477735"}})}));
  runCycle();
  // VW forgets the confirmations and hands the same leads out again.
  sandbox().reset();
  sandbox().addLeads(
      Json::array({leadItem("5003"), leadItem("5004", {{"CpfCnpj", "11144477735"}})}));
  runCycle();

  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_INTERESSE"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM GER_MENSAGEM"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), 2);
  EXPECT_EQ(worker().totais().contatosCriados, 0);
  EXPECT_EQ(worker().totais().revisados, 2);
  EXPECT_EQ(worker().totais().confirmados, 2);
  EXPECT_EQ(confirmedLeads(), (std::vector<std::string>{"5003", "5004"}));
}

// A failed lead makes the worker repeat the whole cycle five more times, pausing before each,
// and the sixth failed count raises the restart message, even when the repeated cycles succeed.
TEST_F(FetchCycleTest, FailedLeadRepeatsTheCycleFiveTimesThenRaises) {
  execute("DELETE FROM CAC_FORMA_CONTATO WHERE TIPO_FORMA_CONTATO = 1");
  sandbox().addLeads(Json::array({leadItem("5010")}));
  // The first pause restores the contact form, so that the repeated cycles succeed.
  struct RepairingPause : Pause {
    std::string uri;
    std::vector<int> waits;
    void sleep(int ms) override {
      if (waits.empty()) {
        OpenConnection(uri)->execute(
            "INSERT INTO CAC_FORMA_CONTATO (EMPRESA, FORMA_CONTATO, DES_FORMA_CONTATO, "
            "TIPO_FORMA_CONTATO) VALUES (1, 4, 'E-MAIL', 1)");
      }
      waits.push_back(ms);
    }
  };
  auto pause = std::make_shared<RepairingPause>();
  pause->uri = db_->uri();

  worker_ = std::make_unique<TLeadsVWMetodosClass>(aplicacao_, *connection_);
  worker_->IntegraLeadsVW = bridge();
  worker_->setClock(clock_);
  worker_->setPause(pause);
  worker_->setIntervaloRepeticao(1500);
  EXPECT_EQ(worker_->intervaloRepeticao(), 1500);
  try {
    worker_->buscarLeads();
    FAIL() << "buscarLeads did not raise";
  } catch (const VornError& error) {
    EXPECT_STREQ(error.what(),
                 "Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado");
  }
  EXPECT_EQ(pause->waits, std::vector<int>(6, 1500));
  EXPECT_EQ(worker_->qtdErros(), 6);
  EXPECT_EQ(worker_->totais().ciclos, 6);
  EXPECT_EQ(worker_->totais().falhas, 1);
  EXPECT_EQ(worker_->totais().contatosCriados, 1);
  EXPECT_EQ(worker_->sPbPasso(), "08");
  EXPECT_FALSE(worker_->listaDN().has_value());
  // The second cycle created the contact; the later ones found the lead confirmed.
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 5010"), 1);
  EXPECT_EQ(confirmedLeads(), std::vector<std::string>{"5010"});
  EXPECT_NE(logText().find("Resposta:\r\nNão foi possível incluir o lead 5010\r\nNão existe forma "
                           "de contato do tipo E-mail não cadastrada na empresa 1\r\n"),
            std::string::npos);
}

// A refusal, a server error, text that is no XML or a SOAP fault: the cycle raises at step 08
// with the failure logged beside the request that met it, and nothing is written.
TEST_F(FetchCycleTest, ServiceFailureOrGarbageRaisesAndWritesNothing) {
  sandbox().addLeads(Json::array({leadItem("5020")}));
  for (const char* mode : {"reject", "http500", "malformed", "soapfault"}) {
    SCOPED_TRACE(mode);
    sandbox().fault({{"operation", "BuscaLeadsStatus"},
                     {"mode", mode},
                     {"codigo", 150},
                     {"descricao", "Concessionária sem permissão"}});
    const std::string message = runCycleExpectingError();
    if (std::string(mode) == "reject") {
      EXPECT_EQ(message, "Concessionária sem permissão");
    }
    EXPECT_FALSE(message.empty());
    EXPECT_EQ(worker().sPbPasso(), "08");
    EXPECT_NE(logText().find(message), std::string::npos);
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), 0);
  EXPECT_TRUE(sandbox().updates().empty());
}

// A host's stop request: the lead in hand is finished, no other is started, no receipt is
// sent after it, and a stop that comes during the pause prevents the repeated cycle.
TEST_F(FetchCycleTest, StopRequestEndsTheCycleAfterTheLeadInHand) {
  struct StopAfter : RunControl {
    int after = 0;
    std::vector<std::string> reported;
    bool stopRequested() const override { return after > 0 && int(reported.size()) >= after; }
    void progress(int n, int total, const std::string& id) override {
      reported.push_back(std::to_string(n) + "/" + std::to_string(total) + " " + id);
    }
  };
  sandbox().addLeads(Json::array({leadItem("5031"), leadItem("5032"), leadItem("5033")}));
  const auto control = std::make_shared<StopAfter>();
  control->after = 2;
  std::vector<int32_t> cycles;
  worker().setRunControl(control);
  worker().aoFimDoCiclo = [&](const TotaisIntake& ciclo) {
    cycles.push_back(ciclo.contatosCriados);
  };
  worker().buscarLeads();
  EXPECT_EQ(control->reported, (std::vector<std::string>{"1/3 5031", "2/3 5032"}));
  EXPECT_TRUE(worker().interrompido());
  EXPECT_EQ(cycles, std::vector<int32_t>{2});
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 2);
  EXPECT_TRUE(confirmedLeads().empty());

  // A lead that fails makes the cycle repeat; the stop arrives while the worker pauses.
  sandbox().addLeads(Json::array({leadItem("5034", {{"DataIntencao", "32/01/2025"}})}));
  struct StoppingPause : Pause {
    std::shared_ptr<StopAfter> control;
    void sleep(int) override { control->after = 1; }
  };
  const auto stopping = std::make_shared<StoppingPause>();
  stopping->control = std::make_shared<StopAfter>();
  worker_ = std::make_unique<TLeadsVWMetodosClass>(aplicacao_, *connection_);
  worker_->IntegraLeadsVW = bridge();
  worker_->setRunControl(stopping->control);
  worker_->setPause(stopping);
  worker_->buscarLeads();
  EXPECT_EQ(worker_->totais().ciclos, 1);
  EXPECT_EQ(worker_->totais().falhas, 1);
  EXPECT_TRUE(worker_->interrompido());
  EXPECT_EQ(confirmedLeads().size(), 3u) << "5031 to 5033 now confirmed";
}

TEST_F(FetchCycleTest, ReplyThatIsNoJsonRaisesAConversionError) {
  int calls = 0;
  worker().IntegraLeadsVW = [&calls](int32_t servico, const AnsiString&) -> AnsiString {
    ++calls;
    EXPECT_EQ(servico, 4);
    return "<html>Service Unavailable</html>";
  };
  EXPECT_THROW(worker().buscarLeads(), ConversionError);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(worker().sPbPasso(), "07");
}

TEST_F(FetchCycleTest, StatusCodeAboveZeroFailsAndZeroSucceeds) {
  std::string reply;
  worker().IntegraLeadsVW = [&reply](int32_t, const AnsiString&) { return reply; };
  reply = R"({"Status":{"Codigo":0.5,"Descricao":"Meio erro","Versao":"1.0"},"Leads":[]})";
  try {
    worker().buscarLeads();
    FAIL() << "buscarLeads did not raise";
  } catch (const VornError& error) {
    EXPECT_STREQ(error.what(), "Meio erro");
  }

  TLeadsVWMetodosClass fresh(aplicacao_, *connection_);
  fresh.IntegraLeadsVW = [&reply](int32_t, const AnsiString&) { return reply; };
  fresh.setPause(pause_);
  reply = R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[]})";
  fresh.buscarLeads();
  EXPECT_EQ(fresh.sPbPasso(), "09");
  EXPECT_EQ(fresh.totais().ciclos, 1);
  EXPECT_TRUE(pause_->waits.empty());
}

TEST_F(FetchCycleTest, NoParticipatingDealerEndsQuietlyWithoutCallingTheService) {
  execute("UPDATE CAC_PARAMETRO SET UTILIZA_INTEGRACAO_LEADVW = 'N'");
  int calls = 0;
  worker().IntegraLeadsVW = [&calls](int32_t, const AnsiString&) -> AnsiString {
    ++calls;
    return "";
  };
  worker().buscarLeads();
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(worker().sPbPasso(), "01.03");
  EXPECT_EQ(logText(), "");
}

TEST_F(FetchCycleTest, DealerNameMissingRaisesBeforeTheCall) {
  execute("DELETE FROM GER_REVENDA");
  int calls = 0;
  worker().IntegraLeadsVW = [&calls](int32_t, const AnsiString&) -> AnsiString {
    ++calls;
    return "";
  };
  try {
    worker().buscarLeads();
    FAIL() << "buscarLeads did not raise";
  } catch (const VornError& error) {
    EXPECT_STREQ(error.what(), "Erro ao buscar nome fantasia da revenda 1.1");
  }
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(worker().sPbPasso(), "03");
}

TEST_F(FetchCycleTest, AWorkerServesOneTopLevelCall) {
  worker().IntegraLeadsVW = [](int32_t, const AnsiString&) -> AnsiString {
    return R"({"Status":{"Codigo":0},"Leads":[]})";
  };
  worker().buscarLeads();
  EXPECT_THROW(worker().buscarLeads(), VornError);
}

TEST_F(FetchCycleTest, ReceiptWithoutBridgeRaises) {
  worker().IntegraLeadsVW = nullptr;
  TContatoLeadVW lead;
  lead.empresa = 1;
  lead.revenda = 1;
  lead.usuarioCorreio = 12;
  lead.leadID = 77;
  try {
    worker().marcaLeadComoRecebido(lead);
    FAIL() << "marcaLeadComoRecebido did not raise";
  } catch (const VornError& error) {
    EXPECT_STREQ(error.what(), "Função IntegraLeadsVW não definida");
  }
}

// A receipt VW refuses ends the receipt pass: the failure is logged and the cycle repeats.
TEST_F(FetchCycleTest, RefusedReceiptIsLoggedAndCountsAsFailure) {
  sandbox().addLeads(Json::array({leadItem("5030")}));
  sandbox().fault({{"operation", "AtualizaLeads"},
                   {"mode", "reject"},
                   {"codigo", 204},
                   {"descricao", "Lead já recebido"},
                   {"count", 1}});
  EXPECT_EQ(runCycleExpectingError(),
            "Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado");
  // The contact was committed before the receipt; the next cycle confirmed it.
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 1);
  EXPECT_EQ(confirmedLeads(), std::vector<std::string>{"5030"});
  EXPECT_NE(logText().find("Requisição: \r\n\r\n\r\nResposta:\r\nLead já recebido\r\n"),
            std::string::npos);
}

}  // namespace
}  // namespace vornleads::test
