// The per-lead lookups and conversions on the fake database: the SQL text they send, the paths
// Firebird cannot take, and the messages of each failure.
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "intake/conversoes.h"
#include "intake/intake_harness.h"
#include "vornleads/intake/fecha_contato.h"

namespace vornleads::test {
namespace {

SqlRowSet rows(Strings columns, std::vector<std::vector<SqlValue>> values) {
  SqlRowSet set;
  set.columns = std::move(columns);
  set.rows = std::move(values);
  return set;
}

template <typename Call>
std::string failure(Call call) {
  try {
    call();
  } catch (const VornError& error) {
    return error.what();
  }
  return "(no error)";
}

TEST_F(IntakeTest, ConversionsReadNumbersAsTheHostDoes) {
  using namespace intake;
  for (const auto& [texto, valor] : {std::make_pair("5001", 5001), std::make_pair("  19", 19),
                                     std::make_pair("+7", 7), std::make_pair("-8", -8),
                                     std::make_pair("-2147483648", INT32_MIN)}) {
    EXPECT_EQ(TextoParaInteiro(texto), valor);
  }
  for (const char* bad : {"", " ", "12 ", "1e3", "12a", "2147483648", "99999999999999999999", "-"}) {
    EXPECT_EQ(failure([&] { TextoParaInteiro(bad); }),
              "\"" + std::string(bad) + "\" is not a valid integer value");
  }
  for (const auto& [valor, inteiro] : {std::make_pair(2.5, 2), std::make_pair(3.5, 4),
                                       std::make_pair(-2.5, -2), std::make_pair(987654321.4, 987654321),
                                       std::make_pair(2147483647.4, INT32_MAX)}) {
    EXPECT_EQ(ArredondaInteiro(valor), inteiro) << valor;
  }
  EXPECT_EQ(failure([] { ArredondaInteiro(11987654321.0); }),
            "\"11987654321\" is not a valid integer value");
  EXPECT_THROW(ArredondaInteiro(std::nan("")), ConversionError);
  for (const auto& [texto, valor] : {std::make_pair("150000,75", 150000.75),
                                     std::make_pair("150000.75", 150000.75),
                                     std::make_pair(" -3 ", -3.0), std::make_pair("1,5E2", 150.0),
                                     std::make_pair("+1e-1", 0.1), std::make_pair("9", 9.0)}) {
    EXPECT_DOUBLE_EQ(TextoParaReal(texto), valor) << texto;
  }
  for (const char* bad : {"", "abc", "1.000,00", "R$ 10", "1,5,0", "1e", "1e+", "1e999"}) {
    EXPECT_EQ(failure([&] { TextoParaReal(bad); }),
              "\"" + std::string(bad) + "\" is not a valid floating point value");
  }
}

// A reply item becomes the working lead; optional fields left empty keep their defaults, and
// a field that cannot be read fails the lead.
TEST_F(IntakeTest, ReplyItemBecomesTheWorkingLead) {
  fake_.respondAlways("SELECT EMPRESA,        REVENDA   FROM VWB_PARAMETRO  WHERE NUMERO_DN = '01234'",
                      rows({"EMPRESA", "REVENDA"}, {{SqlValue::integer(1), SqlValue::integer(2)}}));
  TItemBuscaLeadsClass item;
  item.IdLead = "5001";
  item.DealerNumber = "1234";
  item.Nome = "Ana \"Bia\" D'Ávila";
  item.CpfCnpj = "52998224725";
  item.Email = "ana@x.com";
  item.Telefone = 987654321.5;
  item.Ddd = 11.4;
  item.Modelo = "POLO";
  item.DataIntencao = "10/06/2025 10:30:15";
  item.Status = 9.5;
  item.Origem = "Site";
  item.Mensagem = "Oi";
  item.Showroom = "Centro";
  TContatoLeadVW empty;
  onFake_.preencheLead(item, empty);
  EXPECT_EQ(empty.dataIntencaoAgendamento, 0);
  EXPECT_EQ(empty.preferenciaContato, "");
  EXPECT_EQ(empty.PrecoPretendido, 0);

  item.DataIntencaoAgendamento = "11/06/2025 15:00:00";
  item.PreferenciaContato = "WhatsApp";
  item.Preco = "98500,90";
  TContatoLeadVW lead;
  onFake_.preencheLead(item, lead);
  EXPECT_EQ(lead.AsJSON(),
            R"({"empresa":1,"revenda":2,"codigoContato":0,"codigoCliente":0,)"
            R"("nome":"Ana Bia DÁvila","DDD":11,"telefone":987654322,"cpfcnpj":"52998224725",)"
            R"("modelo":"POLO","email":"ana@x.com","leadID":5001,"PrecoPretendido":98500.9,)"
            R"("formaContato":0,"tipoContato":0,"subTipoContato":0,"departamento":0,)"
            R"("usuarioCorreio":0,"origemTrafego":0,"dataIntencao":"2025-06-10T10:30:15.000",)"
            R"("vendedorInclusao":0,"status":10,"origem":"Site","mensagem":"Oi",)"
            R"("dataIntencaoAgendamento":"2025-06-11T15:00:00.000","showroom":"Centro",)"
            R"("preferenciaContato":"WhatsApp"})");
  for (const auto& [data, dn] : {std::make_pair("", "1234"), std::make_pair("2025-06-10 10:00", "1234"),
                                 std::make_pair("10/06/2025 10:00:00", "12;34")}) {
    item.DataIntencao = data;
    item.DealerNumber = dn;
    EXPECT_THROW(onFake_.preencheLead(item, lead), ConversionError) << data << " " << dn;
  }
}

TEST_F(IntakeTest, WorkerTakesTheDatabaseKindFromTheConnectionUnlessTheHostSetIt) {
  EXPECT_EQ(fakeAplicacao_.banco, "INTERBASE");
  EXPECT_EQ(onFake_.sPbPasso(), "00");
  EXPECT_EQ(onFake_.qtdErros(), 0);
  EXPECT_FALSE(onFake_.erroInclusao());
  ASSERT_TRUE(onFake_.listaDN().has_value());
  EXPECT_TRUE(onFake_.listaDN()->empty());
  EXPECT_TRUE(fake_.statements().empty());
  TAplicacaoLibrary host;
  host.banco = "ORACLE";
  TLeadsVWMetodosClass kept(host, fake_);
  EXPECT_EQ(host.banco, "ORACLE");
  EXPECT_TRUE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue()));
  EXPECT_TRUE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue::text("")));
  EXPECT_FALSE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue::text(" ")));
  EXPECT_FALSE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue::integer(0)));
}

constexpr char kCAC[] =
    "SELECT USUARIOS_NOTIF_CONTATO_VEI,        ORIGEM_TRAFEGO_LEADVW   FROM CAC_PARAMETRO  "
    "WHERE EMPRESA = 2   AND REVENDA = 3";
constexpr char kCPF[] =
    "SELECT CPF   FROM FAT_VENDEDOR  WHERE EMPRESA = 2   AND REVENDA = 3   AND USUARIO = 12";
constexpr char kVeiculos[] =
    "select TIPO_CONTATO,        SUB_TIPO_CONTATO,        DEPARTAMENTO   from VEI_PARAMETRO  "
    "where EMPRESA = 2   and REVENDA = 3";
constexpr char kHead[] = "Não foi possível incluir o lead 4711\r\n";

// Each lookup that finds nothing fails the lead with a message of its own; what it finds
// fills the lead. Every failure and every success is one scripted answer of the fake.
TEST_F(IntakeTest, RoutingLookupsFillTheLeadOrNameWhatIsMissing) {
  TContatoLeadVW lead;
  lead.leadID = 4711;
  lead.empresa = 2;
  lead.revenda = 3;
  const auto cac = [&](SqlValue usuarios, SqlValue origem, Strings cpfs) {
    fake_.respond(kCAC, rows({"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                             {{std::move(usuarios), std::move(origem)}}));
    for (const auto& cpf : cpfs) fake_.respond(kCPF, singleValue("CPF", SqlValue::text(cpf)));
    lead.usuarioCorreio = 12;
    return failure([&] { onFake_.buscaParametrosCAC(lead); });
  };
  const auto veiculos = [&](SqlValue tipo, SqlValue subTipo, SqlValue departamento) {
    fake_.respond(kVeiculos, rows({"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                                  {{std::move(tipo), std::move(subTipo), std::move(departamento)}}));
    return failure([&] { onFake_.buscaParametrosVeiculos(lead); });
  };
  const std::string usuario = std::string(kHead) +
                              "Parâmetro [Usuário destino do correio] não definido nos parâmetros "
                              "de CRM da empresa/revenda 2.3";
  const std::string cpf = std::string(kHead) +
                          "CPF para o vendedor do usuário 12 não cadastrado na empresa/revenda 2.3";
  const std::string veiculo = std::string(kHead) + "Parâmetro [";
  const std::string deVeiculo = "] não definido nos parâmetros de veículo da empresa/revenda 2.3";
  const std::pair<std::string, std::string> cases[] = {
      {cac(SqlValue::text(""), SqlValue::integer(7), {}), usuario},
      {cac(SqlValue(), SqlValue(), {}), usuario},
      {cac(SqlValue::text("12"), SqlValue(), {}),
       std::string(kHead) + "Parâmetro [Origem de tráfego para Leads VW] não definido nos "
                            "parâmetros de CRM da empresa/revenda 2.3"},
      {cac(SqlValue::text("12,15"), SqlValue::integer(7), {"0", "0"}), cpf},
      {cac(SqlValue::text("12,15"), SqlValue::integer(7), {}), cpf},
      {cac(SqlValue::text("doze,15"), SqlValue::integer(7), {}),
       "\"doze\" is not a valid integer value"},
      {cac(SqlValue::text(" 12,x"), SqlValue::integer(8), {"1", "22233344405"}), "(no error)"},
      {veiculos(SqlValue(), SqlValue::integer(2), SqlValue()), veiculo + "Tipo de Contato" + deVeiculo},
      {veiculos(SqlValue::integer(1), SqlValue::text(""), SqlValue::integer(3)),
       veiculo + "Subtipo de contato" + deVeiculo},
      {veiculos(SqlValue::integer(1), SqlValue::integer(2), SqlValue()),
       veiculo + "Departamento" + deVeiculo},
      {veiculos(SqlValue::integer(1), SqlValue::integer(2), SqlValue::integer(3)), "(no error)"},
      {failure([&] { onFake_.buscaEmpresaRevendaLead(777, lead); }),
       std::string(kHead) + "DN 777 não encontrado no banco de dados"},
      {failure([&] { onFake_.buscaFormaContatoWeb(lead); }),
       std::string(kHead) + "Não existe forma de contato do tipo E-mail não cadastrada na empresa 2"},
      {failure([&] { onFake_.buscaVendedorAdministrador(lead); }),
       std::string(kHead) + "Vendedor para o usuário 0 não cadastrado na empresa/revenda 2.3"},
  };
  for (const auto& [message, expected] : cases) EXPECT_EQ(expected, message);
  EXPECT_EQ((std::vector<int>{12, 8, 1, 2, 3}),
            (std::vector<int>{lead.usuarioCorreio, lead.origemTrafego, lead.tipoContato,
                              lead.subTipoContato, lead.departamento}));

  const std::string dn = "SELECT EMPRESA,        REVENDA   FROM VWB_PARAMETRO  WHERE NUMERO_DN = '00777'";
  const std::string forma =
      "SELECT FORMA_CONTATO   FROM CAC_FORMA_CONTATO  WHERE EMPRESA = 2   AND TIPO_FORMA_CONTATO = 1";
  const std::string vendedor =
      "SELECT VENDEDOR   FROM FAT_VENDEDOR  WHERE EMPRESA = 2   AND REVENDA = 3   AND USUARIO = 0";
  const std::string modelo =
      "SELECT MODELO   FROM VEI_MODELO  WHERE DES_MODELO = 'GOL D''ÁGUA'   AND EMPRESA = 2";
  fake_.clearStatements();
  fake_.respond(forma, singleValue("FORMA_CONTATO", SqlValue::integer(0)));
  fake_.respond(vendedor, singleValue("VENDEDOR", SqlValue::integer(0)));
  fake_.respond(modelo, singleValue("MODELO", SqlValue::text("1001")));
  onFake_.buscaFormaContatoWeb(lead);
  onFake_.buscaVendedorAdministrador(lead);
  EXPECT_EQ(onFake_.buscaCodigoModelo(2, "GOL D'ÁGUA"), "1001");
  EXPECT_EQ(onFake_.buscaCodigoModelo(2, "GOL D'ÁGUA"), "");
  fake_.respond(dn, rows({"EMPRESA", "REVENDA"}, {{SqlValue::integer(5), SqlValue::integer(6)}}));
  onFake_.buscaEmpresaRevendaLead(777, lead);
  EXPECT_EQ((std::vector<int>{0, 0, 5, 6}),
            (std::vector<int>{lead.formaContato, lead.vendedorInclusao, lead.empresa, lead.revenda}));
  EXPECT_EQ(fake_.statements(), (Strings{forma, vendedor, modelo, modelo, dn}));
}

TEST_F(IntakeTest, CustomerLookupsQuoteTheLeadsText) {
  TContatoLeadVW lead;
  lead.cpfcnpj = "1234567890'";
  lead.email = "o'brien@x.com";
  lead.DDD = 11;
  lead.telefone = 987654321;
  EXPECT_EQ(onFake_.retornaCliente(lead), -1);
  EXPECT_EQ(fake_.statements(),
            (Strings{"SELECT CLIENTE   FROM FAT_PESSOA_FISICA FPF  WHERE FPF.CPF = '1234567890'''",
                     "SELECT CLIENTE   FROM FAT_CLIENTE  WHERE ((E_MAIL_CASA = 'o''brien@x.com')"
                     "    OR (E_MAIL_TRABALHO = 'o''brien@x.com'))",
                     "SELECT CLIENTE   FROM FAT_CLIENTE  WHERE ((DDD_CELULAR = 11   AND CELULAR = "
                     "987654321)    OR (DDD_TELEFONE = 11   AND TELEFONE = 987654321))"}));
}

TEST_F(IntakeTest, LeadLinkAndClosingOnTheFakeDatabase) {
  TContatoLeadVW lead;
  lead.empresa = 1;
  lead.revenda = 2;
  lead.codigoContato = 5;
  lead.leadID = 77;
  lead.origem = "Site";
  lead.mensagem = "D'Ávila; \\ ok";
  fake_.setAffectedRows(0);
  EXPECT_THROW(onFake_.incluiLeadContato(lead), AbortError) << "a link that writes nothing";
  FechamentoContato fechamento{1, 2, 5, 77, "P", testNow()};
  EXPECT_EQ(failure([&] { FechaContatoCRM(fake_, fechamento); }),
            "Erro ao encerrar o contato para o lead 77\r\nContato 1.2.5 não encontrado");
  fake_.failOn("UPDATE CAC_CONTATO", "lock conflict on no wait transaction");
  EXPECT_EQ(failure([&] { FechaContatoCRM(fake_, fechamento); })
                .rfind("Erro ao encerrar o contato para o lead 77\r\nlock conflict on no wait "
                       "transaction\r\n", 0),
            0u);
  EXPECT_EQ(fake_.statements()[0],
            "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, ORIGEM, "
            "MENSAGEM, DTA_INTENCAO_AGENDAMENTO, PREFERENCIA_CONTATO, SHOWROOM) VALUES (1, 2, "
            "5, 77, 'Site', 'D''Ávila; \\ ok', CAST('1899-12-30' AS DATE), '', '')");

  // SQL Server: the version is read first and kept for the host.
  RecordingConnection mssql("MSSQL");
  mssql.respond("select SERVERPROPERTY('productversion') VERSAO",
                singleValue("VERSAO", SqlValue::text("15.0.2000.5")));
  TLeadsVWMetodosClass worker(fakeAplicacao_, mssql);
  worker.setClock(clock_);
  lead.status = 7;
  worker.fechaContato(lead);
  EXPECT_EQ(fakeAplicacao_.versaoBanco, 15);
  EXPECT_EQ(mssql.statements(),
            (Strings{"select SERVERPROPERTY('productversion') VERSAO",
                     "UPDATE CAC_CONTATO SET SITUACAO = 'F', DTA_FECHAMENTO = CAST('09-06-2025 "
                     "09:00:00' AS DATETIME), SITUACAO_FECHAMENTO = 'R' WHERE EMPRESA = 1 AND "
                     "REVENDA = 2 AND CONTATO = 5"}));
}

}  // namespace
}  // namespace vornleads::test
