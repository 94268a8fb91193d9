// bin/vornleads as a program: intake, resend, update, call, the usage errors and HTTPS, each
// test against a database and a sandbox of its own.
#include "apps/cli.h"

#include <signal.h>

#include <iostream>
#include <thread>

#include "support/test_authority.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

std::string summary(int read, int created, int failed, int confirmed) {
  return "intake: 1 dealers, " + std::to_string(read) + " leads read, " + std::to_string(created) +
         " contacts created, 0 linked, 0 revised, 0 closed, " + std::to_string(failed) +
         " failed, " + std::to_string(confirmed) + " confirmed, 1 cycle";
}

// Progress on a terminal only; a second intake finds everything confirmed; a service failure
// ends the third with status 1 and its message (that nothing is written and the message is
// logged is IntakeTest.FetchAndReceiptFailuresEndTheCycleAtTheirStep's).
TEST_F(CliTest, IntakeShowsProgressOnATerminalOnlyConfirmsWhatItReadAndStopsAtAFailure) {
  sandbox_.addLeads({leadItem(1101), leadItem(1102)});
  int status = -1;
  const std::string terminal =
      runOnTerminal({(binDir() / "vornleads").string(), "--db", database_.uri(), "--endpoint",
                     sandbox_.url(), "--home", home_.path().string(), "intake"},
                    status);
  EXPECT_EQ(status, 0) << terminal;
  EXPECT_EQ(terminal,
            "\r\033[Kintake: lead 1 of 2, 1101\r\033[Kintake: lead 2 of 2, 1102"
            "\r\033[Kintake: confirming lead 1 of 2, 1101\r\033[Kintake: confirming lead 2 of 2, "
            "1102\r\033[K" +
                summary(2, 2, 0, 2) + "\r\n");
  EXPECT_EQ(rows("CAC_LEAD_CONTATO"), 2);
  EXPECT_EQ(sandbox_.updates().size(), 2u);
  expectRun(vornleads("intake"), 0, summary(0, 0, 0, 0) + "\n", "");

  sandbox_.addLeads(Json::array({leadItem(201)}));
  sandbox_.fault(rejection("BuscaLeadsStatus", 150, "DN sem permissão"));
  const CliRun rejected = vornleads("intake");
  EXPECT_EQ(rejected.status, 1);
  EXPECT_EQ(rejected.out, "");
  EXPECT_NE(rejected.err.find("vornleads: DN sem permissão\n"), std::string::npos) << rejected.err;
}

// SIGINT or SIGTERM to a one-shot intake: in the pause before a repeated cycle (cut short) or
// in the middle of its leads and receipts. It ends with status 1 and the stop line, every lead
// it took in whole; the next intake takes in the rest, none twice.
TEST_F(CliTest, StopSignalsEndAnIntakeAtALeadsEdge) {
  Json leads = leadItems(1201, 1230);
  leads.push_back(leadItem(1299, {{"DataIntencao", "32/01/2025"}}));  // fails: cycles repeat
  sandbox_.addLeads(leads);
  // Each receipt takes a tenth of a second, so a stop meets work in hand.
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "delay"}, {"ms", 100}, {"count", 1000}});
  const auto intake = [&](const char* delay) { return start({"intake", "--retry-delay", delay}); };
  for (const auto& [signal, name] : {std::pair{SIGINT, "SIGINT"}, std::pair{SIGTERM, "SIGTERM"}}) {
    SCOPED_TRACE(name);
    const auto process = intake("600000");
    if (signal == SIGINT) {  // every receipt of the first cycle sent: the pause has begun
      ASSERT_TRUE(ChildProcess::waitUntil([&] { return confirmed() == 30; }, 60s));
      std::this_thread::sleep_for(300ms);
    } else {
      sandbox_.addLeads(leadItems(1301, 1330));
      ASSERT_TRUE(ChildProcess::waitUntil([&] { return rows("CAC_LEAD_CONTATO") > 35; }, 60s));
    }
    const auto sent = std::chrono::steady_clock::now();
    process->signal(signal);
    EXPECT_EQ(process->wait(20s), 1) << process->err();
    EXPECT_LT(std::chrono::steady_clock::now() - sent, 10s) << "stopped at the next edge";
    const std::string err = process->err();
    EXPECT_EQ(err.substr(err.rfind('\n', err.size() - 2) + 1),
              "vornleads: intake stopped by " + std::string(name) + "\n")
        << err;
    EXPECT_NE(process->out().find(" cycle"), std::string::npos) << "the summary of what was done";
  }
  EXPECT_EQ(intake("0")->wait(120s), 1) << "lead 1299 keeps failing: the restart message";
  // Every lead once, with its contact, customer and receipt; the failing one nowhere.
  for (const char* table : {"CAC_LEAD_CONTATO", "CAC_CONTATO", "FAT_CLIENTE"})
    EXPECT_EQ(rows(table), 60) << table;
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO"), 60);
  EXPECT_EQ(rows("CAC_CONTATO C WHERE NOT EXISTS (SELECT 1 FROM CAC_LEAD_CONTATO L WHERE "
                 "L.CONTATO = C.CONTATO)"),
            0);
  EXPECT_EQ(confirmed(), 60);
}

// A dealership as it is found: two integrated companies, customers numbered long before the
// module (with a gap in their codes), and three intakes at once, each with leads of its own
// for both companies, some of them already customers. No lead may fail over a counter, and
// every new customer gets a code of its own above the ones the DMS had.
TEST_F(CliTest, ThreeProcessesOnTwoCompaniesAndAnAdoptedCustomerBase) {
  database_.isql(R"(
    INSERT INTO GER_REVENDA (EMPRESA, REVENDA, RAZAO_SOCIAL) VALUES (2, 1, 'SEGUNDA');
    INSERT INTO VWB_PARAMETRO (EMPRESA, REVENDA, NUMERO_DN, API_AUTOSERVICE_ATIVA)
      VALUES (2, 1, '05678', 'N');
    INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, UTILIZA_INTEGRACAO_LEADVW,
      USUARIOS_NOTIF_CONTATO_VEI, ORIGEM_TRAFEGO_LEADVW) VALUES (2, 1, 'S', '12', 7);
    INSERT INTO VEI_PARAMETRO (EMPRESA, REVENDA, TIPO_CONTATO, SUB_TIPO_CONTATO, DEPARTAMENTO)
      VALUES (2, 1, 1, 2, 3);
    INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, NOME, CPF)
      VALUES (2, 1, 1, 0, 'ADMINISTRADOR', '11122233396');
    INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, NOME, CPF)
      VALUES (2, 1, 12, 12, 'CARLOS SOUZA', '22233344405');
    INSERT INTO CAC_FORMA_CONTATO (EMPRESA, FORMA_CONTATO, DES_FORMA_CONTATO, TIPO_FORMA_CONTATO)
      VALUES (2, 4, 'E-MAIL', 1);
    INSERT INTO VEI_MODELO (EMPRESA, MODELO, DES_MODELO) VALUES (2, '1001', 'GOL');
    COMMIT;)");
  // Customers 1..20 and 9001..9005, numbered by the DMS without any counter row.
  for (int cliente = 1; cliente <= 9005; cliente = cliente == 20 ? 9001 : cliente + 1) {
    const std::string c = std::to_string(cliente);
    db_->execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (" + c + ", 'ANTIGO')");
    db_->execute("INSERT INTO FAT_PESSOA_FISICA (CLIENTE, CPF) VALUES (" + c + ", '" +
                 std::to_string(70000000000LL + cliente) + "')");
  }
  constexpr int kProcessos = 3, kLeads = 16;
  std::vector<std::unique_ptr<SandboxProcess>> sandboxes;
  std::vector<std::string> intakes;
  int antigos = 0;
  for (int p = 0; p < kProcessos; ++p) {
    Json leads = Json::array();
    for (int i = 0; i < kLeads; ++i) {
      Json changes = {{"DealerNumber", i % 2 ? "5678" : "1234"}};
      if (i % 4 == 0) {  // an old customer of its own, found by CPF
        changes["CpfCnpj"] = std::to_string(70000000000LL + 1 + 4 * p + i / 4);
        ++antigos;
      }
      leads.push_back(leadItem(1000 + 100 * p + i, changes));
    }
    sandboxes.push_back(std::make_unique<SandboxProcess>());
    sandboxes.back()->addLeads(leads);
    intakes.push_back(options(sandboxes.back()->url()) + "intake --retry-delay 200");
  }
  for (const CliRun& run : atOnce(intakes)) {
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find(" 16 contacts created, 0 linked, 0 revised, 0 closed, 0 failed, "
                           "16 confirmed, 1 cycle"),
              std::string::npos)
        << run.out << run.err;
  }
  const int leads = kProcessos * kLeads, novos = leads - antigos;
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO"), leads);
  EXPECT_EQ(rows("CAC_CONTATO"), leads);
  EXPECT_EQ(rows("CAC_CONTATO WHERE EMPRESA = 2"), leads / 2);
  EXPECT_EQ(rows("FAT_CLIENTE WHERE CLIENTE > 9005"), novos);
  EXPECT_EQ(rows("FAT_CLIENTE"), 25 + novos);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT CLIENTE) FROM CAC_CONTATO WHERE CLIENTE > 9005"), novos);
  EXPECT_EQ(rows("CAC_CONTATO WHERE CLIENTE <= 9005"), antigos);
  std::cout << "three intakes at once: " << leads << " leads, " << novos
            << " new customers numbered from "
            << count("SELECT MIN(CLIENTE) FROM FAT_CLIENTE WHERE CLIENTE > 9005") << ", " << antigos
            << " matched to old customers\n";
}

// A dropped connection leaves rows unsent, never rejected; each row not sent is named on
// standard error; a rejection stays for the next pass; nothing is delivered twice.
TEST_F(CliTest, ResendPassesUntilNothingIsLeft) {
  addLeadContact(10, 501);
  addLeadContact(11, 502);
  addLeadContact(12, 503, 120);  // too old: switched off by the first pass
  for (int lead : {501, 502, 503}) addUnsentRow(lead, 1, 10);
  // A resend notifies nobody; the last pass meets a row rescheduled too far ahead.
  const struct {
    Json fault;
    std::string line;
    int exit;
    std::vector<std::string> err;  // what standard error says, in any order
  } passes[] = {
      {{{"operation", "AtualizaLeads"}, {"mode", "drop"}, {"count", 2}},
       "3 rows read, 0 sent, 0 rejected, 3",
       0,
       {"lead 501 (contato 1.1.10, sequência 1) not sent: ",
        "lead 502 (contato 1.1.11, sequência 1) not sent: ",
        "lead 503 (contato 1.1.12, sequência 1) not sent: Este lead está fora do prazo"}},
      {rejection("AtualizaLeads", 150), "2 rows read, 1 sent, 1 rejected, 0", 0, {") rejected: "}},
      {nullptr, "1 rows read, 1 sent, 0 rejected, 0", 0, {}},
      {nullptr,
       "1 rows read, 0 sent, 0 rejected, 1",
       1,
       {"vornleads: lead 504 (contato 1.1.13, sequência 1): Não é possível reagendar para um "
        "período maior que 6 meses\n"}}};
  for (const auto& pass : passes) {
    SCOPED_TRACE(pass.line);
    if (pass.exit) {
      EXPECT_EQ(journal(501) + journal(502) + journal(503), "1 S null \n1 S null \n1 N 297 \n");
      EXPECT_EQ(sandbox_.updates().size(), 5u) << "2 dropped, 1 rejected, 2 sent";
      addLeadContact(13, 504);
      addUnsentRow(504, 1, 9, "CURRENT_TIMESTAMP + 400");
    }
    if (!pass.fault.is_null()) sandbox_.fault(pass.fault);
    const CliRun run = vornleads("resend");
    EXPECT_EQ(run.status, pass.exit) << run.err;
    EXPECT_EQ(run.out, "resend: " + pass.line + " still unsent\n");
    for (const std::string& said : pass.err)
      EXPECT_NE(run.err.find(said), std::string::npos) << run.err;
    if (pass.err.empty()) {
      EXPECT_EQ(run.err, "");
    } else if (&pass == &passes[0]) {
      EXPECT_EQ(journal(501).substr(0, 8) + journal(502).substr(0, 8), "1 N 297 1 N 297 ");
    }
  }
}

const std::string kUpdate = "update --empresa 1 --revenda 1 --contato 10 --lead 555 --usuario ";

// The printed outcome and exit code of an update on contact 10 of lead 555, from an empty
// journal: the journal rows it leaves and the Status or DataAtualizacao the sandbox received.
// What is sent or journalled case by case is the feedback suite's (FeedbackTest).
TEST_F(CliTest, UpdatesAnswerWithVWsReplyJournalOnceAndFailWithOne) {
  addLeadContact(10, 555);
  const std::string noCpf =
      "Contato originado de lead VW sem CPF informado para o vendedor do "
      "usuário 99. Favor informar o CPF para continuar com a operação.";
  const std::string notice =
      ": Erro integração Leads VW: Erro ao enviar atualização de Lead VW para o contato 10\n";
  const std::string update = "vornleads: update of lead 555 (contato 1.1.10)";
  const struct {
    std::string arguments;
    Json fault;  // a sandbox fault, or "log": a directory where today's send log should be
    int status;
    std::string out, err, journal, received;
  } updates[] = {
      // The log entry is lost, the update is not.
      {"12 --status 10", "log", 0,
       retorno(0, "Sucesso", "Status do lead 555 atualizado para 10") + "\n",
       "vornleads: log entry not written: Não foi possível gravar o arquivo \"" +
           sendLog().string() + "\": Is a directory\n" + update + " sent, journal row 1\n",
       "1 S null \n", "10 "},
      {"12 --status 10", rejection("AtualizaLeads", 208, "Lead encerrado na VW"), 1,
       retorno(208, "Lead encerrado na VW") + "\n",
       "vornleads: message to user 12" + notice + "vornleads: message to user 15" + notice +
           update + " rejected by VW: código 208: Lead encerrado na VW\n",
       "1 N 208 Lead encerrado na VW\n", "10 "},
      {"99 --status 10", nullptr, 1, "", update + " journalled, not sent: " + noCpf + "\n",
       "1 N 297 " + noCpf + "\r\n\n", ""},
      {"12 --status 9 --reagendamento '01/01/2099 10:00:00'", nullptr, 1, "",
       update + ": Não é possível reagendar para um período maior que 6 meses\n", "", ""},
      {"12 --status 1 --resend --sequencia 3 --data-atualizacao '14/03/2024 09:30:00'", nullptr,
       0, retorno(0, "Sucesso", "Status do lead 555 atualizado para 1") + "\n",
       update + " sent, journal row 3\n", "3 S null \n", "\"14/03/2024 09:30:00\" "},
  };
  for (const auto& u : updates) {
    SCOPED_TRACE(u.arguments);
    const bool resend = u.arguments.find("--resend") != std::string::npos;
    db_->execute("DELETE FROM CAC_ATUALIZACOES_LEADVW");
    db_->execute("UPDATE CAC_LEAD_CONTATO SET INTEGRANDO = 'S'");
    if (resend) addUnsentRow(555, 3, 1, "NULL");
    sandbox_.reset();
    sandbox_.addLeads({{{"IdLead", "555"}, {"DealerNumber", "01234"}}});
    if (u.fault == "log") {
      std::filesystem::create_directory(sendLog());
    } else if (!u.fault.is_null()) {
      sandbox_.fault(u.fault);
    }
    expectRun(vornleads(kUpdate + u.arguments), u.status, u.out, u.err);
    std::filesystem::remove(sendLog());
    EXPECT_EQ(journal(555), u.journal);
    std::string received;
    for (const auto& sent : sandbox_.updates())
      received += sent[resend ? "DataAtualizacao" : "Status"].dump() + " ";
    EXPECT_EQ(received, u.received);
  }
  // Without the library edition in the host directory nothing is sent or journalled.
  const CliRun noLibrary = bare(options("", scratch_.path()) + kUpdate + "12 --status 10");
  EXPECT_EQ(noLibrary.status, 1);
  EXPECT_NE(noLibrary.err.find("VornLeadsVW.dll"), std::string::npos) << noLibrary.err;
  EXPECT_EQ(journal(555), "3 S null \n");
  EXPECT_EQ(sandbox_.updates().size(), 1u);
}

// The reply on standard output, the parameters inline or from standard input, and a refusal's
// code as the exit status (the replies themselves are the library edition's and the facade's).
TEST_F(CliTest, CallPrintsTheReplyAndExitsWithItsStatus) {
  sandbox_.addLeads(Json::parse(R"([{"IdLead":"77","DealerNumber":"1234","Nome":"Davi"}])"));
  const struct {
    std::string arguments, input;
    int status;
    std::string out, err;
  } calls[] = {
      {"call AtualizaLeads -",
       R"({"Cpf":"1","DataAtualizacao":"","DataReagendamento":"","IdLead":77,"Status":-1})", 0,
       retorno(0, "Sucesso", "Recebimento do lead 77 confirmado") + "\n", ""},
      {R"(call AtualizaLeads '{"IdLead":999,"Status":-1,"Cpf":"1"}')", "", 1,
       retorno(201, "Lead 999 não encontrado") + "\n",
       "vornleads: AtualizaLeads falhou: código 201: Lead 999 não encontrado\n"},
  };
  for (const auto& call : calls) {
    SCOPED_TRACE(call.arguments);
    expectRun(vornleads(call.arguments, "", call.input), call.status, call.out, call.err);
  }
  EXPECT_EQ(sandbox_.leads()[0]["confirmed"], true);
  const std::string file = (scratch_ / "VornLeadsVW.dll").string();
  expectRun(bare(options("", scratch_.path()) + "call BuscaLeads '{}'"), 1, "",
            "vornleads: Não foi possível carregar a biblioteca \"" + file + "\": " + file +
                ": cannot open shared object file: No such file or directory\n");
}

TEST_F(CliTest, UsageErrorsExitWithTwoFailuresWithOneHelpWithZero) {
  const struct {
    std::string arguments, message;
  } usage[] = {
      {"leads --lead abc", "--lead"},
      {"leads --since 07/03/2026", "YYYY-MM-DD"},
      {"log --day 2026-13-45", "\"2026-13-45\" is not a date of the form YYYY-MM-DD"},
      {"log --kind journal", "--kind"},
      {"serve --intake-every 0", "--intake-every"},
      {"intake --retry-delay -5", "--retry-delay"},
      {"call ApagaLeads '{}'", "ApagaLeads"},
      {"call", "operation is required"},
      {kUpdate + "12 --status 1 --resend", "--sequencia"},
  };
  for (const auto& c : usage) {
    SCOPED_TRACE(c.arguments);
    const CliRun run = vornleads(c.arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
  }
  const CliRun missing = bare("--db /nonexistent/dms.fdb updates");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err.rfind("vornleads: ", 0), 0u) << missing.err;
  // The failures that end the service at start: no library edition in the host directory, and
  // the status port taken (a serve that did start must not hold the test up).
  const CliRun noLibrary = bare("--home " + scratch_.path().string() + " serve");
  EXPECT_EQ(noLibrary.status, 1);
  EXPECT_NE(noLibrary.err.find("VornLeadsVW.dll"), std::string::npos) << noLibrary.err;
  httplib::Server holder;
  const std::string port = std::to_string(holder.bind_to_any_port("127.0.0.1"));
  environment_ = "VORNLEADS_STATUS_PORT=" + port + " timeout 20";
  const CliRun taken = vornleads("serve");
  EXPECT_EQ(taken.status, 1);
  EXPECT_EQ(taken.err, "vornleads: status server: cannot listen on 127.0.0.1 port " + port +
                           ": Address already in use\n");
}

// The authority is made before the fixture's sandbox, which serves its certificate.
class CliTlsTest : public TestAuthority, public CliTest {
 protected:
  CliTlsTest() : CliTest(SandboxTls{serverCert(), serverKey(), caFile()}) {
    environment_ = "VORNLEADS_CA_FILE=" + caFile().string();
  }
};

// An intake over verified TLS (VORNLEADS_CA_FILE reaches the library edition; the transport's
// cases are SoapClient.CallsWithoutAResult's); certificates untrusted or issued for another
// host name are refused.
TEST_F(CliTlsTest, TrustedCertificatesOnlyForTheirHost) {
  ASSERT_EQ(sandbox_.url().rfind("https://127.0.0.1:", 0), 0u) << sandbox_.url();
  sandbox_.addLeads(Json::array({leadItem(601)}));
  expectRun(vornleads("intake"), 0, summary(1, 1, 0, 1) + "\n", "");
  EXPECT_EQ(sandbox_.updates().size(), 1u);  // the intake's confirmation

  std::string localhost = sandbox_.url();
  localhost.replace(localhost.find("127.0.0.1"), 9, "localhost");
  const CliRun misnamed = vornleads("call BuscaLeads '{}'", localhost);
  environment_ = "env -u VORNLEADS_CA_FILE";  // the system's authorities do not know this one
  const CliRun untrusted = vornleads("call BuscaLeads '{}'");
  for (const CliRun& refused : {misnamed, untrusted}) {
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("o certificado do servidor foi recusado: "), std::string::npos)
        << refused.err;
  }
  EXPECT_NE(misnamed.err.find("localhost"), std::string::npos) << misnamed.err;
  EXPECT_EQ(sandbox_.updates().size(), 1u);
}

}  // namespace
}  // namespace vornleads::test
