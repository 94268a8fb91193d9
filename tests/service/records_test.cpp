// The lead message records and their JSON: every record written out in full from its members
// and read back from that text, what reading tolerates, and what it refuses with which message.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

#include "vornleads/error.h"
#include "vornleads/service/records_replies.h"
#include "vornleads/service/records_requests.h"
#include "vornleads/service/records_status.h"
#include "vornleads/service/records_working.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using Reading = std::function<std::string(const std::string&)>;

// The record read from the JSON text and written again, or "! " and why it was refused.
template <class Record>
std::string reread(const std::string& json) {
  try {
    return Record::FromJSON(json).AsJSON();
  } catch (const ConversionError& error) {
    return std::string("! ") + error.what();
  }
}

const std::string kFresh = R"({"Codigo":0,"Descricao":"","Versao":""})";

// The record written from its members gives the text, and read back from it, the same text.
template <class Record>
void expectText(const Record& record, const std::string& json) {
  EXPECT_EQ(record.AsJSON(), json);
  EXPECT_EQ(reread<Record>(json), json);
}

TEST(Records, EachRecordIsWrittenInFullAndReadBack) {
  // clang-format off
  const TStatusClass status{297, "Parâmetros \"x\" C:\\y\r\n\t\x01\x1f/ €", "1.0"};
  const std::string statusJson =
      R"({"Codigo":297,"Descricao":"Parâmetros \"x\" C:\\y\r\n\t\u0001\u001f/ €","Versao":"1.0"})";
  const TItemBuscaLeadsClass lead{"Highline", "Branco", "123.456.789-09", "05/03/2024", 11, "4711",
      "a@b.com", "L-1", "Polo", "João", "Teto", 1, 987654321, "150000", "Site", "Olá", "06/03/2024",
      "S", "Email"};
  const std::string leadJson =
      R"({"Acabamento":"Highline","Cor":"Branco","CpfCnpj":"123.456.789-09",)"
      R"("DataIntencao":"05/03/2024","Ddd":11,"DealerNumber":"4711","Email":"a@b.com",)"
      R"("IdLead":"L-1","Modelo":"Polo","Nome":"João","Opcionais":"Teto","Status":1,)"
      R"("Telefone":987654321,"Preco":"150000","Origem":"Site","Mensagem":"Olá",)"
      R"("DataIntencaoAgendamento":"06/03/2024","Showroom":"S","PreferenciaContato":"Email"})";
  expectText(status, statusJson);
  expectText(TRetornoBuscaLeadsClass{status, {lead, lead}},
             R"({"Status":)" + statusJson + R"(,"Leads":[)" + leadJson + "," + leadJson + "]}");
  expectText(TContatoLeadVW{1, 2, 300, 400, "José", 11, 987654321, "12345678901", "Polo", "j@x.com", 555, 99990.5, 3,
                            4, 5, 6, 7, 8, EncodeDateTime({2024, 3, 5, 14, 7, 9, 123}), 9, 1, "Site", "Quero",
                            EncodeDate(2024, 3, 6), "S", "Email"},
      R"({"empresa":1,"revenda":2,"codigoContato":300,"codigoCliente":400,"nome":"José","DDD":11,)"
      R"("telefone":987654321,"cpfcnpj":"12345678901","modelo":"Polo","email":"j@x.com",)"
      R"("leadID":555,"PrecoPretendido":99990.5,"formaContato":3,"tipoContato":4,)"
      R"("subTipoContato":5,"departamento":6,"usuarioCorreio":7,"origemTrafego":8,)"
      R"("dataIntencao":"2024-03-05T14:07:09.123","vendedorInclusao":9,"status":1,"origem":"Site",)"
      R"("mensagem":"Quero","dataIntencaoAgendamento":"2024-03-06T00:00:00.000","showroom":"S",)"
      R"("preferenciaContato":"Email"})");
  expectText(TParametroPreparaAtualizaLeadVW{1, 2, 3, 4, 5, "10/03/2024 10:00", true, 7, "11/03", 123456},
      R"({"empresa":1,"revenda":2,"contato":3,"usuarioAtualizacao":4,"codigoAtualizacao":5,)"
      R"("dataReagendamento":"10/03/2024 10:00","reenvio":true,"sequenciaReenvio":7,)"
      R"("dataAtualizacaoReenvio":"11/03","idLead":123456})");
  expectText(TRetornoAtualizaLeadClass{status, TItemAtualizaLeadClass{"m", "OK"}},
             R"({"Status":)" + statusJson + R"(,"Retorno":{"Mensagem":"m","Retorno":"OK"}})");
  expectText(TRetornoAtualizaLeadClass{}, R"({"Status":)" + kFresh + R"(,"Retorno":{"Mensagem":"","Retorno":""}})");
  expectText(TRetornoAtualizaLeadClass{std::nullopt, std::nullopt}, R"({"Status":null,"Retorno":null})");
  expectText(TRetornoBuscaLeadsClass{}, R"({"Status":null,"Leads":[]})");
  expectText(TEnviaBuscaLeadsClass{"4711;4712"}, R"({"DNs":"4711;4712"})");
  expectText(TEnviaBuscaLeadsDataClass{"4711", "01/01/2000"}, R"({"DNs":"4711","Data":"01/01/2000"})");
  expectText(TEnviaBuscaLeadsStatusClass{"4711", "0", "X"}, R"({"DNs":"4711","Status":"0","Nome":"X"})");
  expectText(TCarregaUltimaCargaInicial{"4711", "LEADS"}, R"({"DNs":"4711","Tabela":"LEADS"})");
  expectText(TEnviaAtualizaLeadClass{"1", "05/03/2024 14:07:09", "06/03", 123456789012.0, -1},
             R"({"Cpf":"1","DataAtualizacao":"05/03/2024 14:07:09","DataReagendamento":"06/03","IdLead":123456789012,"Status":-1})");
  expectText(TEnviaAtualizaLeadClass{"", "", "", 0.1, 1e20},
             R"({"Cpf":"","DataAtualizacao":"","DataReagendamento":"","IdLead":0.1,"Status":1e+20})");
  expectText(TEnviaBuscaNovosLeadsClass{EncodeDateTime({1850, 1, 2, 23, 59, 59, 999})}, R"({"DataHora":"1850-01-02T23:59:59.999"})");
  expectText(TEnviaBuscaHistoricoDealerClass{"4711"}, R"({"DealerNumber":"4711"})");
  expectText(TAutenticaClass{"password", "u", "p"}, R"({"grant_type":"password","username":"u","password":"p"})");
  // JSON has no infinity, and minus zero is zero; broken UTF-8 is replaced, not an error.
  EXPECT_EQ((TEnviaAtualizaLeadClass{"a\xC3(", "", "", -0.0, std::numeric_limits<double>::infinity()}.AsJSON()),
            R"({"Cpf":"a�(","DataAtualizacao":"","DataReagendamento":"","IdLead":0,"Status":null})");

  // The items of the other replies, read and written again.
  const std::string blank = R"("Opcionais":"","Status":0,"Telefone":0,"Preco":"","Origem":"",)"
      R"("Mensagem":"","DataIntencaoAgendamento":"","Showroom":"","PreferenciaContato":""}]})";
  const std::string novos =
      R"({"Status":{"Codigo":1,"Descricao":"Ok","Versao":"1.0"},"Novos":[{"Acabamento":"","Cor":"",)"
      R"("CpfCnpj":"","DataIntencao":"","Ddd":0,"DealerNumber":"4711","Email":"",)"
      R"("IdLead":90000000031,"Modelo":"","Nome":"",)" + blank;  // beyond 32 bits, still whole
  const std::string historico = R"({"Status":)" + kFresh + R"(,"Historico":[{"Acabamento":"","Cor":"",)"
      R"("CpfCnpj":"","DataIntencao":"","Ddd":21.5,"Email":"","IdLead":987.1,"Modelo":"","Nome":"Ana",)" + blank;
  // clang-format on
  EXPECT_EQ(reread<TRetornoBuscaNovosLeadsClass>(novos), novos);
  EXPECT_EQ(reread<TRetornoBuscaHistoricoDealerClass>(historico), historico);
}

TEST(Records, ReadingToleratesAndRefuses) {
  const Reading leadID = [](const std::string& json) {
    try {
      return std::to_string(TContatoLeadVW::FromJSON(json).leadID);
    } catch (const ConversionError& error) {
      return std::string("! ") + error.what();
    }
  };
  const Reading status = reread<TStatusClass>, leads = reread<TRetornoBuscaLeadsClass>,
                atualiza = reread<TRetornoAtualizaLeadClass>,
                novos = reread<TEnviaBuscaNovosLeadsClass>,
                parametro = reread<TParametroPreparaAtualizaLeadVW>;
  const std::string member = "! JSON member ",
                    range = " must be a number within the range of a double, not ";
  const std::string dated =
      member + R"("DataHora" of TEnviaBuscaNovosLeadsClass must be a date and time as )"
               R"("yyyy-mm-ddThh:nn:ss.zzz")";
  const std::string whole =
      member + R"("leadID" of TContatoLeadVW must be a whole number from -2147483648 to 2147483647)";
  const std::string invalid = "! Invalid JSON for TStatusClass";
  const std::string parseError = ": [json.exception.parse_error.101] parse error at line 1, column ";
  const std::string endOfInput =
      ": syntax error while parsing value - unexpected end of input; expected '[', '{', "
      "or a literal";
  struct Row {
    Reading read;
    std::string json, outcome;
  };
  // clang-format off
  const Row rows[] = {
      // Unknown members are skipped; missing and null ones keep the record's defaults.
      {parametro, R"({"empresa":3,"extra":{"deep":[1,2]},"reenvio":null,"dataReagendamento":null})",
       R"({"empresa":3,"revenda":0,"contato":0,"usuarioAtualizacao":0,"codigoAtualizacao":0,)"
       R"("dataReagendamento":"","reenvio":false,"sequenciaReenvio":-1,"dataAtualizacaoReenvio":"","idLead":0})"},
      {atualiza, "{}", R"({"Status":)" + kFresh + R"(,"Retorno":{"Mensagem":"","Retorno":""}})"},
      {atualiza, R"({"Status":null,"Retorno":{"Mensagem":"m"}})", R"({"Status":null,"Retorno":{"Mensagem":"m","Retorno":""}})"},
      {leads, R"({"Leads":null})", R"({"Status":null,"Leads":[]})"},
      {status, R"({"Codigo":5.0,"Versao":"2"})", R"({"Codigo":5,"Descricao":"","Versao":"2"})"},
      {novos, R"({"DataHora":45356.5})", R"({"DataHora":"2024-03-05T12:00:00.000"})"},
      {leadID, R"({"leadID":5.0})", "5"}, {leadID, R"({"leadID":2147483647})", "2147483647"},
      {leadID, R"({"leadID":-2147483648})", "-2147483648"},   {leadID, R"({"leadID":1.5})", whole},
      {leadID, R"({"leadID":2147483648})", whole}, {leadID, R"({"leadID":-2147483649})", whole},
      {leadID, R"({"leadID":"5"})", whole},        {novos, R"({"DataHora":true})", dated},
      {novos, R"({"DataHora":"2024-02-30T00:00:00.000"})", dated}, {novos, R"({"DataHora":"2024-03-05T14:07:09"})", dated},
      {novos, R"({"DataHora":"2024-03-05 14:07:09.123"})", dated}, {novos, R"({"DataHora":"2024-03-05T24:00:00.000"})", dated},
      {reread<TItemBuscaLeadsClass>, R"({"IdLead":77})", member + R"("IdLead" of TItemBuscaLeadsClass must be text)"},
      {reread<TItemBuscaNovosLeadsClass>, R"({"IdLead":"77"})", member + R"("IdLead" of TItemBuscaNovosLeadsClass must be a number)"},
      {parametro, R"({"reenvio":1})", member + R"("reenvio" of TParametroPreparaAtualizaLeadVW must be true or false)"},
      {atualiza, R"({"Retorno":"x"})", member + R"("Retorno" of TRetornoAtualizaLeadClass must be an object or null)"},
      {leads, R"({"Leads":{}})", member + R"("Leads" of TRetornoBuscaLeadsClass must be an array of objects)"},
      {leads, R"({"Leads":[{},3]})", member + R"("Leads" of TRetornoBuscaLeadsClass must be an array of objects)"},
      // A fault inside a nested record names the nested record.
      {reread<TRetornoBuscaNovosLeadsClass>, R"({"Status":{"Codigo":"0"}})", member + R"("Codigo" of TStatusClass must be a number)"},
      {reread<TRetornoBuscaHistoricoDealerClass>, R"({"Historico":[{"Nome":false}]})",
       member + R"("Nome" of TItemBuscaHistoricoDealerClass must be text)"},
      // A number no double holds is refused while the text is read, naming where it stood.
      {leads, R"({"Leads":[{"Ddd":11},{"Ddd":-1e400}]})", member + R"("Leads[1].Ddd" of TRetornoBuscaLeadsClass)" + range + "-1e400"},
      {status, R"({"Codigo":1e400})", member + R"("Codigo" of TStatusClass)" + range + "1e400"},
      {status, "1e400", "! JSON for TStatusClass must be an object, not 1e400"},
      {status, "[1,2]", "! JSON for TStatusClass must be an object, not array"},
      {status, "null", "! JSON for TStatusClass must be an object, not null"},
      {status, "{\"Codigo\":", invalid + " in member \"Codigo\"" + parseError + "11" + endOfInput},
      {status, "", invalid + parseError + "1" + endOfInput},
      {status, "{\"Codigo\":1,}", invalid + parseError + "13: syntax error while parsing object key - unexpected '}'; "
       "expected string literal"}};
  // clang-format on
  for (const Row& row : rows) EXPECT_EQ(row.read(row.json), row.outcome) << row.json;

  // A failed assignment leaves the record as it was; a successful one replaces every field.
  TItemAtualizaLeadClass item{"antes", "igual"};
  EXPECT_THROW(item.AssignFromJSON(R"({"Mensagem":"depois","Retorno":1})"), ConversionError);
  EXPECT_EQ(item.AsJSON(), R"({"Mensagem":"antes","Retorno":"igual"})");
  item.AssignFromJSON(R"({"Mensagem":"depois"})");
  EXPECT_EQ(item.AsJSON(), R"({"Mensagem":"depois","Retorno":""})");
}

}  // namespace
}  // namespace vornleads
