// The per-lead lookups and conversions on the fake database: what they read and send, and the
// message of each failure.
#include <cmath>
#include <string>
#include <vector>

#include "intake/conversoes.h"
#include "intake/intake_harness.h"
#include "vornleads/intake/fecha_contato.h"

namespace vornleads::test {
namespace {

TEST_F(IntakeTest, ConversionsReadNumbersAsTheHostDoes) {
  using namespace intake;
  for (const auto& [texto, valor] :
       {std::make_pair("5001", 5001), std::make_pair("  19", 19), std::make_pair("+7", 7),
        std::make_pair("-8", -8), std::make_pair("-2147483648", INT32_MIN)}) {
    EXPECT_EQ(TextoParaInteiro(texto), valor);
  }
  for (const char* bad :
       {"", " ", "12 ", "1e3", "12a", "2147483648", "99999999999999999999", "-"}) {
    EXPECT_EQ(failure([&] { TextoParaInteiro(bad); }),
              "\"" + std::string(bad) + "\" is not a valid integer value");
  }
  for (const auto& [valor, inteiro] :
       {std::make_pair(2.5, 2), std::make_pair(3.5, 4), std::make_pair(-2.5, -2),
        std::make_pair(987654321.4, 987654321), std::make_pair(2147483647.4, INT32_MAX)}) {
    EXPECT_EQ(ArredondaInteiro(valor), inteiro) << valor;
  }
  EXPECT_EQ(failure([] { ArredondaInteiro(11987654321.0); }),
            "\"11987654321\" is not a valid integer value");
  EXPECT_THROW(ArredondaInteiro(std::nan("")), ConversionError);
  for (const auto& [texto, valor] :
       {std::make_pair("150000,75", 150000.75), std::make_pair("150000.75", 150000.75),
        std::make_pair(" -3 ", -3.0), std::make_pair("1,5E2", 150.0), std::make_pair("+1e-1", 0.1),
        std::make_pair("9", 9.0)}) {
    EXPECT_DOUBLE_EQ(TextoParaReal(texto), valor) << texto;
  }
  for (const char* bad : {"", "abc", "1.000,00", "R$ 10", "1,5,0", "1e", "1e+", "1e999"}) {
    EXPECT_EQ(failure([&] { TextoParaReal(bad); }),
              "\"" + std::string(bad) + "\" is not a valid floating point value");
  }
}

SqlRowSet rows(Strings columns, std::vector<SqlValue> values) {
  SqlRowSet set;
  set.columns = std::move(columns);
  set.rows = {std::move(values)};
  return set;
}
constexpr char kCAC[] =
    "SELECT USUARIOS_NOTIF_CONTATO_VEI,        ORIGEM_TRAFEGO_LEADVW   FROM CAC_PARAMETRO  "
    "WHERE EMPRESA = 2   AND REVENDA = 3";
constexpr char kCPF[] =
    "SELECT CPF   FROM FAT_VENDEDOR  WHERE EMPRESA = 2   AND REVENDA = 3   AND USUARIO = 12";
constexpr char kVeiculos[] =
    "select TIPO_CONTATO,        SUB_TIPO_CONTATO,        DEPARTAMENTO   from VEI_PARAMETRO  "
    "where EMPRESA = 2   and REVENDA = 3";

// Each lookup that finds nothing fails the lead with a message of its own; what it finds fills
// the lead. Each case is one scripted answer of the fake, or none.
TEST_F(IntakeTest, LookupsFillTheLeadOrNameWhatIsMissing) {
  TContatoLeadVW lead;
  lead.leadID = 4711;
  lead.empresa = 2;
  lead.revenda = 3;
  const auto cac = [&](SqlValue usuarios, SqlValue origem, Strings cpfs) {
    fake_.respond(kCAC, rows({"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                             {std::move(usuarios), std::move(origem)}));
    for (const auto& cpf : cpfs) fake_.respond(kCPF, singleValue("CPF", SqlValue::text(cpf)));
    lead.usuarioCorreio = 12;
    return failure([&] { onFake_.buscaParametrosCAC(lead); });
  };
  const auto veiculos = [&](SqlValue tipo, SqlValue subTipo, SqlValue departamento) {
    fake_.respond(kVeiculos, rows({"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                                  {std::move(tipo), std::move(subTipo), std::move(departamento)}));
    return failure([&] { onFake_.buscaParametrosVeiculos(lead); });
  };
  const std::string head = "Não foi possível incluir o lead 4711\r\n";
  const std::string crm = "] não definido nos parâmetros de CRM da empresa/revenda 2.3";
  const std::string veiculo = "] não definido nos parâmetros de veículo da empresa/revenda 2.3";
  const std::string cpf = "CPF para o vendedor do usuário 12 não cadastrado na empresa/revenda 2.3";
  FechamentoContato fechamento{1, 2, 5, 77, "P", testNow()};
  const std::pair<std::string, std::string> cases[] = {
      {cac(SqlValue(), SqlValue(), {}), head + "Parâmetro [Usuário destino do correio" + crm},
      {cac(SqlValue::text("12"), SqlValue::text(""), {}),
       head + "Parâmetro [Origem de tráfego para Leads VW" + crm},
      {cac(SqlValue::text("12,15"), SqlValue::integer(7), {"0", "0"}), head + cpf},
      {cac(SqlValue::text("12,15"), SqlValue::integer(7), {}), head + cpf},
      {cac(SqlValue::text("doze,15"), SqlValue::integer(7), {}),
       "\"doze\" is not a valid integer value"},
      {cac(SqlValue::text(" 12,x"), SqlValue::integer(8), {"1", "22233344405"}), ""},
      {veiculos(SqlValue(), SqlValue::integer(2), SqlValue()),
       head + "Parâmetro [Tipo de Contato" + veiculo},
      {veiculos(SqlValue::integer(1), SqlValue::text(""), SqlValue::integer(3)),
       head + "Parâmetro [Subtipo de contato" + veiculo},
      {veiculos(SqlValue::integer(1), SqlValue::integer(2), SqlValue()),
       head + "Parâmetro [Departamento" + veiculo},
      {veiculos(SqlValue::integer(1), SqlValue::integer(2), SqlValue::integer(3)), ""},
      {failure([&] { onFake_.buscaEmpresaRevendaLead(777, lead); }),
       head + "DN 777 não encontrado no banco de dados"},
      {failure([&] { onFake_.buscaFormaContatoWeb(lead); }),
       head + "Não existe forma de contato do tipo E-mail não cadastrada na empresa 2"},
      {failure([&] { onFake_.buscaVendedorAdministrador(lead); }),
       head + "Vendedor para o usuário 0 não cadastrado na empresa/revenda 2.3"},
      {failure([&] {
         fake_.setAffectedRows(0);
         FechaContatoCRM(fake_, fechamento);
       }),
       "Erro ao encerrar o contato para o lead 77\r\nContato 1.2.5 não encontrado"},
      {failure([&] {
         fake_.failOn("select PROXIMO_NUMERO", "Table unknown");
         onFake_.BuscaProximoNumeroTran(1, 1, 1, "INTERESSE", "CAC_INTERESSE");
       }),
       "Erro ao buscar o próximo numero da tabela CAC_INTERESSE\r\nTable unknown"},
  };
  for (const auto& [message, expected] : cases) {
    EXPECT_EQ(expected, message.substr(0, expected.size()));  // database errors add the SQL
  }
  EXPECT_EQ((std::vector<int>{12, 8, 1, 2, 3}),
            (std::vector<int>{lead.usuarioCorreio, lead.origemTrafego, lead.tipoContato,
                              lead.subTipoContato, lead.departamento}));

  // Found: form 0 is a form; the dealer number is looked up padded to five digits.
  fake_.respond("SELECT FORMA_CONTATO", singleValue("FORMA_CONTATO", SqlValue::integer(0)));
  fake_.respond("SELECT EMPRESA,        REVENDA   FROM VWB_PARAMETRO  WHERE NUMERO_DN = '00777'",
                rows({"EMPRESA", "REVENDA"}, {SqlValue::integer(5), SqlValue::integer(6)}));
  onFake_.buscaFormaContatoWeb(lead);
  onFake_.buscaEmpresaRevendaLead(777, lead);
  EXPECT_EQ((std::vector<int>{0, 5, 6}),
            (std::vector<int>{lead.formaContato, lead.empresa, lead.revenda}));
}

}  // namespace
}  // namespace vornleads::test
