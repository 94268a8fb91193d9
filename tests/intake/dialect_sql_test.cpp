// The intake worker's SQL on SQL Server and Oracle: a new lead written from lookup to message on
// a recording connection of each dialect, so that the independent parser of the recording tests
// checks every statement of the path (sql_dialect_check.h).
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/fixed_clock.h"
#include "support/recording_connection.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

SqlRowSet linhaUnica(std::vector<std::string> columns, std::vector<SqlValue> values) {
  SqlRowSet rows;
  rows.columns = std::move(columns);
  rows.rows.push_back(std::move(values));
  return rows;
}

TEST(IntakeDialects, ANewLeadWritesItsCustomerContactInterestLinkAndMessage) {
  using V = SqlValue;
  for (const char* driver : {"ORACLE", "MSSQL"}) {
    SCOPED_TRACE(driver);
    RecordingConnection db(driver);
    // SQL Server 15 is asked by the worker's blocks and by each counter draw.
    for (int i = 0; driver == std::string("MSSQL") && i < 4; ++i) {
      db.respond("select SERVERPROPERTY", singleValue("VERSAO", V::text("15.0.2000.5")));
    }
    db.respond("SELECT VENDEDOR", singleValue("VENDEDOR", V::integer(4)));
    db.respond("select TIPO_CONTATO",
               linhaUnica({"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                          {V::integer(1), V::integer(2), V::integer(3)}));
    db.respond("SELECT FORMA_CONTATO", singleValue("FORMA_CONTATO", V::integer(6)));
    db.respond("SELECT USUARIOS_NOTIF",
               linhaUnica({"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                          {V::text("12"), V::integer(7)}));
    for (int i = 0; i < 2; ++i)
      db.respond("SELECT CPF", singleValue("CPF", V::text("22233344405")));
    db.respond("select max(CLIENTE)", singleValue("MAIOR", V::integer(90)));
    db.setAffectedRows(1);

    TAplicacaoLibrary aplicacao;
    TLeadsVWMetodosClass worker(aplicacao, db);
    worker.setClock(std::make_shared<FixedClock>(EncodeDateTime({2025, 6, 9, 9, 0, 0, 0})));
    TContatoLeadVW lead;
    lead.leadID = 4711;
    lead.empresa = 1;
    lead.revenda = 2;
    lead.nome = "Joana D'Arc";
    lead.email = "joana.d'arc@exemplo.com.br";
    lead.DDD = 11;
    lead.telefone = 912345678;
    lead.cpfcnpj = "12345678909";
    lead.modelo = "GOL";
    lead.PrecoPretendido = 55000.5;
    lead.dataIntencao = EncodeDateTime({2025, 6, 10, 10, 0, 0, 0});
    lead.origem = "Site";
    lead.mensagem = "Quero um 'test drive'";
    lead.showroom = "Centro";
    lead.preferenciaContato = "WhatsApp";
    worker.verificaContato(lead);

    EXPECT_EQ(0u, db.pendingAnswers());
    int inserts = 0;
    for (const std::string& sql : db.statements()) inserts += sql.rfind("INSERT INTO", 0) == 0;
    // FAT_CLIENTE, FAT_PESSOA_FISICA, CAC_CONTATO, CAC_LEAD_CONTATO, CAC_INTERESSE, GER_MENSAGEM
    EXPECT_EQ(6, inserts);
  }
}

}  // namespace
}  // namespace vornleads::test
