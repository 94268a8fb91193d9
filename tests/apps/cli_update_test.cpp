// vornleads update: one status update, as a program, through the library edition and the
// sandbox into a real Firebird database.
#include <gtest/gtest.h>

#include <string>

#include "apps/feedback_cli.h"

namespace vornleads::test {
namespace {

constexpr char kLead[] = "--empresa 1 --revenda 1 --contato 10 --lead 555 --usuario 12";

class CliUpdateTest : public FeedbackCliTest {};

TEST_F(CliUpdateTest, PrintsVWsReplyAndJournalsTheUpdate) {
  addLeadContact(10, 555);
  const CliRun run = vornleads(std::string("update ") + kLead + " --status 10");
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_EQ(R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},)"
            R"("Retorno":{"Mensagem":"Status do lead 555 atualizado para 10","Retorno":"OK"}})"
            "\n",
            run.out);
  EXPECT_EQ("", run.err);
  EXPECT_EQ("1 S null \n", journal(555));
  EXPECT_EQ(10, sandbox_.updates().at(0)["Status"]);

  // The same status again is not sent: the local answer, code 0.
  const CliRun repeated = vornleads(std::string("update ") + kLead + " --status 10");
  EXPECT_EQ(0, repeated.status) << repeated.err;
  EXPECT_EQ(
      R"({"Status":{"Codigo":0,"Descricao":"Contato não faz parte da integração","Versao":"1.0"},)"
      R"("Retorno":{"Mensagem":"","Retorno":""}})"
      "\n",
      repeated.out);
  EXPECT_EQ(1u, sandbox_.updates().size());
}

TEST_F(CliUpdateTest, ARejectionNotifiesAndFails) {
  addLeadContact(10, 555);
  sandbox_.fault({{"operation", "AtualizaLeads"},
                  {"mode", "reject"},
                  {"codigo", 208},
                  {"descricao", "Lead encerrado na VW"}});
  const CliRun run = vornleads(std::string("update ") + kLead + " --status 10");
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(R"({"Status":{"Codigo":208,"Descricao":"Lead encerrado na VW","Versao":"1.0"},)"
            R"("Retorno":{"Mensagem":"Lead encerrado na VW","Retorno":"ERRO"}})"
            "\n",
            run.out);
  EXPECT_EQ(
      "vornleads: message to user 12: Erro integração Leads VW: Erro ao enviar atualização de "
      "Lead VW para o contato 10\n"
      "vornleads: message to user 15: Erro integração Leads VW: Erro ao enviar atualização de "
      "Lead VW para o contato 10\n"
      "vornleads: update not accepted: código 208: Lead encerrado na VW\n",
      run.err);
  EXPECT_EQ("1 N 208 Lead encerrado na VW\n", journal(555));
}

TEST_F(CliUpdateTest, AnUpdateJournalledButNotSentPrintsNothingAndFails) {
  addLeadContact(10, 555);
  const CliRun run =
      vornleads("update --empresa 1 --revenda 1 --contato 10 --lead 555 --usuario 99 --status 10");
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ(
      "vornleads: update journalled, not sent: Contato originado de lead VW sem CPF informado "
      "para o vendedor do usuário 99. Favor informar o CPF para continuar com a operação.\n",
      run.err);
  EXPECT_TRUE(sandbox_.updates().empty());
}

TEST_F(CliUpdateTest, ResendOfAJournalRow) {
  addLeadContact(10, 555);
  db_->execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, USUARIO) VALUES (555, 3, 1, "
      "CAST('2024-03-14 09:30:00' AS TIMESTAMP), 'N', 297, 12)");
  const CliRun run =
      vornleads(std::string("update ") + kLead +
                " --status 1 --resend --sequencia 3 --data-atualizacao '14/03/2024 09:30:00'");
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_EQ("3 S null \n", journal(555));
  EXPECT_EQ("14/03/2024 09:30:00", sandbox_.updates().at(0)["DataAtualizacao"]);

  const CliRun usage = vornleads(std::string("update ") + kLead + " --status 1 --resend");
  EXPECT_EQ(2, usage.status);
}

TEST_F(CliUpdateTest, ErrorsEndWithTheMessageAndStatusOne) {
  addLeadContact(10, 555);
  const CliRun far = vornleads(std::string("update ") + kLead +
                               " --status 9 --reagendamento '01/01/2099 10:00:00'");
  EXPECT_EQ(1, far.status);
  EXPECT_EQ("", far.out);
  EXPECT_EQ("vornleads: Não é possível reagendar para um período maior que 6 meses\n", far.err);

  TempDir emptyHome("vornleads-cli-nolib");
  const CliRun noLibrary =
      vornleads(std::string("update ") + kLead + " --status 10", emptyHome.path());
  EXPECT_EQ(1, noLibrary.status);
  EXPECT_NE(std::string::npos, noLibrary.err.find("VornLeadsVW.dll")) << noLibrary.err;
  EXPECT_EQ("", journal(555));
  EXPECT_TRUE(sandbox_.updates().empty());
}

}  // namespace
}  // namespace vornleads::test
