// The intake worker's steps on recording connections: number conversions, the lookups, and a
// new lead's whole path on SQL Server and Oracle for the dialect check (sql_dialect_check.h).
#include <cmath>
#include <string>
#include <vector>

#include "intake/conversoes.h"
#include "intake/intake_harness.h"
#include "vornleads/intake/fecha_contato.h"

namespace vornleads::test {
namespace {

using V = SqlValue;

TEST(IntakeConversions, ReadNumbersAsTheHostDoes) {
  using namespace intake;
  for (const auto& [texto, valor] :
       {std::pair{"5001", 5001}, {"  19", 19}, {"+7", 7}, {"-8", -8}, {"-2147483648", INT32_MIN}})
    EXPECT_EQ(TextoParaInteiro(texto), valor);
  for (const char* bad : {"", " ", "12 ", "1e3", "12a", "2147483648", "99999999999999999999", "-"})
    EXPECT_EQ(outcome([&] { TextoParaInteiro(bad); }),
              "\"" + std::string(bad) + "\" is not a valid integer value");
  for (const auto& [valor, inteiro] : std::initializer_list<std::pair<double, int>>{
           {2.5, 2}, {3.5, 4}, {-2.5, -2}, {987654321.4, 987654321}, {2147483647.4, INT32_MAX}})
    EXPECT_EQ(ArredondaInteiro(valor), inteiro) << valor;
  EXPECT_EQ(outcome([] { ArredondaInteiro(11987654321.0); }),
            "\"11987654321\" is not a valid integer value");
  EXPECT_THROW(ArredondaInteiro(std::nan("")), ConversionError);
  const std::vector<std::pair<const char*, double>> reais = {
      {"150000,75", 150000.75}, {"150000.75", 150000.75}, {" -3 ", -3.0},
      {"1,5E2", 150.0},         {"+1e-1", 0.1},           {"9", 9.0}};
  for (const auto& [texto, valor] : reais) EXPECT_DOUBLE_EQ(TextoParaReal(texto), valor) << texto;
  for (const char* bad : {"", "abc", "1.000,00", "R$ 10", "1,5,0", "1e", "1e+", "1e999"})
    EXPECT_EQ(outcome([&] { TextoParaReal(bad); }),
              "\"" + std::string(bad) + "\" is not a valid floating point value");
}

// Each lookup that finds nothing fails the lead with a message of its own; what it finds fills
// the lead. Each case is one scripted answer of the fake, or none.
TEST(IntakeLookups, FillTheLeadOrNameWhatIsMissing) {
  RecordingConnection fake("Firebird");
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, fake);
  TContatoLeadVW lead;
  lead.leadID = 4711;
  lead.empresa = 2;
  lead.revenda = 3;
  const auto cac = [&](SqlValue usuarios, SqlValue origem, Strings cpfs) {
    fake.respond("SELECT USUARIOS_NOTIF_CONTATO_VEI,        ORIGEM_TRAFEGO_LEADVW",
                 SqlRowSet{{"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                           {{std::move(usuarios), std::move(origem)}}});
    for (const auto& cpf : cpfs) fake.respond("SELECT CPF", singleValue("CPF", V::text(cpf)));
    lead.usuarioCorreio = 12;
    return outcome([&] { worker.buscaParametrosCAC(lead); });
  };
  const auto veiculos = [&](SqlValue tipo, SqlValue subTipo, SqlValue departamento) {
    fake.respond("select TIPO_CONTATO",
                 SqlRowSet{{"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                           {{std::move(tipo), std::move(subTipo), std::move(departamento)}}});
    return outcome([&] { worker.buscaParametrosVeiculos(lead); });
  };
  const std::string head = "Não foi possível incluir o lead 4711\r\n";
  const std::string crm = "] não definido nos parâmetros de CRM da empresa/revenda 2.3";
  const std::string veiculo = "] não definido nos parâmetros de veículo da empresa/revenda 2.3";
  const std::string cpf = "CPF para o vendedor do usuário 12 não cadastrado na empresa/revenda 2.3";
  FechamentoContato fechamento{1, 2, 5, 77, "P", testNow()};
  const std::pair<std::string, std::string> cases[] = {
      {cac(V(), V(), {}), head + "Parâmetro [Usuário destino do correio" + crm},
      {cac(V::text("12"), V::text(""), {}),
       head + "Parâmetro [Origem de tráfego para Leads VW" + crm},
      {cac(V::text("12,15"), V::integer(7), {"0", "0"}), head + cpf},
      {cac(V::text("12,15"), V::integer(7), {}), head + cpf},
      {cac(V::text("doze,15"), V::integer(7), {}), "\"doze\" is not a valid integer value"},
      {cac(V::text(" 12,x"), V::integer(8), {"1", "22233344405"}), "no error"},
      {veiculos(V(), V::integer(2), V()), head + "Parâmetro [Tipo de Contato" + veiculo},
      {veiculos(V::integer(1), V::text(""), V::integer(3)),
       head + "Parâmetro [Subtipo de contato" + veiculo},
      {veiculos(V::integer(1), V::integer(2), V()), head + "Parâmetro [Departamento" + veiculo},
      {veiculos(V::integer(1), V::integer(2), V::integer(3)), "no error"},
      {outcome([&] { worker.buscaEmpresaRevendaLead(777, lead); }),
       head + "DN 777 não encontrado no banco de dados"},
      {outcome([&] { worker.buscaFormaContatoWeb(lead); }),
       head + "Não existe forma de contato do tipo E-mail não cadastrada na empresa 2"},
      {outcome([&] { worker.buscaVendedorAdministrador(lead); }),
       head + "Vendedor para o usuário 0 não cadastrado na empresa/revenda 2.3"},
      {outcome([&] {
         fake.setAffectedRows(0);
         FechaContatoCRM(fake, fechamento);
       }),
       "Erro ao encerrar o contato para o lead 77\r\nContato 1.2.5 não encontrado"},
      {outcome([&] {
         fake.failOn("select PROXIMO_NUMERO", "Table unknown");
         worker.BuscaProximoNumeroTran(1, 1, 1, "INTERESSE", "CAC_INTERESSE");
       }),
       "Erro ao buscar o próximo numero da tabela CAC_INTERESSE\r\nTable unknown"},
  };
  for (const auto& [message, expected] : cases)  // database errors add the SQL
    EXPECT_EQ(expected, message.substr(0, expected.size()));
  EXPECT_EQ((std::vector<int>{12, 8, 1, 2, 3}),
            (std::vector<int>{lead.usuarioCorreio, lead.origemTrafego, lead.tipoContato,
                              lead.subTipoContato, lead.departamento}));

  fake.respond("SELECT FORMA_CONTATO", singleValue("FORMA_CONTATO", V::integer(0)));
  worker.buscaFormaContatoWeb(lead);
  EXPECT_EQ(0, lead.formaContato) << "form 0 is a form";
}

TEST(IntakeDialects, ANewLeadWritesItsCustomerContactInterestLinkAndMessage) {
  for (const char* driver : {"ORACLE", "MSSQL"}) {
    SCOPED_TRACE(driver);
    RecordingConnection db(driver);
    // SQL Server 15 is asked by the worker's blocks and by each counter draw.
    for (int i = 0; driver == std::string("MSSQL") && i < 4; ++i)
      db.respond("select SERVERPROPERTY", singleValue("VERSAO", V::text("15.0.2000.5")));
    db.respond("SELECT VENDEDOR", singleValue("VENDEDOR", V::integer(4)));
    db.respond("select TIPO_CONTATO",
               SqlRowSet{{"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                         {{V::integer(1), V::integer(2), V::integer(3)}}});
    db.respond("SELECT FORMA_CONTATO", singleValue("FORMA_CONTATO", V::integer(6)));
    db.respond("SELECT USUARIOS_NOTIF",
               SqlRowSet{{"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                         {{V::text("12"), V::integer(7)}}});
    for (int i = 0; i < 2; ++i)
      db.respond("SELECT CPF", singleValue("CPF", V::text("22233344405")));
    db.respond("select max(CLIENTE)", singleValue("MAIOR", V::integer(90)));
    db.setAffectedRows(1);

    TAplicacaoLibrary aplicacao;
    TLeadsVWMetodosClass worker(aplicacao, db);
    worker.setClock(std::make_shared<FixedClock>(testNow()));
    TContatoLeadVW lead = TContatoLeadVW::FromJSON(
        R"({"empresa":1,"revenda":2,"nome":"Joana D'Arc","DDD":11,"telefone":912345678,)"
        R"("cpfcnpj":"12345678909","modelo":"GOL","email":"joana.d'arc@exemplo.com.br",)"
        R"("leadID":4711,"PrecoPretendido":55000.5,"dataIntencao":"2025-06-10T10:00:00.000",)"
        R"("origem":"Site","mensagem":"Quero um 'test drive'","showroom":"Centro",)"
        R"("preferenciaContato":"WhatsApp"})");
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
