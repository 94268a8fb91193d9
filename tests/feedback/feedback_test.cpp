// Status updates through the rules, the journal, the library edition, SOAP and the sandbox;
// rejections and failures on the way; the resend pass.
#include <filesystem>
#include <string>
#include <tuple>
#include <typeinfo>
#include <vector>

#include "feedback/feedback_fixture.h"
#include "vornleads/error.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/log_failures.h"

namespace vornleads::test {
namespace {

constexpr char kForaValidade[] =
    "Este lead está fora do prazo de validade (90 dias) e não será mais enviado para a VW";
constexpr char kSemIntegracao[] = "Contato não faz parte da integração";
constexpr char kEntregue[] = "|12|15/03/2024 10:00:00|-";  // user, date, no appointment

template <typename Call>
std::string failure(Call call) {
  try {
    call();
  } catch (const VornError& error) {
    EXPECT_EQ(typeid(VornError), typeid(error)) << "raised anew as a plain error";
    return error.what();
  }
  return "(no error)";
}

// The row stands as in progress while VW is called, committed (another connection reads it) so
// that a host dying in the call leaves it to the resend pass; the send log keeps request and
// reply. A send log that cannot be written (a directory where the day's file should be) changes
// no outcome: the acceptance is journalled delivered, never sent again, the lost entry recorded.
TEST_F(FeedbackTest, AcceptedUpdateIsJournalledInProgressThenDeliveredAndLogged) {
  isolate();  // the resend pass reads every integrated branch
  const int32_t lead = newLead();
  addJournalRow(*db_, lead, 1, 1, "S");  // delivered rows are never written again
  const auto logFile = home() / "logErroLeadsVW_2024_03_15.txt";
  std::filesystem::remove(logFile);
  Strings duringCall;
  auto atualiza = worker(*db_, [&](int32_t servico, const AnsiString& json) {
    duringCall = journal(*own_->connect(), lead);
    return bridge()(servico, json);
  });
  auto parametros = updateOf(lead, 10);
  const auto resposta = atualiza->realizaAtualizacao(parametros);
  ASSERT_TRUE(resposta.has_value());
  EXPECT_EQ(0, resposta->Status->Codigo);
  EXPECT_EQ("12-", atualiza->sPbMensagemAtu());
  EXPECT_EQ(2, parametros.sequenciaReenvio);
  const std::string first = "1|1|S|-||12|14/03/2024 10:00:00|-";
  EXPECT_EQ(
      (Strings{first, std::string("2|10|N|297|Atualização em processo de envio") + kEntregue}),
      duringCall);
  EXPECT_EQ((Strings{first, std::string("2|10|S|-|") + kEntregue}), journal(*db_, lead));
  const std::string request = R"({"Cpf":"22233344405","DataAtualizacao":"15/03/2024 10:00:00",)"
                              R"("DataReagendamento":"","IdLead":)" +
                              std::to_string(lead) + R"(,"Status":10})";
  EXPECT_EQ(std::vector<Json>{Json::parse(request)}, updatesOf(lead));
  EXPECT_EQ(std::string(152, '=') + "\r\n15-03-24 10:00:00.000\r\nRequisição: \r\n" + request +
                "\r\n\r\nResposta:\r\n" +
                R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Retorno":)"
                R"({"Mensagem":"Status do lead )" +
                std::to_string(lead) + R"( atualizado para 10","Retorno":"OK"}})" + "\r\n",
            readFile(logFile));

  std::filesystem::remove(logFile);
  std::filesystem::create_directory(logFile);
  const uint64_t lost = logWriteFailureCount();
  const int32_t unlogged = newLead();
  atualiza = worker(*db_);
  parametros = updateOf(unlogged, 10);
  const auto aceita = atualiza->realizaAtualizacao(parametros);
  const auto resendido = resendPass(*db_);
  std::filesystem::remove(logFile);
  ASSERT_TRUE(aceita.has_value());
  EXPECT_EQ(TAtualizaLeadsVW::Desfecho::Aceito, atualiza->desfecho());
  EXPECT_EQ("12-", atualiza->sPbMensagemAtu());
  EXPECT_EQ(Strings{std::string("1|10|S|-|") + kEntregue}, journal(*db_, unlogged));
  EXPECT_EQ("0/0/0/0", resendido);
  EXPECT_EQ(1u, updatesOf(unlogged).size());
  EXPECT_EQ(1u, logWriteFailureCount() - lost);
  ASSERT_TRUE(atualiza->falhaLogEnvio().has_value());
  EXPECT_EQ(0u, atualiza->falhaLogEnvio()->rfind("Não foi possível gravar o arquivo \"", 0));
}

// Updates outside the integration (branch 1.31 has no parameters) are answered on the spot,
// nothing journalled or sent: 0 for a first send, 299 (too old) or 297 on a resend.
TEST_F(FeedbackTest, UpdatesOutsideTheIntegrationAreAnsweredLocally) {
  struct Case {
    int diasAtras, revenda, status;
    bool reenvio;
    double codigo;
    const char *link, *reagendamento, *descricao, *integrandoDepois;
  };
  for (const Case& c : {Case{91, 1, 10, false, 0, "S", "", kForaValidade, "N"},
                        Case{91, 1, 10, true, 299, "S", "", kForaValidade, "N"},
                        Case{3, 1, 10, false, 0, "N", "", kSemIntegracao, "N"},
                        Case{3, 1, 10, true, 297, "N", "", kSemIntegracao, "N"},
                        Case{3, 1, -1, false, 0, "S", "", kSemIntegracao, "S"},
                        Case{3, 31, 10, false, 0, "S", "", kSemIntegracao, "S"},
                        Case{3, 1, 9, false, 0, "S", "14/03/2024 18:00:00", kSemIntegracao, "S"}}) {
    const int32_t lead = nextKey();
    addLead(*db_, lead, c.diasAtras, c.link, c.revenda);
    auto parametros = updateOf(lead, c.status, 12, c.revenda);
    parametros.reenvio = c.reenvio;
    parametros.dataAtualizacaoReenvio = "14/03/2024 09:00:00";
    parametros.dataReagendamento = c.reagendamento;
    auto atualiza = worker(*db_);
    const auto resposta = atualiza->realizaAtualizacao(parametros);
    ASSERT_TRUE(resposta.has_value());
    EXPECT_EQ(
        std::make_tuple(c.codigo, std::string(c.descricao), std::string("1.0")),
        std::tie(resposta->Status->Codigo, resposta->Status->Descricao, resposta->Status->Versao));
    EXPECT_EQ("6", atualiza->sPbMensagemAtu());
    EXPECT_EQ(c.integrandoDepois, integrando(*db_, lead));
    EXPECT_EQ("", enviou(*db_, lead));
    EXPECT_TRUE(updatesOf(lead).empty());
  }
}

// The last journalled status suppresses a repeat and everything after an end (2 to 9, 11);
// the 90 days of validity count from the contact's new date when it was rescheduled.
TEST_F(FeedbackTest, EarlierStatusesAndTheContactsAgeDecideWhatIsSent) {
  struct Case {
    int anterior, novo, diasAtras;  // anterior 0: no earlier row
    std::optional<int> novoDias;
    bool enviado;
  };
  for (const Case& c :
       {Case{5, 5, 3, {}, false}, Case{2, 10, 3, {}, false}, Case{9, 1, 3, {}, false},
        Case{11, 10, 3, {}, false}, Case{10, 10, 3, {}, false}, Case{10, 1, 3, {}, true},
        Case{1, 10, 3, {}, true}, Case{0, 10, 90, {}, true}, Case{0, 10, 200, 5, true}}) {
    const int32_t lead = nextKey();
    addLead(*db_, lead, c.diasAtras, "S", 1, c.novoDias);
    if (c.anterior) addJournalRow(*db_, lead, 1, c.anterior, "S");
    auto parametros = updateOf(lead, c.novo);
    worker(*db_)->realizaAtualizacao(parametros);
    EXPECT_EQ(std::string(c.anterior ? "S" : "") + (c.enviado ? "S" : ""), enviou(*db_, lead))
        << c.anterior << " then " << c.novo;
    EXPECT_EQ(c.enviado ? 1u : 0u, updatesOf(lead).size());
  }
  addLead(*db_, 1);  // the lowest lead number there is
  auto first = updateOf(1, 10);
  worker(*db_)->realizaAtualizacao(first);
  EXPECT_EQ(1u, updatesOf(1).size());
}

// A date that cannot be read reaches the caller as a plain error; an appointment up to six
// months ahead is journalled and sent with the update. A resent update goes with its own date
// and marks the lead's earlier unsent rows, only those below its sequence, as delivered.
TEST_F(FeedbackTest, RescheduledAndResentUpdatesCarryTheirDates) {
  const int32_t lead = newLead();
  auto parametros = updateOf(lead, 9);
  parametros.dataReagendamento = "31/02/2024";
  EXPECT_EQ("\"31/02/2024\" is not a valid date and time",
            failure([&] { worker(*db_)->realizaAtualizacao(parametros); }));
  parametros.dataReagendamento = "14/09/2024 08:30";
  ASSERT_TRUE(worker(*db_)->realizaAtualizacao(parametros).has_value());
  EXPECT_EQ(Strings{"1|9|S|-||12|15/03/2024 10:00:00|14/09/2024 08:30:00"}, journal(*db_, lead));
  EXPECT_EQ("14/09/2024 08:30:00", updatesOf(lead).at(0)["DataReagendamento"]);

  const int32_t resent = newLead();
  for (int32_t sequencia = 1; sequencia <= 7; ++sequencia)
    addJournalRow(*db_, resent, sequencia, 1, sequencia == 2 ? "S" : "N");
  parametros = updateOf(resent, 1);
  parametros.reenvio = true;
  parametros.sequenciaReenvio = 5;
  parametros.dataAtualizacaoReenvio = "14/03/2024 10:00:00";
  ASSERT_TRUE(worker(*db_)->realizaAtualizacao(parametros).has_value());
  EXPECT_EQ("SSSSSNN", enviou(*db_, resent));
  EXPECT_EQ("14/03/2024 10:00:00", updatesOf(resent).at(0)["DataAtualizacao"]);
}

TEST_F(FeedbackTest, MissingCpfOrLibraryIsJournalledAndNothingIsSent) {
  db_->execute(
      "INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, CPF) "
      "VALUES (1, 1, 40, 40, '0')");
  const auto semCpf = [](int usuario) {
    return "Contato originado de lead VW sem CPF informado para o vendedor do usuário " +
           std::to_string(usuario) + ". Favor informar o CPF para continuar com a operação.\r\n";
  };
  const std::string semDll = "A biblioteca \"VornLeadsVW.dll\" não foi encontrada.";
  TempDir emptyHome("vornleads-nolib");
  for (const auto& [usuario, dll, motivo] :
       {std::make_tuple(40, true, semCpf(40)), std::make_tuple(99, true, semCpf(99)),
        std::make_tuple(12, false, semDll), std::make_tuple(40, false, semCpf(40) + semDll)}) {
    const int32_t lead = newLead();
    auto atualiza = worker(*db_, [](int32_t, const AnsiString&) -> AnsiString { throw 0; });
    auto parametros = updateOf(lead, 10, usuario);
    setHostDirectory(dll ? home() : emptyHome.path());  // this program's, not the library's
    EXPECT_FALSE(atualiza->realizaAtualizacao(parametros).has_value());
    setHostDirectory({});
    EXPECT_EQ("7", atualiza->sPbMensagemAtu()) << "the bridge is not called";
    EXPECT_EQ(
        Strings{"1|10|N|297|" + motivo + "|" + std::to_string(usuario) + "|15/03/2024 10:00:00|-"},
        journal(*db_, lead));
  }
}

// A rejection keeps VW's code and first 500 characters and notifies the branch's users (a null
// list user 0; a bad entry ends the loop and becomes the send error); 207 to 209 end the lead.
// A bridge that fails or answers without a status leaves a send error: never an acceptance.
TEST_F(FeedbackTest, RejectionsAndFailedSendsAreJournalledAndNotified) {
  for (const char* values : {"21, 'S', NULL", "22, 'S', '12,x,15'"}) {
    db_->execute(std::string("INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, "
                             "UTILIZA_INTEGRACAO_LEADVW, USUARIOS_NOTIF_CONTATO_VEI) VALUES (1, ") +
                 values + ")");
    db_->execute(std::string("INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, CPF) "
                             "VALUES (1, ") +
                 std::string(values, 2) + ", 12, 12, '22233344405')");
  }
  std::string longa;
  for (int i = 0; i < 60; ++i) longa += "Rejeições ";  // 10 characters, 12 bytes each
  const std::string erro = "297|Erro ao enviar atualização para a VW: ";
  using Bridge = AnsiString (*)(int32_t, const AnsiString&);
  const Bridge falha = [](int32_t, const AnsiString&) -> AnsiString { throw 42; };
  const Bridge semStatus = [](int32_t, const AnsiString&) -> AnsiString {
    return R"({"Status":null})";
  };
  struct Case {
    int codigo, revenda;
    std::string descricao, integrandoDepois;
    std::vector<int> destinos;
    std::string journalled;   // CODIGO_ERRO|DESCRICAO_ERRO
    Bridge bridge = nullptr;  // the library edition's when null
  };
  for (const Case& c :
       {Case{150, 1, longa, "S", {12, 15}, "150|" + longa.substr(0, 600)},
        Case{207, 1, "Fim", "N", {12, 15}, "207|Fim"},
        Case{208, 1, "Fim", "N", {12, 15}, "208|Fim"},
        Case{206, 1, "Não", "S", {12, 15}, "206|Não"}, Case{150, 21, "Não", "S", {0}, "150|Não"},
        Case{-1, 22, "Não", "S", {12}, erro + "\"x\" is not a valid integer value"},
        Case{-1, 1, "", "S", {}, erro + "unknown exception", falha},
        Case{-1, 1, "", "S", {}, erro + "Resposta da VW sem Status", semStatus}}) {
    const int32_t lead = newLead(10, c.revenda);
    SCOPED_TRACE(c.journalled);
    if (!c.bridge) reject(c.codigo < 0 ? 150 : c.codigo, c.descricao);
    std::vector<int> destinos;
    auto atualiza = worker(*db_, c.bridge);
    atualiza->envioExternoMensagem = [&](int32_t origem, int32_t destino,
                                         const std::string& assunto, const std::string& texto) {
      EXPECT_EQ("0 Erro integração Leads VW Erro ao enviar atualização de Lead VW para o contato " +
                    std::to_string(lead),
                std::to_string(origem) + " " + assunto + " " + texto);
      destinos.push_back(destino);
    };
    auto parametros = updateOf(lead, 10, 12, c.revenda);
    const auto resposta = atualiza->realizaAtualizacao(parametros);
    EXPECT_EQ(c.codigo, resposta ? resposta->Status->Codigo : -1);
    EXPECT_EQ(c.destinos, destinos);
    EXPECT_EQ(c.integrandoDepois, integrando(*db_, lead));
    EXPECT_EQ(Strings{"1|10|N|" + c.journalled + kEntregue}, journal(*db_, lead));
  }
}

// A service failure leaves the row unsent (297 and the failure's text, no rejection by VW), also
// when a resend pass meets it again; the next pass delivers it once, the one after reads nothing.
TEST_F(FeedbackTest, RowLeftUnsentByAServiceFailureIsDeliveredOnceByTheNextPass) {
  isolate();
  for (const char* mode : {"drop", "malformed", "http500", "soapfault"}) {
    const int32_t lead = newLead();
    sandbox().fault({{"operation", "AtualizaLeads"}, {"mode", mode}, {"count", 2}});
    auto parametros = updateOf(lead, 10);
    auto atualiza = worker(*db_);
    const auto resposta = atualiza->realizaAtualizacao(parametros);
    ASSERT_TRUE(resposta.has_value()) << mode;
    EXPECT_EQ(297, resposta->Status->Codigo);
    EXPECT_EQ(TAtualizaLeadsVW::Desfecho::NaoEnviado, atualiza->desfecho());
    const std::string row = journal(*db_, lead).at(0);
    EXPECT_EQ(0u, row.rfind("1|10|N|297|" + resposta->Status->Descricao.substr(0, 20), 0)) << row;
    EXPECT_EQ("1/0/0/1", resendPass(*db_)) << mode;
    EXPECT_EQ("N", enviou(*db_, lead));
    EXPECT_EQ("1/1/0/0", resendPass(*db_));
    EXPECT_EQ(Strings{std::string("1|10|S|-|") + kEntregue}, journal(*db_, lead));
    const auto requests = updatesOf(lead).size();
    EXPECT_EQ("0/0/0/0", resendPass(*db_));
    EXPECT_EQ(requests, updatesOf(lead).size()) << "delivered once";
  }
}

// A row without a user takes the user the branch's first contact was forwarded to, and stays
// for the next pass when rejected; a lead switched off is not read, one too old is read once
// and switched off, an appointment now past is neither sent nor dropped. A worker's error ends the
// pass and leaves its row alone; with no integrated branch the journal is not even read.
TEST_F(FeedbackTest, ResendPassSendsWhatStillIntegratesAndLeavesTheRestAlone) {
  isolate();
  const auto appointment = [&](int32_t lead, const std::string& data, const char* codigo) {
    db_->execute(
        "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
        "DTA_REAGENDAMENTO, DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, USUARIO) VALUES (" +
        std::to_string(lead) + ", 1, 9, CAST('" + data +
        "' AS TIMESTAMP), CAST('2024-03-10 09:00:00' AS TIMESTAMP), 'N', " + codigo + ", 12)");
  };
  addLead(*db_, nextKey(), 2, "S", 1, {}, 15);  // the branch's first contact
  const int32_t semUsuario = newLead();
  addJournalRow(*db_, semUsuario, 1, 10, "N", "NULL");
  const int32_t off = nextKey();
  addLead(*db_, off, 2, "N");
  addJournalRow(*db_, off, 1, 10, "N");
  const int32_t old = newLead(100);
  addJournalRow(*db_, old, 1, 10, "N");
  const int32_t past = newLead();
  appointment(past, "2024-03-14 09:00:00", "297");
  reject(150);  // only semUsuario's row reaches VW
  EXPECT_EQ("3/0/1/2", resendPass(*db_));
  EXPECT_EQ("N", integrando(*db_, old)) << "too old: switched off";
  EXPECT_EQ("2/1/0/1", resendPass(*db_));
  EXPECT_EQ(Strings{"1|10|S|-||15|14/03/2024 10:00:00|-"}, journal(*db_, semUsuario));
  EXPECT_EQ("33344455514", updatesOf(semUsuario).at(1)["Cpf"]);
  EXPECT_EQ("14/03/2024 10:00:00", updatesOf(semUsuario).at(1)["DataAtualizacao"]);
  EXPECT_EQ("NNN", enviou(*db_, off) + enviou(*db_, old) + enviou(*db_, past));
  EXPECT_EQ(0u, updatesOf(off).size() + updatesOf(old).size() + updatesOf(past).size());

  // The error that ends a pass names the row it stopped at.
  const int32_t far = newLead();
  appointment(far, "2024-12-01 09:00:00", "NULL");
  const std::string row = "lead " + std::to_string(far) + " (contato 1.1." + std::to_string(far);
  EXPECT_EQ(row + ", sequência 1): Não é possível reagendar para um período maior que 6 meses",
            failure([&] { resendPass(*db_); }));
  const std::string noBridge = failure([&] { resendPass(*db_, {}); });
  EXPECT_EQ(0u, noBridge.rfind("lead ", 0)) << noBridge;
  EXPECT_NE(std::string::npos, noBridge.find("): Função IntegraLeadsVW não definida")) << noBridge;
  EXPECT_EQ(Strings{"1|9|N|-|-|12|10/03/2024 09:00:00|01/12/2024 09:00:00"}, journal(*db_, far));
  EXPECT_TRUE(updatesOf(far).empty());
  db_->execute("UPDATE CAC_PARAMETRO SET UTILIZA_INTEGRACAO_LEADVW = 'N'");
  EXPECT_EQ("0/0/0/0", resendPass(*db_));
}

}  // namespace
}  // namespace vornleads::test
